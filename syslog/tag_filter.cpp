#include "tag_filter.h"

#include <algorithm>

namespace systemlog {
namespace {

// Tags are compared independently of the locale.
char lowered(char letter) {
    return letter >= 'A' && letter <= 'Z' ? static_cast<char>(letter - 'A' + 'a') : letter;
}

bool isSame(std::string_view one, std::string_view other) {
    return std::equal(one.begin(), one.end(), other.begin(), other.end(),
                      [](char left, char right) { return lowered(left) == lowered(right); });
}

std::string_view withoutSpaces(std::string_view text) {
    const size_t first = text.find_first_not_of(' ');
    return first == std::string_view::npos ? std::string_view()
                                           : text.substr(first, text.find_last_not_of(' ') - first + 1);
}

} // namespace

TagFilter::TagFilter(const char *list) {
    std::string_view rest = list == nullptr ? "" : list;
    while (!rest.empty()) {
        const size_t comma = std::min(rest.find(','), rest.size());
        const std::string_view tag = withoutSpaces(rest.substr(0, comma));
        if (!tag.empty()) {
            tags_.emplace_back(tag);
        }
        rest.remove_prefix(std::min(comma + 1, rest.size()));
    }
}

bool TagFilter::admits(std::string_view tag) const noexcept {
    const size_t hyphen = tag.rfind('-');
    const std::string_view last = hyphen == std::string_view::npos ? tag : tag.substr(hyphen + 1);
    return tags_.empty() || std::any_of(tags_.begin(), tags_.end(), [&](const std::string &listed) {
               return isSame(listed, tag) || isSame(listed, last);
           });
}

} // namespace systemlog
