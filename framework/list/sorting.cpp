#include "list/sorting.h"

#include <algorithm>
#include <deque>
#include <numeric>
#include <string>

#include "mrb/agent.h"
#include "text/collation.h"

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

// How many comparisons pass between two questions whether to go on: a millisecond's worth.
constexpr unsigned PATIENCE = 4096;

// Thrown out of a sort that is not wanted any more, and caught in this file.
struct Stopped {};

// Texts that never move, side by side.
class Arena {
  public:
    std::string_view keep(const std::string &text) {
        if (blocks_.empty() || blocks_.back().capacity() - blocks_.back().size() < text.size()) {
            blocks_.emplace_back().reserve(std::max(BLOCK, text.size()));
        }
        std::string &block = blocks_.back();
        const std::size_t start = block.size();
        block += text;
        return std::string_view(block).substr(start);
    }

  private:
    static constexpr std::size_t BLOCK = 1UL << 20;
    std::deque<std::string> blocks_;
};

struct Ranked {
    std::int64_t value;
    std::string_view name; // its collation key
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
    Before(SortOrder order, const std::function<bool()> &stopped)
        : byName_(order.key == SortKey::NAME), descending_(order.descending), stopped_(stopped) {}

    bool operator()(const Ranked &left, const Ranked &right) {
        if (++comparisons_ % PATIENCE == 0 && stopped_()) {
            throw Stopped();
        }
        if (left.isFolder != right.isFolder) {
            return left.isFolder;
        }
        if (left.value != right.value) {
            if (left.value == UNKNOWN || right.value == UNKNOWN) {
                return right.value == UNKNOWN;
            }
            return (left.value < right.value) != descending_;
        }
        if (const int difference = left.name.compare(right.name); difference != 0) {
            return (difference < 0) != (byName_ && descending_);
        }
        return left.item < right.item;
    }

  private:
    const bool byName_;
    const bool descending_;
    const std::function<bool()> &stopped_;
    unsigned comparisons_ = 0;
};

std::vector<Ranked> rank(const ItemStore &store, SortKey key, const std::vector<std::int64_t> &values,
                         const std::function<bool()> &stopped, Arena &arena) {
    NaturalOrder names;
    std::vector<Ranked> ranked;
    ranked.reserve(static_cast<std::size_t>(store.size()));
    for (std::int32_t item = 0; item < store.size(); ++item) {
        if (static_cast<unsigned>(item) % PATIENCE == 0 && stopped()) {
            throw Stopped();
        }
        const std::int64_t value =
            isOfFiles(key) ? values.at(static_cast<std::size_t>(item)) : valueOf(store, item, key);
        ranked.push_back(
            {value, arena.keep(names.key(store.name(item))), item, store.type(item) == MRB_ITEM_TYPE_FOLDER});
    }
    return ranked;
}

std::vector<std::int32_t> sourceOrder(std::int32_t size, bool descending) {
    std::vector<std::int32_t> items(static_cast<std::size_t>(size));
    std::iota(items.begin(), items.end(), 0);
    if (descending) {
        std::ranges::reverse(items);
    }
    return items;
}

} // namespace

Outcome readSortCategory(std::string_view category, SortOrder &order) {
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
    return {MRB_ERR_NOT_SUPPORTED, "Sorting by \"" + std::string(category) + "\" is not supported."};
}

std::optional<std::vector<std::int32_t>> sortItems(const ItemStore &store, SortOrder order,
                                                   const std::function<bool()> &stopped,
                                                   const std::vector<std::int64_t> &values) {
    if (order.key == SortKey::SOURCE) {
        return sourceOrder(store.size(), order.descending);
    }
    try {
        Arena arena;
        std::vector<Ranked> ranked = rank(store, order.key, values, stopped, arena);
        // A reference: the algorithm copies the comparison about, and its count with it.
        Before before(order, stopped);
        std::sort(ranked.begin(), ranked.end(), std::ref(before));
        std::vector<std::int32_t> items;
        items.reserve(ranked.size());
        for (const Ranked &entry : ranked) {
            items.push_back(entry.item);
        }
        return items;
    } catch (const Stopped &) {
        return std::nullopt;
    }
}

} // namespace mrb
