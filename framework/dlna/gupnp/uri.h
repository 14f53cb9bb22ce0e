#pragma once

#include <string>

namespace mrb::dlna {

// The host of an address; empty: it has none.
std::string hostOf(const char *address);

// Whether it is one of the web that can be asked, http or https; others, such as those of
// files, could be anything.
bool isWebAddress(const std::string &address);

} // namespace mrb::dlna
