#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace mrb {

// What kind of reference the text of an entry is. None of these looks at a file.

// "http://host/a", with a scheme of two letters or more: one is a drive.
bool isUrl(std::string_view text);

// "file:...", in whichever of the ways people write that.
bool isFileUrl(std::string_view text);

// "E:\a" or "E:/a".
bool hasDrive(std::string_view path);

// The path of a file URL, still percent-encoded, absolute, relative or with a drive. No
// value: it is another machine's.
std::optional<std::string_view> pathOfFileUrl(std::string_view url);

// What a reference that stands where `base` holds leads to: relative to `base` (xml:base; RFC
// 3986, 5.2, but as leniently as entries are taken), unless it says more itself or there is
// no base. `base` may be relative in turn. Empty: it leads nowhere.
std::string resolved(std::string_view base, std::string_view reference);

// The bytes that the text stands for. No value: there is nothing to decode, what there is
// is no code, or a zero or one of the `illegal` letters would come out.
std::optional<std::string> percentDecoded(std::string_view text, const char *illegal = nullptr);

} // namespace mrb
