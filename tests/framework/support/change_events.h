#pragma once

#include <cstddef>

#include "support/client.h"
#include "support/folder.h"

namespace support {

// Waits until the list reports a change or the removal of its source; that event.
int waitForChange(Client &client);

// The number of those events so far.
std::size_t changeCount(Client &client);

// Waits until every earlier change has been reported, by means of a list of a sub-folder of
// `folder`: a change is reported once its source is quiet, and this witness's change is made
// after those.
void waitForAllChanges(const Folder &folder);

} // namespace support
