#pragma once
// The records that cross the framework's interface, written and read by byte offset, as a
// framework does that was compiled elsewhere: a member of the headers in another place than
// that becomes a failing test. The offsets are those where pointers have 32 bits, which
// televisions fix, and where they have 64 bits (System V).

#include <array>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string>

namespace recording {

/// The one of two offsets that holds here.
constexpr size_t offsetHere(size_t with_32_bits, size_t with_64_bits) {
    return sizeof(void *) == 4 ? with_32_bits : with_64_bits;
}

namespace thumb_result {
inline constexpr size_t ORIGIN_PATH = 0;
inline constexpr size_t IMAGE_BUFFER = 4352;
inline constexpr size_t BUFFER_SIZE = offsetHere(4372, 4392);
inline constexpr size_t IMAGE_WIDTH = offsetHere(4396, 4416);
inline constexpr size_t IMAGE_HEIGHT = offsetHere(4400, 4420);
inline constexpr size_t IMAGE_DEPTH = offsetHere(4404, 4424);
inline constexpr size_t IMAGE_COUNT = offsetHere(4408, 4428);
inline constexpr size_t TIME_STAMP = offsetHere(4416, 4440);
inline constexpr size_t FLAG_ORIGIN_IMAGE = offsetHere(4456, 4480);
inline constexpr size_t PRESET_BUFFER = offsetHere(4460, 4488);
inline constexpr size_t SIZE = offsetHere(4464, 4496);
} // namespace thumb_result

namespace thumb_request {
inline constexpr size_t ORIGIN_PATH = 0;
inline constexpr size_t MEDIA_TYPE = offsetHere(4, 8);
inline constexpr size_t SOURCE_TYPE = offsetHere(8, 12);
inline constexpr size_t ORIENTATION = offsetHere(12, 16);
inline constexpr size_t THUMB_WIDTH = offsetHere(16, 20);
inline constexpr size_t THUMB_HEIGHT = offsetHere(20, 24);
inline constexpr size_t USED_CACHE = offsetHere(24, 28);
inline constexpr size_t VIDEO_FRAME_COUNT = offsetHere(28, 32);
inline constexpr size_t CALLBACK = offsetHere(32, 40);
inline constexpr size_t USER_DATA = offsetHere(36, 48);
} // namespace thumb_request

namespace share_status {
inline constexpr size_t TOTAL_FILE_COUNT = 0;
inline constexpr size_t DONE_FILE_COUNT = 4;
inline constexpr size_t TOTAL_FILE_SIZE = 8;
inline constexpr size_t SUCCESS_FILE_SIZE = 16;
inline constexpr size_t CURRENT_FILE_SIZE = 24;
inline constexpr size_t PROGRESS_FILE_SIZE = 32;
inline constexpr size_t CURRENT_FILE_NAME = 40;
inline constexpr size_t SIZE = 1064;
} // namespace share_status

/// What lies at an offset of a record that arrived as the headers declare it; zero past its end.
template <typename Value, typename Declared>
Value memberAt(const Declared &record, size_t offset) {
    Value value{};
    if (offset + sizeof value <= sizeof record) {
        std::memcpy(&value, reinterpret_cast<const char *>(&record) + offset, sizeof value);
    }
    return value;
}

/// The bytes of a record of that size. What was not put has a value that no test expects.
template <size_t SIZE>
class Record {
  public:
    Record() { bytes_.fill(0xa5); }

    template <typename Value>
    void put(size_t offset, Value value) {
        std::memcpy(bytes_.data() + offset, &value, sizeof value);
    }

    /// A text with its final zero.
    void putText(size_t offset, const std::string &text) {
        std::memcpy(bytes_.data() + offset, text.c_str(), text.size() + 1);
    }

    /// For a function that takes the record as the headers declare it.
    template <typename Declared>
    Declared *as() {
        void *const start = bytes_.data();
        return static_cast<Declared *>(start);
    }

  private:
    // With room behind it, for a header that takes the record to be longer.
    alignas(std::max_align_t) std::array<unsigned char, SIZE + 64> bytes_{};
};

} // namespace recording
