#include "thumbnail/video/frame_reader.h"

#include <algorithm>
#include <limits>
#include <utility>

#include "thumbnail/limits.h"

namespace mrb::thumbnail {
namespace {

constexpr AVRational MILLISECOND{1, 1000};
constexpr AVRational LIBAV_TIME{1, AV_TIME_BASE};
// Far longer than any video, and small enough that sums of a few do not overflow: a file may
// claim any time.
constexpr std::int64_t MAX_TIME = std::int64_t{1} << 58;

bool isVideo(const AVStream &stream) {
    return stream.codecpar->codec_type == AVMEDIA_TYPE_VIDEO &&
           (stream.disposition & AV_DISPOSITION_ATTACHED_PIC) == 0;
}

} // namespace

Status FrameReader::open(bool needsDuration) {
    AVFormatContext *context = input_.context();
    const auto known = [&](const AVStream &stream) {
        return isVideo(stream) && stream.codecpar->codec_id != AV_CODEC_ID_NONE &&
               stream.codecpar->width > 0 && (!needsDuration || stream.duration > 0 || context->duration > 0);
    };
    AVStream **const first = context->streams;
    // Analysing streams takes long, and a container's header is usually sufficient.
    if (std::none_of(first, first + context->nb_streams, [&](const AVStream *s) { return known(*s); }) &&
        avformat_find_stream_info(context, nullptr) < 0) {
        return input_.failure("its streams cannot be read");
    }
    const int chosen = av_find_best_stream(context, AVMEDIA_TYPE_VIDEO, -1, -1, nullptr, 0);
    if (chosen < 0 || !isVideo(*context->streams[chosen])) {
        return cancellation_.isCancelled() ? endOf(cancellation_)
                                           : Status::notFound("The file has no video stream.");
    }
    stream_ = context->streams[chosen];
    for (unsigned index = 0; index < context->nb_streams; ++index) {
        AVStream *stream = context->streams[index];
        stream->discard = stream == stream_ ? AVDISCARD_DEFAULT : AVDISCARD_ALL;
    }
    const AVCodec *decoder = avcodec_find_decoder(stream_->codecpar->codec_id);
    codec_.reset(decoder != nullptr ? avcodec_alloc_context3(decoder) : nullptr);
    if (!codec_ || avcodec_parameters_to_context(codec_.get(), stream_->codecpar) < 0) {
        return Status::notSupported("No decoder for the video's codec.");
    }
    codec_->pkt_timebase = stream_->time_base;
    codec_->thread_count = 1;
    codec_->max_pixels = MAX_FRAME_PIXELS;
    if (std::int64_t{codec_->width} * codec_->height > MAX_FRAME_PIXELS) {
        return Status::outOfMemory("The video's frames have more pixels than are decoded.");
    }
    if (avcodec_open2(codec_.get(), decoder, nullptr) < 0) {
        return input_.failure("its codec cannot be opened");
    }
    if (needsDuration) {
        learnStart();
    }
    return {};
}

std::int64_t FrameReader::duration() const {
    const std::int64_t whole = input_.context()->duration;
    const std::int64_t own = stream_->duration;
    const std::int64_t either = own > 0 ? own : av_rescale_q(whole, LIBAV_TIME, stream_->time_base);
    return std::clamp<std::int64_t>(either, 0, MAX_TIME);
}

// Some containers have no start time; then that of the first packet is used.
void FrameReader::learnStart() {
    start_ = stream_->start_time;
    if (start_ == AV_NOPTS_VALUE) {
        start_ = readPacket(false) ? momentOf(*packet_) : AV_NOPTS_VALUE;
    }
    start_ = start_ == AV_NOPTS_VALUE ? 0 : std::clamp(start_, -MAX_TIME, MAX_TIME);
}

std::int64_t FrameReader::milliseconds(std::int64_t moment) const {
    return std::max<std::int64_t>(
        0, av_rescale_q(av_sat_sub64(moment, start_), stream_->time_base, MILLISECOND));
}

// The time between frames; 0: unknown.
std::int64_t FrameReader::pictureTime() const {
    const AVRational rate = stream_->avg_frame_rate.num > 0 ? stream_->avg_frame_rate : stream_->r_frame_rate;
    return rate.num > 0 && rate.den > 0 ? av_rescale_q(1, av_inv_q(rate), stream_->time_base) : 0;
}

// The maximum of frames decoded forward for the next position: all that are left of the limit
// when these suffice for the last position too, else its share of them.
int FrameReader::maxFramesForward(std::span<const std::int64_t> moments) const {
    const int left = std::max(MAX_FRAMES_FORWARD - forward_, 0);
    const std::int64_t way = av_sat_sub64(moments.back(), last_ == AV_NOPTS_VALUE ? start_ : last_);
    const std::int64_t each = pictureTime();
    const bool isEnough = each > 0 && way / each <= left;
    const auto frameCount = static_cast<int>(moments.size());
    return std::max(isEnough ? left : left / frameCount, 1);
}

Status FrameReader::read(std::span<const std::int64_t> moments, const AVFrame *&frame) {
    frame = nullptr;
    packets_ = 0;
    packetBytes_ = 0;
    if (ended_) {
        return {};
    }
    const std::int64_t moment = moments.front();
    const int maximum = maxFramesForward(moments);
    if (!isKnownToHaveNoKeyAfterLast(moment)) {
        if (findKey(moment, fed_) || (last_ == AV_NOPTS_VALUE && findFirstKey())) {
            return readKeyFrame(frame);
        }
        if (going_) {
            av_seek_frame(input_.context(), stream_->index, fed_, AVSEEK_FLAG_BACKWARD);
            catchingUp_ = true;
        }
    }
    if (!going_) {
        if (last_ == AV_NOPTS_VALUE || !findKey(last_, AV_NOPTS_VALUE)) {
            return nothing();
        }
        reset();
        going_ = true;
        send(packet_.get());
    }
    return readForward(moment, maximum, frame);
}

// The container's index may show it without a search. Not that of broadcasts: libav indexes only
// what it has read.
bool FrameReader::isKnownToHaveNoKeyAfterLast(std::int64_t moment) const {
    const bool isIndexed = (input_.context()->iformat->flags & AVFMT_TS_DISCONT) == 0;
    const AVIndexEntry *entry =
        isIndexed && last_ != AV_NOPTS_VALUE
            ? avformat_index_get_entry_from_timestamp(stream_, moment, AVSEEK_FLAG_BACKWARD)
            : nullptr;
    return entry != nullptr && entry->timestamp <= std::max(fed_, last_);
}

void FrameReader::reset() {
    avcodec_flush_buffers(codec_.get());
    going_ = false;
    catchingUp_ = false;
    draining_ = false;
    hasAhead_ = false;
}

// Some containers lack the presentation time of packets, or the decoding time.
std::int64_t FrameReader::momentOf(const AVPacket &packet) {
    return packet.pts != AV_NOPTS_VALUE ? packet.pts : packet.dts;
}

std::int64_t FrameReader::orderOf(const AVPacket &packet) {
    return packet.dts != AV_NOPTS_VALUE ? packet.dts : packet.pts;
}

std::int64_t FrameReader::momentOf(const AVFrame &frame) const {
    for (const std::int64_t at : {frame.best_effort_timestamp, packet_->pts, packet_->dts}) {
        if (at != AV_NOPTS_VALUE) {
            return at;
        }
    }
    return start_;
}

// The result without a frame: an error if none was found at all, else the end.
Status FrameReader::nothing() const {
    if (cancellation_.isCancelled()) {
        return endOf(cancellation_);
    }
    return last_ == AV_NOPTS_VALUE ? input_.failure("it has no key frame that can be decoded") : Status{};
}

bool FrameReader::readPacket(bool key) {
    isAtEnd_ = false;
    while (packets_ < MAX_PACKETS && packetBytes_ < MAX_PACKET_BYTES && !cancellation_.isCancelled()) {
        av_packet_unref(packet_.get());
        isAtEnd_ = av_read_frame(input_.context(), packet_.get()) < 0;
        if (isAtEnd_) {
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

// Seeks to the first packet. Not every container can seek before the start time, or to it.
void FrameReader::rewind() {
    AVFormatContext *context = input_.context();
    const std::int64_t margin = av_rescale_q(10, {1, 1}, stream_->time_base);
    if (av_seek_frame(context, stream_->index, start_ - margin, AVSEEK_FLAG_BACKWARD) < 0 &&
        av_seek_frame(context, stream_->index, start_, AVSEEK_FLAG_BACKWARD) < 0) {
        av_seek_frame(context, stream_->index, 0, AVSEEK_FLAG_BYTE);
    }
}

// When frames are reordered, a packet without a presentation time may be shown later than its
// decoding time.
bool FrameReader::isShownBy(const AVPacket &packet, std::int64_t moment) const {
    const bool isReordered = stream_->codecpar->video_delay > 0;
    return (packet.pts != AV_NOPTS_VALUE || !isReordered) && momentOf(packet) <= moment;
}

// Reads packets up to a key frame that is shown at `moment` or before and comes after the packet
// `after`. False: there is none from the current position to the moment, or to `seen`, the start
// of the range that was searched before, which is then extended to the current position.
bool FrameReader::scanForKey(std::int64_t moment, std::int64_t after, std::int64_t &seen) {
    std::int64_t first = seen;
    while (readPacket(false)) {
        const std::int64_t order = orderOf(*packet_);
        if (order != AV_NOPTS_VALUE) {
            first = std::min(first, order);
            if (order > moment || order >= seen) {
                break;
            }
        }
        const bool isKey = (packet_->flags & AV_PKT_FLAG_KEY) != 0;
        if (isKey && (order == AV_NOPTS_VALUE || (order > after && isShownBy(*packet_, moment)))) {
            return true;
        }
    }
    seen = first;
    return false;
}

// Reads the packet of a key frame at or before `moment` and after the packet `after`. A container
// with an index finds it by one seek; others are searched backwards in ranges, each twice as long
// as the one before.
bool FrameReader::findKey(std::int64_t moment, std::int64_t after) {
    std::int64_t step = av_rescale_q(1, {1, 1}, stream_->time_base);
    std::int64_t seen = std::numeric_limits<std::int64_t>::max();
    for (std::int64_t at = moment; at > start_ && seen > after; at -= step, step *= 2) {
        // Without an index a container is read from its current position.
        av_seek_frame(input_.context(), stream_->index, at, AVSEEK_FLAG_BACKWARD);
        if (scanForKey(moment, after, seen)) {
            return true;
        }
    }
    if (seen <= after) {
        return false;
    }
    rewind();
    return scanForKey(moment, after, seen);
}

// For a video that begins between two key frames.
bool FrameReader::findFirstKey() {
    packets_ = 0;
    packetBytes_ = 0;
    rewind();
    return readPacket(true);
}

bool FrameReader::receive(AVFrame &frame) { return avcodec_receive_frame(codec_.get(), &frame) == 0; }

void FrameReader::send(const AVPacket *packet) {
    avcodec_send_packet(codec_.get(), packet);
    if (packet != nullptr) {
        fed_ = orderOf(*packet);
    }
}

Status FrameReader::readKeyFrame(const AVFrame *&frame) {
    // Damage in one key frame does not rule out the next one.
    do {
        reset();
        codec_->skip_loop_filter = lossy_ ? AVDISCARD_ALL : AVDISCARD_DEFAULT;
        codec_->skip_frame = AVDISCARD_DEFAULT;
        // A drained decoder returns the frame at once.
        send(packet_.get());
        send(nullptr);
        if (receive(*frame_)) {
            const std::int64_t at = momentOf(*frame_);
            if (at > last_) {
                last_ = at;
                frame = frame_.get();
            }
            return {};
        }
    } while (readPacket(true));
    return nothing();
}

// Sends the decoder the next packet, or the end of the stream. False: both were sent already.
bool FrameReader::feed() {
    if (draining_) {
        ended_ = true;
        return false;
    }
    while (readPacket(false)) {
        const std::int64_t order = orderOf(*packet_);
        catchingUp_ = catchingUp_ && order != AV_NOPTS_VALUE && order <= fed_;
        if (!catchingUp_) {
            send(packet_.get());
            return true;
        }
    }
    draining_ = isAtEnd_;
    if (draining_) {
        send(nullptr);
    }
    return draining_;
}

// Receives the next frame, for the position or for a later one.
FrameReader::Step FrameReader::receiveNext(std::int64_t moment) {
    do {
        while (receive(*received_)) {
            ++forward_;
            // The last frames come without a packet that could have their time.
            const bool isKnown = !draining_ || received_->best_effort_timestamp != AV_NOPTS_VALUE;
            const std::int64_t at = isKnown ? momentOf(*received_)
                                            : av_sat_add64(newest_, std::max<std::int64_t>(pictureTime(), 1));
            newest_ = at;
            if (at > moment) {
                std::swap(received_, ahead_);
                aheadAt_ = at;
                hasAhead_ = true;
                return Step::LATER;
            }
            if (at > last_) {
                std::swap(received_, frame_);
                last_ = at;
                return Step::TAKEN;
            }
        }
    } while (feed());
    return Step::NONE;
}

Status FrameReader::readForward(std::int64_t moment, int maximum, const AVFrame *&frame) {
    // Errors would accumulate over the frames, so only frames without references to them are
    // skipped.
    codec_->skip_loop_filter = every_ ? AVDISCARD_DEFAULT : AVDISCARD_NONREF;
    codec_->skip_frame = every_ ? AVDISCARD_DEFAULT : AVDISCARD_NONREF;
    if (hasAhead_ && aheadAt_ > moment) {
        return {};
    }
    if (hasAhead_) {
        std::swap(ahead_, frame_);
        hasAhead_ = false;
        last_ = aheadAt_;
        frame = frame_.get();
    }
    const int end = forward_ + maximum;
    while (last_ < moment && (frame == nullptr || forward_ < end) && receiveNext(moment) == Step::TAKEN) {
        frame = frame_.get();
    }
    return frame == nullptr ? nothing() : Status{};
}

std::vector<std::int64_t> FrameReader::momentsOfPictures(std::size_t count) {
    reset();
    rewind();
    ended_ = false;
    every_ = true;
    forward_ = 0;
    packets_ = 0;
    packetBytes_ = 0;
    fed_ = AV_NOPTS_VALUE;
    last_ = AV_NOPTS_VALUE;
    std::vector<std::int64_t> shown;
    std::vector<std::int64_t> read;
    while (readPacket(false)) {
        if ((packet_->flags & AV_PKT_FLAG_DISCARD) == 0) {
            shown.push_back(packet_->pts);
            read.push_back(orderOf(*packet_));
        }
    }
    const bool areKnown = std::ranges::find(shown, AV_NOPTS_VALUE) == shown.end();
    std::vector<std::int64_t> &all = areKnown ? shown : read;
    std::erase(all, AV_NOPTS_VALUE);
    std::ranges::sort(all);
    all.erase(std::unique(all.begin(), all.end()), all.end());
    if (!areKnown && !all.empty()) {
        // Presentation times have the same intervals as decoding times.
        const std::int64_t delay = av_sat_sub64(start_, all.front());
        std::ranges::for_each(all, [delay](std::int64_t &moment) { moment = av_sat_add64(moment, delay); });
    }
    if (all.size() <= count) {
        return all;
    }
    std::vector<std::int64_t> moments;
    for (std::size_t index = 0; index < count; ++index) {
        moments.push_back(all[(2 * index + 1) * all.size() / (2 * count)]);
    }
    return moments;
}

} // namespace mrb::thumbnail
