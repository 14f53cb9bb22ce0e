#pragma once

#include <cstddef>
#include <string>
#include <vector>

namespace support {

// File names of every script, many of them with a common beginning, and invalid UTF-8; the
// same each time.
std::vector<std::string> variedNames(std::size_t count);

} // namespace support
