#include "share/upload_job.h"

#include <algorithm>
#include <utility>

#include "dlna/server_probe.h"
#include "media/media_types.h"
#include "mrb/agent.h"
#include "text/text.h"

namespace mrb {
namespace {

// The UPnP class of an object for a file; null: none.
const char *classOf(int itemType) {
    switch (itemType) {
    case MRB_ITEM_TYPE_IMAGE:
        return "object.item.imageItem.photo";
    case MRB_ITEM_TYPE_MUSIC:
        return "object.item.audioItem.musicTrack";
    case MRB_ITEM_TYPE_VIDEO:
        return "object.item.videoItem";
    default:
        return nullptr;
    }
}

} // namespace

UploadJob::UploadJob(std::shared_ptr<ListSession> list, Selection selection,
                     std::unique_ptr<CopySource> copySource, dlna::DlnaService::Found server,
                     std::string container)
    : list_(std::move(list)), selection_(std::move(selection)), source_(std::move(copySource)),
      server_(std::move(server)), container_(std::move(container)) {}

JobResult UploadJob::run(JobObserver &observer) {
    Step step = begin(observer);
    for (const std::int32_t number : plan_.items) {
        if (step == Step::GO_ON && observer.cancellation().isCancelled()) {
            step = end(MRB_EVENT_SHARE_STOPPED);
        }
        if (step == Step::END) {
            break;
        }
        const ItemInfo item = list_->list().infoOf(number);
        // Folders are skipped, a server has its own.
        step = item.type == MRB_ITEM_TYPE_FOLDER ? Step::GO_ON : send(item, observer);
    }
    if (step == Step::GO_ON) {
        const bool isGone = !result_.status.ok() && !source_->isThere();
        const int failure = isGone ? MRB_EVENT_DEVICE_REMOVED : MRB_EVENT_SHARE_FAILED;
        end(result_.status.ok() ? MRB_EVENT_SHARE_DONE : failure);
    }
    failures_.conclude();
    transfers_.reset();
    return std::move(result_);
}

UploadJob::Step UploadJob::begin(JobObserver &observer) {
    const CancellationToken &cancellation = observer.cancellation();
    plan_ = planCopy(list_->list(), selection_, 1, cancellation);
    observer.begins(plan_.files, plan_.bytes);
    if (observer.cancellation().isCancelled()) {
        return end(MRB_EVENT_SHARE_STOPPED);
    }
    Status status = source_->begin(cancellation);
    if (status.ok()) {
        status = server_.contentClient->connect(server_.id, cancellation, transfers_);
    }
    if (!status.ok() && failed(status, "") == Step::GO_ON) {
        return end(MRB_EVENT_SHARE_FAILED);
    }
    return status.ok() ? Step::GO_ON : Step::END;
}

UploadJob::Step UploadJob::send(const ItemInfo &item, JobObserver &observer) {
    const CancellationToken &cancellation = observer.cancellation();
    const MediaType *type = mediaTypeOf(item.name);
    const char *upnpClass = classOf(item.type);
    const std::string name = displayText(item.name);
    if (upnpClass == nullptr || type == nullptr) {
        return failed(Status::invalidParameter(name + " is not a picture, music or video."), item.name);
    }
    CopySource::File source;
    if (Status status = source_->open(item, cancellation, source); !status.ok()) {
        return failed(status, item.name);
    }
    const auto planned = static_cast<std::uint64_t>(std::max<std::int64_t>(item.size, 0));
    observer.fileBegins(name, source.size, planned);
    dlna::Upload file;
    file.descriptor = source_->fd();
    file.size = source.size;
    SpooledFile spooled;
    Status status = file.descriptor < 0 ? fetch(name, cancellation, spooled, file) : Status();
    file.title = name;
    if (const std::size_t dot = name.rfind('.'); dot != std::string::npos && dot > 0) {
        file.title.resize(dot); // servers show titles without extensions
    }
    file.extension = type->extension;
    file.mimeType = type->mimeType;
    file.upnpClass = upnpClass;
    file.container = container_;
    if (status.ok()) {
        status = transfers_->upload(
            file, [&](std::uint64_t bytes) { observer.fileMoves(bytes); }, cancellation);
        status =
            dlna::classifyDisconnect(*server_.contentClient, server_.id, std::move(status), cancellation);
        status.message.insert(0, name + ": ");
    }
    observer.fileEnds(status.ok());
    if (!status.ok()) {
        return failed(status, item.name);
    }
    ++result_.files;
    result_.bytes += file.size;
    return Step::GO_ON;
}

// A server may read a file in any order and repeatedly, while a camera sends it once, slowly.
Status UploadJob::fetch(const std::string &name, const CancellationToken &cancellation, SpooledFile &spooled,
                        dlna::Upload &file) {
    Status status = spooled.fill(*source_, name, cancellation);
    file.descriptor = spooled.fd();
    file.size = spooled.size();
    return status;
}

UploadJob::Step UploadJob::failed(const Status &status, const std::string &name) {
    if (status.code == MRB_ERR_CANCELLED) {
        return end(MRB_EVENT_SHARE_STOPPED);
    }
    failures_.add(status, name, result_);
    switch (status.code) {
    case MRB_ERR_DEVICE_REMOVED:
        return end(MRB_EVENT_DEVICE_REMOVED);
    case MRB_ERR_TIMEOUT:
    case MRB_ERR_NOT_SUPPORTED:
        return end(MRB_EVENT_SHARE_FAILED); // other files would fail on this server too
    default:
        return Step::GO_ON;
    }
}

UploadJob::Step UploadJob::end(int event) {
    result_.event = event;
    return Step::END;
}

} // namespace mrb
