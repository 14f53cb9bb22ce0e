#include "thumbnail/flash_picture.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <sys/uio.h>
#include <unistd.h>

#include <array>
#include <cstdio>
#include <cstring>

#include "base/descriptor.h"
#include "mrb/thumbnail.h"

namespace mrb::thumbnail {
namespace {

constexpr std::size_t HEADER_BYTES = 54;
using Header = std::array<unsigned char, HEADER_BYTES>;

void put(Header &header, std::size_t at, std::uint32_t number) {
    for (std::size_t index = 0; index < 4; ++index) {
        header[at + index] = static_cast<unsigned char>(number >> (8 * index));
    }
}

// BITMAPFILEHEADER and BITMAPINFOHEADER.
Header headerOf(int width, int height, bool preset) {
    Header header{'B', 'M'};
    put(header, 2, static_cast<std::uint32_t>(flashPictureBytes(width, height, preset)));
    put(header, 10, HEADER_BYTES);
    put(header, 14, 40);
    put(header, 18, static_cast<std::uint32_t>(width));
    put(header, 22, static_cast<std::uint32_t>(-height));
    header[26] = 1;  // planes
    header[28] = 32; // bits per pixel
    return header;
}

bool writeWhole(int file, const void *data, std::size_t size) {
    const auto *from = static_cast<const char *>(data);
    while (size > 0) {
        const ssize_t written = write(file, from, size);
        if (written <= 0) {
            return false;
        }
        from += written;
        size -= static_cast<std::size_t>(written);
    }
    return true;
}

bool readWhole(int file, void *data, std::size_t size) {
    auto *to = static_cast<char *>(data);
    while (size > 0) {
        const ssize_t got = read(file, to, size);
        if (got <= 0) {
            return false;
        }
        to += got;
        size -= static_cast<std::size_t>(got);
    }
    return true;
}

} // namespace

std::int64_t flashPictureBytes(int width, int height, bool preset) {
    return static_cast<std::int64_t>(HEADER_BYTES) + std::int64_t{4} * width * height +
           (preset ? MRB_THUMB_PRESET_BYTES : 0);
}

bool writeFlashPicture(const std::string &path, const unsigned char *pixels, int width, int height,
                       const char *preset) {
    const std::string unfinished = path + ".new";
    const Descriptor file(open(unfinished.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0644));
    const Header header = headerOf(width, height, preset != nullptr);
    const bool written =
        file && writeWhole(file.fd(), header.data(), header.size()) &&
        writeWhole(file.fd(), pixels,
                   std::size_t{4} * static_cast<std::size_t>(width) * static_cast<std::size_t>(height)) &&
        (preset == nullptr || writeWhole(file.fd(), preset, MRB_THUMB_PRESET_BYTES)) &&
        fdatasync(file.fd()) == 0 && std::rename(unfinished.c_str(), path.c_str()) == 0;
    if (!written && file) {
        unlink(unfinished.c_str());
    }
    return written;
}

bool readFlashPicture(const std::string &path, Image &image, std::string *preset) {
    const Descriptor file(open(path.c_str(), O_RDONLY | O_CLOEXEC));
    struct stat status {};
    Header header{};
    if (!file || fstat(file.fd(), &status) != 0 ||
        status.st_size != flashPictureBytes(image.width, image.height, preset != nullptr) ||
        !readWhole(file.fd(), header.data(), header.size()) ||
        header != headerOf(image.width, image.height, preset != nullptr)) {
        return false;
    }
    image = makeImage(image.width, image.height);
    if (preset != nullptr) {
        preset->resize(MRB_THUMB_PRESET_BYTES);
    }
    return readWhole(file.fd(), image.pixels.get(), image.bytes()) &&
           (preset == nullptr || readWhole(file.fd(), preset->data(), preset->size()));
}

} // namespace mrb::thumbnail
