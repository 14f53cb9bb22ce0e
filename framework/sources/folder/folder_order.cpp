#include "sources/folder/folder_order.h"

#include <algorithm>
#include <iterator>
#include <vector>

#include "base/cancellable_sort.h"

namespace mrb {
namespace {

// A prime above the number of entries that a folder may have.
constexpr std::uint64_t STRIDE = 7'368'787;
static_assert(STRIDE > FolderContents::MAX_ENTRIES, "every entry is visited once");

struct Ranked {
    std::uint64_t prefix;
    std::uint32_t key;
    std::uint32_t entry;
};

} // namespace

bool FolderOrder::first(const FolderContents &contents, std::size_t count,
                        PagedVector<std::uint32_t> &order) const {
    const auto before = [&](std::uint32_t left, std::uint32_t right) {
        return names_.compare(contents.name(left), contents.name(right)) < 0;
    };
    const std::uint64_t size = contents.size();
    if (size == 0) {
        return true;
    }
    // A heap of the first entries so far, the last of them on top. Visited with a stride: many
    // file systems list files in an order of names, and if that is the reverse, each file would
    // come before all files visited earlier.
    for (std::uint64_t visit = 0; visit < size; ++visit) {
        if (sink_.cancellation().isCancelled()) {
            return false;
        }
        const auto entry = static_cast<std::uint32_t>(visit * STRIDE % size);
        if (order.size() == count) {
            if (!before(entry, order.front())) {
                continue;
            }
            std::ranges::pop_heap(order, before);
            order.pop_back();
        }
        order.push_back(entry);
        std::ranges::push_heap(order, before);
    }
    std::ranges::sort_heap(order, before);
    return true;
}

bool FolderOrder::rest(const FolderContents &contents, PagedVector<std::uint32_t> &order) {
    std::vector<bool> isThere(contents.size());
    for (const std::uint32_t entry : order) {
        isThere[entry] = true;
    }
    keys_.clear();
    PagedVector<Ranked> ranked;
    ranked.reserve(contents.size() - order.size());
    for (std::uint32_t entry = 0; entry < contents.size(); ++entry) {
        if (sink_.cancellation().isCancelled()) {
            return false;
        }
        if (!isThere[entry]) {
            ranked.push_back({0, static_cast<std::uint32_t>(keys_.size()), entry});
            keys_.add(contents.name(entry));
        }
    }
    for (Ranked &each : ranked) {
        if (sink_.cancellation().isCancelled()) {
            return false;
        }
        each.prefix = keys_.prefix(each.key);
    }
    const auto before = [this](const Ranked &left, const Ranked &right) {
        return left.prefix != right.prefix ? left.prefix < right.prefix
                                           : keys_.compare(left.key, right.key) < 0;
    };
    if (!sortUnlessCancelled(ranked.begin(), ranked.end(), before, sink_.cancellation())) {
        return false;
    }
    keys_.clear();
    order.reserve(contents.size());
    std::ranges::transform(ranked, std::back_inserter(order), &Ranked::entry);
    return true;
}

} // namespace mrb
