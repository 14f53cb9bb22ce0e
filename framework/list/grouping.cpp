#include "list/grouping.h"

#include <algorithm>
#include <array>
#include <chrono>
#include <cstdio>
#include <unordered_map>

#include "media/media_types.h"
#include "text/collation.h"
#include "text/first_letter.h"

namespace mrb {
namespace {

constexpr int MONTHS = 12;
constexpr std::int64_t SECONDS_A_DAY = 86'400;
// Days that four digits can show: 1 January 0 to 31 December 9999, counted from 1970.
constexpr std::int64_t FIRST_DAY = -719'528;
constexpr std::int64_t LAST_DAY = 2'932'896;

// Months since January of the year 0, in UTC.
std::int64_t monthOf(std::int64_t seconds) {
    if (seconds < FIRST_DAY * SECONDS_A_DAY || seconds >= (LAST_DAY + 1) * SECONDS_A_DAY) {
        return UNKNOWN;
    }
    const auto day = std::chrono::floor<std::chrono::days>(std::chrono::seconds(seconds));
    const std::chrono::year_month_day date{std::chrono::sys_days(day)};
    return std::int64_t{int{date.year()}} * MONTHS + unsigned{date.month()} - 1;
}

std::int64_t keyOf(const ItemStore &store, std::int32_t item, Grouping grouping) {
    switch (grouping) {
    case Grouping::TYPE:
        return store.type(item);
    case Grouping::FIRST_LETTER:
        return firstLetter(store.name(item));
    case Grouping::DATE:
        return monthOf(store.modified(item));
    case Grouping::FOLDER:
        return store.folder(item);
    case Grouping::NONE:
        break;
    }
    return 0;
}

void sortLetters(std::vector<Group> &groups) {
    NaturalOrder order;
    std::vector<std::pair<std::string, Group>> keyed;
    keyed.reserve(groups.size());
    for (Group &group : groups) {
        const bool isLetter = group.key != NO_LETTER;
        keyed.emplace_back(isLetter ? order.key(letterText(static_cast<char32_t>(group.key))) : "",
                           std::move(group));
    }
    std::ranges::sort(keyed, {}, &std::pair<std::string, Group>::first);
    std::ranges::transform(keyed, groups.begin(), [](auto &entry) { return std::move(entry.second); });
}

} // namespace

std::vector<Group> divide(const ItemStore &store, const std::vector<std::int32_t> &items, Grouping grouping) {
    std::vector<Group> groups;
    std::unordered_map<std::int64_t, std::size_t> places;
    std::size_t place = 0;
    for (const std::int32_t item : items) {
        const std::int64_t key = keyOf(store, item, grouping);
        // Neighbours are often of one group.
        if (groups.empty() || groups[place].key != key) {
            place = places.try_emplace(key, groups.size()).first->second;
            if (place == groups.size()) {
                groups.push_back({key});
            }
        }
        groups[place].items.push_back(item);
    }
    if (grouping == Grouping::FIRST_LETTER) {
        sortLetters(groups);
    } else if (grouping == Grouping::DATE) {
        std::ranges::sort(groups, std::greater(), &Group::key);
    } else {
        std::ranges::sort(groups, {}, &Group::key);
    }
    return groups;
}

std::string groupName(const ItemStore &store, Grouping grouping, std::int64_t key) {
    switch (grouping) {
    case Grouping::TYPE:
        return itemTypeName(static_cast<int>(key));
    case Grouping::FIRST_LETTER:
        return letterText(static_cast<char32_t>(key));
    case Grouping::DATE: {
        std::array<char, 32> text{};
        if (key != UNKNOWN) {
            std::snprintf(text.data(), text.size(), "%04d-%02d", static_cast<int>(key / MONTHS),
                          static_cast<int>(key % MONTHS) + 1);
        }
        return text.data();
    }
    case Grouping::FOLDER:
        return store.folderPath(static_cast<std::int32_t>(key));
    case Grouping::NONE:
        break;
    }
    return {};
}

} // namespace mrb
