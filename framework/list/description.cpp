#include "list/description.h"

#include "media/media_types.h"
#include "text/text.h"

namespace mrb {
namespace {

Json::Value numberOrNull(std::int64_t number) {
    return number == UNKNOWN ? Json::Value() : Json::Value(Json::Int64{number});
}

Json::Value timeOrNull(std::int64_t seconds) { return seconds == UNKNOWN ? Json::Value() : isoTime(seconds); }

} // namespace

std::string describeItem(const ItemFacts &item, const ItemLocation &location) {
    const char *typeName = itemTypeName(item.type);
    Json::Value description(Json::objectValue);
    description["name"] = displayText(item.name);
    description["path"] = location.path;
    description["url"] = location.url;
    description["type"] = item.type;
    description["type_name"] = typeName != nullptr ? typeName : "";
    description["size"] = numberOrNull(item.size);
    description["modified"] = timeOrNull(item.modified);
    description["created"] = timeOrNull(item.created);
    description["mime_type"] = location.mimeType;
    description["media_id"] = location.mediaId;
    return jsonText(description);
}

} // namespace mrb
