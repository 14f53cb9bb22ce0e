#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "base/cancellation.h"
#include "list/list.h"

namespace mrb {

// The items to be copied, determined before the copy begins.
struct CopyPlan {
    std::vector<std::int32_t> items; // files and folders of the list, in the source's order
    std::string common;              // the deepest folder that contains all of them, below the source
    std::uint32_t files = 0;
    std::uint64_t bytes = 0;  // of all files, by the sizes in the list
    std::uint64_t needed = 0; // the same in whole blocks
};

// Plans the copy of a selection: a folder is copied with everything in it that the list holds.
// `block` is the destination's block size in bytes. Returns early when it is cancelled.
CopyPlan planCopy(const List &list, const Selection &selection, std::uint64_t block,
                  const CancellationToken &cancellation);

// The common prefix of two paths of folders; whole names only.
std::string commonFolder(const std::string &one, const std::string &other);

} // namespace mrb
