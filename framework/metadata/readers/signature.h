#pragma once

#include <cstdint>
#include <string_view>

namespace mrb {

// What reads a file.
enum class Medium : std::uint8_t { NONE, JPEG, PNG, GIF, BMP, WEBP, HEIF, PICTURE, MUSIC, FILM };

// What a file's first bytes, and where these leave it open its name, say it is.
struct Signature {
    Medium medium = Medium::NONE;
    const char *format = "";
    const char *mimeType = "";
};

// How many first bytes a signature needs.
inline constexpr std::size_t SIGNATURE_BYTES = 64;

// `head` may be shorter, and may be anything.
Signature signatureOf(std::string_view head, std::string_view fileName);

} // namespace mrb
