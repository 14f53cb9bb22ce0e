#include "thumbnail/decode/cover.h"

#include "thumbnail/decode/av_input.h"
#include "thumbnail/decode/cover_tags.h"
#include "thumbnail/decode/picture.h"

namespace mrb::thumbnail {
namespace {

constexpr const char *MUSIC_FORMATS =
    "mp3,mov,flac,ogg,asf,wav,aiff,ape,dsf,mpc,mpc8,wv,matroska,aac,ac3,eac3,amr,tta,w64";

// Of the pictures that libav finds in the file the first; empty when there is none.
Outcome coverOfContainer(const MediaFile &file, const StopSign &stop, Bytes &cover) {
    AvInput input(file, stop);
    Outcome outcome = input.open(MUSIC_FORMATS);
    if (outcome.code != MRB_ERR_NONE) {
        return outcome;
    }
    for (unsigned index = 0; index < input.context()->nb_streams; ++index) {
        const AVStream *stream = input.context()->streams[index];
        if ((stream->disposition & AV_DISPOSITION_ATTACHED_PIC) != 0 && stream->attached_pic.size > 0) {
            cover.assign(stream->attached_pic.data, stream->attached_pic.data + stream->attached_pic.size);
            break;
        }
    }
    return {};
}

} // namespace

Outcome decodeCover(const MediaFile &file, const DecodeRequest &request, const StopSign &stop,
                    Decoded &decoded) {
    Bytes cover = coverOfTags(request.path);
    if (stop.isUp()) {
        return stop.outcome();
    }
    if (cover.empty()) {
        Outcome outcome = coverOfContainer(file, stop, cover);
        if (outcome.code != MRB_ERR_NONE) {
            return outcome;
        }
    }
    return cover.empty() ? Outcome{MRB_ERR_NOT_FOUND, "The music has no cover."}
                         : decodePicture(cover, request, stop, decoded);
}

} // namespace mrb::thumbnail
