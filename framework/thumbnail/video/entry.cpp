// The functions that the video library exports.

#include "thumbnail/video_module.h"

#include "thumbnail/video/cover.h"
#include "thumbnail/video/heif_hevc.h"
#include "thumbnail/video/video.h"

namespace mrb::thumbnail {

const VideoModule *mrb_video_module() {
    static constexpr VideoModule MODULE{decodeVideo, decodeStill, readCover, preferLibavForHevc};
    loadHeifPlugins();
    return &MODULE;
}

} // namespace mrb::thumbnail
