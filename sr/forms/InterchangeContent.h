#pragma once

#include "platform/dicom.h"
#include "sr/content/ContentNode.h"
#include "sr/content/ObservationContext.h"
#include "sr/content/ReferencedImage.h"

#include <string>
#include <string_view>
#include <vector>

namespace tavrel {

/// What stands in a version of the interchange form where there is no text: an empty one would be no value.
inline constexpr std::string_view NoText = "\u00A0";

/// What a version of the interchange form holds besides its reading.
struct InterchangeContent {
    ContentNode title; ///< the heading, with the title's text
    ContentNode bodyPart;
    std::vector<ContentNode> findings;
    std::vector<ContentNode> diagnoses;
    std::vector<ReferencedImage> images;
    bool more = false; ///< it has items that only their maker knows
};

/// Whether a version is written in the interchange form: a Basic Text SR on the template for diagnostic imaging reports
/// (DICOM PS3.16, TID 2000) that begins with a report's title.
bool IsInterchange(const DicomDataSet& version);

/// Such a version's content. What an item does not say is left empty.
InterchangeContent ReadInterchange(const DicomDataSet& version);

/// The text of such a version's item; `NoText` is none.
std::string InterchangeText(const DicomDataSet& item);

/// Who saved such a version and those before it.
std::vector<ObservationContext> Participants(const DicomDataSet& version);

} // namespace tavrel
