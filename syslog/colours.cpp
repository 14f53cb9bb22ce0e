#include "colours.h"

#include <algorithm>

namespace systemlog {
namespace {

constexpr char ESCAPE = '\033';

bool isParameter(char byte) { return (byte >= '0' && byte <= '9') || byte == ';' || byte == ':'; }

/// The end of the colour sequence that begins at `start`; `start` when none does.
const char *endOfColour(const char *start, const char *end) {
    if (end - start < 3 || start[0] != ESCAPE || start[1] != '[') {
        return start;
    }
    const char *last = std::find_if_not(start + 2, end, isParameter);
    return last != end && *last == 'm' ? last + 1 : start;
}

} // namespace

size_t removeColours(char *text, size_t length) noexcept {
    const char *const end = text + length;
    char *written = text;
    const char *read = text;
    while (read != end) {
        const char *escape = std::find(read, end, ESCAPE);
        written = std::copy(read, escape, written);
        read = endOfColour(escape, end);
        if (read == escape && escape != end) {
            *written++ = *read++;
        }
    }
    return static_cast<size_t>(written - text);
}

} // namespace systemlog
