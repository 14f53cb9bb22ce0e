#pragma once

#include <string>

#include "list/list.h"
#include "sources/source.h"

namespace mrb {

// The description of an entry that scripts read: a JSON object as text. Its keys
// are listed in docs/framework.md.
std::string describeEntry(const ListEntry &entry, const ItemLocation &location,
                          const std::optional<SourceMetadata> &sourceMetadata = {});

// What a player needs to play an item from `resumePosition` seconds on, and what is known
// of the item's rating: likewise JSON text.
std::string describePlayback(const ListEntry &entry, const ItemLocation &location,
                             std::int64_t resumePosition);
std::string describeRating(const ItemLocation &location);

} // namespace mrb
