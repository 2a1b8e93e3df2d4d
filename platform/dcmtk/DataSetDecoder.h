#pragma once

#include "platform/dcmtk/DcmtkDataSet.h"
#include "platform/dcmtk/Toolkit.h"

namespace tavrel {

/// The elements of `source` with their text in UTF-8 from `declaredSet`, or from the set that a nested item declares.
DcmtkElements DecodeElements(ReadItem source, const std::string& declaredSet);

/// The element in UTF-8 where its VR depends on the character set.
TextElement DecodeText(TextElement element, const CharacterSet& set);

} // namespace tavrel
