#pragma once

#include <cstddef>

namespace systemlog {

/// Takes the escape sequences that set colours (ECMA-48's SGR: ESC "[", digits,
/// semicolons and colons, "m") out of `length` bytes, in place. Returns how many bytes
/// are left. Other sequences stay.
size_t removeColours(char *text, size_t length) noexcept;

} // namespace systemlog
