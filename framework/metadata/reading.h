#pragma once

#include <string>

#include "base/result.h"
#include "metadata/facts.h"
#include "metadata/media_file.h"

namespace mrb {

// Takes what the open `file` says of itself. `name` is its file name, which counts where
// the bytes leave open what they are. A file that is damaged, empty or something else
// says less, or nothing, and that is a success; a code other than MRB_ERR_NONE in
// `outcome` means that it could not be read. Any thread.
using ReadMetadata = void(MediaFile &file, const std::string &name, Metadata &facts, Status &outcome);

// What the library of the readers exports.
extern "C" [[gnu::visibility("default")]] ReadMetadata mrb_read_metadata;
inline constexpr const char *READ_METADATA_SYMBOL = "mrb_read_metadata";

// Has libraries of theirs that load others do so, in a LoadingTurn, before anything is read.
using StartReaders = void();
extern "C" [[gnu::visibility("default")]] StartReaders mrb_start_readers;
inline constexpr const char *START_READERS_SYMBOL = "mrb_start_readers";

} // namespace mrb
