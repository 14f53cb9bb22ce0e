#include "camera/gphoto/gphoto_camera.h"

#include <algorithm>
#include <cstdint>
#include <limits>
#include <span>

#include "base/deleter.h"
#include "text/text.h"

namespace mrb {
namespace {

constexpr std::uint64_t KILOBYTE = 1024;

// `sum` plus so many kilobytes, limited to the signed range.
long long added(long long sum, std::uint64_t kilobytes) {
    constexpr auto MOST = static_cast<std::uint64_t>(std::numeric_limits<long long>::max());
    const auto room = MOST - static_cast<std::uint64_t>(sum);
    return sum + static_cast<long long>(std::min(kilobytes, room / KILOBYTE) * KILOBYTE);
}

// The maximum of PTP's 32-bit size, which stands for every file that is as long or longer.
constexpr std::uint64_t SIZE_UNSAID = 0xffff'ffff;

int meaningOf(int code) {
    switch (code) {
    case GP_ERROR_IO_USB_CLAIM:
    case GP_ERROR_IO_LOCK:
    case GP_ERROR_CAMERA_BUSY:
        return MRB_ERR_BUSY;
    case GP_ERROR_IO_USB_FIND: // the error of every transfer to a removed device
        return MRB_ERR_DEVICE_REMOVED;
    case GP_ERROR_BAD_PARAMETERS: // mostly an invalid path
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

Status statusOfGphoto(int code, const std::string &about) {
    if (code >= GP_OK) {
        return {};
    }
    return {meaningOf(code), displayText(about) + ": " + displayText(gp_result_as_string(code))};
}

GphotoCamera::GphotoCamera(Handle camera, Mutex &loading) : loading_(loading), camera_(std::move(camera)) {
    // libgphoto2 calls both during a transfer: the only sign that the camera is alive.
    gp_context_set_cancel_func(
        context_.get(),
        [](GPContext *, void *self) noexcept {
            return static_cast<GphotoCamera *>(self)->cancellation_.isCancelled() ? GP_CONTEXT_FEEDBACK_CANCEL
                                                                                  : GP_CONTEXT_FEEDBACK_OK;
        },
        this);
    gp_context_set_progress_funcs(
        context_.get(), [](GPContext *, float, const char *, void *) { return 0U; },
        [](GPContext *, unsigned, float, void *self) noexcept { // Polling it is the sign of life.
            static_cast<void>(static_cast<GphotoCamera *>(self)->cancellation_.isCancelled());
        },
        [](GPContext *, unsigned, void *) {}, this);
}

GphotoCamera::~GphotoCamera() {
    const MutexLock guard(loading_);
    gp_camera_exit(camera_.get(), context_.get());
    camera_.reset();
}

Status GphotoCamera::readSizes(CameraSizes &sizes) {
    CameraStorageInformation *found = nullptr;
    int number = 0;
    const int code = gp_camera_get_storageinfo(camera_.get(), &found, &number, context_.get());
    const MallocPtr<CameraStorageInformation> owned(found);
    if (code < GP_OK || found == nullptr) {
        return statusOfGphoto(std::min(code, GP_ERROR), "The camera's storage");
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

Status GphotoCamera::list(ListNames &listNames, const std::string &folder, std::vector<std::string> &names) {
    CameraList *made = nullptr;
    int code = gp_list_new(&made);
    const GphotoList list(made);
    if (code >= GP_OK) {
        code = listNames(camera_.get(), folder.c_str(), list.get(), context_.get());
    }
    const int number = code < GP_OK ? code : gp_list_count(list.get());
    for (int index = 0; index < number; ++index) {
        const char *name = nullptr;
        if (gp_list_get_name(list.get(), index, &name) >= GP_OK && name != nullptr) {
            names.emplace_back(name);
        }
    }
    return statusOfGphoto(number, folder);
}

Status GphotoCamera::listFiles(const std::string &folder, std::vector<std::string> &names) {
    return list(gp_camera_folder_list_files, folder, names);
}

Status GphotoCamera::listFolders(const std::string &folder, std::vector<std::string> &names) {
    return list(gp_camera_folder_list_folders, folder, names);
}

Status GphotoCamera::readStatus(const CameraPath &file, CameraFileStatus &fileStatus) {
    CameraFileInfo info{};
    const int code =
        gp_camera_file_get_info(camera_.get(), file.folder.c_str(), file.name.c_str(), &info, context_.get());
    if (code < GP_OK) {
        return statusOfGphoto(code, file.name);
    }
    fileStatus = {};
    const auto has = [&info](unsigned field) { return (info.file.fields & field) != 0; };
    if (has(GP_FILE_INFO_SIZE) && info.file.size < SIZE_UNSAID) {
        fileStatus.size = static_cast<std::int64_t>(info.file.size);
    }
    if (has(GP_FILE_INFO_MTIME) && info.file.mtime > 0) {
        fileStatus.modified = info.file.mtime;
    }
    if (has(GP_FILE_INFO_WIDTH) && has(GP_FILE_INFO_HEIGHT) && info.file.width > 0 && info.file.height > 0) {
        fileStatus.width = info.file.width;
        fileStatus.height = info.file.height;
    }
    return {};
}

Status GphotoCamera::readAt(const CameraPath &file, std::uint64_t offset, char *buffer, std::size_t length,
                            std::size_t &got) {
    std::uint64_t size = length;
    const int code = gp_camera_file_read(camera_.get(), file.folder.c_str(), file.name.c_str(),
                                         GP_FILE_TYPE_NORMAL, offset, buffer, &size, context_.get());
    got = code < GP_OK ? 0 : static_cast<std::size_t>(std::min<std::uint64_t>(size, length));
    return statusOfGphoto(code, file.name);
}

Status GphotoCamera::get(const CameraPath &file, CameraFileType type, CameraFile *given) {
    const int code = gp_camera_file_get(camera_.get(), file.folder.c_str(), file.name.c_str(), type, given,
                                        context_.get());
    return statusOfGphoto(code, file.name);
}

Status GphotoCamera::read(const CameraPath &file, CameraPart part, const Consumer &take) {
    return part == CameraPart::WHOLE
               ? readWhole(file, take)
               : readSmall(file, part == CameraPart::EXIF ? GP_FILE_TYPE_EXIF : GP_FILE_TYPE_PREVIEW, take);
}

// The library keeps small parts in memory until the camera is released: reading in pieces saves nothing.
Status GphotoCamera::readSmall(const CameraPath &file, CameraFileType type, const Consumer &take) {
    CameraFile *made = nullptr;
    int code = gp_file_new(&made);
    const GphotoFile given(made);
    Status status = code < GP_OK ? statusOfGphoto(code, file.name) : get(file, type, given.get());
    if (!status.ok()) {
        return status;
    }
    const char *bytes = nullptr;
    unsigned long size = 0;
    code = gp_file_get_data_and_size(given.get(), &bytes, &size);
    if (code < GP_OK || bytes == nullptr || size == 0) {
        return Status::notSupported(displayText(file.name) + ": the camera does not supply this part.");
    }
    return take({bytes, size}) ? Status() : Status::cancelled("The transfer was cancelled.");
}

Status GphotoCamera::readWhole(const CameraPath &file, const Consumer &take) {
    // A member, because the library may keep the CameraFile that refers to it.
    receiver_ = {&take, 0, false};
    CameraFileHandler handler{Receiver::size, Receiver::read, Receiver::write};
    CameraFile *made = nullptr;
    const int code = gp_file_new_from_handler(&made, &handler, &receiver_);
    const GphotoFile given(made);
    Status status =
        code < GP_OK ? statusOfGphoto(code, file.name) : get(file, GP_FILE_TYPE_NORMAL, given.get());
    receiver_.take = nullptr;
    return receiver_.isRefused ? Status::cancelled("The transfer was cancelled.") : status;
}

int GphotoCamera::Receiver::size(void *self, std::uint64_t *size) {
    *size = static_cast<Receiver *>(self)->taken;
    return GP_OK;
}

// Bytes that were passed on are not kept.
int GphotoCamera::Receiver::read(void * /*self*/, unsigned char * /*bytes*/, std::uint64_t *length) {
    *length = 0;
    return GP_ERROR_NOT_SUPPORTED;
}

int GphotoCamera::Receiver::write(void *self, unsigned char *bytes, std::uint64_t *length) {
    auto &receiver = *static_cast<Receiver *>(self);
    const std::string_view piece(reinterpret_cast<const char *>(bytes), static_cast<std::size_t>(*length));
    receiver.isRefused = receiver.isRefused || receiver.take == nullptr || !(*receiver.take)(piece);
    receiver.taken += piece.size();
    return receiver.isRefused ? GP_ERROR_CANCEL : GP_OK;
}

} // namespace mrb
