// Writing a thumbnail as a bitmap file.

#include "MRBThumbnailAdapter.h"

#include <array>
#include <cstdio>
#include <cstring>
#include <memory>

#include <unistd.h>

#include "log.h"

namespace MRBBridge {
namespace {

// The file header and the information header of a bitmap (BITMAPFILEHEADER and
// BITMAPINFOHEADER of the Windows bitmap format): what is not set stays 0, which is
// no compression and nothing said of resolution and colours. Little-endian.
constexpr size_t HEADER_BYTES = 54;
constexpr uint32_t INFORMATION_BYTES = 40;
constexpr size_t PIXEL_BYTES = 4;
/// Rows are gathered to this size, since a write of each costs more than copying it.
constexpr size_t GATHERED_BYTES = size_t{256} * 1024;
using Header = std::array<unsigned char, HEADER_BYTES>;

void Put16(Header &header, size_t offset, uint16_t value) {
    header[offset] = static_cast<unsigned char>(value & 0xff);
    header[offset + 1] = static_cast<unsigned char>(value >> 8);
}

void Put32(Header &header, size_t offset, uint32_t value) {
    Put16(header, offset, static_cast<uint16_t>(value & 0xffff));
    Put16(header, offset + 2, static_cast<uint16_t>(value >> 16));
}

/// The header of an image of that size. What follows the pixels is not counted in it.
Header MakeHeader(int width, int height) {
    const auto columns = static_cast<uint32_t>(width);
    const auto rows = static_cast<uint32_t>(height);
    Header header{'B', 'M'};
    Put32(header, 2, columns * rows * uint32_t{PIXEL_BYTES} + uint32_t{HEADER_BYTES});
    Put32(header, 10, HEADER_BYTES);
    Put32(header, 14, INFORMATION_BYTES);
    Put32(header, 18, columns);
    Put32(header, 22, rows); // positive: the rows stand bottom-up
    Put16(header, 26, 1);    // planes
    Put16(header, 28, 8 * PIXEL_BYTES);
    return header;
}

struct Close {
    void operator()(std::FILE *file) const { static_cast<void>(std::fclose(file)); }
};

} // namespace

int CMRBThumbnailAdapter::m_BmpWrite(const unsigned char *buffer, const char *bufferPreset, int width,
                                     int height, const char *path) {
    const Header header = MakeHeader(width, height);
    const char *const slash = std::strrchr(path, '/');
    if (slash == nullptr) {
        MRB_LOG(LogTag::Thumbnail, "can not find / in path:%s", path);
        return -1;
    }
    const std::string directory(path, slash);
    if (access(directory.c_str(), F_OK) != 0) {
        MRB_LOG(LogTag::Thumbnail, "fail to access dir path:%s", directory.c_str());
        return -1;
    }
    const auto gathered = std::make_unique_for_overwrite<char[]>(GATHERED_BYTES); // outlives the file
    const std::unique_ptr<std::FILE, Close> file(std::fopen(path, "wb"));
    if (!file) {
        MRB_LOG(LogTag::Thumbnail, "fopen fail");
        return -1;
    }
    static_cast<void>(std::setvbuf(file.get(), gathered.get(), _IOFBF, GATHERED_BYTES));
    // The header does not wait in the buffer: a medium that takes nothing is noticed here.
    if (std::fwrite(header.data(), 1, header.size(), file.get()) < header.size() ||
        std::fflush(file.get()) != 0) {
        MRB_LOG(LogTag::Thumbnail, "fwrite error");
        return -1;
    }
    const size_t row_bytes = static_cast<size_t>(width) * PIXEL_BYTES;
    for (int row = height - 1; row >= 0; --row) {
        static_cast<void>(
            std::fwrite(buffer + static_cast<size_t>(row) * row_bytes, 1, row_bytes, file.get()));
    }
    if (bufferPreset != nullptr) {
        static_assert(MRB_THUMB_PRESET_BYTES == 4096);
        MRB_LOG(LogTag::Thumbnail, "bmp_write bufferPreset : [%.4096s]###\n",
                bufferPreset); // may lack a zero
        static_cast<void>(std::fwrite(bufferPreset, 1, MRB_THUMB_PRESET_BYTES, file.get()));
    }
    static_cast<void>(std::fflush(file.get()));
    return 0;
}

} // namespace MRBBridge
