#pragma once

#include <cstdint>
#include <functional>

#include "base/cancellation.h"
#include "library/media_library.h"
#include "list/grouping.h"
#include "list/item_store.h"

namespace mrb {

// Reads what the files of a list say, for a grouping by that. `publish` is given what is
// known so far and of how many of the items that passed the filters, a few times a second
// and at the end. False, and no such last time: `cancellation` is cancelled. Called on a thread
// that may wait for devices, when the store does not change any more.
bool readFileGroups(const ItemStore &store, Grouping grouping, MediaLibrary &library,
                    const std::function<MediaItem(const ItemFacts &)> &fileOf,
                    const CancellationToken &cancellation,
                    const std::function<void(FileGroups groups, std::int32_t known)> &publish);

} // namespace mrb
