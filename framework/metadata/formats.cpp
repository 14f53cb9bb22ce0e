#include "metadata/formats.h"

#include <array>
#include <charconv>
#include <chrono>
#include <cmath>
#include <cstdio>
#include <optional>

namespace mrb {
namespace {

constexpr std::size_t DATE_LENGTH = 19;

std::optional<int> digits(std::string_view text, std::size_t start, std::size_t length) {
    int number = 0;
    const char *end = text.data() + start + length;
    const auto [stop, error] = std::from_chars(text.data() + start, end, number);
    return error == std::errc() && stop == end && number >= 0 ? std::optional(number) : std::nullopt;
}

// "YYYY?MM?DD?HH?MM?SS", with any separators.
std::string date(std::string_view text) {
    constexpr std::array<std::array<std::size_t, 2>, 6> PARTS = {
        {{0, 4}, {5, 2}, {8, 2}, {11, 2}, {14, 2}, {17, 2}}};
    if (text.size() < DATE_LENGTH) {
        return {};
    }
    std::array<int, 6> values{};
    for (std::size_t part = 0; part < PARTS.size(); ++part) {
        const auto value = digits(text, PARTS.at(part)[0], PARTS.at(part)[1]);
        if (!value) {
            return {};
        }
        values.at(part) = *value;
    }
    const auto [year, month, day, hour, minute, second] = values;
    const std::chrono::year_month_day calendar{std::chrono::year(year),
                                               std::chrono::month(static_cast<unsigned>(month)),
                                               std::chrono::day(static_cast<unsigned>(day))};
    if (year == 0 || !calendar.ok() || hour > 23 || minute > 59 || second > 60) {
        return {};
    }
    std::array<char, 80> written{};
    std::snprintf(written.data(), written.size(), "%04d-%02d-%02dT%02d:%02d:%02d", year, month, day, hour,
                  minute, second);
    return written.data();
}

// Takes a number with a leading sign off the start of `text`.
std::optional<double> signedNumber(std::string_view &text) {
    if (!text.starts_with('+') && !text.starts_with('-')) {
        return std::nullopt;
    }
    const bool isNegative = text.front() == '-';
    double number = 0;
    const auto [stop, error] =
        std::from_chars(text.data() + 1, text.data() + text.size(), number, std::chars_format::fixed);
    if (error != std::errc() || text.data() + 1 == stop) {
        return std::nullopt;
    }
    text.remove_prefix(static_cast<std::size_t>(stop - text.data()));
    return isNegative ? -number : number;
}

} // namespace

std::string dateOfExif(std::string_view text) { return date(text); }

std::string dateOfIso(std::string_view text) {
    std::string found = date(text);
    if (!found.empty() && text.ends_with('Z')) {
        found += 'Z';
    }
    return found;
}

std::string decimalText(double number, int decimals) {
    std::array<char, 400> written{};
    std::snprintf(written.data(), written.size(), "%.*f", decimals, number);
    std::string text = written.data();
    // The locale of the process may have a decimal comma.
    for (char &letter : text) {
        letter = letter == ',' ? '.' : letter;
    }
    if (text.find('.') != std::string::npos) {
        text.erase(text.find_last_not_of('0') + 1);
        if (text.ends_with('.')) {
            text.pop_back();
        }
    }
    return text;
}

double quotientOf(std::uint32_t number, std::uint32_t divisor) {
    constexpr int DIGITS = 10;
    const double exact = static_cast<double>(number) / divisor;
    std::array<char, 40> written{};
    const char *end = std::to_chars(written.data(), written.data() + written.size(), exact,
                                    std::chars_format::general, DIGITS)
                          .ptr;
    double rounded = exact;
    std::from_chars(written.data(), end, rounded);
    return rounded;
}

std::string yearOf(std::string_view date) {
    const bool isYear = date.size() >= 4 && digits(date, 0, 4).value_or(0) > 0 &&
                        (date.size() == 4 || date[4] < '0' || date[4] > '9');
    return isYear ? std::string(date.substr(0, 4)) : std::string();
}

GeoPosition positionOfIso(std::string_view text) {
    constexpr double MAX_LATITUDE = 90;
    constexpr double MAX_LONGITUDE = 180;
    GeoPosition position;
    const auto latitude = signedNumber(text);
    const auto longitude = signedNumber(text);
    if (!latitude || !longitude || std::abs(*latitude) > MAX_LATITUDE ||
        std::abs(*longitude) > MAX_LONGITUDE) {
        return position;
    }
    position.isKnown = true;
    position.latitude = *latitude;
    position.longitude = *longitude;
    const auto altitude = signedNumber(text);
    position.hasAltitude = altitude.has_value();
    position.altitude = altitude.value_or(0);
    return position;
}

} // namespace mrb
