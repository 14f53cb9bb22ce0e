#include "metadata/music_stream.h"

#include <algorithm>

namespace mrb {

TagLib::ByteVector MusicStream::readBlock(Length length) {
    // What a tag claims to hold: covers are the largest things in them.
    constexpr Length MOST_AT_ONCE = 16UL << 20;
    const std::string bytes = file_.read(position_, std::min<std::size_t>(length, MOST_AT_ONCE));
    position_ += static_cast<std::int64_t>(bytes.size());
    return {bytes.data(), static_cast<unsigned>(bytes.size())};
}

void MusicStream::seek(Offset offset, Position from) {
    switch (from) {
    case Beginning:
        position_ = offset;
        break;
    case Current:
        position_ += offset;
        break;
    case End:
        position_ = file_.size() + offset;
        break;
    }
    // There is nothing outside the file, and a sum of hostile numbers must not overflow later.
    position_ = std::clamp<std::int64_t>(position_, 0, file_.size());
}

} // namespace mrb
