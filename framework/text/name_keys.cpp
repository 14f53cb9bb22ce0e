#include "text/name_keys.h"

#include <algorithm>

namespace mrb {

void NameKeys::add(std::string_view name) {
    const std::string_view made = order_.transientKey(name).substr(0, MAX_KEY_LENGTH);
    if (keys_.empty()) {
        common_ = made.size();
    } else {
        const std::string_view first = key(0).substr(0, common_);
        common_ = static_cast<std::size_t>(std::ranges::mismatch(first, made).in1 - first.begin());
    }
    keys_.push_back({text_.add(made), static_cast<std::uint32_t>(made.size())});
}

// A key that is shorter counts as if zeros followed, the smallest byte.
std::uint64_t NameKeys::prefix(std::size_t number) const {
    const std::string_view rest = key(number).substr(common_);
    std::uint64_t prefix = 0;
    for (std::size_t index = 0; index < sizeof prefix; ++index) {
        const auto byte = index < rest.size() ? static_cast<unsigned char>(rest[index]) : std::uint8_t{0};
        prefix = prefix << 8U | byte;
    }
    return prefix;
}

void NameKeys::clear() {
    keys_.clear();
    text_.clear();
    common_ = 0;
}

} // namespace mrb
