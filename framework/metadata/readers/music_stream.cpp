#include "metadata/readers/music_stream.h"

#include <algorithm>

namespace mrb {

TagLib::ByteVector MusicStream::readBlock(Length length) {
    // The maximum that a tag may claim to hold: covers are the largest things in them.
    constexpr Length MAX_READ_BYTES = 16UL << 20;
    const std::string bytes = file_.read(position_, std::min<std::size_t>(length, MAX_READ_BYTES));
    position_ += static_cast<std::int64_t>(bytes.size());
    return {bytes.data(), static_cast<unsigned>(bytes.size())};
}

void MusicStream::seek(Offset offset, Position from) {
    // Positions stay inside the file, and sums of hostile numbers must not overflow.
    const std::int64_t step = std::clamp<std::int64_t>(offset, -file_.size(), file_.size());
    switch (from) {
    case Beginning:
        position_ = step;
        break;
    case Current:
        position_ += step;
        break;
    case End:
        position_ = file_.size() + step;
        break;
    }
    position_ = std::clamp<std::int64_t>(position_, 0, file_.size());
}

} // namespace mrb
