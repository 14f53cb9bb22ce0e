#pragma once

#include <cstdint>
#include <optional>

#include "list/list_state.h"

namespace mrb {

// A client's position in a list: the layout of its pages, the folder that is shown, and the
// entry under the cursor. Initially, and when its entry leaves the view, the cursor is on
// the first one. Owned by the List; any thread may call it.
class ListCursor {
  public:
    explicit ListCursor(ListState &state) : state_(state) {}

    // Puts the cursor on an entry; false when the index is out of range.
    bool moveTo(std::int32_t index);

    // The entry under the cursor; no value: the view is empty.
    [[nodiscard]] std::optional<ListEntry> current() const;
    // The same without the name, id and folder of an item, which cost more than the rest.
    [[nodiscard]] std::optional<ListEntry> currentWithoutText() const;

    // Lays the view out; a code of mrb/result.h.
    int setStyle(const PageStyle &style);

    // One of the MRB_NAVIGATION_ values; a code of mrb/result.h.
    int navigate(int navigation);
    [[nodiscard]] int navigation() const;

  private:
    [[nodiscard]] std::optional<ViewEntry> underCursor() const MRB_REQUIRES(state_.lock);
    int enterFolder() MRB_REQUIRES(state_.lock);
    int leaveFolder() MRB_REQUIRES(state_.lock);
    void keepCursor() MRB_REQUIRES(state_.lock);

    ListState &state_;
    std::optional<ViewEntry> cursor_ MRB_GUARDED_BY(state_.lock);
};

} // namespace mrb
