#include "text/unicode.h"

#include <unicode/ustring.h>

namespace mrb {
namespace {

constexpr UChar32 REPLACEMENT = 0xFFFD;

} // namespace

void readUtf16(std::string_view bytes, std::u16string &units) {
    // UTF-8 never needs more units in UTF-16 than it has bytes.
    units.resize(bytes.size());
    const auto length = static_cast<std::int32_t>(bytes.size());
    std::int32_t written = 0;
    UErrorCode status = U_ZERO_ERROR;
    u_strFromUTF8WithSub(units.data(), length, &written, bytes.data(), length, REPLACEMENT, nullptr, &status);
    units.resize(U_SUCCESS(status) ? static_cast<std::size_t>(written) : 0);
}

} // namespace mrb
