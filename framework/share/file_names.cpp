#include "share/file_names.h"

#include <algorithm>
#include <cerrno>

#include "text/text.h"

namespace mrb {
namespace {

constexpr std::string_view REFUSED = "\\:*?\"<>|";
constexpr std::string_view REFUSED_AT_END = ". ";
constexpr std::string_view REPLACEMENT_CHARACTER = "\xEF\xBF\xBD";

// The maximum length of a name in bytes on most file systems, and on those that encrypt names.
constexpr std::size_t MAX_LENGTH = 255;
constexpr std::size_t MAX_ENCRYPTED_LENGTH = 143;

// A longer one is the end of a sentence rather than an extension.
constexpr std::size_t MAX_EXTENSION_LENGTH = 16;

bool continuesCharacter(char byte) { return (static_cast<unsigned char>(byte) & 0xC0U) == 0x80U; }

std::size_t stemOf(std::string_view name, bool isFolder) {
    const std::size_t dot = name.rfind('.');
    const bool hasExtension =
        !isFolder && dot != std::string_view::npos && dot > 0 && name.size() - dot <= MAX_EXTENSION_LENGTH;
    return hasExtension ? dot : name.size();
}

} // namespace

bool isPlainName(std::string_view name) {
    constexpr std::string_view NEVER("/\0", 2);
    return !name.empty() && name != "." && name != ".." &&
           name.find_first_of(NEVER) == std::string_view::npos;
}

std::string portableName(std::string_view name) {
    std::string text = displayText(std::string(name));
    for (std::size_t at = text.find(REPLACEMENT_CHARACTER); at != std::string::npos;
         at = text.find(REPLACEMENT_CHARACTER, at)) {
        text.replace(at, REPLACEMENT_CHARACTER.size(), "_");
    }
    std::ranges::replace_if(
        text,
        [](char letter) {
            return static_cast<unsigned char>(letter) < ' ' || letter == '\x7F' ||
                   REFUSED.find(letter) != std::string_view::npos;
        },
        '_');
    if (!text.empty() && REFUSED_AT_END.find(text.back()) != std::string_view::npos) {
        text.back() = '_';
    }
    return text;
}

std::string renamedPath(std::string_view path, std::string (*rename)(std::string_view name)) {
    std::string renamed;
    while (!path.empty()) {
        const std::size_t end = std::min(path.find('/'), path.size());
        renamed.append(renamed.empty() ? "" : "/").append(rename(path.substr(0, end)));
        path.remove_prefix(std::min(end + 1, path.size()));
    }
    return renamed;
}

std::string numberedName(std::string_view name, unsigned number, bool isFolder, std::size_t maxBytes) {
    const std::size_t stem = stemOf(name, isFolder);
    std::string end = number == 0 ? "" : " (" + std::to_string(number) + ")";
    end += name.substr(stem);
    std::size_t kept = std::min(stem, maxBytes - std::min(maxBytes, end.size()));
    while (kept > 0 && kept < stem && continuesCharacter(name[kept])) {
        --kept;
    }
    return std::string(name.substr(0, kept)) + end;
}

bool NameCandidates::next(int error) {
    switch (error) {
    case EEXIST:
        return ++number_ < MAX_NUMBERS;
    case EINVAL:
    case EILSEQ:
        if (isPortable_) {
            return false;
        }
        isPortable_ = true;
        name_ = portableName(name_);
        return true;
    case ENAMETOOLONG:
        if (maxBytes_ == MAX_ENCRYPTED_LENGTH) {
            return false;
        }
        maxBytes_ = maxBytes_ > MAX_LENGTH ? MAX_LENGTH : MAX_ENCRYPTED_LENGTH;
        return true;
    default:
        return false;
    }
}

} // namespace mrb
