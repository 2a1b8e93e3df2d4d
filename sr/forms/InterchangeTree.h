#pragma once

#include "sr/forms/ItemBuilder.h"
#include "sr/forms/VersionForm.h"

#include <string_view>

namespace tavrel {

/// Writes the content tree of a version in the interchange form: that of TID 2000 (DICOM PS3.16) as far as a Basic Text
/// SR lets it, with title and reading as the first two items, where readers of the classic form look for them.
/// `language` is the texts' (RFC 5646), empty when it is not known.
void WriteInterchangeTree(const ItemBuilder& version, const VersionContent& content, const ObservationContext& author,
                          std::string_view language);

/// A name where DICOM asks for a person's (PS3.5, 6.2.1). One that is not divided into its parts is a single part,
/// which the delimiter behind it says; where there is none, that is said.
std::string PersonNameValue(std::string_view name);

} // namespace tavrel
