#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace mrb {

// What the extension of a file name says about the file.
struct MediaType {
    std::string_view extension; // lower case, without the dot
    std::uint8_t itemType;      // an MRB_ITEM_TYPE_ of mrb/agent.h
    const char *mimeType;
};

// The MIME type of a folder.
inline constexpr const char *FOLDER_MIME_TYPE = "inode/directory";

// The part after the last dot of a file name; empty: there is none. A dot at the beginning
// starts no extension.
std::string_view extensionOf(std::string_view fileName);

// ASCII letters in lower case: no known extension has others, and the result must
// not depend on the process's locale.
std::string lowerCase(std::string_view text);

// Looks up the extension of `fileName`, ignoring the case of its letters. Null:
// not a media file.
const MediaType *mediaTypeOf(std::string_view fileName);

// The name of an item type ("image"), or null when no MRB_ITEM_TYPE_ has that number.
const char *itemTypeName(int itemType);

// Whether it is a folder in which another system keeps deleted files or indexes. Lists leave such
// folders out.
bool isSystemFolder(const char *name);

// Every MRB_ITEM_TYPE_ is smaller.
inline constexpr unsigned ITEM_TYPE_LIMIT = 32;

// One bit per item type: bit n stands for the MRB_ITEM_TYPE_ n.
using TypeMask = std::uint32_t;
inline constexpr TypeMask ALL_TYPES = ~TypeMask{0};
constexpr TypeMask maskOf(unsigned itemType) { return TypeMask{1} << itemType; }

// The item types that a content type such as "IMAGE" selects; an empty string and
// "ALL" select every type. No value: unknown content type.
std::optional<TypeMask> typesOfContent(std::string_view contentType);

} // namespace mrb
