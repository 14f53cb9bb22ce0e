#include "thumbnail/video/cover.h"

#include "thumbnail/video/av_input.h"
#include "thumbnail/video/cover_tags.h"

namespace mrb::thumbnail {
namespace {

constexpr const char *MUSIC_FORMATS =
    "mp3,mov,flac,ogg,asf,wav,aiff,ape,dsf,mpc,mpc8,wv,matroska,aac,ac3,eac3,amr,tta,w64";

// The first picture that libav finds in the file; empty when there is none.
Status coverOfContainer(const MediaFile &file, const CancellationToken &cancellation, Bytes &cover) {
    AvInput input(file, cancellation);
    Status status = input.open(MUSIC_FORMATS);
    if (!status.ok()) {
        return status;
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

Status readCover(const MediaFile &file, const std::string &path, const CancellationToken &cancellation,
                 Bytes &cover) {
    cover = coverOfTags(path);
    if (cancellation.isCancelled()) {
        return endOf(cancellation);
    }
    Status status = cover.empty() ? coverOfContainer(file, cancellation, cover) : Status{};
    if (status.ok() && cover.empty()) {
        status = Status::notFound("The music has no cover.");
    }
    return status;
}

} // namespace mrb::thumbnail
