#pragma once

#include "metadata/reading.h"

namespace mrb {

// Calls the readers, whose library is loaded on first use: that takes some ten milliseconds.
// MRB_ERR_NOT_SUPPORTED when it cannot be loaded. Any thread.
ReadMetadata readMetadata;

// Loads the readers, so that no later call waits for that. Never throws; any thread.
void loadReaders() noexcept;

} // namespace mrb
