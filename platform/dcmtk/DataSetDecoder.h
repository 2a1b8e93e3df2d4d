#pragma once

#include "platform/dcmtk/DcmtkDataSet.h"

class DcmItem;

namespace tavrel {

/// The Specific Character Set (0008,0005) that `source` declares, or the inherited one.
std::string DeclaredCharacterSet(DcmItem& source, const std::string& inheritedSet = {});

/// Takes the elements out of the toolkit's item `source` and decodes their text to UTF-8 from
/// `declaredSet`, or from the set that a nested item declares.
DcmtkElements DecodeElements(DcmItem& source, const std::string& declaredSet);

/// The element in UTF-8 where its VR depends on the character set.
TextElement DecodeText(TextElement element, const CharacterSet& set);

} // namespace tavrel
