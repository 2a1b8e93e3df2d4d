#pragma once

#include "platform/dcmtk/DcmtkDataSet.h"

class DcmItem;

namespace tavrel {

/// Takes the elements out of the toolkit's item `source` and decodes their text to UTF-8. Items that
/// declare no character set of their own use `inheritedSet`.
DcmtkElements DecodeElements(DcmItem& source, const std::string& inheritedSet,
                             const std::shared_ptr<const DcmtkServices>& services);

/// The Specific Character Set (0008,0005) that `source` declares, or the inherited one.
std::string DeclaredCharacterSet(DcmItem& source, const std::string& inheritedSet);

} // namespace tavrel
