// The functions that the video library exports.

#include "thumbnail/films.h"

#include "thumbnail/film/cover.h"
#include "thumbnail/film/heif_hevc.h"
#include "thumbnail/film/video.h"

namespace mrb::thumbnail {

const Films *mrb_films() {
    static constexpr Films FILMS{decodeVideo, decodeStill, readCover, preferLibavForHevc};
    loadHeifPlugins();
    return &FILMS;
}

} // namespace mrb::thumbnail
