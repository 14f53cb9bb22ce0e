#include "dlna/gupnp/didl.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <optional>
#include <string_view>
#include <utility>

#include "dlna/gupnp/uri.h"
#include "dlna/gupnp/xml.h"
#include "metadata/formats.h"

namespace mrb::dlna {
namespace {

// Limits for the texts and resources of one object; whatever exceeds them is omitted.
constexpr std::size_t MAX_TEXT = 16UL << 10; // bytes
constexpr std::size_t MAX_RESOURCES = 64;

// The elements of an object that are read.
enum Property : std::size_t {
    TITLE,
    CLASS,
    DATE,
    ALBUM_ART,
    CREATOR,
    ARTIST,
    ALBUM,
    GENRE,
    LONG_DESCRIPTION,
    DESCRIPTION,
    LANGUAGE,
    TRACK,
    PROPERTIES
};
constexpr std::array<std::string_view, PROPERTIES> PROPERTY_NAMES = {
    "title",           "class",       "date",     "albumArtURI",        "creator", "artist", "album", "genre",
    "longDescription", "description", "language", "originalTrackNumber"};

// The attributes of a resource that are read.
enum Attribute : std::size_t {
    PROTOCOL_INFO,
    SIZE,
    DURATION,
    BIT_RATE,
    SAMPLE_RATE,
    SAMPLE_BITS,
    RESOLUTION,
    SUBTITLES,
    TRACK_TOTAL,
    IMPORT_URI,
    ATTRIBUTES
};
constexpr std::array<std::string_view, ATTRIBUTES> ATTRIBUTE_NAMES = {
    "protocolInfo",  "size",       "duration",        "bitrate",    "sampleFrequency",
    "bitsPerSample", "resolution", "subtitleFileUri", "trackTotal", "importUri"};

// An object as it stands in the document.
struct Resource {
    std::array<std::string, ATTRIBUTES> attributes;
    std::string uri;
};
struct RawObject {
    std::string id;
    bool isContainer = false;
    bool isWhole = false; // its end tag was read
    std::array<std::string, PROPERTIES> properties;
    std::vector<Resource> resources;
};

// Collects the objects of a document, in any namespace: some servers forget to declare theirs.
// Every element in the place of an object counts as one.
class ObjectReader final : public XmlElements {
  public:
    [[nodiscard]] std::vector<RawObject> take() { return std::move(objects_); }

    void begin(std::string_view name, std::span<const XmlAttribute> attributes) override {
        ++depth_;
        const bool isObject = name == "item" || name == "container";
        const bool isInside = objectDepth_ > 0;
        const bool isNext = isInside && depth_ == objectDepth_ + 1;
        // An object directly inside another one: the end tag of the outer one is missing.
        if ((depth_ == 2 && name != "desc") || (isObject && depth_ > 2 && (isNext || !isInside))) {
            beginObject(isObject ? name : std::string_view(), attributes);
        } else if (isNext) {
            beginProperty(name, attributes);
        }
    }

    void text(std::string_view bytes) override {
        if (text_ != nullptr && depth_ == objectDepth_ + 1) {
            text_->append(bytes.substr(0, MAX_TEXT - std::min(MAX_TEXT, text_->size())));
        }
    }

    void end() override {
        if (depth_ == objectDepth_) {
            objects_.back().isWhole = true;
            objectDepth_ = 0;
            text_ = nullptr;
        } else if (depth_ == objectDepth_ + 1) {
            text_ = nullptr;
        }
        --depth_;
    }

  private:
    void beginObject(std::string_view kind, std::span<const XmlAttribute> attributes) {
        if (objectDepth_ > 0) {
            objects_.back().isWhole = true;
        }
        objectDepth_ = depth_;
        text_ = nullptr;
        RawObject &object = objects_.emplace_back();
        object.isContainer = kind == "container";
        for (const XmlAttribute &attribute : attributes) {
            if (attribute.name == "id" && !kind.empty()) {
                object.id = attribute.value;
            }
        }
    }

    void beginProperty(std::string_view name, std::span<const XmlAttribute> attributes) {
        RawObject &object = objects_.back();
        text_ = nullptr;
        if (name == "res" && object.resources.size() < MAX_RESOURCES) {
            Resource &resource = object.resources.emplace_back();
            for (const XmlAttribute &attribute : attributes) {
                const auto *const known = std::ranges::find(ATTRIBUTE_NAMES, attribute.name);
                if (known != ATTRIBUTE_NAMES.end()) {
                    resource.attributes.at(known - ATTRIBUTE_NAMES.begin()) =
                        attribute.value.substr(0, MAX_TEXT);
                }
            }
            text_ = &resource.uri;
            return;
        }
        const auto *const known = std::ranges::find(PROPERTY_NAMES, name);
        if (known != PROPERTY_NAMES.end()) {
            // The first one of that name counts.
            std::string &property = object.properties.at(known - PROPERTY_NAMES.begin());
            text_ = property.empty() ? &property : nullptr;
        }
    }

    std::vector<RawObject> objects_;
    int depth_ = 0;               // elements that are open
    int objectDepth_ = 0;         // depth of the open object; 0: no open object
    std::string *text_ = nullptr; // receives the text of the open element; null: ignored
};

std::string_view trimmed(std::string_view text) {
    constexpr std::string_view BLANKS = " \t\r\n";
    const std::size_t first = std::min(text.find_first_not_of(BLANKS), text.size());
    text.remove_prefix(first);
    return text.substr(0, text.find_last_not_of(BLANKS) + 1);
}

// A number that makes up the whole text, and is not negative.
std::optional<std::int64_t> numberOf(std::string_view text) {
    text = trimmed(text);
    std::int64_t number = 0;
    const char *last = text.data() + text.size();
    const auto [end, error] = std::from_chars(text.data(), last, number);
    return error == std::errc() && end == last && number >= 0 ? std::optional(number) : std::nullopt;
}

// The whole text as a URL that can be requested; else empty.
std::string webAddress(std::string_view text) {
    std::string address = cleanText(text);
    return trimmed(text).size() <= Metadata::MAX_TEXT_LENGTH && isWebAddress(address) ? address
                                                                                      : std::string();
}

// Removes the text up to the separator from `text`, with the separator, and returns it.
std::string_view next(std::string_view &text, char separator) {
    const std::size_t end = std::min(text.find(separator), text.size());
    const std::string_view part = text.substr(0, end);
    text.remove_prefix(std::min(end + 1, text.size()));
    return part;
}

// "http-get:*:image/jpeg:DLNA.ORG_PN=JPEG_TN;DLNA.ORG_CI=1", as specified by UPnP's
// ConnectionManager and the DLNA guidelines.
struct ProtocolInfo {
    explicit ProtocolInfo(std::string_view text) {
        isOfWeb = trimmed(next(text, ':')) == "http-get";
        next(text, ':');
        mimeType = trimmed(next(text, ':'));
        while (!text.empty()) {
            std::string_view value = next(text, ';');
            const std::string_view name = trimmed(next(value, '='));
            if (name == "DLNA.ORG_PN") {
                profile = trimmed(value);
            } else if (name == "DLNA.ORG_CI") {
                isConverted = trimmed(value) == "1";
            }
        }
    }

    bool isOfWeb = false;
    bool isConverted = false;
    std::string_view mimeType;
    std::string_view profile;
};

// Milliseconds of "H+:MM:SS[.F+]" or "H+:MM:SS[.F0/F1]". 0: not a duration.
std::int64_t durationOf(std::string_view text) {
    constexpr std::int64_t MILLISECONDS = 1000;
    constexpr std::int64_t MAX_HOURS = 100'000;
    constexpr std::int64_t SIXTY = 60;
    text = trimmed(text);
    const auto hours = numberOf(next(text, ':'));
    const auto minutes = numberOf(next(text, ':'));
    const auto seconds = numberOf(next(text, '.'));
    if (!hours || !minutes || !seconds || *hours > MAX_HOURS || *minutes >= SIXTY || *seconds >= SIXTY) {
        return 0;
    }
    std::int64_t fraction = 0;
    if (const std::size_t slash = text.find('/'); slash != std::string_view::npos) {
        const auto part = numberOf(text.substr(0, slash));
        const auto whole = numberOf(text.substr(slash + 1));
        constexpr std::int64_t MAX_PARTS = 1'000'000;
        fraction = part && whole && *part < *whole && *whole <= MAX_PARTS ? MILLISECONDS * *part / *whole : 0;
    } else {
        std::string digits(text.substr(0, 3));
        digits.resize(3, '0');
        fraction = numberOf(digits).value_or(0);
    }
    return ((*hours * SIXTY + *minutes) * SIXTY + *seconds) * MILLISECONDS + fraction;
}

void setPositive(Metadata &metadata, MetadataKey key, std::optional<std::int64_t> number,
                 std::int64_t factor = 1) {
    constexpr std::int64_t MAX = 1'000'000'000'000;
    if (number && *number > 0 && *number <= MAX) {
        metadata.setNumber(key, factor * *number);
    }
}

void setResolution(Metadata &metadata, std::string_view text) {
    constexpr std::int64_t MAX_SIDE = 1 << 20;
    constexpr std::int64_t THOUSAND = 1000;
    const std::int64_t width = numberOf(next(text, 'x')).value_or(0);
    const std::int64_t height = numberOf(text).value_or(0);
    if (width > 0 && height > 0 && width < MAX_SIDE && height < MAX_SIDE) {
        metadata.setNumber(MetadataKey::WIDTH, width);
        metadata.setNumber(MetadataKey::HEIGHT, height);
        metadata.setNumber(MetadataKey::ASPECT_RATIO, (THOUSAND * width + height / 2) / height);
    }
}

// The file itself, rather than the server's conversions for small screens: the first resource
// that is not converted; else the first. Null: none can be requested.
const Resource *mainResource(const std::vector<Resource> &resources) {
    const Resource *first = nullptr;
    for (const Resource &resource : resources) {
        const ProtocolInfo info(resource.attributes[PROTOCOL_INFO]);
        if (!info.isOfWeb || webAddress(resource.uri).empty()) {
            continue;
        }
        if (!info.isConverted) {
            return &resource;
        }
        first = first == nullptr ? &resource : first;
    }
    return first;
}

// The server's own thumbnail of a picture, which has no album art.
std::string smallPicture(const std::vector<Resource> &resources) {
    for (const Resource &resource : resources) {
        const ProtocolInfo info(resource.attributes[PROTOCOL_INFO]);
        if (info.isOfWeb && (info.profile == "JPEG_TN" || info.profile == "JPEG_SM")) {
            return webAddress(resource.uri);
        }
    }
    return {};
}

void readResource(const Resource &resource, MediaObject &object) {
    constexpr std::int64_t BITS = 8; // UPnP's bit rate is in bytes per second
    const auto &attributes = resource.attributes;
    object.url = webAddress(resource.uri);
    object.size = numberOf(attributes[SIZE]).value_or(UNKNOWN);
    Metadata &metadata = object.metadata;
    metadata.setText(MetadataKey::MIME_TYPE, ProtocolInfo(attributes[PROTOCOL_INFO]).mimeType);
    setPositive(metadata, MetadataKey::DURATION, durationOf(attributes[DURATION]));
    setPositive(metadata, MetadataKey::BITRATE, numberOf(attributes[BIT_RATE]), BITS);
    setPositive(metadata, MetadataKey::SAMPLE_RATE, numberOf(attributes[SAMPLE_RATE]));
    setPositive(metadata, MetadataKey::SAMPLE_BITS, numberOf(attributes[SAMPLE_BITS]));
    setResolution(metadata, attributes[RESOLUTION]);
    if (!attributes[SUBTITLES].empty()) {
        metadata.setNumber(MetadataKey::HAS_SUBTITLES, 1);
    }
    setPositive(metadata, MetadataKey::TRACKS, numberOf(attributes[TRACK_TOTAL]));
}

void readTexts(const RawObject &source, MediaObject &object) {
    const auto &texts = source.properties;
    const auto firstOf = [&](Property one, Property other) {
        std::string text = cleanText(texts[one]);
        return text.empty() ? cleanText(texts[other]) : text;
    };
    Metadata &metadata = object.metadata;
    metadata.setText(MetadataKey::TITLE, object.title);
    metadata.setText(MetadataKey::ARTIST, firstOf(ARTIST, CREATOR));
    metadata.setText(MetadataKey::ALBUM, texts[ALBUM]);
    metadata.setText(MetadataKey::GENRE, texts[GENRE]);
    metadata.setText(MetadataKey::SYNOPSIS, firstOf(LONG_DESCRIPTION, DESCRIPTION));
    metadata.setText(MetadataKey::LANGUAGE, texts[LANGUAGE]);
    setPositive(metadata, MetadataKey::TRACK, numberOf(texts[TRACK]));
    if (!object.upnpClass.starts_with("object.item.imageItem")) {
        metadata.setText(MetadataKey::YEAR, yearOf(object.date));
    }
    if (!object.upnpClass.starts_with("object.item.audioItem")) {
        metadata.setText(MetadataKey::DATE_TAKEN, dateOfIso(object.date));
    }
}

MediaObject describe(const RawObject &source, bool isRepaired) {
    MediaObject object;
    // An id has to be sent back to the server unchanged.
    const bool isDamaged = isRepaired && source.id.find("\uFFFD") != std::string::npos;
    if (source.isWhole && !isDamaged && source.id == cleanText(source.id)) {
        object.id = source.id;
    }
    object.title = cleanText(source.properties[TITLE]);
    object.upnpClass = cleanText(source.properties[CLASS]);
    object.date = cleanText(source.properties[DATE]);
    object.isContainer = source.isContainer;
    object.thumbnail = webAddress(source.properties[ALBUM_ART]);
    if (object.isContainer) {
        return object;
    }
    readTexts(source, object);
    if (const Resource *resource = mainResource(source.resources)) {
        readResource(*resource, object);
    }
    if (object.thumbnail.empty()) {
        object.thumbnail = smallPicture(source.resources);
    }
    return object;
}

} // namespace

Status readObjects(const std::string &didl, bool isRepaired, std::vector<MediaObject> &objects) {
    ObjectReader reader;
    Status status = walkXml(didl, reader);
    for (const RawObject &object : reader.take()) {
        objects.push_back(describe(object, isRepaired));
    }
    return status;
}

std::string importUrlOf(const std::string &didl) {
    ObjectReader reader;
    static_cast<void>(walkXml(didl, reader)); // what broken XML holds in front of its fault is used
    for (const RawObject &object : reader.take()) {
        for (const Resource &resource : object.resources) {
            if (std::string url = webAddress(resource.attributes[IMPORT_URI]); !url.empty()) {
                return url;
            }
        }
    }
    return {};
}

} // namespace mrb::dlna
