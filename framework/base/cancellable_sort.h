#pragma once

#include <algorithm>

#include "base/cancellation.h"

namespace mrb {

// Sorts like std::sort, but gives up on a cancellation; the order is then unspecified. The
// token is polled once per COMPARISONS_PER_CHECK, which take far below a millisecond.
inline constexpr unsigned COMPARISONS_PER_CHECK = 256;

template <typename Iterator, typename Before>
[[nodiscard]] bool sortUnlessCancelled(Iterator begin, Iterator end, const Before &before,
                                       const CancellationToken &cancellation) {
    // Only an exception can leave a standard sort.
    struct Cancelled {};
    unsigned comparisons = 0;
    try {
        std::sort(begin, end, [&](const auto &left, const auto &right) {
            if (++comparisons % COMPARISONS_PER_CHECK == 0 && cancellation.isCancelled()) {
                throw Cancelled();
            }
            return before(left, right);
        });
    } catch (const Cancelled &) {
        return false;
    }
    return true;
}

} // namespace mrb
