#pragma once

#include "platform/text.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

namespace tavrel {

/// A set of VRs: a table, since one is asked for every element of a report.
class VrSet {
public:
    /// VRs in capital letters with a blank between.
    constexpr explicit VrSet(std::string_view vrs) {
        for (; vrs.size() >= 2; vrs.remove_prefix(vrs.size() > 2 ? 3 : 2))
            held_[Place(vrs)] = true;
    }
    constexpr bool Holds(std::string_view vr) const {
        return vr.size() == 2 && IsUpper(vr[0]) && IsUpper(vr[1]) && held_[Place(vr)];
    }

private:
    static constexpr std::size_t Letters = 26;
    static constexpr std::size_t Place(std::string_view vr) {
        return static_cast<std::size_t>(vr[0] - 'A') * Letters + static_cast<std::size_t>(vr[1] - 'A');
    }

    std::array<bool, Letters * Letters> held_{};
};

/// The VRs whose length has 16 bits (PS3.5, table 7.1-2); that of all others, those of later editions too, has 32 bits
/// after two reserved bytes.
inline constexpr VrSet ShortLengthVrs{"AE AS AT CS DA DS DT FD FL IS LO LT PN SH SL SS ST TM UI UL US"};

/// What stands before a value in explicit VR: tag, VR and length.
constexpr std::size_t HeadSizeOf(std::string_view vr) {
    return ShortLengthVrs.Holds(vr) ? 8 : 12;
}

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
