#pragma once

#include "base/cancellation.h"
#include "thumbnail/media_file.h"

namespace mrb::thumbnail {

// The decoders that need libav and TagLib: video, covers of music files, and rare picture
// formats. They take a third of the time to load the decoders, so they are a library of their
// own. Its functions may be called from any thread.
struct VideoModule {
    // Frames of a video, spread over its duration.
    Status (*decodeVideo)(const MediaFile &file, const DecodeRequest &request,
                          const CancellationToken &cancellation, Decoded &decoded);

    // A picture in a format that only libav knows, such as BMP.
    Status (*decodeStill)(const MediaFile &file, const DecodeRequest &request,
                          const CancellationToken &cancellation, Decoded &decoded);

    // The picture file embedded in a music file as its cover. MRB_ERR_NOT_FOUND: there is none.
    Status (*readCover)(const MediaFile &file, const std::string &path, const CancellationToken &cancellation,
                        Bytes &cover);

    // Makes libheif, with which libvips reads HEIC files, decode their pictures by libav: that
    // takes a fifth less time than libheif's usual decoder. Applies to the whole process after
    // the first call.
    void (*preferLibavForHevc)();
};

// Loaded on first use. Throws MissingModule when it cannot be loaded.
const VideoModule &videoModule();

// The function that the library exports. Called once, in a LoadingTurn.
using FindVideoModule = const VideoModule *();
extern "C" [[gnu::visibility("default")]] FindVideoModule mrb_video_module;
inline constexpr const char *VIDEO_MODULE_SYMBOL = "mrb_video_module";

} // namespace mrb::thumbnail
