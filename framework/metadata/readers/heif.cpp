// HEIC and AVIF by libheif, which parses the boxes and does not decode the picture.

#include <libheif/heif.h>

#include <memory>
#include <vector>

#include "base/deleter.h"
#include "metadata/readers/exif.h"
#include "metadata/readers/readers.h"

namespace mrb {
namespace {

constexpr std::size_t MAX_EXIF_BYTES = 8U << 20;

// A media file as the reader interface of libheif.
struct Stream {
    MediaFile &file;
    std::int64_t position = 0;
};

std::int64_t tell(void *stream) { return static_cast<Stream *>(stream)->position; }

int read(void *buffer, std::size_t length, void *user) {
    auto &stream = *static_cast<Stream *>(user);
    const bool isWhole = stream.file.read(stream.position, buffer, length) == length;
    stream.position += isWhole ? static_cast<std::int64_t>(length) : 0;
    return isWhole ? 0 : 1;
}

int seek(std::int64_t position, void *stream) {
    static_cast<Stream *>(stream)->position = position;
    return 0;
}

heif_reader_grow_status waitForSize(std::int64_t size, void *stream) {
    return size <= static_cast<Stream *>(stream)->file.size() ? heif_reader_grow_status_size_reached
                                                              : heif_reader_grow_status_size_beyond_eof;
}

void readExifOf(heif_image_handle *picture, Metadata &metadata) {
    heif_item_id id = 0;
    if (heif_image_handle_get_list_of_metadata_block_IDs(picture, "Exif", &id, 1) != 1) {
        return;
    }
    const std::size_t size = heif_image_handle_get_metadata_size(picture, id);
    // Four bytes in front give the offset of the TIFF structure.
    constexpr std::size_t OFFSET_BYTES = 4;
    if (size <= OFFSET_BYTES || size > MAX_EXIF_BYTES) {
        return;
    }
    std::string bytes(size, '\0');
    if (heif_image_handle_get_metadata(picture, id, bytes.data()).code != heif_error_Ok) {
        return;
    }
    std::size_t start = 0;
    for (std::size_t index = 0; index < OFFSET_BYTES; ++index) {
        start = start << 8U | static_cast<unsigned char>(bytes[index]);
    }
    if (start < size - OFFSET_BYTES) {
        readExif(bytes.substr(OFFSET_BYTES + start), metadata);
    }
}

} // namespace

void readHeif(MediaFile &file, Metadata &metadata) {
    const std::unique_ptr<heif_context, Deleter<heif_context_free>> context(heif_context_alloc());
    if (!context) {
        return;
    }
    heif_reader reader{};
    reader.reader_api_version = 1;
    reader.get_position = tell;
    reader.read = read;
    reader.seek = seek;
    reader.wait_for_file_size = waitForSize;
    Stream stream{file};
    if (heif_context_read_from_reader(context.get(), &reader, &stream, nullptr).code != heif_error_Ok) {
        return;
    }
    heif_image_handle *found = nullptr;
    if (heif_context_get_primary_image_handle(context.get(), &found).code != heif_error_Ok) {
        return;
    }
    const std::unique_ptr<heif_image_handle, Deleter<heif_image_handle_release>> picture(found);
    readExifOf(found, metadata);
    const int width = heif_image_handle_get_ispe_width(found);
    const int height = heif_image_handle_get_ispe_height(found);
    if (width > 0 && height > 0) {
        metadata.setNumber(MetadataKey::WIDTH, width);
        metadata.setNumber(MetadataKey::HEIGHT, height);
    }
}

void loadHeifPlugins() {
#if LIBHEIF_HAVE_VERSION(1, 13, 0)
    heif_init(nullptr);
#endif
}

} // namespace mrb
