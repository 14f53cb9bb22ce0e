#pragma once

#include <string>

#include "sources/source.h"

namespace mrb {

// The description of an item that scripts read: a JSON object as text. Its keys
// are listed in docs/framework.md.
std::string describeItem(const ItemFacts &item, const ItemLocation &location);

} // namespace mrb
