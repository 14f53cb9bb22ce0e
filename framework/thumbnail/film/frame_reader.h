#pragma once

#include <span>
#include <vector>

#include "base/cancellation.h"
#include "thumbnail/film/av_input.h"

namespace mrb::thumbnail {

// Finds frames of one video stream. Lives on the stack of the decoding thread, as
// its input does.
//
// A key frame is decoded alone, which is what makes this fast. Only when a moment has
// no other key frame than one already taken, frames are decoded from it onwards.
class FrameReader {
  public:
    FrameReader(AvInput &input, const CancellationToken &stop)
        : input_(input), stop_(stop), packet_(makePacket()), received_(makeFrame()), frame_(makeFrame()),
          ahead_(makeFrame()) {}

    // Chooses the stream and opens its decoder. `lossy` leaves out the smoothing of
    // block edges, which does not show in an image of half the size.
    Status open(bool needsDuration);
    void setLossy(bool lossy) { lossy_ = lossy; }

    [[nodiscard]] const AVStream &stream() const { return *stream_; }
    // The running time in the stream's units; 0: unknown.
    [[nodiscard]] std::int64_t duration() const;
    // The moment of the first picture.
    [[nodiscard]] std::int64_t start() const { return start_; }
    // A moment of the stream in milliseconds from its start.
    [[nodiscard]] std::int64_t milliseconds(std::int64_t moment) const;
    // The same of the frame given last.
    [[nodiscard]] std::int64_t lastMilliseconds() const { return milliseconds(last_); }

    // A frame to show for the first of `moments`, which are in the stream's units and
    // ascend: one at or before it and after the frame given last. The others are those that
    // will be asked for next. The frame can be used until the next call. Null with
    // MRB_ERR_NONE: there is none but those already given.
    Status read(std::span<const std::int64_t> moments, const AVFrame *&frame);

    // The moments of `count` pictures, evenly spread over those that the file turns out to
    // have, or of all where they are fewer. Reading begins again, and no picture is passed
    // over any more because others do not need it.
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
    Status readForward(std::int64_t moment, int most, const AVFrame *&frame);
    [[nodiscard]] std::int64_t pictureTime() const;
    [[nodiscard]] int mostFramesForward(std::span<const std::int64_t> moments) const;
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
    const CancellationToken &stop_;
    Packet packet_;
    Frame received_;
    Frame frame_; // given last
    Frame ahead_; // decoded, and for a later moment, where hasAhead_
    Codec codec_;
    AVStream *stream_ = nullptr;
    std::int64_t start_ = 0;
    bool lossy_ = true;
    bool every_ = false;      // decode frames that no other needs as well
    bool going_ = false;      // the decoder is in the middle of the stream and can go on
    bool catchingUp_ = false; // packets are read that it has had already
    bool draining_ = false;   // it has had all there are
    bool ended_ = false;      // it has given all there are
    bool isAtEnd_ = false;    // of the file, as the last packet was asked for
    bool hasAhead_ = false;
    int forward_ = 0; // frames decoded onwards so far
    int packets_ = 0;
    std::int64_t packetBytes_ = 0;
    std::int64_t fed_ = AV_NOPTS_VALUE;  // the order of the last packet decoded
    std::int64_t last_ = AV_NOPTS_VALUE; // the moment of the frame given last
    std::int64_t newest_ = 0;            // the moment of the frame decoded onwards last
    std::int64_t aheadAt_ = AV_NOPTS_VALUE;
};

} // namespace mrb::thumbnail
