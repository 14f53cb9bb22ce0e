#pragma once

#include <json/value.h>

#include <cstdint>
#include <optional>
#include <string>

namespace mrb {

// `bytes` as UTF-8 that can be shown: what is not UTF-8 becomes U+FFFD.
std::string displayText(const std::string &bytes);

// The file:// URI of an absolute path; carries its exact bytes, percent-encoded.
std::string fileUri(const std::string &path);

// The absolute path that a file:// URI of this machine names; no value for anything else.
std::optional<std::string> pathOfFileUri(const std::string &uri);

// Seconds since 1970 as "2026-11-21T02:08:00Z", or JSON null when no calendar can show them.
Json::Value isoTime(std::int64_t seconds);

// `value` as JSON text on one line.
std::string jsonText(const Json::Value &value);

} // namespace mrb
