#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "base/cancellation.h"
#include "base/descriptor.h"
#include "thumbnail/decoder.h"

namespace mrb::thumbnail {

// Leaves new elements uninitialized on a resize: all of them are written next.
template <typename Value>
struct LeaveUnset : std::allocator<Value> {
    template <typename Other>
    struct rebind {
        using other = LeaveUnset<Other>;
    };
    template <typename Other>
    void construct(Other *place) noexcept {
        ::new (static_cast<void *>(place)) Other;
    }
    template <typename Other, typename... Arguments>
    void construct(Other *place, Arguments &&...arguments) {
        std::construct_at(place, std::forward<Arguments>(arguments)...);
    }
};
using Bytes = std::vector<unsigned char, LeaveUnset<unsigned char>>;

// An open media file. Owned by the decoding of one request, used by its thread. It is read, never
// mapped: the removal of its storage must be an error, not a signal.
class MediaFile {
  public:
    // Opens `path` unless it is not a regular file.
    Status open(const std::string &path);

    [[nodiscard]] const FileIdentity &identity() const { return identity_; }
    [[nodiscard]] int fd() const { return file_.fd(); }

    // Appends the file's bytes to `bytes` until it holds the first `count` of them, or all.
    Status read(std::int64_t count, const CancellationToken &cancellation, Bytes &bytes) const;

    // Reads the whole file, unless it is larger than MAX_FILE_BYTES.
    Status readAll(const CancellationToken &cancellation, Bytes &bytes) const;

  private:
    Descriptor file_;
    FileIdentity identity_;
};

} // namespace mrb::thumbnail
