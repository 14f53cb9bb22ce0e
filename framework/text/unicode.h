#pragma once

#include <string>
#include <string_view>

namespace mrb {

// `bytes` in UTF-16; what is not UTF-8 becomes U+FFFD. Reuses the memory of `units`.
void readUtf16(std::string_view bytes, std::u16string &units);

} // namespace mrb
