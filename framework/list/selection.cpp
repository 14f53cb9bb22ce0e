#include "list/selection.h"

#include <algorithm>

namespace mrb {

bool Selection::containsAll(std::span<const std::int32_t> items) const {
    return std::ranges::all_of(items, [this](std::int32_t item) { return contains(item); });
}

void Selection::set(std::int32_t item, bool selected) {
    if (contains(item) == selected) {
        return;
    }
    const auto index = static_cast<std::size_t>(item);
    if (index >= marks_.size()) {
        marks_.resize(index + 1);
    }
    marks_[index] = selected;
    count_ += selected ? 1 : -1;
}

void Selection::clear() {
    marks_.clear();
    count_ = 0;
}

} // namespace mrb
