#pragma once

#include "platform/dcmtk/CharacterSet.h"
#include "platform/dicom.h"

#include <string>
#include <string_view>
#include <vector>

namespace tavrel {

/// A text on its way into a data set.
struct TextCheck {
    std::vector<Misfit> controls; ///< control characters that no text may hold, in the text as it stands
    std::vector<Misfit> misfits;  ///< what the character set lacks, in the composed text
    std::string bytes;            ///< the text in the character set, when there is nothing of either

    bool Fits() const { return controls.empty() && misfits.empty(); }
};

TextCheck CheckText(std::string_view utf8, const CharacterSet& set, TextKind kind);

/// What `check` found in this text, as a person sees it: letters with their marks, each once.
std::vector<LostCharacter> LostCharacters(std::string_view utf8, const TextCheck& check);

} // namespace tavrel
