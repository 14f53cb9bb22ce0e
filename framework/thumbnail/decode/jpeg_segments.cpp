#include "thumbnail/decode/jpeg_segments.h"

#include <array>
#include <cstring>
#include <string_view>

namespace mrb::thumbnail {
namespace {

using namespace std::string_view_literals;

constexpr auto EXIF = "Exif\0\0"sv;
constexpr auto ICC = "ICC_PROFILE\0"sv;
constexpr std::size_t MAX_PIECES = 255;

bool beginsWith(ByteSpan data, std::string_view start) {
    return data.size() >= start.size() && std::memcmp(data.data(), start.data(), start.size()) == 0;
}

// The chunks of an ICC profile (ICC.1 annex B.4), each with its number, from 1.
class ProfilePieces {
  public:
    void add(ByteSpan contents) {
        if (contents.size() < 2 || contents[0] == 0 || contents[0] > MAX_PIECES) {
            return;
        }
        pieces_[contents[0] - 1U] = contents.subspan(2);
        count_ = contents[1];
    }
    [[nodiscard]] Bytes join() const {
        Bytes profile;
        for (std::size_t index = 0; index < count_; ++index) {
            if (pieces_[index].empty()) {
                return {};
            }
            profile.insert(profile.end(), pieces_[index].begin(), pieces_[index].end());
        }
        return profile;
    }

  private:
    std::array<ByteSpan, MAX_PIECES> pieces_;
    std::size_t count_ = 0;
};

constexpr bool isFrameHeader(unsigned char marker) {
    return marker >= 0xC0 && marker <= 0xCF && marker != 0xC4 && marker != 0xC8 && marker != 0xCC;
}

} // namespace

bool isJpeg(ByteSpan data) { return beginsWith(data, "\xFF\xD8\xFF"sv); }

JpegSegments readJpegSegments(ByteSpan data) {
    JpegSegments segments;
    ProfilePieces profile;
    std::size_t at = 2;
    while (at + 4 <= data.size() && data[at] == 0xFF) {
        const unsigned char marker = data[at + 1];
        if (marker == 0xFF) { // a fill byte
            ++at;
            continue;
        }
        const std::size_t length = data[at + 2] * 256U + data[at + 3];
        if (marker == 0xDA || length < 2) {
            break;
        }
        if (at + 2 + length > data.size()) {
            break;
        }
        const ByteSpan contents = data.subspan(at + 4, length - 2);
        if (isFrameHeader(marker)) {
            segments.complete = true;
            segments.progressive = (marker & 3U) == 2;
        } else if (marker == 0xE1 && segments.exif.empty() && beginsWith(contents, EXIF)) {
            segments.exif = contents;
        } else if (marker == 0xE2 && beginsWith(contents, ICC)) {
            profile.add(contents.subspan(ICC.size()));
        }
        at += 2 + length;
    }
    segments.profile = profile.join();
    return segments;
}

} // namespace mrb::thumbnail
