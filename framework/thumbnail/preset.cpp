#include "thumbnail/preset.h"

#include <cinttypes>
#include <cstdio>
#include <new>
#include <string>

#include "mrb/thumbnail.h"

namespace mrb::thumbnail {

MallocPtr<char> makePreset(const Decoded &decoded) {
    MallocPtr<char> preset(static_cast<char *>(std::calloc(1, MRB_THUMB_PRESET_BYTES)));
    if (!preset) {
        throw std::bad_alloc();
    }
    if (!decoded.preset.empty()) {
        decoded.preset.copy(preset.get(), MRB_THUMB_PRESET_BYTES);
        return preset;
    }
    const std::string duration = decoded.duration >= 0 ? std::to_string(decoded.duration) : "null";
    std::snprintf(preset.get(), MRB_THUMB_PRESET_BYTES,
                  R"({"width":%d,"height":%d,"orientation":%d,"embedded":%s,"duration":%s})",
                  decoded.originalWidth, decoded.originalHeight, decoded.orientation,
                  decoded.embedded ? "true" : "false", duration.c_str());
    return preset;
}

} // namespace mrb::thumbnail
