#pragma once

#include <cstdint>
#include <optional>
#include <string_view>

#include "base/cancellation.h"
#include "base/pages.h"
#include "base/result.h"
#include "list/item_store.h"

namespace mrb {

// By what a list is sorted; from TITLE on by what the files say.
enum class SortKey : std::uint8_t { SOURCE, NAME, DATE, SIZE, TYPE, TITLE, ARTIST, ALBUM, GENRE, DATE_TAKEN };
constexpr bool isOfFiles(SortKey key) { return key >= SortKey::TITLE; }

struct SortOrder {
    SortKey key = SortKey::SOURCE;
    bool descending = false;
};

// Reads a sort category as mrb/agent.h describes it, such as "DATE DESC".
Status readSortCategory(std::string_view category, SortOrder &order);

// The numbers of all items of the store in the given order; folders first unless
// it is the source's own, equals by name and then as the source has them. No value
// when `cancellation` is cancelled, which is asked for every name and at every bounded
// number of comparisons. Where the key is of files, `values` has a number for each
// item to sort by, or UNKNOWN.
std::optional<PagedVector<std::int32_t>> sortItems(const ItemStore &store, SortOrder order,
                                                   const CancellationToken &cancellation,
                                                   const std::vector<std::int64_t> &values = {});

} // namespace mrb
