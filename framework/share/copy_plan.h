#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "base/cancellation.h"
#include "list/list.h"

namespace mrb {

// What is to be copied, before anything is.
struct CopyPlan {
    std::vector<std::int32_t> items; // files and folders of the list, in the source's order
    std::string common;              // the deepest folder that all of them lie in, below the source
    std::uint32_t files = 0;
    std::uint64_t bytes = 0;  // of all files, as far as the list knows
    std::uint64_t needed = 0; // the same in whole blocks
};

// Plans the copy of a selection: of a folder with everything that the list holds in
// it. `block` is the destination's, in bytes. Ends early when `cancellation` is cancelled.
CopyPlan planCopy(const List &list, const Selection &selection, std::uint64_t block,
                  const CancellationToken &cancellation);

// The part of the path `folder` that both have; whole names only.
std::string commonFolder(const std::string &one, const std::string &other);

} // namespace mrb
