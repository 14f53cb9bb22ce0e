#pragma once

#include <string>

namespace mrb::dlna {

// The host of a URL; empty: it has none.
std::string hostOf(const char *address);

// Whether it is an HTTP or HTTPS URL, which can be requested; other schemes, such as file,
// are refused.
bool isWebAddress(const std::string &address);

} // namespace mrb::dlna
