#pragma once

#include "platform/dcmtk/CharacterSet.h"
#include "platform/dicom.h"

#include <array>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

class DcmElement;

namespace tavrel {

/// An element whose value is characters: in UTF-8 where its VR depends on the character set, with the padding that its
/// file had. The toolkit's own objects cost ten times as much to make, to copy and to write.
struct TextElement {
    std::array<char, 2> vr{};
    std::string stored;

    std::string_view Vr() const { return {vr.data(), vr.size()}; }
    std::string_view Text() const; ///< without padding
};

/// The two letters of the element's VR; "UN" for one that is not known.
std::string_view VrOf(const DcmElement& element);

/// The VR that the dictionary gives an element whose own is not known; "UN" when it has none.
std::string_view DictionaryVrOf(const DcmElement& element);

/// How the text of a VR that depends on the character set is divided; nothing for other VRs.
std::optional<TextKind> TextKindOf(std::string_view vr);

/// Whether the VR's value is stored as characters.
bool IsTextVr(std::string_view vr);

/// Whether the VR's value is a number, or several, that can be told as text.
bool IsNumberVr(std::string_view vr);

/// The numbers of an element, several divided by "\".
std::string NumberText(const DcmElement& element);

/// The stored characters without padding, valid as long as the element; empty when it holds none.
std::string_view RawText(const DcmElement& element);

/// The bytes of an element whose VR is not known, without padding.
std::string_view RawBytes(const DcmElement& element);

/// Replaces the stored characters.
void PutText(DcmElement& element, std::string_view text);

/// The element as text, as its file has it; not yet decoded.
TextElement StoredText(const DcmElement& element);

/// A new element of a number; an unknown VR is an error.
std::unique_ptr<DcmElement> NewNumber(const Attribute& attribute, std::string_view text);

std::unique_ptr<DcmElement> CopyOf(const DcmElement& element);

} // namespace tavrel
