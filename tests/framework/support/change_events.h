#pragma once

#include <cstddef>

#include "support/client.h"
#include "support/folder.h"

namespace support {

// Waits until the list told that something happened to its source; what it told.
int waitForChange(Client &client);

// How often it has.
std::size_t changeCount(Client &client);

// Waits until every change that was made before has been told, by a list of a sub-folder of
// `folder`: a change is told once its source was quiet, and this witness's change is made
// after those.
void waitForAllChanges(const Folder &folder);

} // namespace support
