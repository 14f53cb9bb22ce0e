#include "list/page_style.h"

#include "mrb/agent.h"

namespace mrb {
namespace {

struct Entry {
    int value;
    Grouping grouping;
};

constexpr Entry GROUPINGS[] = {
    {0, Grouping::NONE},
    {MRB_PAGE_STYLE_GROUP_TYPE, Grouping::TYPE},
    {MRB_PAGE_STYLE_GROUP_FIRST_LETTER, Grouping::FIRST_LETTER},
    {MRB_PAGE_STYLE_GROUP_DATE, Grouping::DATE},
    {MRB_PAGE_STYLE_GROUP_FOLDER, Grouping::FOLDER},
    {MRB_PAGE_STYLE_GROUP_ARTIST, Grouping::ARTIST},
    {MRB_PAGE_STYLE_GROUP_ALBUM, Grouping::ALBUM},
    {MRB_PAGE_STYLE_GROUP_GENRE, Grouping::GENRE},
};

bool readGrouping(int value, Grouping &grouping) {
    for (const Entry &entry : GROUPINGS) {
        if (entry.value == value) {
            grouping = entry.grouping;
            return true;
        }
    }
    return false;
}

bool isSide(int cells) { return cells >= 1 && cells <= MRB_PAGE_MAX_ROWS; }

Status invalid(const char *what, int value) {
    return Status::invalidParameter("A page style has no " + std::string(what) + " " + std::to_string(value) +
                                    ".");
}

} // namespace

bool PageStyle::isOfGroupsAlone() const { return grouping != Grouping::NONE && groupIndex != MRB_GROUP_ALL; }

Status readPageStyle(const PageRequest &request, PageStyle &style) {
    const bool paged = (request.style & MRB_PAGE_STYLE_PAGED) != 0;
    if (!readGrouping(request.style & ~MRB_PAGE_STYLE_PAGED, style.grouping)) {
        return invalid("style", request.style);
    }
    if (request.order != MRB_PAGE_ORDER_ROWS && request.order != MRB_PAGE_ORDER_COLUMNS) {
        return invalid("order", request.order);
    }
    if (request.groupIndex < MRB_GROUP_HEADINGS) {
        return invalid("group", request.groupIndex);
    }
    style.groupIndex = request.groupIndex;
    if (paged) {
        if (!isSide(request.rows) || !isSide(request.columns)) {
            return Status::invalidParameter("A page has 1 to " + std::to_string(MRB_PAGE_MAX_ROWS) +
                                            " rows and as many columns, not " + std::to_string(request.rows) +
                                            " by " + std::to_string(request.columns) + ".");
        }
        style.rows = request.rows;
        style.columns = request.columns;
        style.byColumns = request.order == MRB_PAGE_ORDER_COLUMNS && request.rows > 1;
        style.padded = request.needPadding;
    }
    return {};
}

} // namespace mrb
