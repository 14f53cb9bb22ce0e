#include "list/sorting.h"

#include <algorithm>
#include <numeric>

#include "base/cancellable_sort.h"
#include "mrb/agent.h"
#include "text/name_keys.h"

namespace mrb {
namespace {

struct Category {
    std::string_view name;
    SortKey key;
};

constexpr Category CATEGORIES[] = {
    {"", SortKey::SOURCE},
    {"FOLDER", SortKey::SOURCE},
    {"NAME", SortKey::NAME},
    {"TITLE", SortKey::TITLE},
    {"DATE", SortKey::DATE},
    {"SIZE", SortKey::SIZE},
    {"TYPE", SortKey::TYPE},
    {"ARTIST", SortKey::ARTIST},
    {"ALBUM", SortKey::ALBUM},
    {"GENRE", SortKey::GENRE},
    {"DATE_TAKEN", SortKey::DATE_TAKEN},
};

struct Direction {
    std::string_view suffix;
    bool descending;
};

constexpr Direction DIRECTIONS[] = {{" DESC", true}, {"-", true}, {" ASC", false}};

struct Ranked {
    std::int64_t value;
    std::uint64_t prefix; // of the name's sort key
    std::int32_t item;
    bool isFolder;
};

std::int64_t valueOf(const ItemStore &store, std::int32_t item, SortKey key) {
    switch (key) {
    case SortKey::DATE:
        return store.modified(item);
    case SortKey::SIZE:
        return store.fileSize(item);
    case SortKey::TYPE:
        return store.type(item);
    default:
        break;
    }
    return 0;
}

class Before {
  public:
    Before(SortOrder order, const NameKeys &names)
        : byName_(order.key == SortKey::NAME), descending_(order.descending), names_(names) {}

    bool operator()(const Ranked &left, const Ranked &right) const {
        if (left.isFolder != right.isFolder) {
            return left.isFolder;
        }
        if (left.value != right.value) {
            if (left.value == UNKNOWN || right.value == UNKNOWN) {
                return right.value == UNKNOWN;
            }
            return (left.value < right.value) != descending_;
        }
        if (left.prefix != right.prefix) {
            return (left.prefix < right.prefix) != (byName_ && descending_);
        }
        const int difference =
            names_.compare(static_cast<std::size_t>(left.item), static_cast<std::size_t>(right.item));
        return difference != 0 ? (difference < 0) != (byName_ && descending_) : left.item < right.item;
    }

  private:
    const bool byName_;
    const bool descending_;
    const NameKeys &names_;
};

PagedVector<std::int32_t> sourceOrder(std::int32_t size, bool descending) {
    PagedVector<std::int32_t> items(static_cast<std::size_t>(size));
    std::iota(items.begin(), items.end(), 0);
    if (descending) {
        std::ranges::reverse(items);
    }
    return items;
}

} // namespace

Status readSortCategory(std::string_view category, SortOrder &order) {
    std::string_view name = category;
    for (const Direction &direction : DIRECTIONS) {
        if (name.ends_with(direction.suffix)) {
            name.remove_suffix(direction.suffix.size());
            order.descending = direction.descending;
            break;
        }
    }
    for (const Category &entry : CATEGORIES) {
        if (name == entry.name && name.empty() == category.empty()) {
            order.key = entry.key;
            return {};
        }
    }
    return Status::notSupported("Sorting by \"" + std::string(category) + "\" is not supported.");
}

std::optional<PagedVector<std::int32_t>> sortItems(const ItemStore &store, SortOrder order,
                                                   const CancellationToken &cancellation,
                                                   const std::vector<std::int64_t> &values) {
    if (order.key == SortKey::SOURCE) {
        return sourceOrder(store.size(), order.descending);
    }
    NameKeys names;
    for (std::int32_t item = 0; item < store.size(); ++item) {
        if (cancellation.isCancelled()) {
            return std::nullopt;
        }
        names.add(store.name(item));
    }
    PagedVector<Ranked> ranked;
    ranked.reserve(names.size());
    for (std::int32_t item = 0; item < store.size(); ++item) {
        if (cancellation.isCancelled()) {
            return std::nullopt;
        }
        const auto index = static_cast<std::size_t>(item);
        const std::int64_t value = isOfFiles(order.key) ? values.at(index) : valueOf(store, item, order.key);
        ranked.push_back({value, names.prefix(index), item, store.type(item) == MRB_ITEM_TYPE_FOLDER});
    }
    if (!sortUnlessCancelled(ranked.begin(), ranked.end(), Before(order, names), cancellation)) {
        return std::nullopt;
    }
    PagedVector<std::int32_t> items(ranked.size());
    std::ranges::transform(ranked, items.begin(), &Ranked::item);
    return items;
}

} // namespace mrb
