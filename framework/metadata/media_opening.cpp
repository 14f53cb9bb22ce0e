#include "metadata/media_opening.h"

#include "ptp/attached_cameras.h"
#include "ptp/camera_media.h"

namespace mrb {

Outcome openMedia(const std::string &path, MediaFile &file) {
    return path.starts_with(CAMERA_URL_SCHEME) ? openCameraMedia(path, file) : file.open(path);
}

} // namespace mrb
