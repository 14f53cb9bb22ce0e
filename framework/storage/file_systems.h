#pragma once

#include <string>

namespace mrb {

// The number (MRB_FILE_SYSTEM_...) of a file system by the name that the kernel and libblkid use.
int fileSystemNumber(const std::string &name);

} // namespace mrb
