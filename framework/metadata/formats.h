#pragma once

#include <cstdint>
#include <string>
#include <string_view>

namespace mrb {

// The text forms of metadata in this framework.

// EXIF's "2026:11:21 10:20:30" as "2026-11-21T10:20:30"; empty when it is not a date.
std::string dateOfExif(std::string_view date);

// The start of an ISO 8601 time such as "2026-11-21T10:20:30.000000Z", without fractions of a
// second; a "Z" stays. Empty when it is not such a time.
std::string dateOfIso(std::string_view date);

// Rounded to `decimals` decimals, without trailing zeros: "2.8", "4".
std::string decimalText(double number, int decimals);

// A quotient to ten significant digits, as exiftool reads EXIF's rational numbers; a later
// rounding to a text then gives exiftool's result. The divisor is not 0.
double quotientOf(std::uint32_t number, std::uint32_t divisor);

// The four digits of the year at the start of "2021" or "2021-05-03"; empty when there is none.
std::string yearOf(std::string_view date);

// A geographic position in degrees and metres.
struct GeoPosition {
    bool isKnown = false;
    bool hasAltitude = false;
    double latitude = 0;
    double longitude = 0;
    double altitude = 0;
};

// ISO 6709 with degrees, as cameras write it: "+48.8584+002.2945+035.0/".
GeoPosition positionOfIso(std::string_view text);

} // namespace mrb
