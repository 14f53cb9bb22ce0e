#pragma once

#include <cstddef>
#include <string>
#include <vector>

#include "support/client.h"

namespace support {

// Lays a list out in groups. Returns the code.
int groupBy(const Client &client, int style, int group = MRB_GROUP_HEADINGS);

// How often it was told that the groups by what files say are all there.
std::ptrdiff_t completions(const std::vector<Event> &events);
// Returns when it was told that often.
void waitForGroups(Client &client, std::ptrdiff_t times = 1);

// Each heading and the number of its items: "Jazz: 2".
std::vector<std::string> headings(const Client &client);

} // namespace support
