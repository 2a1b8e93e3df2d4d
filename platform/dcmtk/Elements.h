#pragma once

#include <cstdint>
#include <string>
#include <string_view>

namespace tavrel {

/// A number of data elements, little endian.
inline std::string LittleEndian(std::uint32_t number, int size) {
    std::string bytes;
    for (; size-- > 0; number >>= 8U)
        bytes += static_cast<char>(number & 0xFFU);
    return bytes;
}

inline std::uint32_t LittleEndian(std::string_view bytes) {
    std::uint32_t number = 0;
    for (std::size_t at = bytes.size(); at-- > 0;)
        number = number << 8U | static_cast<unsigned char>(bytes[at]);
    return number;
}

/// A value of an even length.
inline std::string Padded(std::string_view text, char padding) {
    std::string value(text);
    if (value.size() % 2 == 1)
        value += padding;
    return value;
}

} // namespace tavrel
