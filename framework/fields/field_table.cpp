#include "fields/field_table.h"

#include <algorithm>
#include <limits>
#include <string>

#include "media/media_types.h"
#include "metadata/formats.h"
#include "mrb/agent.h"
#include "text/text.h"

namespace mrb {
namespace {

constexpr int MOST = std::numeric_limits<int>::max();

MetadataValue numberOrNothing(std::int64_t number) {
    return number == UNKNOWN ? MetadataValue() : MetadataValue(number);
}

MetadataValue nothing(const FieldSubject & /*subject*/) { return {}; }

template <MetadataKey KEY>
MetadataValue key(const FieldSubject &subject) {
    return subject.record.metadata[KEY];
}

// ---- from the list ----

MetadataValue size(const FieldSubject &subject) { return numberOrNothing(subject.entry.info.size); }

MetadataValue modifiedTime(const FieldSubject &subject) {
    return numberOrNothing(subject.entry.info.modified);
}

// File systems without a time of creation have at least that of the last change.
MetadataValue addedTime(const FieldSubject &subject) {
    const ItemInfo &info = subject.entry.info;
    return numberOrNothing(info.created == UNKNOWN ? info.modified : info.created);
}

MetadataValue modifiedMonth(const FieldSubject &subject) {
    constexpr std::size_t YEAR_AND_MONTH = 7;
    const std::int64_t seconds = subject.entry.info.modified;
    const Json::Value time = seconds == UNKNOWN ? Json::Value() : isoTime(seconds);
    return time.isString() ? MetadataValue(time.asString().substr(0, YEAR_AND_MONTH)) : MetadataValue();
}

MetadataValue mediaType(const FieldSubject &subject) { return std::int64_t{subject.entry.info.type}; }

MetadataValue groupItemCount(const FieldSubject &subject) { return std::int64_t{subject.entry.groupItems}; }

MetadataValue filePath(const FieldSubject &subject) { return subject.location.path; }

MetadataValue url(const FieldSubject &subject) { return subject.location.url; }

MetadataValue mediaId(const FieldSubject &subject) { return subject.location.mediaId; }

MetadataValue displayName(const FieldSubject &subject) { return displayText(subject.entry.info.name); }

// ---- from the file's metadata, converted to the fields' forms ----

bool isFile(const FieldSubject &subject) {
    const auto type = subject.entry.info.type;
    return type != MRB_ITEM_TYPE_FOLDER && type != MRB_ITEM_TYPE_UPFOLDER && type != MRB_ITEM_TYPE_GROUP;
}

// The title in the metadata, else the file's name without the extension.
MetadataValue title(const FieldSubject &subject) {
    if (subject.record.metadata.has(MetadataKey::TITLE)) {
        return subject.record.metadata[MetadataKey::TITLE];
    }
    const std::string &name = subject.entry.info.name;
    const std::string_view extension = isFile(subject) ? extensionOf(name) : std::string_view();
    const std::size_t end = extension.empty() ? name.size() : name.size() - extension.size() - 1;
    return displayText(name.substr(0, end));
}

// The MIME type by the bytes, else by the name.
MetadataValue mimeType(const FieldSubject &subject) {
    const std::string &found = subject.record.metadata.text(MetadataKey::MIME_TYPE);
    return found.empty() ? subject.location.mimeType : found;
}

MetadataValue pixels(const FieldSubject &subject) {
    const Metadata &metadata = subject.record.metadata;
    const std::int64_t width = std::min<std::int64_t>(metadata.number(MetadataKey::WIDTH), MOST);
    return width * std::min<std::int64_t>(metadata.number(MetadataKey::HEIGHT), MOST);
}

MetadataValue pixelsText(const FieldSubject &subject) {
    const Metadata &metadata = subject.record.metadata;
    if (!metadata.has(MetadataKey::WIDTH)) {
        return {};
    }
    return std::to_string(metadata.number(MetadataKey::WIDTH)) + 'x' +
           std::to_string(metadata.number(MetadataKey::HEIGHT));
}

// For video, by the shorter side, so that portrait video counts as well.
MetadataValue highDefinition(const FieldSubject &subject) {
    constexpr std::int64_t LINES[] = {720, 1080, 2160};
    const Metadata &metadata = subject.record.metadata;
    const std::int64_t lines =
        std::min(metadata.number(MetadataKey::WIDTH), metadata.number(MetadataKey::HEIGHT));
    const bool isFilm = metadata.has(MetadataKey::VIDEO_CODEC);
    return isFilm
               ? MetadataValue(std::int64_t{std::ranges::count_if(LINES, [=](auto l) { return lines >= l; })})
               : MetadataValue();
}

// The thumbnail is made from the file itself, where it holds a picture: music has a cover or no
// picture.
MetadataValue thumbnailPath(const FieldSubject &subject) {
    if (!subject.location.thumbnail.empty()) {
        return subject.location.thumbnail;
    }
    const Metadata &metadata = subject.record.metadata;
    const bool hasPicture =
        metadata.number(MetadataKey::WIDTH) > 0 || metadata.number(MetadataKey::HAS_COVER) > 0;
    return hasPicture ? MetadataValue(subject.location.path) : MetadataValue();
}

MetadataValue placeText(const FieldSubject &subject) {
    constexpr int DECIMALS = 6; // a tenth of a metre
    const Metadata &metadata = subject.record.metadata;
    const auto *latitude = std::get_if<double>(&metadata[MetadataKey::LATITUDE]);
    const auto *longitude = std::get_if<double>(&metadata[MetadataKey::LONGITUDE]);
    if (latitude == nullptr || longitude == nullptr) {
        return {};
    }
    return decimalText(*latitude, DECIMALS) + ',' + decimalText(*longitude, DECIMALS);
}

// ---- written by clients ----

template <const char *const &NAME>
MetadataValue written(const FieldSubject &subject) {
    const auto found = subject.record.written.find(std::string_view(NAME));
    return found == subject.record.written.end() ? MetadataValue() : found->second;
}

constexpr const char *PLAYED_COUNT = "PLAYED_COUNT";
constexpr const char *PLAYED_TIME = "PLAYED_TIME";

MetadataValue wasPlayed(const FieldSubject &subject) {
    const MetadataValue count = written<PLAYED_COUNT>(subject);
    const auto *number = std::get_if<std::int64_t>(&count);
    return std::int64_t{number != nullptr && *number > 0 ? 1 : 0};
}

using enum FieldType;
using enum FieldNeeds;

constexpr Field FIELDS[] = {
    {"SIZE", LINT, NUMBERS, size},
    {"DURATION", LINT, FILE, key<MetadataKey::DURATION>},
    {"LONGITUDE", DOUBLE, FILE, key<MetadataKey::LONGITUDE>, false, 0, 0, true},
    {"LATITUDE", DOUBLE, FILE, key<MetadataKey::LATITUDE>, false, 0, 0, true},
    {"ALTITUDE", DOUBLE, FILE, key<MetadataKey::ALTITUDE>, false, 0, 0, true},
    {"ADDED_TIME", TIME, NUMBERS, addedTime},
    {"MODIFIED_TIME", TIME, NUMBERS, modifiedTime},
    {"PLAYED_TIME", TIME, WRITTEN, written<PLAYED_TIME>},
    {"SUBTITLE", BOOL, FILE, key<MetadataKey::HAS_SUBTITLES>},
    {"HAS_AUDIO_ONLY", BOOL, FILE, key<MetadataKey::HAS_ONLY_SOUND>},
    {"IS_DRM", BOOL, FILE, key<MetadataKey::IS_ENCRYPTED>},
    {"CONTENT_LOCK", BOOL, WRITTEN, written<CONTENT_LOCK>},
    {"CONTENT_WATCH", BOOL, WRITTEN, wasPlayed},
    {"MEDIA_TYPE", INT, NUMBERS, mediaType},
    {"GROUP_ITEM_COUNT", INT, NUMBERS, groupItemCount},
    {"SONGS_COUNT", INT, FILE, key<MetadataKey::TRACKS>},
    {"PLAYED_COUNT", INT, WRITTEN, nothing, true, 0, MOST},
    {"PLAYED_POSITION", INT, WRITTEN, nothing, true, 0, MOST},
    {"WIDTH", INT, FILE, key<MetadataKey::WIDTH>},
    {"HEIGHT", INT, FILE, key<MetadataKey::HEIGHT>},
    {"ASPECTRATIO", INT, FILE, key<MetadataKey::ASPECT_RATIO>},
    {"ORIENTATION", INT, FILE, key<MetadataKey::ORIENTATION>, true, 1, 8},
    {"RESOLUTION", INT, FILE, pixels},
    {"SAMPLERATE", INT, FILE, key<MetadataKey::SAMPLE_RATE>},
    {"BIT_RESOLUTION", INT, FILE, key<MetadataKey::SAMPLE_BITS>},
    {"BITRATE", INT, FILE, key<MetadataKey::BITRATE>},
    {"HD", INT, FILE, highDefinition},
    {"PARENTAL_RATING", INT, WRITTEN, nothing, true, 0, 99},
    {"TITLE", CHAR, FILE, title, true},
    {"FILE_PATH", CHAR, LOCATION, filePath},
    {"DISPLAY_NAME", CHAR, ENTRY, displayName},
    {"MIME_TYPE", CHAR, FILE, mimeType},
    {"ALBUM", CHAR, FILE, key<MetadataKey::ALBUM>, true},
    {"ARTIST", CHAR, FILE, key<MetadataKey::ARTIST>, true},
    {"GENRE", CHAR, FILE, key<MetadataKey::GENRE>, true},
    {"YEAR", CHAR, FILE, key<MetadataKey::YEAR>, true},
    {"VIDEO_CODEC", CHAR, FILE, key<MetadataKey::VIDEO_CODEC>},
    {"AUDIO_CODEC", CHAR, FILE, key<MetadataKey::AUDIO_CODEC>},
    {"EXPOSURE_TIME", CHAR, FILE, key<MetadataKey::EXPOSURE_TIME>},
    {"FNUMBER", CHAR, FILE, key<MetadataKey::F_NUMBER>},
    {"ISO", CHAR, FILE, key<MetadataKey::ISO>},
    {"MODEL", CHAR, FILE, key<MetadataKey::MODEL>},
    {"SYNOPSIS", CHAR, FILE, key<MetadataKey::SYNOPSIS>, true},
    {"LANGUAGE", CHAR, FILE, key<MetadataKey::LANGUAGE>},
    {"URL", CHAR, LOCATION, url},
    {"ID_MRB", CHAR, LOCATION, mediaId},
    {"RESOLUTION_DLNA", CHAR, FILE, pixelsText},
    {"DATE_TAKEN", CHAR, FILE, key<MetadataKey::DATE_TAKEN>},
    {"LOCATION_TAG", CHAR, FILE, placeText, true},
    {"MODIFIED_MONTH", CHAR, NUMBERS, modifiedMonth},
    {"FORMAT", CHAR, FILE, key<MetadataKey::FORMAT>},
    {"THUMBNAIL_PATH", CHAR, FILE, thumbnailPath},
    // Belongs to the focus of another application, which this framework does not keep.
    {"MRB_MEDIA_FOCUS_ID", CHAR, NUMBERS, nothing},
    // Set for recordings that a television made; a user's own files do not have it.
    {"TIMER_RECORD", BOOL, NUMBERS, nothing},
    {"SERIES_RECORD", BOOL, NUMBERS, nothing},
    {"TTX", BOOL, NUMBERS, nothing},
    {"AD", BOOL, NUMBERS, nothing},
    {"HARD_OF_HEARING_RADIO", BOOL, NUMBERS, nothing},
    {"DATA_SERVICE", BOOL, NUMBERS, nothing},
    {"IS_LOCAL_RECORD", BOOL, NUMBERS, nothing},
    {"CHANNEL", INT, NUMBERS, nothing},
    // Required: 0 would mean Greenwich time.
    {"TIMEZONE", INT, NUMBERS, nothing, false, 0, 0, true},
    {"PTC", INT, NUMBERS, nothing},
    {"MAJOR", INT, NUMBERS, nothing},
    {"MINOR", INT, NUMBERS, nothing},
    {"CHANNEL_TYPE", INT, NUMBERS, nothing},
    {"PROGRAM_NUM", INT, NUMBERS, nothing},
    {"EMBARGO_TIME", INT, NUMBERS, nothing},
    {"EXPIRY_TIME", INT, NUMBERS, nothing},
    {"START_TIME", INT, NUMBERS, nothing},
    {"PROGRAM_START_TIME", INT, NUMBERS, nothing},
    {"PROGRAM_END_TIME", INT, NUMBERS, nothing},
    {"PROGRAM_DATE", INT, NUMBERS, nothing},
    {"SPORTS_TYPE", INT, NUMBERS, nothing},
    {"GUIDANCE_LENGTH", INT, NUMBERS, nothing},
    {"CHANNEL_NAME", CHAR, NUMBERS, nothing},
    {"PROGRAM_TITLE", CHAR, NUMBERS, nothing},
    {"PROGRAM_CRID", CHAR, NUMBERS, nothing},
    {"GUIDANCE", CHAR, NUMBERS, nothing},
    {"MTA_URL", CHAR, NUMBERS, nothing},
};

static_assert(std::size(FIELDS) == 80);

} // namespace

std::span<const Field> fields() { return FIELDS; }

const Field *findField(std::string_view name) {
    const Field *found = std::ranges::find(FIELDS, name, &Field::name);
    return found == std::end(FIELDS) ? nullptr : found;
}

const MetadataValue *writtenValue(const Field &field, const MediaRecord &record) {
    const auto found = field.isWritable ? record.written.find(field.name) : record.written.end();
    if (found == record.written.end()) {
        return nullptr;
    }
    const auto *text = std::get_if<std::string>(&found->second);
    return text != nullptr && text->empty() ? nullptr : &found->second;
}

MetadataValue fieldValue(const Field &field, const ListEntry &entry, const ItemLocation &location,
                         const MediaRecord &record) {
    const MetadataValue *written = writtenValue(field, record);
    return written != nullptr ? *written : field.value({entry, location, record});
}

} // namespace mrb
