#pragma once

#include "platform/dicom.h"

#include <array>
#include <string>
#include <string_view>

namespace tavrel {

/// An element whose value is neither characters nor items.
struct OtherElement {
    std::array<char, 2> vr{};
    std::string value;      ///< as it is written, little endian
    std::string unwritable; ///< why it is not; empty when it is

    std::string_view Vr() const { return {vr.data(), vr.size()}; }
};

/// Whether the VR's value is a number, or several, that can be told as text.
bool IsNumberVr(std::string_view vr);

/// The numbers of an element, several divided by "\".
std::string NumberText(const OtherElement& element);

/// A new element of a number; what is none, and an unknown VR, is an error.
OtherElement NewNumber(const Attribute& attribute, std::string_view text);

} // namespace tavrel
