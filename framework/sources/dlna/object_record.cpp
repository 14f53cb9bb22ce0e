#include "sources/dlna/object_record.h"

#include <array>
#include <charconv>
#include <chrono>
#include <cstring>

#include "media/media_types.h"
#include "mrb/agent.h"

namespace mrb {
namespace {

// Each entry is a tag, a letter for the type of its value, the value's length in two bytes
// (little-endian), and the value; numbers in this machine's byte order.
constexpr unsigned char URL = 254;
constexpr unsigned char THUMBNAIL = 255;
static_assert(METADATA_KEYS < URL);
constexpr std::size_t HEADER_BYTES = 4;

// A list stores at most 65,535 bytes of an item, including its id.
constexpr std::size_t MAX_BYTES = 56'000;

void append(std::string &packed, unsigned char tag, char kind, std::string_view value) {
    if (packed.size() + HEADER_BYTES + value.size() > MAX_BYTES) {
        return;
    }
    packed += static_cast<char>(tag);
    packed += kind;
    packed += static_cast<char>(value.size() & 0xffU);
    packed += static_cast<char>(value.size() >> 8U);
    packed += value;
}

template <typename Number>
std::string_view bytesOf(const Number &number) {
    return {reinterpret_cast<const char *>(&number), sizeof number};
}

template <typename Number>
Number numberOf(std::string_view bytes) {
    Number number{};
    std::memcpy(&number, bytes.data(), std::min(sizeof number, bytes.size()));
    return number;
}

void append(std::string &packed, unsigned char tag, const MetadataValue &value) {
    if (const auto *text = std::get_if<std::string>(&value)) {
        append(packed, tag, 't', *text);
    } else if (const auto *number = std::get_if<std::int64_t>(&value)) {
        append(packed, tag, 'n', bytesOf(*number));
    } else if (const auto *real = std::get_if<double>(&value)) {
        append(packed, tag, 'r', bytesOf(*real));
    }
}

struct Class {
    std::string_view name;
    int itemType;
};
constexpr Class CLASSES[] = {
    {"object.item.imageItem", MRB_ITEM_TYPE_IMAGE},
    {"object.item.audioItem", MRB_ITEM_TYPE_MUSIC},
    {"object.item.videoItem", MRB_ITEM_TYPE_VIDEO},
    {"object.item.playlistItem", MRB_ITEM_TYPE_M3U},
};
constexpr Class MIME_TYPES[] = {
    {"image/", MRB_ITEM_TYPE_IMAGE},
    {"audio/", MRB_ITEM_TYPE_MUSIC},
    {"video/", MRB_ITEM_TYPE_VIDEO},
};

// The number in exactly these digits; negative: they are not a number.
int digits(std::string_view text, std::size_t start, std::size_t length) {
    if (text.size() < start + length) {
        return -1;
    }
    const char *first = text.data() + start;
    const char *last = first + length;
    unsigned number = 0;
    const auto [end, error] = std::from_chars(first, last, number);
    return error == std::errc() && end == last ? static_cast<int>(number) : -1;
}

} // namespace

std::string packRecord(const dlna::MediaObject &object) {
    std::string packed;
    append(packed, URL, 't', object.url);
    append(packed, THUMBNAIL, 't', object.thumbnail);
    for (std::size_t key = 0; key < METADATA_KEYS; ++key) {
        append(packed, static_cast<unsigned char>(key), object.metadata[static_cast<MetadataKey>(key)]);
    }
    return packed;
}

ObjectRecord unpackRecord(std::string_view packed) {
    ObjectRecord record;
    while (packed.size() >= HEADER_BYTES) {
        const auto tag = static_cast<unsigned char>(packed[0]);
        const char kind = packed[1];
        const std::size_t length =
            static_cast<unsigned char>(packed[2]) + 256UL * static_cast<unsigned char>(packed[3]);
        const std::string_view value = packed.substr(HEADER_BYTES, length);
        packed.remove_prefix(HEADER_BYTES + value.size());
        if (tag == URL) {
            record.url = value;
        } else if (tag == THUMBNAIL) {
            record.thumbnail = value;
        } else if (tag < METADATA_KEYS && kind == 't') {
            record.metadata.set(static_cast<MetadataKey>(tag), std::string(value));
        } else if (tag < METADATA_KEYS && kind == 'n') {
            record.metadata.set(static_cast<MetadataKey>(tag), numberOf<std::int64_t>(value));
        } else if (tag < METADATA_KEYS) {
            record.metadata.set(static_cast<MetadataKey>(tag), numberOf<double>(value));
        }
    }
    return record;
}

int itemTypeOf(const dlna::MediaObject &object) {
    if (object.isContainer) {
        return MRB_ITEM_TYPE_FOLDER;
    }
    for (const Class &each : CLASSES) {
        if (object.upnpClass.starts_with(each.name)) {
            return each.itemType;
        }
    }
    for (const Class &each : MIME_TYPES) {
        if (object.metadata.text(MetadataKey::MIME_TYPE).starts_with(each.name)) {
            return each.itemType;
        }
    }
    return -1;
}

std::string_view extensionOfUrl(std::string_view url) {
    url = url.substr(0, url.find_first_of("?#"));
    const std::size_t host = url.find("://");
    const std::size_t slash = url.rfind('/');
    if (host == std::string_view::npos || slash == std::string_view::npos || slash < host + 3) {
        return {};
    }
    return extensionOf(url.substr(slash + 1));
}

std::int64_t secondsOfDate(std::string_view date) {
    namespace chrono = std::chrono;
    constexpr std::size_t DATE_LENGTH = 10;
    constexpr std::size_t TIME_LENGTH = 19;
    const int year = digits(date, 0, 4);
    const int month = digits(date, 5, 2);
    const int day = digits(date, 8, 2);
    const chrono::year_month_day ymd{chrono::year(year), chrono::month(static_cast<unsigned>(month)),
                                     chrono::day(static_cast<unsigned>(day))};
    if (year < 0 || month < 0 || day < 0 || !ymd.ok()) {
        return UNKNOWN;
    }
    chrono::seconds seconds = chrono::sys_days(ymd).time_since_epoch();
    if (date.size() < TIME_LENGTH || date[DATE_LENGTH] != 'T') {
        return seconds.count();
    }
    const int hour = digits(date, 11, 2);
    const int minute = digits(date, 14, 2);
    const int second = digits(date, 17, 2);
    if (hour < 0 || minute < 0 || second < 0) {
        return seconds.count();
    }
    seconds += chrono::hours(hour) + chrono::minutes(minute) + chrono::seconds(second);
    // "+01:00" or "-0800" at the end.
    const std::size_t sign = date.find_first_of("+-", TIME_LENGTH);
    if (sign != std::string_view::npos) {
        const int hours = digits(date, sign + 1, 2);
        const std::size_t colon = sign + 3 < date.size() && date[sign + 3] == ':' ? 1 : 0;
        const int minutes = digits(date, sign + 3 + colon, 2);
        const chrono::seconds prefetch =
            chrono::hours(std::max(hours, 0)) + chrono::minutes(std::max(minutes, 0));
        seconds += date[sign] == '+' ? -prefetch : prefetch;
    }
    return seconds.count();
}

} // namespace mrb
