#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "dlna/directories.h"
#include "metadata/facts.h"

namespace mrb {

// What a list keeps of a server's object beside its name and numbers.
struct ObjectRecord {
    std::string url;
    std::string thumbnail; // URL
    Metadata facts;
};

// The record in few bytes; texts that make it longer than a list keeps are left out.
std::string packRecord(const dlna::MediaObject &object);
// What packRecord made.
ObjectRecord unpackRecord(std::string_view packed);

// The MRB_ITEM_TYPE_ of an object; no media: negative.
int itemTypeOf(const dlna::MediaObject &object);

// "jpg" of "http://10.0.0.1:8200/MediaItems/22.jpg?small"; empty when there is none.
std::string_view extensionOfUrl(std::string_view url);

// Seconds since 1970 of "2026-11-21" or "2026-11-21T10:20:30", with "Z" or "+01:00" behind
// it; without one as if in UTC. UNKNOWN: it is none.
std::int64_t secondsOfDate(std::string_view date);

} // namespace mrb
