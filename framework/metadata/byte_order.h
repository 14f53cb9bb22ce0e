#pragma once

#include <cstdint>
#include <string_view>

namespace mrb {

// Reads unsigned integers at any alignment; 0 when there are too few bytes.

constexpr std::uint32_t bigEndian(std::string_view bytes, std::size_t offset, std::size_t length) {
    std::uint32_t number = 0;
    if (offset <= bytes.size() && bytes.size() - offset >= length) {
        for (std::size_t index = 0; index < length; ++index) {
            number = number << 8U | static_cast<unsigned char>(bytes[offset + index]);
        }
    }
    return number;
}

constexpr std::uint32_t littleEndian(std::string_view bytes, std::size_t offset, std::size_t length) {
    std::uint32_t number = 0;
    if (offset <= bytes.size() && bytes.size() - offset >= length) {
        for (std::size_t index = length; index > 0; --index) {
            number = number << 8U | static_cast<unsigned char>(bytes[offset + index - 1]);
        }
    }
    return number;
}

} // namespace mrb
