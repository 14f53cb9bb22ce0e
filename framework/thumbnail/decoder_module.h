#pragma once

#include "thumbnail/decoder.h"

namespace mrb::thumbnail {

// The decoders, whose library is loaded and initialized on first use. Throws std::runtime_error
// when it cannot be loaded. Any thread may call it.
Decode &decoders();

} // namespace mrb::thumbnail
