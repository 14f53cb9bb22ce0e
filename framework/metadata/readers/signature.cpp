#include "metadata/readers/signature.h"

#include <algorithm>

#include "media/media_types.h"
#include "metadata/byte_order.h"
#include "mrb/agent.h"

namespace mrb {
namespace {

using namespace std::string_view_literals;

struct Mark {
    std::size_t offset;
    std::string_view bytes;
    Signature means;
};

// The first match counts.
constexpr Mark MARKS[] = {
    {0, "\xff\xd8\xff"sv, {Medium::JPEG, "jpeg", "image/jpeg"}},
    {0, "\x89PNG\r\n\x1a\n"sv, {Medium::PNG, "png", "image/png"}},
    {0, "GIF87a"sv, {Medium::GIF, "gif", "image/gif"}},
    {0, "GIF89a"sv, {Medium::GIF, "gif", "image/gif"}},
    {8, "WEBPVP8"sv, {Medium::WEBP, "webp", "image/webp"}},
    {0, "II*\0"sv, {Medium::PICTURE, "tiff", "image/tiff"}},
    {0, "MM\0*"sv, {Medium::PICTURE, "tiff", "image/tiff"}},
    {0, "\xff\x0a"sv, {Medium::PICTURE, "jxl", "image/jxl"}},
    {4, "JXL \r\n\x87\n"sv, {Medium::PICTURE, "jxl", "image/jxl"}},
    {4, "ftypheic"sv, {Medium::HEIF, "heic", "image/heic"}},
    {4, "ftypheix"sv, {Medium::HEIF, "heic", "image/heic"}},
    {4, "ftypmif1"sv, {Medium::HEIF, "heif", "image/heif"}},
    {4, "ftypavif"sv, {Medium::HEIF, "avif", "image/avif"}},
    {4, "ftypM4A "sv, {Medium::MUSIC, "mp4", "audio/mp4"}},
    {4, "ftypM4B "sv, {Medium::MUSIC, "mp4", "audio/mp4"}},
    {4, "ftypqt  "sv, {Medium::FILM, "mov", "video/quicktime"}},
    {4, "ftyp3g2"sv, {Medium::FILM, "3gp", "video/3gpp2"}},
    {4, "ftyp3gp"sv, {Medium::FILM, "3gp", "video/3gpp"}},
    {4, "ftyp"sv, {Medium::FILM, "mp4", "video/mp4"}},
    {4, "moov"sv, {Medium::FILM, "mov", "video/quicktime"}},
    {0, "\x1a\x45\xdf\xa3"sv, {Medium::FILM, "matroska", "video/x-matroska"}},
    {8, "AVI "sv, {Medium::FILM, "avi", "video/x-msvideo"}},
    {8, "WAVE"sv, {Medium::MUSIC, "wav", "audio/wav"}},
    {8, "AIFF"sv, {Medium::MUSIC, "aiff", "audio/aiff"}},
    {8, "AIFC"sv, {Medium::MUSIC, "aiff", "audio/aiff"}},
    {0, "fLaC"sv, {Medium::MUSIC, "flac", "audio/flac"}},
    {0, "OggS"sv, {Medium::MUSIC, "ogg", "audio/ogg"}},
    {0, "ID3"sv, {Medium::MUSIC, "mp3", "audio/mpeg"}},
    {0, "MAC "sv, {Medium::MUSIC, "ape", "audio/x-ape"}},
    {0, "MPCK"sv, {Medium::MUSIC, "mpc", "audio/x-musepack"}},
    {0, "MP+"sv, {Medium::MUSIC, "mpc", "audio/x-musepack"}},
    {0, "wvpk"sv, {Medium::MUSIC, "wv", "audio/x-wavpack"}},
    {0, "DSD "sv, {Medium::MUSIC, "dsf", "audio/x-dsf"}},
    {0, "#!AMR"sv, {Medium::MUSIC, "amr", "audio/amr"}},
    {0, "\x0b\x77"sv, {Medium::MUSIC, "ac3", "audio/ac3"}},
    {0, "\x30\x26\xb2\x75\x8e\x66\xcf\x11"sv, {Medium::FILM, "asf", "video/x-ms-asf"}},
    {0, ".RMF"sv, {Medium::FILM, "rm", "application/vnd.rn-realmedia"}},
    {0, "FLV\x01"sv, {Medium::FILM, "flv", "video/x-flv"}},
    {0, "\0\0\x01\xba"sv, {Medium::FILM, "mpeg", "video/mpeg"}},
    {0, "\0\0\x01\xb3"sv, {Medium::FILM, "mpeg", "video/mpeg"}},
};

// Formats without a signature of their own, or with one that is often found in other bytes.
struct Named {
    std::string_view extension;
    Signature means;
};

constexpr Named NAMED[] = {
    {"mp3", {Medium::MUSIC, "mp3", "audio/mpeg"}},    {"aac", {Medium::MUSIC, "aac", "audio/aac"}},
    {"bmp", {Medium::BMP, "bmp", "image/bmp"}},       {"ts", {Medium::FILM, "mpegts", "video/mp2t"}},
    {"m2ts", {Medium::FILM, "mpegts", "video/mp2t"}}, {"mts", {Medium::FILM, "mpegts", "video/mp2t"}},
    {"tp", {Medium::FILM, "mpegts", "video/mp2t"}},   {"trp", {Medium::FILM, "mpegts", "video/mp2t"}},
};

// The same container may hold audio or video; then the file's name decides.
bool isSame(const Signature &found, const MediaType &named) {
    const std::string_view format = found.format;
    if (format == "mp4" || format == "mov") {
        return named.extension == "m4a" || named.extension == "m4v" || named.extension == "mp4" ||
               named.extension == "mov" || named.extension == "qt";
    }
    if (format == "matroska" || format == "webm") {
        return named.extension == "mka" || named.extension == "mkv" || named.extension == "webm";
    }
    if (format == "ogg") {
        return named.extension.starts_with("og") || named.extension == "opus";
    }
    if (format == "asf") {
        return named.extension == "wma" || named.extension == "wmv" || named.extension == "asf";
    }
    return (format == "heif" || format == "heic") && named.extension.starts_with("hei");
}

// ISO/IEC 14496-12, 4.3: "mif1" in front says only that it is a picture; the compatible brands
// after it say of which kind.
Signature ofBrands(std::string_view head, Signature found) {
    constexpr std::size_t FIRST = 16;
    constexpr std::size_t LENGTH = 4;
    const std::size_t end = std::min<std::size_t>(head.size(), bigEndian(head, 0, 4));
    for (std::size_t start = FIRST; start + LENGTH <= end; start += LENGTH) {
        const std::string_view brand = head.substr(start, LENGTH);
        if (brand == "heic" || brand == "heix") {
            return {found.medium, "heic", "image/heic"};
        }
        if (brand == "avif") {
            return {found.medium, "avif", "image/avif"};
        }
    }
    return found;
}

// RFC 8794, 11.2.4: an EBML file gives its type in its header.
Signature ofDocumentType(std::string_view head, Signature found) {
    constexpr std::string_view WEBM = "\x42\x82\x84webm";
    return head.find(WEBM) == std::string_view::npos ? found : Signature{found.medium, "webm", "video/webm"};
}

// Where the first bytes are ambiguous, later bytes of the header decide.
Signature refined(std::string_view head, Signature found) {
    const std::string_view format = found.format;
    if (format == "heif") {
        return ofBrands(head, found);
    }
    return format == "matroska" ? ofDocumentType(head, found) : found;
}

Medium mediumOf(const MediaType &type) {
    return type.itemType == MRB_ITEM_TYPE_MUSIC ? Medium::MUSIC : Medium::FILM;
}

} // namespace

Signature signatureOf(std::string_view head, std::string_view fileName) {
    const MediaType *type = mediaTypeOf(fileName);
    for (const Mark &mark : MARKS) {
        if (head.size() > mark.offset && head.substr(mark.offset).starts_with(mark.bytes)) {
            Signature found = refined(head, mark.means);
            if (type != nullptr && isSame(found, *type)) {
                found.mimeType = type->mimeType;
                found.medium = found.medium == Medium::HEIF ? Medium::HEIF : mediumOf(*type);
            }
            return found;
        }
    }
    if (type != nullptr && !head.empty()) {
        for (const Named &named : NAMED) {
            if (named.extension == type->extension) {
                return named.means;
            }
        }
    }
    return {};
}

} // namespace mrb
