#pragma once

#include <string>
#include <tuple>

#include "mrb/thumbnail.h"
#include "thumbnail/decoding.h"

namespace mrb::thumbnail {

// A request as the service keeps it. Two that are equal want the same thing.
struct Request {
    std::string origin; // the path as the client wrote it
    DecodeRequest decode;
    int sourceType = MRB_THUMB_SOURCE_ANY;
    bool useCache = false;
    bool isRemote = false; // the path is the URL of a picture on a DLNA server
    // What it is answered with instead of being served; MRB_ERR_NONE: it is served.
    int refusal = MRB_ERR_NONE;

    bool operator==(const Request &) const = default;
    [[nodiscard]] auto order() const { return std::tie(origin, decode, sourceType, useCache, refusal); }
    bool operator<(const Request &other) const { return order() < other.order(); }
};

// Reads a client's record, whose path is not null. Wrong values become a refusal.
Request readRequest(const _thumb_request &record);

} // namespace mrb::thumbnail
