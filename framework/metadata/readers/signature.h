#pragma once

#include <cstdint>
#include <string_view>

namespace mrb {

// The reader for a file.
enum class Medium : std::uint8_t { NONE, JPEG, PNG, GIF, BMP, WEBP, HEIF, PICTURE, MUSIC, FILM };

// The file's format by its first bytes, and by its name where these are ambiguous.
struct Signature {
    Medium medium = Medium::NONE;
    const char *format = "";
    const char *mimeType = "";
};

// The number of first bytes that a signature needs.
inline constexpr std::size_t SIGNATURE_BYTES = 64;

// `head` may be shorter, and may be hostile.
Signature signatureOf(std::string_view head, std::string_view fileName);

} // namespace mrb
