// The functions that the video library exports.

#include "thumbnail/video_module.h"

#include "thumbnail/video/cover.h"
#include "thumbnail/video/heif_hevc.h"
#include "thumbnail/video/video.h"

namespace mrb::thumbnail {

const Films *mrb_films() {
    static constexpr Films FILMS{decodeVideo, decodeStill, readCover, preferLibavForHevc};
    loadHeifPlugins();
    return &FILMS;
}

} // namespace mrb::thumbnail
