#pragma once

#include <string>
#include <tuple>

#include "mrb/thumbnail.h"
#include "thumbnail/decoder.h"

namespace mrb::thumbnail {

// A request as the service stores it. Equal requests get the same result.
struct Request {
    std::string origin; // the path as given by the client
    DecodeRequest decode;
    int sourceType = MRB_THUMB_SOURCE_ANY;
    bool useCache = false;
    bool isRemote = false; // the path is the URL of a picture on a DLNA server
    // The error code that is its result without decoding; MRB_ERR_NONE: it is decoded.
    int refusal = MRB_ERR_NONE;

    bool operator==(const Request &) const = default;
    [[nodiscard]] auto order() const { return std::tie(origin, decode, sourceType, useCache, refusal); }
    bool operator<(const Request &other) const { return order() < other.order(); }
};

// Parses a client's record, whose path is not null. Invalid values become a refusal.
Request readRequest(const _thumb_request &record);

} // namespace mrb::thumbnail
