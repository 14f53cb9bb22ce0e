#pragma once

#include <span>
#include <vector>

#include "base/cancellation.h"
#include "thumbnail/video/av_input.h"

namespace mrb::thumbnail {

// Finds frames of one video stream. Lives on the stack of the decoding thread, as its input does.
//
// A key frame is decoded alone, which makes this fast. Only when the nearest key frame of a
// position was returned before, frames are decoded forward from it.
class FrameReader {
  public:
    FrameReader(AvInput &input, const CancellationToken &cancellation)
        : input_(input), cancellation_(cancellation), packet_(makePacket()), received_(makeFrame()),
          frame_(makeFrame()), ahead_(makeFrame()) {}

    // Chooses the stream and opens its decoder. `lossy` omits the deblocking filter, which does
    // not show in an image of half the size.
    Status open(bool needsDuration);
    void setLossy(bool lossy) { lossy_ = lossy; }

    [[nodiscard]] const AVStream &stream() const { return *stream_; }
    // The duration in the stream's time base; 0: unknown.
    [[nodiscard]] std::int64_t duration() const;
    // The time of the first frame.
    [[nodiscard]] std::int64_t start() const { return start_; }
    // A time of the stream in milliseconds from its start.
    [[nodiscard]] std::int64_t milliseconds(std::int64_t moment) const;
    // The same for the frame returned last.
    [[nodiscard]] std::int64_t lastMilliseconds() const { return milliseconds(last_); }

    // The frame for the first of `moments`, which are in the stream's time base and ascend: one
    // at or before it and after the frame returned last. The others are the positions of the next
    // calls. The frame is valid until the next call. Null with MRB_ERR_NONE: there are no frames
    // other than those already returned.
    Status read(std::span<const std::int64_t> moments, const AVFrame *&frame);

    // `count` positions, evenly spread over the frames that the file really has, or all of them
    // where they are fewer. Reading restarts, and from then on frames without references to them
    // are decoded as well.
    std::vector<std::int64_t> momentsOfPictures(std::size_t count);

  private:
    enum class Step : std::uint8_t { TAKEN, LATER, NONE };

    bool readPacket(bool key);
    void rewind();
    bool scanForKey(std::int64_t moment, std::int64_t after, std::int64_t &seen);
    bool findKey(std::int64_t moment, std::int64_t after);
    bool findFirstKey();
    [[nodiscard]] bool isShownBy(const AVPacket &packet, std::int64_t moment) const;
    [[nodiscard]] bool isKnownToHaveNoKeyAfterLast(std::int64_t moment) const;
    void learnStart();
    Status readKeyFrame(const AVFrame *&frame);
    Status readForward(std::int64_t moment, int maximum, const AVFrame *&frame);
    [[nodiscard]] std::int64_t pictureTime() const;
    [[nodiscard]] int maxFramesForward(std::span<const std::int64_t> moments) const;
    bool feed();
    Step receiveNext(std::int64_t moment);
    bool receive(AVFrame &frame);
    void send(const AVPacket *packet);
    static std::int64_t momentOf(const AVPacket &packet);
    static std::int64_t orderOf(const AVPacket &packet);
    [[nodiscard]] std::int64_t momentOf(const AVFrame &frame) const;
    void reset();
    [[nodiscard]] Status nothing() const;

    AvInput &input_;
    const CancellationToken &cancellation_;
    Packet packet_;
    Frame received_;
    Frame frame_; // returned last
    Frame ahead_; // decoded for a later position, where hasAhead_
    Codec codec_;
    AVStream *stream_ = nullptr;
    std::int64_t start_ = 0;
    bool lossy_ = true;
    bool every_ = false;      // decode frames without references to them as well
    bool going_ = false;      // the decoder is in the middle of the stream and can continue
    bool catchingUp_ = false; // packets are read that it got before
    bool draining_ = false;   // it got all packets
    bool ended_ = false;      // it returned all frames
    bool isAtEnd_ = false;    // of the file, at the last packet read
    bool hasAhead_ = false;
    int forward_ = 0; // frames decoded forward so far
    int packets_ = 0;
    std::int64_t packetBytes_ = 0;
    std::int64_t fed_ = AV_NOPTS_VALUE;  // the order of the last packet decoded
    std::int64_t last_ = AV_NOPTS_VALUE; // the time of the frame returned last
    std::int64_t newest_ = 0;            // the time of the frame decoded forward last
    std::int64_t aheadAt_ = AV_NOPTS_VALUE;
};

} // namespace mrb::thumbnail
