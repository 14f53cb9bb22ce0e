#include "share/shares.h"

#include <limits>
#include <utility>
#include <vector>

#include "base/log.h"
#include "session/list_session.h"
#include "share/camera_copy_source.h"
#include "share/copy_job.h"
#include "share/folder_copy_source.h"
#include "share/listed_copy_source.h"
#include "share/lock_job.h"
#include "share/server_copy_source.h"
#include "share/upload_job.h"
#include "sources/dlna/dlna_source.h"

namespace mrb {
namespace {

// Null: the items of the list are on a media server.
std::unique_ptr<CopySource> copySourceOf(const std::shared_ptr<ListSession> &list) {
    if (!list->source().watchedRoot().empty()) {
        return std::make_unique<FolderCopySource>(list);
    }
    if (list->source().hasScatteredFiles()) {
        return std::make_unique<ListedCopySource>(list);
    }
    return CameraCopySource::make(list);
}

Status makeDownload(const ShareRequest &request, const std::shared_ptr<ListSession> &list,
                    Selection selection, std::unique_ptr<Job> &job) {
    dlna::DlnaService::Found server;
    Status status = dlna::DlnaService::instance().find(request.dlnaDeviceId, server);
    if (!status.ok()) {
        return status;
    }
    const std::vector<std::int32_t> items = list->list().expand(selection);
    const ItemInfo first = items.empty() ? ItemInfo() : list->list().infoOf(items.front());
    if (!DlnaSource::isMediaId(server.id, list->items().locationOf(first).mediaId)) {
        return Status::invalidParameter("The list does not belong to the DLNA server \"" + server.name +
                                        "\".");
    }
    auto copySource = std::make_unique<ServerCopySource>(list, std::move(server));
    return CopyJob::make(list, std::move(selection), std::move(copySource), request.destinationPath, job);
}

Status makeUpload(const ShareRequest &request, const std::shared_ptr<ListSession> &list, Selection selection,
                  std::unique_ptr<Job> &job) {
    std::unique_ptr<CopySource> copySource = copySourceOf(list);
    if (!copySource) {
        return Status::notSupported("Items of DLNA servers can only be downloaded.");
    }
    dlna::DlnaService::Found server;
    Status status = dlna::DlnaService::instance().find(request.dlnaDeviceId, server);
    if (status.ok()) {
        std::string container = DlnaSource::objectId(server.id, request.dlnaServiceProvider);
        job = std::make_unique<UploadJob>(list, std::move(selection), std::move(copySource),
                                          std::move(server), std::move(container));
    }
    return status;
}

} // namespace

int Shares::start(int type, const ShareRequest &request, const std::shared_ptr<ListSession> &list,
                  ShareCallback callback, mrb_share_handler_h *handle) {
    std::unique_ptr<Job> job;
    const Status status = makeJob(type, request, list, job);
    if (!status.ok()) {
        MRB_LOG_WARNING("Share not started: %s", status.message.c_str());
        return status.code;
    }
    events_.start();
    mrb_share_handler_h number = 0;
    const std::shared_ptr<Share> share = add(callback, std::move(job), number);
    if (!share) {
        return MRB_ERR_NOT_INITIALIZED;
    }
    try {
        threads_.start([share] { share->run(); });
    } catch (...) {
        remove(number);
        throw;
    }
    *handle = number;
    share->begin();
    return MRB_ERR_NONE;
}

Status Shares::makeJob(int type, const ShareRequest &request, const std::shared_ptr<ListSession> &list,
                       std::unique_ptr<Job> &job) {
    switch (type) {
    case MRB_SHARE_COPY:
    case MRB_SHARE_DLNA:
    case MRB_SHARE_LOCK:
        break;
    case MRB_SHARE_DELETE:
        return Status::notSupported("This framework does not delete a user's files.");
    default:
        return Status::notSupported("There is no share of type " + std::to_string(type) + ".");
    }
    if (!list) {
        return Status::invalidHandle("The handle is not one of an open list.");
    }
    Selection selection = list->list().selection().copy();
    if (selection.count() == 0) {
        return Status::notFound("No item of the list is selected.");
    }
    if (type == MRB_SHARE_LOCK) {
        job = std::make_unique<LockJob>(list, std::move(selection), request.lock);
        return {};
    }
    if (type == MRB_SHARE_DLNA) {
        return request.sourceDeviceType == MRB_SHARE_DEVICE_DLNA
                   ? makeDownload(request, list, std::move(selection), job)
                   : makeUpload(request, list, std::move(selection), job);
    }
    if (request.sourceDeviceType == MRB_SHARE_DEVICE_DLNA ||
        request.destinationDeviceType == MRB_SHARE_DEVICE_DLNA) {
        return Status::notSupported("Shares from and to DLNA servers have the type 4.");
    }
    std::unique_ptr<CopySource> copySource = copySourceOf(list);
    if (!copySource) {
        return Status::notSupported("Only lists of folders, playlists and cameras can be copied.");
    }
    return CopyJob::make(list, std::move(selection), std::move(copySource), request.destinationPath, job);
}

int Shares::stop(mrb_share_handler_h handle) {
    const MutexLock guard(lock_);
    const auto found = shares_.find(handle);
    if (found == shares_.end()) {
        return MRB_ERR_INVALID_HANDLE;
    }
    found->second->cancel();
    return MRB_ERR_NONE;
}

void Shares::shutDown() {
    const MutexLock guard(lock_);
    down_ = true;
    for (const auto &[handle, share] : shares_) {
        share->cancel();
    }
}

std::shared_ptr<Share> Shares::add(ShareCallback callback, std::unique_ptr<Job> job,
                                   mrb_share_handler_h &handle) {
    const MutexLock guard(lock_);
    if (down_) {
        return nullptr;
    }
    while (shares_.contains(nextHandle_)) {
        const bool isLast = nextHandle_ == std::numeric_limits<mrb_share_handler_h>::max();
        nextHandle_ = isLast ? FIRST_HANDLE : nextHandle_ + 1;
    }
    handle = nextHandle_;
    const bool isLast = nextHandle_ == std::numeric_limits<mrb_share_handler_h>::max();
    nextHandle_ = isLast ? FIRST_HANDLE : nextHandle_ + 1;
    auto share = std::make_shared<Share>(events_, handle, callback, std::move(job),
                                         [this, number = handle] { remove(number); });
    shares_.emplace(handle, share);
    return share;
}

void Shares::remove(mrb_share_handler_h handle) {
    std::shared_ptr<Share> removed; // declared before the lock, so that it is released after it
    const MutexLock guard(lock_);
    if (const auto found = shares_.find(handle); found != shares_.end()) {
        removed = std::move(found->second);
        shares_.erase(found);
    }
}

} // namespace mrb
