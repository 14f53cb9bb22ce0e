#pragma once

#include <string_view>

namespace mrb {

// The usual extension of files of that MIME type, "jpg" of "image/jpeg"; empty: none is known.
std::string_view extensionOfMime(std::string_view mimeType);

} // namespace mrb
