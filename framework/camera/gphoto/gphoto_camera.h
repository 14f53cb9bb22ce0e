#pragma once

#include <utility>

#include "base/cancellation.h"
#include "base/mutex.h"
#include "camera/gphoto/gphoto_library.h"

namespace mrb {

// The status of a libgphoto2 code; the message is libgphoto2's text, preceded by `about`.
Status statusOfGphoto(int code, const std::string &about);

// A camera that libgphoto2 has claimed. Owned by its opener; one thread at a time.
class GphotoCamera final : public Camera {
  public:
    using Handle = GphotoHandle;

    // `loading` is locked while its driver is unloaded, and outlives it.
    GphotoCamera(Handle camera, Mutex &loading);
    ~GphotoCamera() override;

    void cancelWith(CancellationToken cancellation) override { cancellation_ = std::move(cancellation); }
    Status readSizes(CameraSizes &sizes) override;
    Status listFiles(const std::string &folder, std::vector<std::string> &names) override;
    Status listFolders(const std::string &folder, std::vector<std::string> &names) override;
    Status readStatus(const CameraPath &file, CameraFileStatus &fileStatus) override;
    Status readAt(const CameraPath &file, std::uint64_t offset, char *buffer, std::size_t length,
                  std::size_t &got) override;
    Status read(const CameraPath &file, CameraPart part, const Consumer &take) override;

  private:
    // Receives a file from the library, piece by piece.
    struct Receiver {
        const Consumer *take = nullptr;
        std::uint64_t taken = 0;
        bool isRefused = false;

        static int size(void *self, std::uint64_t *size);
        static int read(void *self, unsigned char *bytes, std::uint64_t *length);
        static int write(void *self, unsigned char *bytes, std::uint64_t *length);
    };

    Status get(const CameraPath &file, CameraFileType type, CameraFile *given);
    Status readSmall(const CameraPath &file, CameraFileType type, const Consumer &take);
    Status readWhole(const CameraPath &file, const Consumer &take);
    using ListNames = int(::Camera *, const char *, CameraList *, GPContext *);
    Status list(ListNames &listNames, const std::string &folder, std::vector<std::string> &names);

    CancellationToken cancellation_;
    Receiver receiver_;
    const GphotoContext context_{gp_context_new()};
    Mutex &loading_;
    Handle camera_; // open
};

} // namespace mrb
