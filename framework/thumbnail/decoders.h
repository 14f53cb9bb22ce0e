#pragma once

#include "thumbnail/decoding.h"

namespace mrb::thumbnail {

// The decoders, whose library is loaded and started when they are first asked for.
// Throws std::runtime_error when it cannot be. Any thread may call it.
Decode &decoders();

} // namespace mrb::thumbnail
