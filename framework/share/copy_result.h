#pragma once

#include <cstdint>

#include "base/result.h"

namespace mrb {

// How copying a file's bytes ended, from the copier up to the job.
struct CopyResult {
    Status source;            // ok: the source returned all that was read
    int destinationError = 0; // an errno
    bool isCancelled = false; // by the observer of the progress
    std::uint64_t bytes = 0;  // that were written

    // All bytes are there.
    [[nodiscard]] bool isWhole() const { return source.ok() && destinationError == 0 && !isCancelled; }
};

} // namespace mrb
