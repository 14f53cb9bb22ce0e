#include "session/field_access.h"

#include <algorithm>
#include <chrono>
#include <cstdint>
#include <limits>
#include <string_view>

#include "base/on_demand.h"

namespace mrb {
namespace {

constexpr const char *PLAYED_COUNT = "PLAYED_COUNT";
constexpr const char *PLAYED_POSITION = "PLAYED_POSITION";
constexpr const char *PLAYED_TIME = "PLAYED_TIME";

Status noSuchField(const char *name, const char *how) {
    return Status::invalidParameter("There is no field \"" + std::string(name) + "\" to be " + how + ".");
}

std::int64_t within(std::int64_t number, std::int64_t minimum, std::int64_t maximum) {
    return std::clamp(number, minimum, maximum);
}

// The value in the field's type; empty or 0 where there is none or one of another type.
MetadataValue inType(const MetadataValue &value, FieldType type) {
    const auto *number = std::get_if<std::int64_t>(&value);
    const auto *real = std::get_if<double>(&value);
    const auto *text = std::get_if<std::string>(&value);
    using Limits = std::numeric_limits<std::int32_t>;
    switch (type) {
    case FieldType::LINT:
        return number != nullptr ? *number : std::int64_t{0};
    case FieldType::TIME:
    case FieldType::INT:
        return number != nullptr ? within(*number, Limits::min(), Limits::max()) : std::int64_t{0};
    case FieldType::BOOL:
        return std::int64_t{number != nullptr && *number != 0 ? 1 : 0};
    case FieldType::DOUBLE:
        return real != nullptr ? *real : 0.0;
    case FieldType::CHAR:
        return text != nullptr ? *text : std::string();
    }
    return {};
}

bool isNothing(const MetadataValue &value) {
    const auto *text = std::get_if<std::string>(&value);
    return value.index() == 0 || (text != nullptr && text->empty());
}

const MediaRecord &noRecord() {
    static OnDemand<MediaRecord> none;
    return none.get();
}

bool isUtf8(std::string_view text) { return cleanText(text) == text; }

} // namespace

Status readField(const ListSession &session, const char *name, FieldType type, MetadataValue &value) {
    const Field *field = findField(name);
    if (field == nullptr || field->type != type) {
        return noSuchField(name, "read with that type");
    }
    // A client may read one field of each item of a long list: read only what the field needs.
    const std::optional<ListEntry> entry = field->needs == FieldNeeds::NUMBERS
                                               ? session.list().cursor().currentWithoutText()
                                               : session.current();
    if (!entry) {
        return Status::notFound("An empty list has no fields.");
    }
    const bool needsLocation = field->needs == FieldNeeds::LOCATION || field->needs == FieldNeeds::FILE;
    const bool isOfFile = field->needs == FieldNeeds::WRITTEN || field->needs == FieldNeeds::FILE;
    Status reading;
    std::shared_ptr<const MediaRecord> record;
    if (isOfFile) {
        const MediaItem item = session.items().mediaOf(entry->info);
        if (item.isKnown()) {
            record = session.library().cachedRecord(item);
            const bool isWritten = writtenValue(*field, *record) != nullptr;
            if (field->needs == FieldNeeds::FILE && !record->isRead && !isWritten) {
                reading = session.library().read(item, record);
            }
        }
    }
    const MetadataValue found =
        fieldValue(*field, *entry, needsLocation ? session.items().locationOf(entry->info) : ItemLocation(),
                   record ? *record : noRecord());
    if (record && record->isLate && field->needs == FieldNeeds::WRITTEN &&
        (record->written.empty() || isNothing(found))) {
        return Status::timedOut("The metadata cache did not respond in time.");
    }
    if (isNothing(found)) {
        if (!reading.ok()) {
            return reading;
        }
        if (field->isRequired) {
            return Status::notFound();
        }
    }
    value = inType(found, type);
    return {};
}

Status writeField(const ListSession &session, const char *name, MetadataValue value) {
    const Field *field = findField(name);
    const auto *number = std::get_if<std::int64_t>(&value);
    const auto *text = std::get_if<std::string>(&value);
    const FieldType type = number != nullptr ? FieldType::INT : FieldType::CHAR;
    if (field == nullptr || field->type != type) {
        return noSuchField(name, "written with that type");
    }
    if (!field->isWritable) {
        return Status::notSupported("The field \"" + std::string(name) + "\" cannot be written.");
    }
    if (number != nullptr && (*number < field->minimum || *number > field->maximum)) {
        return Status::invalidParameter(
            "The field \"" + std::string(name) + "\" cannot be " + std::to_string(*number) + "; it is " +
            std::to_string(field->minimum) + " to " + std::to_string(field->maximum) + ".");
    }
    if (text != nullptr && (text->size() > Metadata::MAX_TEXT_LENGTH || !isUtf8(*text))) {
        return Status::invalidParameter(
            "The text for the field \"" + std::string(name) + "\" is longer than " +
            std::to_string(Metadata::MAX_TEXT_LENGTH) +
            " bytes, is not UTF-8, or has control characters or spaces around it.");
    }
    const std::optional<ListEntry> entry = session.current();
    if (!entry) {
        return Status::notFound("An empty list has no fields.");
    }
    const MediaItem item = session.items().mediaOf(entry->info);
    if (item.path.empty()) {
        return Status::notSupported("Only the fields of files can be written.");
    }
    WrittenFields written;
    if (field->name == PLAYED_COUNT || field->name == PLAYED_POSITION) {
        const auto now = std::chrono::system_clock::now().time_since_epoch();
        written[PLAYED_TIME] = std::int64_t{std::chrono::duration_cast<std::chrono::seconds>(now).count()};
    }
    written[name] = std::move(value);
    return session.library().write(item, written);
}

std::int64_t resumePosition(const ListSession &session, const ListEntry &entry) {
    const MediaItem item = session.items().mediaOf(entry.info);
    if (item.path.empty()) {
        return 0;
    }
    const std::shared_ptr<const MediaRecord> record = session.library().cachedRecord(item);
    const MetadataValue *written = writtenValue(*findField(PLAYED_POSITION), *record);
    return written == nullptr ? 0 : std::get<std::int64_t>(inType(*written, FieldType::INT));
}

} // namespace mrb
