#pragma once

#include <cstdint>
#include <optional>
#include <string_view>

#include "base/cancellation.h"
#include "base/pages.h"
#include "base/result.h"
#include "list/item_store.h"

namespace mrb {

// The key by which a list is sorted; from TITLE on it comes from the files' metadata.
enum class SortKey : std::uint8_t { SOURCE, NAME, DATE, SIZE, TYPE, TITLE, ARTIST, ALBUM, GENRE, DATE_TAKEN };
constexpr bool isOfFiles(SortKey key) { return key >= SortKey::TITLE; }

struct SortOrder {
    SortKey key = SortKey::SOURCE;
    bool descending = false;
};

// Parses a sort category as specified in mrb/agent.h, such as "DATE DESC".
Status readSortCategory(std::string_view category, SortOrder &order);

// The numbers of all items of the store in the given order; folders first unless it is
// the source's order, equal items by name and then in the source's order. No value when
// after a cancellation; `cancellation` is polled for every name and once per bounded number of
// comparisons. Where the key comes from metadata, `values` has a number for each item to
// sort by, or UNKNOWN.
std::optional<PagedVector<std::int32_t>> sortItems(const ItemStore &store, SortOrder order,
                                                   const CancellationToken &cancellation,
                                                   const std::vector<std::int64_t> &values = {});

} // namespace mrb
