#include "share/camera_copy_source.h"

#include <sys/stat.h>

#include <algorithm>
#include <optional>
#include <utility>

#include "mrb/agent.h"
#include "share/file_copy.h"
#include "text/text.h"

namespace mrb {
namespace {

constexpr mode_t COPIED_MODE = 0666;

Status about(const std::string &name, Status status) {
    if (!status.ok()) {
        status.message = name + ": " + status.message;
    }
    return status;
}

} // namespace

std::unique_ptr<CopySource> CameraCopySource::make(std::shared_ptr<ListSession> list) {
    const std::optional<CameraItem> folder = readCameraUrl(list->items().locationOf(ItemInfo()).url);
    return folder ? std::make_unique<CameraCopySource>(std::move(list), folder->device) : nullptr;
}

Status CameraCopySource::begin(const CancellationToken &cancellation) {
    cancellation_ = cancellation;
    return attachedCamera(device_) ? Status() : Status::deviceRemoved("The camera is not attached any more.");
}

bool CameraCopySource::isThere() {
    const std::optional<Device> camera = attachedCamera(device_);
    return camera && mrb::isThere(camera->camera, cancellation_);
}

Status CameraCopySource::open(const ItemInfo &item, const CancellationToken &cancellation, File &file) {
    download_.reset();
    cancellation_ = cancellation;
    if (item.type == MRB_ITEM_TYPE_FOLDER) {
        return {};
    }
    name_ = displayText(item.name);
    Status status;
    const std::unique_ptr<CameraFile> source = CameraFile::find(list_->items().locationOf(item).url, status);
    CameraFileStatus fileStatus;
    if (source) {
        status = source->readStatus({cancellation}, fileStatus);
    }
    if (!status.ok()) {
        return about(name_, std::move(status));
    }
    size_ = fileStatus.size;
    file.size = static_cast<std::uint64_t>(std::max<std::int64_t>(size_, 0));
    file.mode = COPIED_MODE;
    file.times[0].tv_nsec = UTIME_NOW;
    file.times[1].tv_nsec = fileStatus.modified < 0 ? UTIME_NOW : 0;
    file.times[1].tv_sec = std::max<std::int64_t>(fileStatus.modified, 0);
    download_ = std::make_unique<CameraDownload>(*source, size_, cancellation);
    return {};
}

CopyResult CameraCopySource::copy(int destination, const std::function<bool(std::uint64_t)> &moved) {
    CopyResult result;
    FileWriter writer(destination);
    bool isOver = false;
    const bool isKnown = size_ >= 0;
    const auto size = static_cast<std::uint64_t>(std::max<std::int64_t>(size_, 0));
    const auto take = [&](std::string_view bytes) {
        isOver = bytes.empty();
        if (isKnown && bytes.size() > size - result.bytes) {
            result.source = Status::protocolError("The camera sent more bytes than it reported.");
            return;
        }
        result.destinationError = writer.write(bytes);
        result.bytes += result.destinationError == 0 ? bytes.size() : 0;
    };
    while (!isOver && !result.isCancelled && result.destinationError == 0 && result.source.ok()) {
        Status status = download_->next(take);
        if (!status.ok()) {
            result.source = std::move(status);
        }
        result.isCancelled = result.source.code == MRB_ERR_CANCELLED || (!isOver && !moved(result.bytes));
    }
    if (isOver && isKnown && result.bytes < size) {
        result.source = Status::protocolError("The camera sent fewer bytes than it reported.");
    }
    download_.reset();
    result.source = about(name_, std::move(result.source));
    return result;
}

} // namespace mrb
