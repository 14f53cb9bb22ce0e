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

FactValue numberOrNothing(std::int64_t number) { return number == UNKNOWN ? FactValue() : FactValue(number); }

FactValue nothing(const FieldSubject & /*subject*/) { return {}; }

template <Fact FACT>
FactValue fact(const FieldSubject &subject) {
    return subject.record.facts[FACT];
}

// ---- from the list ----

FactValue size(const FieldSubject &subject) { return numberOrNothing(subject.entry.info.size); }

FactValue modifiedTime(const FieldSubject &subject) { return numberOrNothing(subject.entry.info.modified); }

// File systems without a time of creation have at least that of the last change.
FactValue addedTime(const FieldSubject &subject) {
    const ItemInfo &info = subject.entry.info;
    return numberOrNothing(info.created == UNKNOWN ? info.modified : info.created);
}

FactValue modifiedMonth(const FieldSubject &subject) {
    constexpr std::size_t YEAR_AND_MONTH = 7;
    const std::int64_t seconds = subject.entry.info.modified;
    const Json::Value time = seconds == UNKNOWN ? Json::Value() : isoTime(seconds);
    return time.isString() ? FactValue(time.asString().substr(0, YEAR_AND_MONTH)) : FactValue();
}

FactValue mediaType(const FieldSubject &subject) { return std::int64_t{subject.entry.info.type}; }

FactValue groupItemCount(const FieldSubject &subject) { return std::int64_t{subject.entry.groupItems}; }

FactValue filePath(const FieldSubject &subject) { return subject.location.path; }

FactValue url(const FieldSubject &subject) { return subject.location.url; }

FactValue mediaId(const FieldSubject &subject) { return subject.location.mediaId; }

FactValue displayName(const FieldSubject &subject) { return displayText(subject.entry.info.name); }

// ---- from the file's metadata, converted to the fields' forms ----

bool isFile(const FieldSubject &subject) {
    const auto type = subject.entry.info.type;
    return type != MRB_ITEM_TYPE_FOLDER && type != MRB_ITEM_TYPE_UPFOLDER && type != MRB_ITEM_TYPE_GROUP;
}

// The title in the metadata, else the file's name without the extension.
FactValue title(const FieldSubject &subject) {
    if (subject.record.facts.has(Fact::TITLE)) {
        return subject.record.facts[Fact::TITLE];
    }
    const std::string &name = subject.entry.info.name;
    const std::string_view extension = isFile(subject) ? extensionOf(name) : std::string_view();
    const std::size_t end = extension.empty() ? name.size() : name.size() - extension.size() - 1;
    return displayText(name.substr(0, end));
}

// The MIME type by the bytes, else by the name.
FactValue mimeType(const FieldSubject &subject) {
    const std::string &found = subject.record.facts.text(Fact::MIME_TYPE);
    return found.empty() ? subject.location.mimeType : found;
}

FactValue pixels(const FieldSubject &subject) {
    const Metadata &facts = subject.record.facts;
    const std::int64_t width = std::min<std::int64_t>(facts.number(Fact::WIDTH), MOST);
    return width * std::min<std::int64_t>(facts.number(Fact::HEIGHT), MOST);
}

FactValue pixelsText(const FieldSubject &subject) {
    const Metadata &facts = subject.record.facts;
    if (!facts.has(Fact::WIDTH)) {
        return {};
    }
    return std::to_string(facts.number(Fact::WIDTH)) + 'x' + std::to_string(facts.number(Fact::HEIGHT));
}

// For video, by the shorter side, so that portrait video counts as well.
FactValue highDefinition(const FieldSubject &subject) {
    constexpr std::int64_t LINES[] = {720, 1080, 2160};
    const Metadata &facts = subject.record.facts;
    const std::int64_t lines = std::min(facts.number(Fact::WIDTH), facts.number(Fact::HEIGHT));
    const bool isFilm = facts.has(Fact::VIDEO_CODEC);
    return isFilm ? FactValue(std::int64_t{std::ranges::count_if(LINES, [=](auto l) { return lines >= l; })})
                  : FactValue();
}

// The thumbnail is made from the file itself, where it holds a picture: music has a cover or no
// picture.
FactValue thumbnailPath(const FieldSubject &subject) {
    if (!subject.location.thumbnail.empty()) {
        return subject.location.thumbnail;
    }
    const Metadata &facts = subject.record.facts;
    const bool hasPicture = facts.number(Fact::WIDTH) > 0 || facts.number(Fact::HAS_COVER) > 0;
    return hasPicture ? FactValue(subject.location.path) : FactValue();
}

FactValue placeText(const FieldSubject &subject) {
    constexpr int DECIMALS = 6; // a tenth of a metre
    const Metadata &facts = subject.record.facts;
    const auto *latitude = std::get_if<double>(&facts[Fact::LATITUDE]);
    const auto *longitude = std::get_if<double>(&facts[Fact::LONGITUDE]);
    if (latitude == nullptr || longitude == nullptr) {
        return {};
    }
    return decimalText(*latitude, DECIMALS) + ',' + decimalText(*longitude, DECIMALS);
}

// ---- written by clients ----

template <const char *const &NAME>
FactValue written(const FieldSubject &subject) {
    const auto found = subject.record.written.find(std::string_view(NAME));
    return found == subject.record.written.end() ? FactValue() : found->second;
}

constexpr const char *PLAYED_COUNT = "PLAYED_COUNT";
constexpr const char *PLAYED_TIME = "PLAYED_TIME";

FactValue wasPlayed(const FieldSubject &subject) {
    const FactValue count = written<PLAYED_COUNT>(subject);
    const auto *number = std::get_if<std::int64_t>(&count);
    return std::int64_t{number != nullptr && *number > 0 ? 1 : 0};
}

using enum FieldType;
using enum FieldNeeds;

constexpr Field FIELDS[] = {
    {"SIZE", LINT, NUMBERS, size},
    {"DURATION", LINT, FILE, fact<Fact::DURATION>},
    {"LONGITUDE", DOUBLE, FILE, fact<Fact::LONGITUDE>, false, 0, 0, true},
    {"LATITUDE", DOUBLE, FILE, fact<Fact::LATITUDE>, false, 0, 0, true},
    {"ALTITUDE", DOUBLE, FILE, fact<Fact::ALTITUDE>, false, 0, 0, true},
    {"ADDED_TIME", TIME, NUMBERS, addedTime},
    {"MODIFIED_TIME", TIME, NUMBERS, modifiedTime},
    {"PLAYED_TIME", TIME, WRITTEN, written<PLAYED_TIME>},
    {"SUBTITLE", BOOL, FILE, fact<Fact::HAS_SUBTITLES>},
    {"HAS_AUDIO_ONLY", BOOL, FILE, fact<Fact::HAS_ONLY_SOUND>},
    {"IS_DRM", BOOL, FILE, fact<Fact::IS_ENCRYPTED>},
    {"CONTENT_LOCK", BOOL, WRITTEN, written<CONTENT_LOCK>},
    {"CONTENT_WATCH", BOOL, WRITTEN, wasPlayed},
    {"MEDIA_TYPE", INT, NUMBERS, mediaType},
    {"GROUP_ITEM_COUNT", INT, NUMBERS, groupItemCount},
    {"SONGS_COUNT", INT, FILE, fact<Fact::TRACKS>},
    {"PLAYED_COUNT", INT, WRITTEN, nothing, true, 0, MOST},
    {"PLAYED_POSITION", INT, WRITTEN, nothing, true, 0, MOST},
    {"WIDTH", INT, FILE, fact<Fact::WIDTH>},
    {"HEIGHT", INT, FILE, fact<Fact::HEIGHT>},
    {"ASPECTRATIO", INT, FILE, fact<Fact::ASPECT_RATIO>},
    {"ORIENTATION", INT, FILE, fact<Fact::ORIENTATION>, true, 1, 8},
    {"RESOLUTION", INT, FILE, pixels},
    {"SAMPLERATE", INT, FILE, fact<Fact::SAMPLE_RATE>},
    {"BIT_RESOLUTION", INT, FILE, fact<Fact::SAMPLE_BITS>},
    {"BITRATE", INT, FILE, fact<Fact::BITRATE>},
    {"HD", INT, FILE, highDefinition},
    {"PARENTAL_RATING", INT, WRITTEN, nothing, true, 0, 99},
    {"TITLE", CHAR, FILE, title, true},
    {"FILE_PATH", CHAR, PLACE, filePath},
    {"DISPLAY_NAME", CHAR, ENTRY, displayName},
    {"MIME_TYPE", CHAR, FILE, mimeType},
    {"ALBUM", CHAR, FILE, fact<Fact::ALBUM>, true},
    {"ARTIST", CHAR, FILE, fact<Fact::ARTIST>, true},
    {"GENRE", CHAR, FILE, fact<Fact::GENRE>, true},
    {"YEAR", CHAR, FILE, fact<Fact::YEAR>, true},
    {"VIDEO_CODEC", CHAR, FILE, fact<Fact::VIDEO_CODEC>},
    {"AUDIO_CODEC", CHAR, FILE, fact<Fact::AUDIO_CODEC>},
    {"EXPOSURE_TIME", CHAR, FILE, fact<Fact::EXPOSURE_TIME>},
    {"FNUMBER", CHAR, FILE, fact<Fact::F_NUMBER>},
    {"ISO", CHAR, FILE, fact<Fact::ISO>},
    {"MODEL", CHAR, FILE, fact<Fact::MODEL>},
    {"SYNOPSIS", CHAR, FILE, fact<Fact::SYNOPSIS>, true},
    {"LANGUAGE", CHAR, FILE, fact<Fact::LANGUAGE>},
    {"URL", CHAR, PLACE, url},
    {"ID_MRB", CHAR, PLACE, mediaId},
    {"RESOLUTION_DLNA", CHAR, FILE, pixelsText},
    {"DATE_TAKEN", CHAR, FILE, fact<Fact::DATE_TAKEN>},
    {"LOCATION_TAG", CHAR, FILE, placeText, true},
    {"MODIFIED_MONTH", CHAR, NUMBERS, modifiedMonth},
    {"FORMAT", CHAR, FILE, fact<Fact::FORMAT>},
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

const FactValue *writtenValue(const Field &field, const MediaRecord &record) {
    const auto found = field.isWritable ? record.written.find(field.name) : record.written.end();
    if (found == record.written.end()) {
        return nullptr;
    }
    const auto *text = std::get_if<std::string>(&found->second);
    return text != nullptr && text->empty() ? nullptr : &found->second;
}

FactValue fieldValue(const Field &field, const ListEntry &entry, const ItemLocation &location,
                     const MediaRecord &record) {
    const FactValue *written = writtenValue(field, record);
    return written != nullptr ? *written : field.value({entry, location, record});
}

} // namespace mrb
