#pragma once

extern "C" {
#include <libavcodec/avcodec.h>
#include <libavformat/avformat.h>
}

#include <cstdint>
#include <memory>

#include "base/cancellation.h"
#include "base/deleter.h"
#include "thumbnail/media_file.h"

namespace mrb::thumbnail {

using Frame = std::unique_ptr<AVFrame, Deleter<av_frame_free>>;
using Packet = std::unique_ptr<AVPacket, Deleter<av_packet_free>>;
using Codec = std::unique_ptr<AVCodecContext, Deleter<avcodec_free_context>>;

// Never null. Both throw std::bad_alloc.
Frame makeFrame();
Packet makePacket();

// A container opened by libav, which reads only this file, and none that the file refers to.
// Lives on the stack of the decoding thread; file and token outlive it.
class AvInput {
  public:
    AvInput(const MediaFile &file, const CancellationToken &cancellation)
        : file_(file), cancellation_(cancellation) {}
    ~AvInput();
    AvInput(const AvInput &) = delete;
    AvInput &operator=(const AvInput &) = delete;

    // `formats`: libav's names, separated by commas; other formats are not detected.
    Status open(const char *formats);
    [[nodiscard]] AVFormatContext *context() const { return context_; }

    // The reason why a call of libav failed: cancellation, the device, or else the file itself.
    [[nodiscard]] Status failure(const char *what) const;

  private:
    static int read(void *self, std::uint8_t *buffer, int size);
    static std::int64_t seek(void *self, std::int64_t offset, int whence);
    static int isCancelled(void *self);

    const MediaFile &file_;
    const CancellationToken &cancellation_;
    std::int64_t at_ = 0;
    int error_ = 0; // the errno of a read that failed
    AVIOContext *io_ = nullptr;
    AVFormatContext *context_ = nullptr;
};

} // namespace mrb::thumbnail
