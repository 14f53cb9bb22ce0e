#include "thumbnail/decode/exif.h"

#include <libexif/exif-data.h>

#include <memory>

#include "base/deleter.h"

namespace mrb::thumbnail {

ExifFields readExif(ByteSpan exif) {
    ExifFields fields;
    if (exif.empty()) {
        return fields;
    }
    const std::unique_ptr<ExifData, Deleter<exif_data_unref>> data(
        exif_data_new_from_data(exif.data(), static_cast<unsigned>(exif.size())));
    if (!data) {
        return fields;
    }
    const ExifEntry *entry = exif_content_get_entry(data->ifd[EXIF_IFD_0], EXIF_TAG_ORIENTATION);
    if (entry != nullptr && entry->format == EXIF_FORMAT_SHORT && entry->size >= 2) {
        const int orientation = exif_get_short(entry->data, exif_data_get_byte_order(data.get()));
        fields.orientation = orientation >= 1 && orientation <= 8 ? orientation : 1;
    }
    if (data->data != nullptr) {
        fields.picture.assign(data->data, data->data + data->size);
    }
    return fields;
}

} // namespace mrb::thumbnail
