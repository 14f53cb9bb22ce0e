// The part of an opening that follows its source once the list is ready.

#include <exception>
#include <utility>

#include "base/log.h"
#include "session/opening.h"
#include "watch/file_watch.h"
#include "watch/folder_watch.h"

namespace mrb {

void Opening::beginWatch() {
    if (watcher_ == nullptr) {
        return;
    }
    if (const std::string root = source_->watchedRoot(); !root.empty()) {
        watch_ = std::make_unique<FolderWatch>(root);
    } else if (const std::string file = source_->watchedFile(); !file.empty()) {
        watch_ = std::make_unique<FileWatch>(file);
    }
}

void Opening::follow(std::int32_t folder, int descriptor) {
    if (watch_) {
        watch_->follow(folder, descriptor);
    }
}

void Opening::handOverWatch() noexcept {
    try {
        if (watch_) {
            watcher_->watch({shared_from_this(), static_cast<Watched *>(this)}, std::move(watch_));
        }
        if (const Device *device = source_->device()) {
            DeviceService::instance().awaitRemoval(
                *device, {shared_from_this(), static_cast<RemovalObserver *>(this)});
        }
        // One that was closed meanwhile had nothing to forget yet.
        if (closed_) {
            endWatch();
        }
    } catch (const std::exception &failure) {
        MRB_LOG_WARNING("List %d is not watched for changes: %s", handle_, failure.what());
    }
}

void Opening::endWatch() {
    if (watcher_ != nullptr) {
        watcher_->forget(*this);
    }
    if (source_->device() != nullptr) {
        DeviceService::instance().forget(*this);
    }
}

std::optional<ItemFacts> Opening::listed(std::int32_t folder, std::string_view name) const {
    return list_.find(folder, name);
}

void Opening::sourceChanged() { events_.post(shared_from_this(), MRB_EVENT_LIST_CHANGED); }

void Opening::sourceRemoved() {
    removed_ = true;
    events_.post(shared_from_this(), MRB_EVENT_DEVICE_REMOVED);
}

int Opening::reach(const ListEntry &entry) const {
    // A folder's path may lead to another one by now; a device that comes back is known by its id.
    const bool isGone = removed_ && source_->device() == nullptr;
    const Outcome outcome = isGone ? Outcome{MRB_ERR_DEVICE_REMOVED, {}} : source_->reach(entry.facts);
    return outcome.code;
}

} // namespace mrb
