#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace mrb {

// Classifies and decodes the text of a playlist's entry. None of these functions accesses files.

// "http://host/a", with a scheme of two letters or more: one is a drive.
bool isUrl(std::string_view text);

// "file:...", in any of the usual spellings.
bool isFileUrl(std::string_view text);

// "E:\a" or "E:/a".
bool hasDrive(std::string_view path);

// The path of a file URL, still percent-encoded, absolute, relative or with a drive. No value: it
// is on another machine.
std::optional<std::string_view> pathOfFileUrl(std::string_view url);

// The target of a reference, relative to `base` (xml:base; RFC 3986, 5.2, but as lenient as
// entries are), unless the reference is absolute or `base` is empty. `base` may itself be
// relative. Empty: the reference cannot be resolved.
std::string resolved(std::string_view base, std::string_view reference);

// The percent-decoded bytes. No value: `text` has no percent sign or a malformed code, or a zero
// or one of the `illegal` characters would be decoded.
std::optional<std::string> percentDecoded(std::string_view text, const char *illegal = nullptr);

} // namespace mrb
