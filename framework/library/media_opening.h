#pragma once

#include <string>

#include "base/mount_identity.h"
#include "metadata/media_file.h"

namespace mrb {

// Opens the media file at `path` for its metadata: the path of a file of this machine, or the URL
// of one on a camera, for which it waits no longer than MediaFile::TIMEOUT. Apart from
// MediaFile, since that is also linked into the readers' library, which does not know cameras.
// MRB_ERR_DEVICE_REMOVED: the folder of the file is on another mount than `mount`.
Status openMedia(const std::string &path, const MountIdentity &mount, MediaFile &file);

} // namespace mrb
