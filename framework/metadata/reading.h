#pragma once

#include <string>

#include "base/result.h"
#include "metadata/media_file.h"
#include "metadata/metadata.h"

namespace mrb {

// Reads the metadata of the open `file`. `name` is its file name, which decides where the bytes
// are ambiguous. A file that is damaged, empty or something else has fewer metadata or none, and
// that is a success; a code other than MRB_ERR_NONE in `status` means that it could not be read.
// Any thread.
using ReadMetadata = void(MediaFile &file, const std::string &name, Metadata &metadata, Status &status);

// The function that the readers' library exports.
extern "C" [[gnu::visibility("default")]] ReadMetadata mrb_read_metadata;
inline constexpr const char *READ_METADATA_SYMBOL = "mrb_read_metadata";

// Makes the readers' libraries load their own plug-ins, in a LoadingTurn, before any file is
// read.
using StartReaders = void();
extern "C" [[gnu::visibility("default")]] StartReaders mrb_start_readers;
inline constexpr const char *START_READERS_SYMBOL = "mrb_start_readers";

} // namespace mrb
