#include "camera_files/attached_cameras.h"

#include <algorithm>
#include <charconv>
#include <string_view>

#include "storage/device_service.h"
#include "text/text.h"

namespace mrb {
namespace {

constexpr std::string_view ID_SCHEME = "ptp:";
constexpr std::string_view FILE_SCHEME = "file://";

template <typename IsWanted>
std::optional<Device> find(IsWanted isWanted) {
    const std::vector<Device> cameras = DeviceService::instance().attached(DeviceKind::CAMERA);
    const auto found = std::ranges::find_if(cameras, isWanted);
    return found == cameras.end() ? std::nullopt : std::optional(*found);
}

// Encodes one component of the URL; a slash in it is encoded as well.
std::string encoded(const std::string &text) {
    std::string all = fileUri('/' + text).substr(FILE_SCHEME.size() + 1);
    for (std::size_t slash = 0; (slash = all.find('/', slash)) != std::string::npos;) {
        all.replace(slash, 1, "%2F");
    }
    return all;
}

// No value: invalid percent-encoding, or a zero byte.
std::optional<std::string> decoded(std::string_view text) {
    std::string bytes;
    while (!text.empty()) {
        std::size_t length = 1;
        char byte = text[0];
        if (byte == '%') {
            length = 3;
            const std::string_view digits = text.substr(1, 2);
            unsigned number = 0;
            const auto read = std::from_chars(digits.data(), digits.data() + digits.size(), number, 16);
            if (digits.size() < 2 || read.ec != std::errc() || read.ptr != digits.data() + 2) {
                return std::nullopt;
            }
            byte = static_cast<char>(number);
        }
        if (byte == '\0') {
            return std::nullopt;
        }
        bytes += byte;
        text.remove_prefix(length);
    }
    return bytes;
}

} // namespace

std::optional<Device> attachedCamera(const std::string &id) {
    return find([&](const Device &camera) { return camera.id == id; });
}

std::optional<Device> attachedCamera(const std::string &name, int bus, int address) {
    return find([&](const Device &camera) {
        return bus == 0 && address == 0 ? name.empty() || camera.name == name
                                        : camera.bus == bus && camera.address == address;
    });
}

bool isAttached(const CameraAddress &address) {
    return find([&](const Device &camera) { return camera.camera == address; }).has_value();
}

std::string cameraUrl(const CameraItem &item) {
    const std::string name = item.device.starts_with(ID_SCHEME) ? item.device.substr(ID_SCHEME.size()) : "";
    return CAMERA_URL_SCHEME + encoded(name) + fileUri(item.path).substr(FILE_SCHEME.size());
}

std::optional<CameraItem> readCameraUrl(const std::string &url) {
    if (!url.starts_with(CAMERA_URL_SCHEME)) {
        return std::nullopt;
    }
    const std::string_view rest = std::string_view(url).substr(std::string_view(CAMERA_URL_SCHEME).size());
    const std::size_t slash = std::min(rest.find('/'), rest.size());
    const std::optional<std::string> name = decoded(rest.substr(0, slash));
    const std::optional<std::string> path = decoded(rest.substr(slash));
    if (!name || name->empty() || !path) {
        return std::nullopt;
    }
    return CameraItem{std::string(ID_SCHEME) + *name, path->empty() ? "/" : *path};
}

CameraPath cameraPathOf(const std::string &path) {
    const std::size_t slash = path.rfind('/');
    return {slash == 0 ? "/" : path.substr(0, slash), path.substr(slash + 1)};
}

} // namespace mrb
