#include "library/media_opening.h"

#include "camera_files/attached_cameras.h"
#include "camera_files/camera_media.h"

namespace mrb {

Status openMedia(const std::string &path, const MountIdentity &mount, MediaFile &file) {
    if (path.starts_with(CAMERA_URL_SCHEME)) {
        return openCameraMedia(path, file);
    }
    // Held open, so that it stays the folder that was checked, whatever is mounted there later.
    Descriptor folder;
    const int error = openFolderOf(path, mount, folder);
    return error == 0 ? file.openIn(folder.fd(), lastNameOf(path), path) : Status::ofErrno(error, path);
}

} // namespace mrb
