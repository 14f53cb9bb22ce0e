#include "metadata/readers/exif.h"

#include <libexif/exif-data.h>

#include <array>
#include <cctype>
#include <cmath>
#include <cstdio>
#include <memory>
#include <optional>

#include "base/deleter.h"
#include "metadata/formats.h"

namespace mrb {
namespace {

constexpr std::string_view HEADER("Exif\0\0", 6);

using Data = std::unique_ptr<ExifData, Deleter<exif_data_unref>>;

Data parse(const std::string &bytes) {
    Data data(exif_data_new());
    if (data) {
        // Otherwise the library adds mandatory tags that the picture lacks.
        exif_data_unset_option(data.get(), EXIF_DATA_OPTION_FOLLOW_SPECIFICATION);
        exif_data_load_data(data.get(), reinterpret_cast<const unsigned char *>(bytes.data()),
                            static_cast<unsigned>(bytes.size()));
    }
    return data;
}

// One set of EXIF tags. Its entries are checked for type and length before they are read.
class Directory {
  public:
    Directory(ExifData &data, ExifIfd ifd)
        : content_(data.ifd[ifd]), order_(exif_data_get_byte_order(&data)) {}

    [[nodiscard]] std::string_view text(int tag) const {
        const ExifEntry *entry = find(tag, EXIF_FORMAT_ASCII, 1);
        return entry == nullptr ? std::string_view()
                                : std::string_view(reinterpret_cast<const char *>(entry->data), entry->size);
    }

    [[nodiscard]] std::optional<std::int64_t> number(int tag) const {
        if (const ExifEntry *entry = find(tag, EXIF_FORMAT_SHORT, 2)) {
            return exif_get_short(entry->data, order_);
        }
        if (const ExifEntry *entry = find(tag, EXIF_FORMAT_LONG, 4)) {
            return exif_get_long(entry->data, order_);
        }
        return std::nullopt;
    }

    [[nodiscard]] std::optional<ExifRational> rational(int tag, std::size_t index = 0) const {
        constexpr std::size_t SIZE = 8;
        const ExifEntry *entry = find(tag, EXIF_FORMAT_RATIONAL, SIZE * (index + 1));
        if (entry == nullptr) {
            return std::nullopt;
        }
        const ExifRational value = exif_get_rational(entry->data + SIZE * index, order_);
        return value.denominator == 0 ? std::nullopt : std::optional(value);
    }

    [[nodiscard]] std::optional<double> real(int tag, std::size_t index = 0) const {
        const std::optional<ExifRational> value = rational(tag, index);
        return value ? std::optional(double{static_cast<double>(value->numerator)} / value->denominator)
                     : std::nullopt;
    }

    [[nodiscard]] unsigned byte(int tag) const {
        const ExifEntry *entry = find(tag, EXIF_FORMAT_BYTE, 1);
        return entry == nullptr ? 0 : entry->data[0];
    }

  private:
    [[nodiscard]] const ExifEntry *find(int tag, ExifFormat format, std::size_t size) const {
        const ExifEntry *entry = exif_content_get_entry(content_, static_cast<ExifTag>(tag));
        const bool fits =
            entry != nullptr && entry->format == format && entry->data != nullptr && entry->size >= size;
        return fits ? entry : nullptr;
    }

    ExifContent *content_;
    ExifByteOrder order_;
};

// As exiftool shows it: up to a quarter of a second as 1/n, as cameras do, else in seconds
// with one decimal. 10/1250 is 1/125, and 4/5 is 0.8.
std::string exposureText(ExifRational time) {
    constexpr double MAX_FRACTION = 0.25001;
    const double seconds = quotientOf(time.numerator, time.denominator);
    return seconds < MAX_FRACTION ? "1/" + std::to_string(std::llround(1 / seconds))
                                  : decimalText(seconds, 1);
}

// An aperture below 1 has two decimals: 0.95.
std::string apertureText(double aperture) { return decimalText(aperture, aperture < 1 ? 2 : 1); }

// Degrees, minutes and seconds; no value when they are not an angle of at most `most` degrees.
std::optional<double> angle(const Directory &gps, int tag, double maximum) {
    constexpr double MINUTES = 60;
    const auto degrees = gps.real(tag, 0);
    if (!degrees) {
        return std::nullopt;
    }
    // Some cameras write degrees with decimals and leave the rest out, or 0/0.
    const double value = *degrees + gps.real(tag, 1).value_or(0) / MINUTES +
                         gps.real(tag, 2).value_or(0) / (MINUTES * MINUTES);
    return value <= maximum ? std::optional(value) : std::nullopt;
}

void readPosition(const Directory &gps, Metadata &metadata) {
    constexpr int LATITUDE_REF = 1;
    constexpr int LATITUDE = 2;
    constexpr int LONGITUDE_REF = 3;
    constexpr int LONGITUDE = 4;
    constexpr int ALTITUDE_REF = 5;
    constexpr int ALTITUDE = 6;
    const auto latitude = angle(gps, LATITUDE, 90);
    const auto longitude = angle(gps, LONGITUDE, 180);
    if (latitude && longitude) {
        metadata.setReal(MetadataKey::LATITUDE,
                         gps.text(LATITUDE_REF).starts_with('S') ? -*latitude : *latitude);
        metadata.setReal(MetadataKey::LONGITUDE,
                         gps.text(LONGITUDE_REF).starts_with('W') ? -*longitude : *longitude);
    }
    if (const auto altitude = gps.real(ALTITUDE)) {
        metadata.setReal(MetadataKey::ALTITUDE, gps.byte(ALTITUDE_REF) == 1 ? -*altitude : *altitude);
    }
}

} // namespace

void readExif(std::string bytes, Metadata &metadata) {
    constexpr std::size_t MAX_BYTES = 8U << 20;
    if (!bytes.starts_with(HEADER)) {
        bytes.insert(0, HEADER);
    }
    bytes.resize(std::min(bytes.size(), MAX_BYTES));
    const Data data = parse(bytes);
    if (!data) {
        return;
    }
    const Directory image(*data, EXIF_IFD_0);
    const Directory exif(*data, EXIF_IFD_EXIF);
    metadata.setText(MetadataKey::MODEL, image.text(EXIF_TAG_MODEL));
    const auto orientation = image.number(EXIF_TAG_ORIENTATION).value_or(0);
    if (orientation >= 1 && orientation <= 8) {
        metadata.setNumber(MetadataKey::ORIENTATION, orientation);
    }
    // The size in the picture's own header takes precedence over that in EXIF.
    const auto width = exif.number(EXIF_TAG_PIXEL_X_DIMENSION).value_or(0);
    const auto height = exif.number(EXIF_TAG_PIXEL_Y_DIMENSION).value_or(0);
    if (width > 0 && height > 0 && !metadata.has(MetadataKey::WIDTH)) {
        metadata.setNumber(MetadataKey::WIDTH, width);
        metadata.setNumber(MetadataKey::HEIGHT, height);
    }
    const std::string_view taken = exif.text(EXIF_TAG_DATE_TIME_ORIGINAL);
    const std::string_view digitized = exif.text(EXIF_TAG_DATE_TIME_DIGITIZED);
    const std::string date = dateOfExif(taken);
    metadata.setText(MetadataKey::DATE_TAKEN, date.empty() ? dateOfExif(digitized) : date);
    if (const auto time = exif.rational(EXIF_TAG_EXPOSURE_TIME); time && time->numerator > 0) {
        metadata.setText(MetadataKey::EXPOSURE_TIME, exposureText(*time));
    }
    if (const auto aperture = exif.real(EXIF_TAG_FNUMBER); aperture && *aperture > 0) {
        metadata.setText(MetadataKey::F_NUMBER, apertureText(*aperture));
    }
    if (const auto iso = exif.number(EXIF_TAG_ISO_SPEED_RATINGS); iso && *iso > 0) {
        metadata.setText(MetadataKey::ISO, std::to_string(*iso));
    }
    readPosition(Directory(*data, EXIF_IFD_GPS), metadata);
}

} // namespace mrb
