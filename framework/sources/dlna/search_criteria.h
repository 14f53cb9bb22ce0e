#pragma once

#include <string>
#include <string_view>

#include "sources/source.h"

namespace mrb {

// What a server can be asked to look for on behalf of a list, in the language of content
// directories; empty: nothing, all has to be walked through. `capabilities` are the
// server's own words. What the criteria leave open, the list filters.
std::string searchCriteria(const ListRequest &request, std::string_view capabilities);

// Whether a search could do anything for that list at all.
bool isWorthSearching(const ListRequest &request);

} // namespace mrb
