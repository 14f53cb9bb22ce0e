#pragma once

#include <cstddef>

namespace systemlog {

/// Removes the escape sequences that set colours (ECMA-48's SGR: ESC "[", digits,
/// semicolons and colons, "m") from `length` bytes, in place. Returns the number of bytes
/// that remain. Other sequences stay.
size_t removeColours(char *text, size_t length) noexcept;

} // namespace systemlog
