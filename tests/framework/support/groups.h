#pragma once

#include <cstddef>
#include <string>
#include <vector>

#include "support/client.h"

namespace support {

// Lays a list out in groups. Returns the code.
int groupBy(const Client &client, int style, int group = MRB_GROUP_HEADINGS);

// The number of events that report that all groups by metadata are there.
std::ptrdiff_t completions(const std::vector<Event> &events);
// Waits for that many of them.
void waitForGroups(Client &client, std::ptrdiff_t times = 1);

// Each heading and the number of its items: "Jazz: 2".
std::vector<std::string> headings(const Client &client);

} // namespace support
