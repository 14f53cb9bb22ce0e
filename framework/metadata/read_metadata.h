#pragma once

#include <string>

#include "base/result.h"
#include "metadata/facts.h"
#include "metadata/media_file.h"

namespace mrb {

// What the open `file` says of itself. `name` is its file name, which counts where
// the bytes leave open what they are. A file that is damaged, empty or something else
// says less, or nothing, and that is a success; a code other than MRB_ERR_NONE means
// that it could not be read. Any thread.
Outcome readMetadata(MediaFile &file, const std::string &name, Metadata &facts);

} // namespace mrb
