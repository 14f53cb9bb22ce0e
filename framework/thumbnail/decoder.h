#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <tuple>
#include <vector>

#include "base/cancellation.h"
#include "base/deleter.h"
#include "base/result.h"

namespace mrb::thumbnail {

// The parameters of decoding a file.
struct DecodeRequest {
    std::string path;    // absolute, or the URL of a file on a camera
    int mediaType = 0;   // an MRB_ITEM_TYPE_ of mrb/agent.h; 0: by the file's name
    int orientation = 0; // an EXIF orientation from 1 to 8; 0: the file's own
    int width = 0;       // pixels of the box that the images fit into, at least 1
    int height = 0;
    int frames = 1; // 1 to 5; only videos have more than one

    bool operator==(const DecodeRequest &) const = default;
    [[nodiscard]] auto order() const { return std::tie(path, mediaType, orientation, width, height, frames); }
    bool operator<(const DecodeRequest &other) const { return order() < other.order(); }
};

// Why decoding ends early: the request was cancelled, or its time is over.
Status endOf(const CancellationToken &cancellation);

// Rows from top to bottom without gaps, four bytes per pixel: blue, green, red, alpha (not
// premultiplied). From malloc, since clients free it.
struct Image {
    MallocPtr<unsigned char> pixels;
    int width = 0;
    int height = 0;
    std::int64_t timeStamp = 0; // milliseconds from the start of a video

    [[nodiscard]] std::size_t bytes() const {
        return std::size_t{4} * static_cast<std::size_t>(width) * static_cast<std::size_t>(height);
    }
};

// An image with uninitialized pixels. Throws std::bad_alloc.
Image makeImage(int width, int height);

// Identifies the version of a file that was decoded.
struct FileIdentity {
    std::int64_t size = 0;     // bytes
    std::int64_t modified = 0; // nanoseconds since 1970
    bool operator==(const FileIdentity &) const = default;
};

struct Decoded {
    Status status;
    std::vector<Image> images; // all of one size; empty unless the status is MRB_ERR_NONE
    int originalWidth = 0;     // pixels of the original as it is shown, turned upright
    int originalHeight = 0;
    int orientation = 1;        // the EXIF orientation that was applied
    bool embedded = false;      // the embedded EXIF thumbnail was used
    std::int64_t duration = -1; // milliseconds of a video; -1: unknown, or none
    std::string preset;         // the preset buffer of an image from the flash cache
    FileIdentity source;
};

// Decodes on the calling thread. Never throws; errors are returned in the status.
using Decode = void(const DecodeRequest &request, const CancellationToken &cancellation, Decoded &decoded);

// Loads libraries that the decoders would load with their first picture. Never throws.
using StartDecoders = void();

// The functions that the decoders' library exports.
extern "C" [[gnu::visibility("default")]] Decode mrb_decode_thumbnail;
extern "C" [[gnu::visibility("default")]] StartDecoders mrb_start_decoders;
inline constexpr const char *DECODE_SYMBOL = "mrb_decode_thumbnail";
inline constexpr const char *START_SYMBOL = "mrb_start_decoders";

} // namespace mrb::thumbnail
