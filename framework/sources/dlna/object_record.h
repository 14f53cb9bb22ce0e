#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "dlna/content_directory_client.h"
#include "metadata/metadata.h"

namespace mrb {

// What a list stores of a server's object besides its name and numbers.
struct ObjectRecord {
    std::string url;
    std::string thumbnail; // URL
    Metadata metadata;
};

// Serializes the record; texts that exceed a list's maximum are left out.
std::string packRecord(const dlna::MediaObject &object);
// Parses a record of packRecord.
ObjectRecord unpackRecord(std::string_view packed);

// The MRB_ITEM_TYPE_ of an object; negative: it is not a medium.
int itemTypeOf(const dlna::MediaObject &object);

// "jpg" for "http://10.0.0.1:8200/MediaItems/22.jpg?small"; empty when there is no extension.
std::string_view extensionOfUrl(std::string_view url);

// Seconds since 1970 for "2026-11-21" or "2026-11-21T10:20:30", with "Z" or "+01:00" at its end,
// else in UTC. UNKNOWN: it is not a date.
std::int64_t secondsOfDate(std::string_view date);

} // namespace mrb
