#include "thumbnail/video/av_input.h"

#include <unistd.h>

#include <cerrno>
#include <mutex>
#include <new>

#include "thumbnail/limits.h"

namespace mrb::thumbnail {
namespace {

constexpr int BUFFER_BYTES = 64 << 10;
constexpr std::int64_t PROBE_BYTES = 5 << 20;

// Other files that a file names (playlists, references in a container) are not opened.
int refuse(AVFormatContext * /*context*/, AVIOContext ** /*io*/, const char * /*url*/, int /*flags*/,
           AVDictionary ** /*options*/) {
    return AVERROR(EACCES);
}

void quiet() {
    static std::once_flag once;
    std::call_once(once, [] {
        av_log_set_level(AV_LOG_QUIET);
        av_max_alloc(MAX_DECODED_BYTES);
    });
}

template <typename Owner, typename Make>
Owner orThrow(Make make) {
    Owner owner(make());
    if (!owner) {
        throw std::bad_alloc();
    }
    return owner;
}

} // namespace

Frame makeFrame() { return orThrow<Frame>(av_frame_alloc); }

Packet makePacket() { return orThrow<Packet>(av_packet_alloc); }

AvInput::~AvInput() {
    avformat_close_input(&context_);
    if (io_ != nullptr) {
        av_freep(static_cast<void *>(&io_->buffer));
        avio_context_free(&io_);
    }
}

Status AvInput::open(const char *formats) {
    quiet();
    auto *buffer = static_cast<unsigned char *>(av_malloc(BUFFER_BYTES));
    io_ =
        buffer != nullptr ? avio_alloc_context(buffer, BUFFER_BYTES, 0, this, read, nullptr, seek) : nullptr;
    if (io_ == nullptr) {
        av_free(buffer);
        throw std::bad_alloc();
    }
    context_ = avformat_alloc_context();
    if (context_ == nullptr) {
        throw std::bad_alloc();
    }
    context_->pb = io_;
    context_->flags |= AVFMT_FLAG_CUSTOM_IO;
    context_->io_open = refuse;
    context_->interrupt_callback = {isCancelled, this};
    context_->probesize = PROBE_BYTES;
    context_->format_whitelist = av_strdup(formats);
    // It frees and clears the context on failure.
    const int code = avformat_open_input(&context_, nullptr, nullptr, nullptr);
    if (code == AVERROR_INVALIDDATA && io_->pos == 0) {
        return Status::notSupported("The file's format is not known.");
    }
    return code < 0 ? failure("its container cannot be read") : Status{};
}

Status AvInput::failure(const char *what) const {
    if (cancellation_.isCancelled()) {
        return endOf(cancellation_);
    }
    return error_ != 0 ? Status::ofErrno(error_, "reading")
                       : Status::corrupt(std::string("The file is damaged: ") + what + ".");
}

int AvInput::read(void *self, std::uint8_t *buffer, int size) {
    auto &input = *static_cast<AvInput *>(self);
    if (input.cancellation_.isCancelled()) {
        return AVERROR_EXIT;
    }
    const ssize_t got = pread(input.file_.fd(), buffer, static_cast<std::size_t>(size), input.at_);
    if (got < 0) {
        input.error_ = errno;
        return AVERROR(errno);
    }
    input.at_ += got;
    return got == 0 ? AVERROR_EOF : static_cast<int>(got);
}

std::int64_t AvInput::seek(void *self, std::int64_t offset, int whence) {
    auto &input = *static_cast<AvInput *>(self);
    const std::int64_t size = input.file_.identity().size;
    switch (whence & ~AVSEEK_FORCE) {
    case AVSEEK_SIZE:
        return size;
    case SEEK_SET:
        break;
    case SEEK_CUR:
        offset += input.at_;
        break;
    case SEEK_END:
        offset += size;
        break;
    default:
        return AVERROR(EINVAL);
    }
    if (offset < 0) {
        return AVERROR(EINVAL);
    }
    input.at_ = offset;
    return offset;
}

int AvInput::isCancelled(void *self) {
    return static_cast<AvInput *>(self)->cancellation_.isCancelled() ? 1 : 0;
}

} // namespace mrb::thumbnail
