#pragma once

#include <cstdint>

#include "base/result.h"
#include "list/grouping.h"

namespace mrb {

// A page layout as it stands in a page parameter object; see mrb/agent.h for the values.
struct PageRequest {
    int style = 0;
    int order = 0;
    int groupIndex = 0;
    int rows = 0;
    int columns = 0;
    bool needPadding = false;
};

// The same, validated.
struct PageStyle {
    Grouping grouping = Grouping::NONE;
    std::int32_t groupIndex = 0; // one group, or MRB_GROUP_ALL or MRB_GROUP_HEADINGS; ignored without groups
    std::int32_t rows = 1;
    std::int32_t columns = 1;
    bool byColumns = false;
    bool padded = false;

    [[nodiscard]] std::int32_t pageSize() const { return rows * columns; }
    // True: the view holds one group's items or the headings only.
    [[nodiscard]] bool isOfGroupsAlone() const;
    // True: entries follow each other in the order of the items.
    [[nodiscard]] bool isPlain() const { return grouping == Grouping::NONE && !byColumns && !padded; }
};

Status readPageStyle(const PageRequest &request, PageStyle &style);

} // namespace mrb
