#pragma once

#include <string>
#include <string_view>

#include "sources/source.h"

namespace mrb {

// The UPnP search criteria that a server can evaluate for a list; empty: none, and the containers
// have to be walked. `capabilities` is the server's own list of search capabilities. Filters that
// the criteria cannot express are applied by the list.
std::string searchCriteria(const ListRequest &request, std::string_view capabilities);

// Whether searching could narrow that list at all.
bool isWorthSearching(const ListRequest &request);

} // namespace mrb
