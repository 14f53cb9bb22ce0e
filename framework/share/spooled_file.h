#pragma once

#include <cstdint>
#include <string>

#include "base/cancellation.h"
#include "share/copy_source.h"
#include "share/new_file.h"

namespace mrb {

// Buffers an item that is not a local file in an unnamed temporary file, so that it can be read
// in any order and repeatedly. The space is freed with the object. Owned and used by one thread.
class SpooledFile {
  public:
    // Reads the most recently opened file of `source`; `name` is for error messages.
    // MRB_ERR_CANCELLED: it was cancelled; MRB_ERR_NO_SPACE: the folder for temporary files
    // (TMPDIR, else /var/tmp) is full.
    Status fill(CopySource &copySource, const std::string &name, const CancellationToken &cancellation);

    [[nodiscard]] int fd() const { return file_.fd(); }
    [[nodiscard]] std::uint64_t size() const { return size_; } // bytes

  private:
    NewFile file_;
    std::uint64_t size_ = 0;
};

} // namespace mrb
