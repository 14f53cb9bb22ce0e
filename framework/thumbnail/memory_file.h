#pragma once

#include <string>

#include "base/descriptor.h"
#include "base/result.h"

namespace mrb::thumbnail {

// A file in memory, which decoders open by its path like any other. Owned and used by one
// decoding; removed with the object.
class MemoryFile {
  public:
    Status write(const std::string &bytes);
    [[nodiscard]] std::string path() const { return "/proc/self/fd/" + std::to_string(file_.fd()); }

  private:
    Descriptor file_;
};

} // namespace mrb::thumbnail
