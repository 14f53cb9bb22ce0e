#pragma once

#include <cstdint>
#include <optional>

#include "list/list_state.h"
#include "list/selection.h"

namespace mrb {

// The selected items of a list; see mrb/agent.h for the meaning of its calls. They take an index
// of the view or of its groups, and return a code of mrb/result.h. Owned by the List; any
// thread may call it.
class ListSelection {
  public:
    explicit ListSelection(ListState &state) : state_(state) {}

    int toggle(std::int32_t index);
    int selectGroup(std::int32_t index, bool selected);
    void selectAll();
    void deselectAll();
    // No value: the index is out of range.
    [[nodiscard]] std::optional<bool> isSelected(std::int32_t index) const;
    [[nodiscard]] std::int32_t count() const;
    [[nodiscard]] Selection copy() const;

  private:
    ListState &state_;
    Selection selection_ MRB_GUARDED_BY(state_.lock);
};

} // namespace mrb
