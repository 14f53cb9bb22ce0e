#pragma once

#include "metadata/reading.h"

namespace mrb {

// Reads by the readers, whose library is loaded when they are first asked for: that takes
// some ten milliseconds. MRB_ERR_NOT_SUPPORTED when it cannot be. Any thread.
ReadMetadata readMetadata;

// Loads them, so that nobody waits for that later. Never throws; any thread.
void loadReaders() noexcept;

} // namespace mrb
