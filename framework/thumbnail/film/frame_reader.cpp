#include "thumbnail/film/frame_reader.h"

#include <algorithm>

#include "thumbnail/decode/limits.h"

namespace mrb::thumbnail {
namespace {

constexpr AVRational MILLISECOND{1, 1000};
constexpr AVRational LIBAV_TIME{1, AV_TIME_BASE};

bool isVideo(const AVStream &stream) {
    return stream.codecpar->codec_type == AVMEDIA_TYPE_VIDEO &&
           (stream.disposition & AV_DISPOSITION_ATTACHED_PIC) == 0;
}

} // namespace

Outcome FrameReader::open(bool needsDuration) {
    AVFormatContext *context = input_.context();
    const auto known = [&](const AVStream &stream) {
        return isVideo(stream) && stream.codecpar->codec_id != AV_CODEC_ID_NONE &&
               stream.codecpar->width > 0 && (!needsDuration || stream.duration > 0 || context->duration > 0);
    };
    AVStream **const first = context->streams;
    // Looking into the stream takes long, and a container's header usually says all.
    if (std::none_of(first, first + context->nb_streams, [&](const AVStream *s) { return known(*s); }) &&
        avformat_find_stream_info(context, nullptr) < 0) {
        return input_.failure("its streams cannot be read");
    }
    const int chosen = av_find_best_stream(context, AVMEDIA_TYPE_VIDEO, -1, -1, nullptr, 0);
    if (chosen < 0 || !isVideo(*context->streams[chosen])) {
        return stop_.isUp() ? stop_.outcome() : Outcome{MRB_ERR_NOT_FOUND, "The file has no video stream."};
    }
    stream_ = context->streams[chosen];
    for (unsigned index = 0; index < context->nb_streams; ++index) {
        AVStream *stream = context->streams[index];
        stream->discard = stream == stream_ ? AVDISCARD_DEFAULT : AVDISCARD_ALL;
    }
    const AVCodec *decoder = avcodec_find_decoder(stream_->codecpar->codec_id);
    codec_.reset(decoder != nullptr ? avcodec_alloc_context3(decoder) : nullptr);
    if (!codec_ || avcodec_parameters_to_context(codec_.get(), stream_->codecpar) < 0) {
        return {MRB_ERR_NOT_SUPPORTED, "No decoder for the video's codec."};
    }
    codec_->pkt_timebase = stream_->time_base;
    codec_->thread_count = 1;
    codec_->max_pixels = MOST_FRAME_PIXELS;
    if (std::int64_t{codec_->width} * codec_->height > MOST_FRAME_PIXELS) {
        return {MRB_ERR_OUT_OF_MEMORY, "The video's frames have more pixels than are decoded."};
    }
    return avcodec_open2(codec_.get(), decoder, nullptr) < 0 ? input_.failure("its codec cannot be opened")
                                                             : Outcome{};
}

std::int64_t FrameReader::duration() const {
    if (stream_->duration > 0) {
        return stream_->duration;
    }
    const std::int64_t whole = input_.context()->duration;
    return whole > 0 ? av_rescale_q(whole, LIBAV_TIME, stream_->time_base) : 0;
}

std::int64_t FrameReader::start() const {
    return stream_->start_time != AV_NOPTS_VALUE ? stream_->start_time : 0;
}

std::int64_t FrameReader::milliseconds(std::int64_t moment) const {
    return std::max<std::int64_t>(0, av_rescale_q(moment - start(), stream_->time_base, MILLISECOND));
}

Outcome FrameReader::read(std::int64_t moment, const AVFrame *&frame) {
    frame = nullptr;
    // The container may know, without looking, that this is after the same key frame.
    const AVIndexEntry *entry =
        avformat_index_get_entry_from_timestamp(stream_, moment, AVSEEK_FLAG_BACKWARD);
    if (going_ && entry != nullptr && entry->timestamp <= key_) {
        return readForward(moment, frame);
    }
    // A container without an index is read from where it stands.
    av_seek_frame(input_.context(), stream_->index, moment, AVSEEK_FLAG_BACKWARD);
    reset();
    if (!readPacket(true)) {
        return nothing();
    }
    const std::int64_t key = packet_->dts != AV_NOPTS_VALUE ? packet_->dts : packet_->pts;
    if (key != AV_NOPTS_VALUE && key == key_) {
        return readForward(moment, frame);
    }
    key_ = key;
    return readKeyFrame(frame);
}

void FrameReader::reset() {
    avcodec_flush_buffers(codec_.get());
    going_ = false;
}

// What it means that there is no frame: nothing was ever found, or there are no more.
Outcome FrameReader::nothing() const {
    if (stop_.isUp()) {
        return stop_.outcome();
    }
    return last_ == AV_NOPTS_VALUE ? input_.failure("it has no key frame that can be decoded") : Outcome{};
}

bool FrameReader::readPacket(bool key) {
    while (packets_ < MOST_PACKETS && packetBytes_ < MOST_PACKET_BYTES && !stop_.isUp()) {
        av_packet_unref(packet_.get());
        if (av_read_frame(input_.context(), packet_.get()) < 0) {
            return false;
        }
        ++packets_;
        packetBytes_ += packet_->size;
        if (packet_->stream_index == stream_->index && (!key || (packet_->flags & AV_PKT_FLAG_KEY) != 0)) {
            return true;
        }
    }
    return false;
}

// Some containers give their packets no time of showing.
std::int64_t FrameReader::momentOfFrame() const {
    for (const std::int64_t at : {frame_->best_effort_timestamp, packet_->pts, packet_->dts}) {
        if (at != AV_NOPTS_VALUE) {
            return at;
        }
    }
    return start();
}

bool FrameReader::receive() { return avcodec_receive_frame(codec_.get(), frame_.get()) == 0; }

Outcome FrameReader::readKeyFrame(const AVFrame *&frame) {
    codec_->skip_loop_filter = lossy_ ? AVDISCARD_ALL : AVDISCARD_DEFAULT;
    codec_->skip_frame = AVDISCARD_DEFAULT;
    // Damage inside one key frame does not rule out the next one.
    do {
        // Nothing follows it as far as the decoder knows, so it holds nothing back.
        avcodec_send_packet(codec_.get(), packet_.get());
        avcodec_send_packet(codec_.get(), nullptr);
        if (receive()) {
            const std::int64_t at = momentOfFrame();
            if (at != last_) {
                last_ = at;
                frame = frame_.get();
            }
            return {};
        }
        reset();
    } while (readPacket(true));
    return nothing();
}

Outcome FrameReader::readForward(std::int64_t moment, const AVFrame *&frame) {
    // Errors would add up over the frames, so nothing that others refer to is left out.
    codec_->skip_loop_filter = AVDISCARD_NONREF;
    codec_->skip_frame = AVDISCARD_NONREF;
    bool more = going_ ? readPacket(false) : true;
    while (more && forward_ < MOST_FRAMES_FORWARD && !stop_.isUp()) {
        going_ = true;
        avcodec_send_packet(codec_.get(), packet_.get());
        while (receive()) {
            ++forward_;
            const std::int64_t at = momentOfFrame();
            if (at >= moment && at > last_) {
                last_ = at;
                frame = frame_.get();
                return {};
            }
        }
        more = readPacket(false);
    }
    return nothing();
}

} // namespace mrb::thumbnail
