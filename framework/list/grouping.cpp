#include "list/grouping.h"

#include <algorithm>
#include <array>
#include <chrono>
#include <cstdio>
#include <utility>
#include <vector>

#include "media/media_types.h"
#include "text/collation.h"
#include "text/first_letter.h"

namespace mrb {
namespace {

constexpr int MONTHS = 12;
constexpr std::int64_t SECONDS_A_DAY = 86'400;
// Days whose year has four digits: 1 January 0 to 31 December 9999, counted from 1970.
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

constexpr std::int64_t MAX_MONTHS = std::int64_t{10'000} * MONTHS;

// Maps every key of a grouping to a small number of its own, from 0.
std::int64_t bucketOf(const ItemStore &store, std::int32_t item, Grouping grouping,
                      const FileGroups &ofFiles) {
    switch (grouping) {
    case Grouping::TYPE:
        return store.type(item);
    case Grouping::FIRST_LETTER:
        return store.letter(item);
    case Grouping::DATE: {
        // From the newest month on, items without a date last.
        const std::int64_t month = monthOf(store.modified(item));
        return month == UNKNOWN ? MAX_MONTHS : MAX_MONTHS - 1 - month;
    }
    case Grouping::FOLDER:
        return store.folder(item);
    case Grouping::ARTIST:
    case Grouping::ALBUM:
    case Grouping::GENRE:
        return ofFiles.groupOf(item);
    case Grouping::NONE:
        break;
    }
    return 0;
}

std::int64_t keyOfBucket(std::int64_t bucket, Grouping grouping) {
    if (grouping != Grouping::DATE) {
        return bucket;
    }
    return bucket == MAX_MONTHS ? UNKNOWN : MAX_MONTHS - 1 - bucket;
}

std::size_t bucketCount(const ItemStore &store, Grouping grouping, const FileGroups &ofFiles) {
    switch (grouping) {
    case Grouping::TYPE:
        return ITEM_TYPE_LIMIT;
    case Grouping::FIRST_LETTER:
        return LETTER_LIMIT;
    case Grouping::DATE:
        return std::size_t{MAX_MONTHS} + 1;
    case Grouping::FOLDER:
        return static_cast<std::size_t>(store.folders().size());
    case Grouping::ARTIST:
    case Grouping::ALBUM:
    case Grouping::GENRE:
        return ofFiles.names.size() + 1;
    case Grouping::NONE:
        break;
    }
    return 1;
}

void sortLetters(PagedVector<std::int64_t> &letters) {
    NaturalOrder order;
    std::vector<std::pair<std::string, std::int64_t>> keyed;
    keyed.reserve(letters.size());
    for (const std::int64_t letter : letters) {
        keyed.emplace_back(letter != NO_LETTER ? order.key(letterText(static_cast<char32_t>(letter))) : "",
                           letter);
    }
    std::ranges::sort(keyed);
    std::ranges::transform(keyed, letters.begin(), &std::pair<std::string, std::int64_t>::second);
}

} // namespace

std::int32_t FileGroups::groupOf(std::int32_t item) const {
    const auto index = static_cast<std::size_t>(item);
    const std::int32_t group = index < groupOfItem.size() ? groupOfItem[index] : NO_GROUP;
    return group != NO_GROUP ? group : static_cast<std::int32_t>(names.size());
}

Groups divide(const ItemStore &store, const PagedVector<std::int32_t> &items, Grouping grouping,
              const FileGroups &ofFiles) {
    // The number of items in each bucket.
    std::vector<std::int32_t> counts(bucketCount(store, grouping, ofFiles));
    PagedVector<std::int32_t> bucketOfItem;
    bucketOfItem.reserve(items.size());
    for (const std::int32_t item : items) {
        const std::int64_t bucket = bucketOf(store, item, grouping, ofFiles);
        bucketOfItem.push_back(static_cast<std::int32_t>(bucket));
        ++counts[static_cast<std::size_t>(bucket)];
    }
    PagedVector<std::int64_t> buckets; // that have items
    buckets.reserve(std::min(items.size(), counts.size()));
    for (std::size_t bucket = 0; bucket < counts.size(); ++bucket) {
        if (counts[bucket] > 0) {
            buckets.push_back(static_cast<std::int64_t>(bucket));
        }
    }
    if (grouping == Grouping::FIRST_LETTER) {
        sortLetters(buckets);
    }
    Groups divided;
    divided.groups.reserve(buckets.size());
    std::int32_t start = 0;
    for (const std::int64_t bucket : buckets) {
        const std::int32_t count = std::exchange(counts[static_cast<std::size_t>(bucket)], start);
        divided.groups.push_back({keyOfBucket(bucket, grouping), start, count});
        start += count;
    }
    // From here on each count is the index of its group's next item.
    divided.items.resize(items.size());
    for (std::size_t index = 0; index < items.size(); ++index) {
        divided.items[static_cast<std::size_t>(counts[static_cast<std::size_t>(bucketOfItem[index])]++)] =
            items[index];
    }
    return divided;
}

std::string groupName(const ItemStore &store, Grouping grouping, const FileGroups &ofFiles,
                      std::int64_t key) {
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
        return store.folders().path(static_cast<std::int32_t>(key));
    case Grouping::ARTIST:
    case Grouping::ALBUM:
    case Grouping::GENRE:
        return std::cmp_less(key, ofFiles.names.size()) ? ofFiles.names[static_cast<std::size_t>(key)] : "";
    case Grouping::NONE:
        break;
    }
    return {};
}

} // namespace mrb
