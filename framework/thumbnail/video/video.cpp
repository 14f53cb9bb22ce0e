#include "thumbnail/video/video.h"

extern "C" {
#include <libavutil/display.h>
}

#include <cmath>
#include <span>
#include <utility>
#include <vector>

#include "thumbnail/orientation.h"
#include "thumbnail/video/frame_image.h"
#include "thumbnail/video/frame_reader.h"

namespace mrb::thumbnail {
namespace {

// The formats that broadcasters, cameras and phones use. libav knows many more, some of which
// open other files.
constexpr const char *VIDEO_FORMATS = "mov,matroska,avi,mpeg,mpegts,mpegvideo,asf,flv,ogg,rm,h264,hevc,m4v";
constexpr const char *STILL_FORMATS = "bmp_pipe";

// The first frame shown lies at this part of the duration, past black frames and studio logos;
// the last one as far from the end.
constexpr double EDGE = 0.1;

const std::int32_t *displayMatrix(const AVStream &stream) {
#if LIBAVCODEC_VERSION_INT >= AV_VERSION_INT(60, 31, 102)
    const AVPacketSideData *data = av_packet_side_data_get(
        stream.codecpar->coded_side_data, stream.codecpar->nb_coded_side_data, AV_PKT_DATA_DISPLAYMATRIX);
    return data != nullptr && data->size >= 9 * sizeof(std::int32_t)
               ? reinterpret_cast<const std::int32_t *>(data->data)
               : nullptr;
#else
    std::size_t size = 0;
    const std::uint8_t *data = av_stream_get_side_data(&stream, AV_PKT_DATA_DISPLAYMATRIX, &size);
    return data != nullptr && size >= 9 * sizeof(std::int32_t) ? reinterpret_cast<const std::int32_t *>(data)
                                                               : nullptr;
#endif
}

// The EXIF orientation for the stream's rotation.
int orientationOf(const AVStream &stream) {
    const std::int32_t *matrix = displayMatrix(stream);
    const double counterClockwise = matrix != nullptr ? av_display_rotation_get(matrix) : 0;
    if (std::isnan(counterClockwise)) {
        return 1;
    }
    switch ((static_cast<int>(std::lround(-counterClockwise / 90)) % 4 + 4) % 4) {
    case 1:
        return 6;
    case 2:
        return 3;
    case 3:
        return 8;
    default:
        return 1;
    }
}

AVRational aspectOf(const AVFrame &frame, const AVStream &stream) {
    return stream.sample_aspect_ratio.num > 0 ? stream.sample_aspect_ratio : frame.sample_aspect_ratio;
}

Status addFrame(const AVFrame &frame, const FrameReader &reader, const DecodeRequest &request,
                Decoded &decoded) {
    const AVStream &stream = reader.stream();
    const int stored = orientationOf(stream);
    const int applied = request.orientation != 0 ? request.orientation : stored;
    const Size shown = displaySize(frame.width, frame.height, aspectOf(frame, stream));
    Size target = fit(shown, turned({request.width, request.height}, applied));
    if (!decoded.images.empty()) {
        // A stream may change its size; the images of one result may not.
        target = turned({decoded.images[0].width, decoded.images[0].height}, applied);
    }
    Image image;
    Status status = imageOf(frame, target, image);
    if (status.ok()) {
        image.timeStamp = reader.lastMilliseconds();
        addImage(std::move(image), shown, stored, request, decoded);
    }
    return status;
}

// Whether images of this size are small enough for lossy decoding.
bool isSmallFor(const AVStream &stream, const DecodeRequest &request) {
    const Size size{stream.codecpar->width, stream.codecpar->height};
    return size.width >= 2 * request.width && size.height >= 2 * request.height;
}

// The positions to show, in the stream's time base. Rounded down, so that no frame is late.
std::vector<std::int64_t> evenMoments(const FrameReader &reader, int count) {
    std::vector<std::int64_t> moments;
    for (int index = 0; index < count; ++index) {
        const double part = count > 1 ? EDGE + (1 - 2 * EDGE) * index / (count - 1) : EDGE;
        moments.push_back(reader.start() +
                          static_cast<std::int64_t>(static_cast<double>(reader.duration()) * part));
    }
    return moments;
}

// Adds a frame for each position that has one.
Status takeFrames(FrameReader &reader, std::span<const std::int64_t> moments, const DecodeRequest &request,
                  Decoded &decoded) {
    for (; !moments.empty(); moments = moments.subspan(1)) {
        const AVFrame *frame = nullptr;
        Status status = reader.read(moments, frame);
        if (status.ok() && frame != nullptr) {
            status = addFrame(*frame, reader, request, decoded);
        }
        if (!status.ok()) {
            return status;
        }
    }
    return {};
}

} // namespace

Status decodeVideo(const MediaFile &file, const DecodeRequest &request, const CancellationToken &cancellation,
                   Decoded &decoded) {
    AvInput input(file, cancellation);
    Status status = input.open(VIDEO_FORMATS);
    if (!status.ok()) {
        return status;
    }
    FrameReader reader(input, cancellation);
    status = reader.open(true);
    if (!status.ok()) {
        return status;
    }
    reader.setLossy(isSmallFor(reader.stream(), request));
    const std::int64_t duration = reader.duration();
    decoded.duration = duration > 0 ? reader.milliseconds(reader.start() + duration) : -1;
    status = takeFrames(reader, evenMoments(reader, request.frames), request, decoded);
    const auto frameCount = static_cast<std::size_t>(request.frames);
    const bool isDecodable = status.ok() || status.code == MRB_ERR_CORRUPT;
    if (isDecodable && !decoded.images.empty() && decoded.images.size() < frameCount) {
        // The frames do not match the duration: the video is shorter, or has few frames. So the
        // positions are taken from the frames themselves.
        const std::vector<std::int64_t> moments = reader.momentsOfPictures(frameCount);
        Decoded other;
        if (moments.size() > decoded.images.size() && takeFrames(reader, moments, request, other).ok() &&
            other.images.size() > decoded.images.size()) {
            decoded.images = std::move(other.images);
        }
    }
    // In a damaged file, the frames before the damage can be used.
    return status.code == MRB_ERR_CORRUPT && !decoded.images.empty() ? Status{} : status;
}

Status decodeStill(const MediaFile &file, const DecodeRequest &request, const CancellationToken &cancellation,
                   Decoded &decoded) {
    AvInput input(file, cancellation);
    Status status = input.open(STILL_FORMATS);
    if (!status.ok()) {
        return status.code == MRB_ERR_CORRUPT
                   ? Status::notSupported("The file is not a picture of a known format.")
                   : status;
    }
    FrameReader reader(input, cancellation);
    status = reader.open(false);
    const AVFrame *frame = nullptr;
    if (status.ok()) {
        constexpr std::int64_t MOMENTS[] = {0};
        status = reader.read(MOMENTS, frame);
    }
    return status.ok() ? addFrame(*frame, reader, request, decoded) : status;
}

} // namespace mrb::thumbnail
