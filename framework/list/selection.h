#pragma once

#include <cstdint>
#include <span>
#include <vector>

namespace mrb {

// The selected items of a store, by their numbers, so that no view and no sorting changes
// the selection: one bit per item, and the count. Owned by a ListSelection, which holds the
// list's lock around every call; a copy belongs to the caller.
class Selection {
  public:
    [[nodiscard]] bool contains(std::int32_t item) const {
        return static_cast<std::size_t>(item) < marks_.size() && marks_[static_cast<std::size_t>(item)];
    }
    [[nodiscard]] bool containsAll(std::span<const std::int32_t> items) const;
    [[nodiscard]] std::int32_t count() const { return count_; }

    void set(std::int32_t item, bool selected);
    void toggle(std::int32_t item) { set(item, !contains(item)); }
    void clear();

  private:
    std::vector<bool> marks_; // may be shorter than the store
    std::int32_t count_ = 0;
};

} // namespace mrb
