#include "fields/description.h"

#include "media/media_types.h"
#include "mrb/agent.h"
#include "text/text.h"

namespace mrb {
namespace {

constexpr const char *UPFOLDER_NAME = "..";

Json::Value numberOrNull(std::int64_t number) {
    return number == UNKNOWN ? Json::Value() : Json::Value(Json::Int64{number});
}

Json::Value timeOrNull(std::int64_t seconds) { return seconds == UNKNOWN ? Json::Value() : isoTime(seconds); }

} // namespace

std::string describeEntry(const ListEntry &entry, const ItemLocation &location,
                          const std::optional<SourceMetadata> &sourceMetadata) {
    const ItemInfo &item = entry.info;
    const char *typeName = itemTypeName(item.type);
    Json::Value description(Json::objectValue);
    description["name"] = item.type == MRB_ITEM_TYPE_UPFOLDER ? UPFOLDER_NAME : displayText(item.name);
    description["path"] = location.path;
    description["url"] = location.url;
    description["type"] = item.type;
    description["type_name"] = typeName != nullptr ? typeName : "";
    description["size"] = numberOrNull(item.size);
    description["modified"] = timeOrNull(item.modified);
    description["created"] = timeOrNull(item.created);
    description["mime_type"] = location.mimeType;
    description["media_id"] = location.mediaId;
    if (sourceMetadata) {
        const Metadata &metadata = sourceMetadata->metadata;
        description["title"] =
            metadata.has(MetadataKey::TITLE) ? Json::Value(metadata.text(MetadataKey::TITLE)) : Json::Value();
        description["duration"] = metadata.has(MetadataKey::DURATION)
                                      ? Json::Value(Json::Int64{metadata.number(MetadataKey::DURATION)})
                                      : Json::Value();
        description["missing"] = sourceMetadata->isMissing;
    }
    if (item.type == MRB_ITEM_TYPE_GROUP) {
        description["group_index"] = entry.group;
        description["item_count"] = entry.groupItems;
    }
    return jsonText(description);
}

std::string describePlayback(const ListEntry &entry, const ItemLocation &location,
                             std::int64_t resumePosition) {
    Json::Value data(Json::objectValue);
    data["name"] = displayText(entry.info.name);
    data["path"] = location.path;
    data["url"] = location.url;
    data["media_id"] = location.mediaId;
    data["mime_type"] = location.mimeType;
    data["size"] = numberOrNull(entry.info.size);
    data["resume_position"] = Json::Int64{resumePosition};
    return jsonText(data);
}

std::string describeRating(const ItemLocation &location) {
    Json::Value data(Json::objectValue);
    data["media_id"] = location.mediaId;
    // No source supplies either yet.
    data["rating"] = Json::nullValue;
    data["minimum_age"] = Json::nullValue;
    return jsonText(data);
}

} // namespace mrb
