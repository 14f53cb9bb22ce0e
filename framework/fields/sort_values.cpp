#include "fields/sort_values.h"

#include <algorithm>
#include <functional>
#include <numeric>
#include <string>

#include "base/cancellable_sort.h"
#include "fields/field_table.h"
#include "mrb/agent.h"
#include "text/collation.h"

namespace mrb {
namespace {

const char *fieldOf(SortKey key) {
    switch (key) {
    case SortKey::TITLE:
        return "TITLE";
    case SortKey::ARTIST:
        return "ARTIST";
    case SortKey::ALBUM:
        return "ALBUM";
    case SortKey::GENRE:
        return "GENRE";
    case SortKey::DATE_TAKEN:
        return "DATE_TAKEN";
    default:
        return "";
    }
}

// The positions of the texts in natural order, the same for equal texts; UNKNOWN for empty ones.
// No value: cancelled.
std::optional<std::vector<std::int64_t>> ranksOf(const std::vector<std::string> &texts,
                                                 const CancellationToken &cancellation) {
    NaturalOrder order;
    std::vector<std::pair<std::string, std::size_t>> keyed;
    for (std::size_t index = 0; index < texts.size(); ++index) {
        if (cancellation.isCancelled()) {
            return std::nullopt;
        }
        if (!texts[index].empty()) {
            keyed.emplace_back(order.key(texts[index]), index);
        }
    }
    if (!sortUnlessCancelled(keyed.begin(), keyed.end(), std::less<>(), cancellation)) {
        return std::nullopt;
    }
    std::vector<std::int64_t> numbers(texts.size(), UNKNOWN);
    std::int64_t rank = 0;
    for (std::size_t index = 0; index < keyed.size(); ++index) {
        rank += index > 0 && keyed[index].first != keyed[index - 1].first ? 1 : 0;
        numbers[keyed[index].second] = rank;
    }
    return numbers;
}

} // namespace

std::optional<std::vector<std::int64_t>> sortValues(const ItemStore &store, SortKey key,
                                                    MediaLibrary &library,
                                                    const std::function<MediaItem(const ItemInfo &)> &fileOf,
                                                    const CancellationToken &cancellation) {
    constexpr std::int64_t MAX_TRACKS = 1 << 20;
    const auto size = static_cast<std::size_t>(store.size());
    const Field &field = *findField(fieldOf(key));
    std::vector<std::string> texts(size);
    std::vector<std::int64_t> tracks(key == SortKey::ALBUM ? size : 0);
    const auto take = [&](std::int32_t item, const MediaRecord &record) {
        const auto index = static_cast<std::size_t>(item);
        const ListEntry entry{store.info(item)};
        const MetadataValue value = fieldValue(field, entry, {}, record);
        if (const auto *text = std::get_if<std::string>(&value)) {
            texts[index] = *text;
        }
        if (!tracks.empty()) {
            tracks[index] =
                std::clamp<std::int64_t>(record.metadata.number(MetadataKey::TRACK), 0, MAX_TRACKS - 1);
        }
    };
    const auto itemAt = [&](std::int32_t item) {
        MediaItem file = fileOf(store.info(item));
        if (!file.isKnown()) {
            take(item, MediaRecord());
        }
        return file;
    };
    if (!library.readAll(store.size(), itemAt, cancellation, take)) {
        return std::nullopt;
    }
    std::optional<std::vector<std::int64_t>> values = ranksOf(texts, cancellation);
    for (std::size_t index = 0; values && index < tracks.size(); ++index) {
        std::int64_t &value = (*values)[index];
        value = value == UNKNOWN ? UNKNOWN : value * MAX_TRACKS + tracks[index];
    }
    return values;
}

} // namespace mrb
