#include "media/media_types.h"

#include <strings.h>

#include <algorithm>

#include "media/mime_extension.h"
#include "mrb/agent.h"

namespace mrb {
namespace {

constexpr const char *SYSTEM_FOLDERS[] = {"$RECYCLE.BIN", "RECYCLER", "System Volume Information"};

// Sorted by extension. MIME types are the registered ones where there is one,
// else the ones that players and DLNA servers commonly use.
constexpr MediaType TYPES[] = {
    {"3g2", MRB_ITEM_TYPE_VIDEO, "video/3gpp2"},
    {"3gp", MRB_ITEM_TYPE_VIDEO, "video/3gpp"},
    {"aac", MRB_ITEM_TYPE_MUSIC, "audio/aac"},
    {"ac3", MRB_ITEM_TYPE_MUSIC, "audio/ac3"},
    {"aif", MRB_ITEM_TYPE_MUSIC, "audio/aiff"},
    {"aiff", MRB_ITEM_TYPE_MUSIC, "audio/aiff"},
    {"amr", MRB_ITEM_TYPE_MUSIC, "audio/amr"},
    {"ape", MRB_ITEM_TYPE_MUSIC, "audio/x-ape"},
    {"asf", MRB_ITEM_TYPE_VIDEO, "video/x-ms-asf"},
    {"avi", MRB_ITEM_TYPE_VIDEO, "video/x-msvideo"},
    {"avif", MRB_ITEM_TYPE_IMAGE, "image/avif"},
    {"bmp", MRB_ITEM_TYPE_IMAGE, "image/bmp"},
    {"divx", MRB_ITEM_TYPE_VIDEO, "video/x-msvideo"},
    {"dsf", MRB_ITEM_TYPE_MUSIC, "audio/x-dsf"},
    {"flac", MRB_ITEM_TYPE_MUSIC, "audio/flac"},
    {"flv", MRB_ITEM_TYPE_VIDEO, "video/x-flv"},
    {"gif", MRB_ITEM_TYPE_IMAGE, "image/gif"},
    {"heic", MRB_ITEM_TYPE_IMAGE, "image/heic"},
    {"heif", MRB_ITEM_TYPE_IMAGE, "image/heif"},
    {"jfif", MRB_ITEM_TYPE_IMAGE, "image/jpeg"},
    {"jpe", MRB_ITEM_TYPE_IMAGE, "image/jpeg"},
    {"jpeg", MRB_ITEM_TYPE_IMAGE, "image/jpeg"},
    {"jpg", MRB_ITEM_TYPE_IMAGE, "image/jpeg"},
    {"jxl", MRB_ITEM_TYPE_IMAGE, "image/jxl"},
    {"m2ts", MRB_ITEM_TYPE_VIDEO, "video/mp2t"},
    {"m3u", MRB_ITEM_TYPE_M3U, "audio/x-mpegurl"},
    {"m3u8", MRB_ITEM_TYPE_M3U, "application/vnd.apple.mpegurl"},
    {"m4a", MRB_ITEM_TYPE_MUSIC, "audio/mp4"},
    {"m4v", MRB_ITEM_TYPE_VIDEO, "video/mp4"},
    {"mka", MRB_ITEM_TYPE_MUSIC, "audio/x-matroska"},
    {"mkv", MRB_ITEM_TYPE_VIDEO, "video/x-matroska"},
    {"mov", MRB_ITEM_TYPE_VIDEO, "video/quicktime"},
    {"mp3", MRB_ITEM_TYPE_MUSIC, "audio/mpeg"},
    {"mp4", MRB_ITEM_TYPE_VIDEO, "video/mp4"},
    {"mpc", MRB_ITEM_TYPE_MUSIC, "audio/x-musepack"},
    {"mpe", MRB_ITEM_TYPE_VIDEO, "video/mpeg"},
    {"mpeg", MRB_ITEM_TYPE_VIDEO, "video/mpeg"},
    {"mpg", MRB_ITEM_TYPE_VIDEO, "video/mpeg"},
    {"mts", MRB_ITEM_TYPE_VIDEO, "video/mp2t"},
    {"oga", MRB_ITEM_TYPE_MUSIC, "audio/ogg"},
    {"ogg", MRB_ITEM_TYPE_MUSIC, "audio/ogg"},
    {"ogv", MRB_ITEM_TYPE_VIDEO, "video/ogg"},
    {"opus", MRB_ITEM_TYPE_MUSIC, "audio/ogg"},
    {"pls", MRB_ITEM_TYPE_M3U, "audio/x-scpls"},
    {"png", MRB_ITEM_TYPE_IMAGE, "image/png"},
    {"qt", MRB_ITEM_TYPE_VIDEO, "video/quicktime"},
    {"rm", MRB_ITEM_TYPE_VIDEO, "application/vnd.rn-realmedia"},
    {"rmvb", MRB_ITEM_TYPE_VIDEO, "application/vnd.rn-realmedia-vbr"},
    {"tif", MRB_ITEM_TYPE_IMAGE, "image/tiff"},
    {"tiff", MRB_ITEM_TYPE_IMAGE, "image/tiff"},
    {"tp", MRB_ITEM_TYPE_VIDEO, "video/mp2t"},
    {"trp", MRB_ITEM_TYPE_VIDEO, "video/mp2t"},
    {"ts", MRB_ITEM_TYPE_VIDEO, "video/mp2t"},
    {"vob", MRB_ITEM_TYPE_VIDEO, "video/mpeg"},
    {"wav", MRB_ITEM_TYPE_MUSIC, "audio/wav"},
    {"webm", MRB_ITEM_TYPE_VIDEO, "video/webm"},
    {"webp", MRB_ITEM_TYPE_IMAGE, "image/webp"},
    {"wma", MRB_ITEM_TYPE_MUSIC, "audio/x-ms-wma"},
    {"wmv", MRB_ITEM_TYPE_VIDEO, "video/x-ms-wmv"},
    {"wv", MRB_ITEM_TYPE_MUSIC, "audio/x-wavpack"},
    {"xspf", MRB_ITEM_TYPE_M3U, "application/xspf+xml"},
};

constexpr std::size_t MAX_EXTENSION_LENGTH = 4;

static_assert(std::ranges::is_sorted(TYPES, {}, &MediaType::extension), "the look-up is a binary search");
static_assert(std::ranges::all_of(TYPES, [](const MediaType &type) {
    return type.extension.size() <= MAX_EXTENSION_LENGTH;
}));

// For MIME types that have several extensions, or that have several names.
struct UsualExtension {
    std::string_view mimeType;
    std::string_view extension;
};

constexpr UsualExtension USUAL[] = {
    {"audio/mp3", "mp3"},     {"audio/ogg", "ogg"},
    {"audio/x-aiff", "aiff"}, {"audio/x-flac", "flac"},
    {"audio/x-m4a", "m4a"},   {"audio/x-wav", "wav"},
    {"image/jpeg", "jpg"},    {"video/avi", "avi"},
    {"video/mp4", "mp4"},     {"video/mpeg", "mpg"},
    {"video/mp2t", "ts"},     {"video/quicktime", "mov"},
    {"video/x-mkv", "mkv"},   {"video/vnd.dlna.mpeg-tts", "ts"},
};

struct ContentType {
    std::string_view name;
    TypeMask types;
};

constexpr ContentType CONTENT_TYPES[] = {
    {"", ALL_TYPES},
    {"ALL", ALL_TYPES},
    {"FOLDER", maskOf(MRB_ITEM_TYPE_FOLDER)},
    {"IMAGE", maskOf(MRB_ITEM_TYPE_IMAGE)},
    {"MUSIC", maskOf(MRB_ITEM_TYPE_MUSIC)},
    {"VIDEO", maskOf(MRB_ITEM_TYPE_VIDEO)},
    {"PLAYLIST", maskOf(MRB_ITEM_TYPE_M3U)},
};

} // namespace

std::string_view extensionOf(std::string_view fileName) {
    const std::size_t dot = fileName.rfind('.');
    return dot == std::string_view::npos || dot == 0 ? std::string_view() : fileName.substr(dot + 1);
}

std::string_view extensionOfMime(std::string_view mimeType) {
    if (const auto *usual = std::ranges::find(USUAL, mimeType, &UsualExtension::mimeType);
        usual != std::end(USUAL)) {
        return usual->extension;
    }
    const auto *type = std::ranges::find(
        TYPES, mimeType, [](const MediaType &each) { return std::string_view(each.mimeType); });
    return type != std::end(TYPES) ? type->extension : std::string_view();
}

std::string lowerCase(std::string_view text) {
    std::string lower(text);
    for (char &letter : lower) {
        letter = letter >= 'A' && letter <= 'Z' ? static_cast<char>(letter - 'A' + 'a') : letter;
    }
    return lower;
}

const MediaType *mediaTypeOf(std::string_view fileName) {
    const std::string_view written = extensionOf(fileName);
    if (written.empty() || written.size() > MAX_EXTENSION_LENGTH) {
        return nullptr;
    }
    const std::string extension = lowerCase(written);
    const MediaType *found = std::ranges::lower_bound(TYPES, extension, {}, &MediaType::extension);
    return found != std::end(TYPES) && found->extension == extension ? found : nullptr;
}

const char *itemTypeName(int itemType) {
    switch (itemType) {
    case MRB_ITEM_TYPE_FOLDER:
        return "folder";
    case MRB_ITEM_TYPE_IMAGE:
        return "image";
    case MRB_ITEM_TYPE_VIDEO:
        return "video";
    case MRB_ITEM_TYPE_MUSIC:
        return "music";
    case MRB_ITEM_TYPE_RECORD:
        return "record";
    case MRB_ITEM_TYPE_M3U:
        return "playlist";
    case MRB_ITEM_TYPE_GROUP:
        return "group";
    case MRB_ITEM_TYPE_UHD:
        return "uhd";
    case MRB_ITEM_TYPE_SCSA:
        return "scsa";
    case MRB_ITEM_TYPE_UPFOLDER:
        return "upfolder";
    case MRB_ITEM_TYPE_EMPTY:
        return "empty";
    default:
        return nullptr;
    }
}

bool isSystemFolder(const char *name) {
    for (const char *system : SYSTEM_FOLDERS) {
        if (strcasecmp(name, system) == 0) {
            return true;
        }
    }
    return false;
}

std::optional<TypeMask> typesOfContent(std::string_view contentType) {
    for (const ContentType &entry : CONTENT_TYPES) {
        if (entry.name == contentType) {
            return entry.types;
        }
    }
    return std::nullopt;
}

} // namespace mrb
