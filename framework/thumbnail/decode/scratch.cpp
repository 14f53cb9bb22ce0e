#include "thumbnail/decode/scratch.h"

#include <array>
#include <utility>

namespace mrb::thumbnail {
namespace {

// Large enough for a camera's picture as a file, or at the scale at which it is decoded.
constexpr std::size_t MAX_KEPT_BYTES = 8 << 20;

// The maximum that one picture needs at once.
using Kept = std::array<Bytes, 2>;

Kept &kept() {
    // NOLINTNEXTLINE(clang-diagnostic-exit-time-destructors): destroyed with its thread, a worker
    static thread_local Kept buffers;
    return buffers;
}

} // namespace

Scratch::Scratch() noexcept {
    for (Bytes &buffer : kept()) {
        if (buffer.capacity() > bytes_.capacity()) {
            std::swap(buffer, bytes_);
        }
    }
}

Scratch::~Scratch() {
    bytes_.clear();
    for (Bytes &buffer : kept()) {
        if (bytes_.capacity() <= MAX_KEPT_BYTES && bytes_.capacity() > buffer.capacity()) {
            std::swap(buffer, bytes_);
        }
    }
}

} // namespace mrb::thumbnail
