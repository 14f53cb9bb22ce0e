#include "text/text.h"

#include <glib.h>
#include <json/writer.h>

#include <array>
#include <ctime>
#include <memory>
#include <new>

#include "base/deleter.h"
#include "base/on_demand.h"

namespace mrb {
namespace {

using GlibText = std::unique_ptr<char, Deleter<g_free>>;

Json::StreamWriterBuilder compactWriter() {
    Json::StreamWriterBuilder builder;
    builder["indentation"] = "";
    builder["emitUTF8"] = true;
    return builder;
}

} // namespace

std::string displayText(const std::string &bytes) {
    return GlibText(g_utf8_make_valid(bytes.data(), static_cast<gssize>(bytes.size()))).get();
}

std::string fileUri(const std::string &path) {
    const GlibText uri(g_filename_to_uri(path.c_str(), nullptr, nullptr));
    return uri ? uri.get() : "";
}

std::optional<std::string> pathOfFileUri(const std::string &uri) {
    char *host = nullptr;
    const GlibText path(g_filename_from_uri(uri.c_str(), &host, nullptr));
    const GlibText hostOwner(host);
    if (!path || host != nullptr) {
        return std::nullopt;
    }
    return path.get();
}

Json::Value isoTime(std::int64_t seconds) {
    static_assert(sizeof(std::time_t) == sizeof seconds, "a disk has times after 2038");
    const auto time = static_cast<std::time_t>(seconds);
    std::tm calendar{};
    if (gmtime_r(&time, &calendar) == nullptr) { // a year beyond what an int holds
        return Json::nullValue;
    }
    std::array<char, 40> text{};
    if (std::strftime(text.data(), text.size(), "%Y-%m-%dT%H:%M:%SZ", &calendar) == 0) {
        return Json::nullValue;
    }
    return text.data();
}

std::string jsonText(const Json::Value &value) {
    static OnDemand<Json::StreamWriterBuilder> builder;
    return Json::writeString(builder.get([] { return new Json::StreamWriterBuilder(compactWriter()); }),
                             value);
}

} // namespace mrb
