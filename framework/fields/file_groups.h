#pragma once

#include <cstdint>
#include <functional>

#include "base/cancellation.h"
#include "library/media_library.h"
#include "list/grouping.h"
#include "list/item_store.h"

namespace mrb {

// Reads the metadata of a list's files, for a grouping by one of them. `publish` gets the groups
// so far, and of how many of the items that match the filters they are, a few times a second and
// at the end. False, without that last call: the reading was cancelled. Called on a thread that
// may wait for devices, when the store does not change any more.
bool readFileGroups(const ItemStore &store, Grouping grouping, MediaLibrary &library,
                    const std::function<MediaItem(const ItemInfo &)> &fileOf,
                    const CancellationToken &cancellation,
                    const std::function<void(FileGroups groups, std::int32_t readCount)> &publish);

} // namespace mrb
