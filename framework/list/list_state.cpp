#include "list/list_state.h"

#include <utility>

#include "mrb/agent.h"

namespace mrb {

ListEntry ListState::describe(ViewEntry entry) const {
    ListEntry described;
    if (entry >= 0) {
        described.info = store.info(entry);
    } else if (isHeading(entry)) {
        described.group = groupOfHeading(entry);
        // The view may have changed since the cursor was put on a heading.
        const PagedVector<Group> &groups = view.groups();
        if (std::cmp_less(described.group, groups.size())) {
            const Group &group = groups[static_cast<std::size_t>(described.group)];
            described.groupItems = group.items;
            described.info.name = view.nameOf(group);
        }
    } else if (entry == UPFOLDER_ENTRY) {
        described.info = store.folderInfo(store.folders().parent(view.folder().value_or(ROOT_FOLDER)));
    }
    described.info.type = static_cast<std::uint8_t>(view.typeOf(entry));
    return described;
}

} // namespace mrb
