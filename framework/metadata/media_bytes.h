#pragma once

#include <cstddef>
#include <cstdint>

#include "mrb/result.h"

namespace mrb {

// The bytes of a media file on a remote device. Owned by the MediaFile that was opened with it,
// and used by its thread.
class MediaBytes {
  public:
    MediaBytes() = default;
    virtual ~MediaBytes() = default;
    MediaBytes(const MediaBytes &) = delete;
    MediaBytes &operator=(const MediaBytes &) = delete;

    [[nodiscard]] virtual std::int64_t size() const = 0;     // bytes
    [[nodiscard]] virtual std::int64_t modified() const = 0; // seconds since 1970

    // Reads up to `length` bytes from `offset` on, as many as arrive at once; `got` is their
    // number, 0 at the end. False: the device failed.
    virtual bool read(std::int64_t offset, char *buffer, std::size_t length, std::size_t &got) = 0;

    // Why read() failed: a code of mrb/result.h.
    [[nodiscard]] virtual int failure() const { return MRB_ERR_IO; }
};

} // namespace mrb
