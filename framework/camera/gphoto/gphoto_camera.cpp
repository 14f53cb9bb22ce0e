#include "camera/gphoto/gphoto_camera.h"

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <limits>
#include <span>

#include "text/text.h"

namespace mrb {
namespace {

struct Free {
    void operator()(CameraStorageInformation *storages) const { std::free(storages); }
};

constexpr std::uint64_t KILOBYTE = 1024;

// `sum` and so many kilobytes more, as far as the signed range goes.
long long added(long long sum, std::uint64_t kilobytes) {
    constexpr auto MOST = static_cast<std::uint64_t>(std::numeric_limits<long long>::max());
    const auto room = MOST - static_cast<std::uint64_t>(sum);
    return sum + static_cast<long long>(std::min(kilobytes, room / KILOBYTE) * KILOBYTE);
}

int meaningOf(int code) {
    switch (code) {
    case GP_ERROR_IO_USB_CLAIM:
    case GP_ERROR_IO_LOCK:
    case GP_ERROR_CAMERA_BUSY:
        return MRB_ERR_BUSY;
    case GP_ERROR_BAD_PARAMETERS: // the port does not lead to a device
    case GP_ERROR_IO_USB_FIND:
    case GP_ERROR_UNKNOWN_PORT:
    case GP_ERROR_MODEL_NOT_FOUND:
    case GP_ERROR_DIRECTORY_NOT_FOUND:
    case GP_ERROR_FILE_NOT_FOUND:
        return MRB_ERR_NOT_FOUND;
    case GP_ERROR_NOT_SUPPORTED:
        return MRB_ERR_NOT_SUPPORTED;
    case GP_ERROR_NO_MEMORY:
        return MRB_ERR_OUT_OF_MEMORY;
    case GP_ERROR_NO_SPACE:
        return MRB_ERR_NO_SPACE;
    case GP_ERROR_TIMEOUT:
        return MRB_ERR_TIMEOUT;
    case GP_ERROR_CANCEL:
        return MRB_ERR_CANCELLED;
    case GP_ERROR_CORRUPTED_DATA:
        return MRB_ERR_PROTOCOL;
    default:
        return MRB_ERR_IO;
    }
}

} // namespace

Outcome outcomeOfGphoto(int code, const std::string &about) {
    if (code >= GP_OK) {
        return {};
    }
    return {meaningOf(code), about + ": " + displayText(gp_result_as_string(code))};
}

GphotoCamera::~GphotoCamera() { gp_camera_exit(camera_.get(), context_.get()); }

Outcome GphotoCamera::readSizes(CameraSizes &sizes) {
    CameraStorageInformation *found = nullptr;
    int number = 0;
    const int code = gp_camera_get_storageinfo(camera_.get(), &found, &number, context_.get());
    const std::unique_ptr<CameraStorageInformation, Free> owned(found);
    if (code < GP_OK || found == nullptr) {
        return outcomeOfGphoto(std::min(code, GP_ERROR), "What the camera keeps its files on");
    }
    sizes = {};
    for (const auto &storage : std::span(found, static_cast<std::size_t>(std::max(number, 0)))) {
        if ((storage.fields & GP_STORAGEINFO_MAXCAPACITY) != 0) {
            sizes.total = added(sizes.total, storage.capacitykbytes);
        }
        if ((storage.fields & GP_STORAGEINFO_FREESPACEKBYTES) != 0) {
            sizes.available = added(sizes.available, storage.freekbytes);
        }
    }
    return {};
}

} // namespace mrb
