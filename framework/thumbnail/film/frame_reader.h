#pragma once

#include "thumbnail/film/av_input.h"

namespace mrb::thumbnail {

// Finds frames of one video stream. Lives on the stack of the decoding thread, as
// its input does.
//
// A key frame is decoded alone, which is what makes this fast. Only when a moment has
// no other key frame than one already taken, frames are decoded from it onwards.
class FrameReader {
  public:
    FrameReader(AvInput &input, const StopSign &stop)
        : input_(input), stop_(stop), packet_(makePacket()), frame_(makeFrame()) {}

    // Chooses the stream and opens its decoder. `lossy` leaves out the smoothing of
    // block edges, which does not show in an image of half the size.
    Outcome open(bool needsDuration);
    void setLossy(bool lossy) { lossy_ = lossy; }

    [[nodiscard]] const AVStream &stream() const { return *stream_; }
    // The running time in the stream's units; 0: unknown.
    [[nodiscard]] std::int64_t duration() const;
    [[nodiscard]] std::int64_t start() const;
    // A moment of the stream in milliseconds from its start.
    [[nodiscard]] std::int64_t milliseconds(std::int64_t moment) const;
    // The same of the frame given last.
    [[nodiscard]] std::int64_t lastMilliseconds() const { return milliseconds(last_); }

    // The frame to show for `moment`, in the stream's units; it is read until the next
    // call. Null with MRB_ERR_NONE: there is none but those already given.
    Outcome read(std::int64_t moment, const AVFrame *&frame);

  private:
    bool readPacket(bool key);
    Outcome readKeyFrame(const AVFrame *&frame);
    Outcome readForward(std::int64_t moment, const AVFrame *&frame);
    bool receive();
    [[nodiscard]] std::int64_t momentOfFrame() const;
    void reset();
    [[nodiscard]] Outcome nothing() const;

    AvInput &input_;
    const StopSign &stop_;
    Packet packet_;
    Frame frame_;
    Codec codec_;
    AVStream *stream_ = nullptr;
    bool lossy_ = true;
    bool going_ = false; // the decoder is in the middle of the stream and can go on
    int forward_ = 0;    // frames decoded onwards so far
    int packets_ = 0;
    std::int64_t packetBytes_ = 0;
    std::int64_t key_ = AV_NOPTS_VALUE;  // the key frame taken last
    std::int64_t last_ = AV_NOPTS_VALUE; // the frame given last
};

} // namespace mrb::thumbnail
