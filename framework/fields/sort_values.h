#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <vector>

#include "base/cancellation.h"
#include "library/media_library.h"
#include "list/item_store.h"
#include "list/sorting.h"

namespace mrb {

// For an order by metadata: a number for each item of the store by which to sort; UNKNOWN where
// the item has no such value. Reads the metadata of all items for which `fileOf` returns a path.
// No value when it was cancelled. Called by the thread that fills the list.
std::optional<std::vector<std::int64_t>> sortValues(const ItemStore &store, SortKey key,
                                                    MediaLibrary &library,
                                                    const std::function<MediaItem(const ItemInfo &)> &fileOf,
                                                    const CancellationToken &cancellation);

} // namespace mrb
