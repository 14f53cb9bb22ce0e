#pragma once

#include <string>

namespace mrb {

// The number (MRB_FILE_SYSTEM_...) of a file system as the kernel and libblkid name it.
int fileSystemNumber(const std::string &name);

} // namespace mrb
