#include "sources/ptp/ptp_source.h"

#include <string_view>
#include <utility>

#include "camera_files/camera_file.h"
#include "media/media_types.h"
#include "mrb/agent.h"
#include "sources/ptp/camera_scan.h"
#include "text/text.h"

namespace mrb {
namespace {

constexpr std::string_view MEDIA_ID_SCHEME = "ptp:";

// A media id is the URL without "//".
std::string mediaIdOf(const std::string &url) {
    return std::string(MEDIA_ID_SCHEME) + url.substr(std::string_view(CAMERA_URL_SCHEME).size());
}

std::string urlOf(const std::string &mediaId) {
    const bool isId = mediaId.starts_with(MEDIA_ID_SCHEME) && !mediaId.starts_with(CAMERA_URL_SCHEME);
    return isId ? CAMERA_URL_SCHEME + mediaId.substr(MEDIA_ID_SCHEME.size()) : mediaId;
}

// The path of the requested folder on this camera; no value: it is on another device.
std::optional<std::string> folderOf(const std::string &folderId, const Device &camera) {
    std::string path = folderId.empty() ? "/" : folderId;
    if (const std::optional<CameraItem> item = readCameraUrl(urlOf(folderId))) {
        if (item->device != camera.id) {
            return std::nullopt;
        }
        path = item->path;
    }
    return path.starts_with('/') ? std::optional(path) : std::nullopt;
}

} // namespace

Status PtpSource::make(const ListRequest &request, std::unique_ptr<Source> &source) {
    std::optional<Device> camera = attachedCamera(request.modelName, request.bus, request.device);
    if (!camera) {
        return Status::notFound("No camera \"" + request.modelName + "\" is attached at bus " +
                                std::to_string(request.bus) + ", device " + std::to_string(request.device) +
                                ".");
    }
    std::optional<std::string> folder = folderOf(request.folderId, *camera);
    if (!folder) {
        return Status::invalidParameter("The folder \"" + request.folderId +
                                        "\" is neither an absolute path on the camera nor the URL or "
                                        "media id of a folder on it.");
    }
    while (folder->ends_with('/')) {
        folder->pop_back();
    }
    source.reset(new PtpSource(*std::move(camera), *std::move(folder)));
    return {};
}

PtpSource::PtpSource(Device camera, std::string root) : camera_(std::move(camera)), root_(std::move(root)) {}

FillResult PtpSource::fill(ItemSink &sink) {
    return CameraScan(sink, camera_.camera, camera_.id).run(root_.empty() ? "/" : root_);
}

std::string PtpSource::pathOf(const ItemInfo &item) const {
    std::string path = root_;
    if (!item.folder.empty()) {
        path.append(1, '/').append(item.folder);
    }
    if (!item.name.empty() || path.empty()) {
        path.append(1, '/').append(item.name);
    }
    return path;
}

std::string PtpSource::filePath(const ItemInfo &item) const { return cameraUrl({camera_.id, pathOf(item)}); }

Status PtpSource::checkAvailable(const ItemInfo & /*item*/) const {
    return attachedCamera(camera_.id) ? Status()
                                      : Status::deviceRemoved("The camera is not attached any more.");
}

ItemLocation PtpSource::locationOf(const ItemInfo &item) const {
    ItemLocation location;
    location.url = filePath(item);
    location.mediaId = mediaIdOf(location.url);
    const MediaType *type = mediaTypeOf(item.name);
    if (item.type == MRB_ITEM_TYPE_FOLDER || item.type == MRB_ITEM_TYPE_UPFOLDER) {
        location.mimeType = FOLDER_MIME_TYPE;
    } else if (type != nullptr) {
        location.mimeType = type->mimeType;
        const bool hasPicture =
            type->itemType == MRB_ITEM_TYPE_IMAGE || type->itemType == MRB_ITEM_TYPE_VIDEO;
        location.thumbnail = hasPicture ? location.url : "";
    }
    return location;
}

std::optional<ItemInfo> PtpSource::findByMediaId(const std::string &mediaId) const {
    const bool isId = mediaId.starts_with(MEDIA_ID_SCHEME) && !mediaId.starts_with(CAMERA_URL_SCHEME);
    const std::optional<CameraItem> found = isId ? readCameraUrl(urlOf(mediaId)) : std::nullopt;
    const std::string start = root_ + '/';
    if (!found || found->device != camera_.id || !found->path.starts_with(start) ||
        found->path.size() == start.size()) {
        return std::nullopt;
    }
    const std::size_t nameStart = found->path.rfind('/') + 1;
    ItemInfo item;
    item.name = found->path.substr(nameStart);
    if (nameStart > start.size()) {
        item.folder = found->path.substr(start.size(), nameStart - 1 - start.size());
    }
    return item;
}

} // namespace mrb
