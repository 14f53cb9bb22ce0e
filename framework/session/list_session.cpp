#include "session/list_session.h"

#include <exception>
#include <utility>

#include "base/log.h"
#include "base/thread_group.h"
#include "fields/description.h"
#include "fields/file_groups.h"
#include "library/media_library.h"
#include "session/list_filler.h"
#include "watch/watch_thread.h"

namespace mrb {

ListSession::ListSession(const ListServices &services, mrb_agent_handler_h handle, ListCallback callback,
                         std::unique_ptr<Source> source, ListOptions options)
    : services_(services), handle_(handle), list_(std::make_shared<List>(std::move(options))),
      events_(std::make_shared<ListEvents>(services.events, handle, callback, list_)),
      items_(std::move(source)) {}

// ---- the worker ----

void ListSession::run() noexcept {
    try {
        begin_.wait();
        fill();
        if (grouping_.listIsComplete()) {
            readGroups();
        }
    } catch (const std::exception &failure) {
        MRB_LOG_ERROR("List %d ended without an event: %s", handle_, failure.what());
    }
}

void ListSession::fill() {
    ListFiller filler(*list_, items_, library(), *events_, filling_);
    if (events_->postEnd(filler.run()) == MRB_EVENT_LIST_READY) {
        startWatching(filler.takeWatch());
        filler.preloadReaders();
    }
}

void ListSession::close() {
    closed_ = true;
    stopWatching();
    // In this order: a worker that stops at once would have its cancelled event
    // delivered before the withdrawal.
    events_->withdraw();
    cancel();
}

// ---- the functions for clients ----

std::optional<std::string> ListSession::describe(std::int32_t index) const {
    const std::optional<ListEntry> entry = list_->entry(index);
    if (!entry) {
        return std::nullopt;
    }
    return describeEntry(*entry, items_.locationOf(entry->info), items_.sourceMetadata(entry->info));
}

int ListSession::checkAvailable(const ListEntry &entry) const {
    // A folder's path may now be that of another folder; a device that returns is identified by
    // its id.
    const bool isGone = removed_ && source().device() == nullptr;
    const Status status = isGone ? Status::deviceRemoved() : source().checkAvailable(entry.info);
    return status.code;
}

std::optional<std::int32_t> ListSession::pageOf(const std::string &mediaId) const {
    const std::optional<ItemInfo> item = source().findByMediaId(mediaId);
    return item ? list_->pageOf(*item) : std::nullopt;
}

// ---- groups by metadata ----

int ListSession::setStyle(const PageStyle &style) {
    const int code = list_->cursor().setStyle(style);
    if (code != MRB_ERR_NONE || !grouping_.request(style.grouping)) {
        return code;
    }
    try {
        services_.threads.start([self = shared_from_this()] { self->readGroups(); });
    } catch (...) {
        grouping_.abort();
        throw;
    }
    return code;
}

void ListSession::readGroups() noexcept {
    try {
        grouping_.run([this](Grouping grouping, const CancellationToken &cancellation) {
            events_->setGrouped(0);
            const auto fileOf = [this](const ItemInfo &info) { return items_.mediaOf(info); };
            const auto publish = [this](FileGroups groups, std::int32_t readCount) {
                list_->setFileGroups(std::make_shared<const FileGroups>(std::move(groups)));
                events_->setGrouped(readCount);
                if (!removed_) {
                    events_->postGrowth();
                }
            };
            // Without the lock: the store of a complete list does not change.
            return readFileGroups(list_->store(), grouping, library(), fileOf, cancellation, publish);
        });
    } catch (const std::exception &failure) {
        MRB_LOG_ERROR("The groups of list %d were not read: %s", handle_, failure.what());
        grouping_.abort();
    }
}

// ---- the source, once the list is ready ----

void ListSession::startWatching(std::unique_ptr<Watch> watch) noexcept {
    try {
        if (watch) {
            services_.watchThread.watch({shared_from_this(), static_cast<WatchObserver *>(this)},
                                        std::move(watch));
        }
        if (const Device *device = source().device()) {
            DeviceService::instance().awaitRemoval(
                *device, {shared_from_this(), static_cast<RemovalObserver *>(this)});
        }
        // When the list was closed before, that could not end a watch which had not begun yet.
        if (closed_) {
            stopWatching();
        }
    } catch (const std::exception &failure) {
        MRB_LOG_WARNING("List %d is not watched for changes: %s", handle_, failure.what());
    }
}

void ListSession::stopWatching() {
    services_.watchThread.forget(*this);
    if (source().device() != nullptr) {
        DeviceService::instance().forget(*this);
    }
}

std::optional<ItemInfo> ListSession::listed(std::int32_t folder, std::string_view name) const {
    return list_->find(folder, name);
}

void ListSession::sourceChanged() { events_->post(MRB_EVENT_LIST_CHANGED); }

void ListSession::sourceRemoved() {
    removed_ = true;
    events_->post(MRB_EVENT_DEVICE_REMOVED);
}

} // namespace mrb
