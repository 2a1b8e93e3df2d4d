#pragma once

#include "platform/dcmtk/CharacterSet.h"
#include "platform/dcmtk/Elements.h"

#include <array>
#include <optional>
#include <string>
#include <string_view>

namespace tavrel {

/// An element whose value is characters: in UTF-8 where its VR depends on the character set, with the padding that its
/// file had.
struct TextElement {
    std::array<char, 2> vr{};
    std::string stored;

    std::string_view Vr() const { return {vr.data(), vr.size()}; }
    std::string_view Text() const; ///< without padding
};

/// A value without the blanks and zeros at its end.
std::string_view WithoutPadding(std::string_view value);

/// How the text of a VR that depends on the character set is divided; nothing for other VRs.
std::optional<TextKind> TextKindOf(std::string_view vr);

/// Whether the VR's value is stored as characters.
inline bool IsTextVr(std::string_view vr) {
    static constexpr VrSet textVrs{"AE AS CS DA DS DT IS LO LT PN SH ST TM UC UI UR UT"};
    return textVrs.Holds(vr);
}

} // namespace tavrel
