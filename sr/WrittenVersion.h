#pragma once

#include "platform/dicom.h"
#include "sr/content/ContentNode.h"
#include "sr/content/ObservationContext.h"
#include "sr/content/ReferencedImage.h"

#include <optional>
#include <string>
#include <vector>

namespace tavrel {

/// What one version of a report says, whatever its form.
struct WrittenVersion {
    std::vector<ObservationContext> savers; ///< of it and of those before it, in their order
    bool complete = false;
    ContentNode title;                  ///< the heading, with the title's text
    std::optional<std::string> reading; ///< none when it has no item for it
    bool coded = false;                 ///< it is of a form that holds what follows
    ContentNode bodyPart;
    std::vector<ContentNode> findings;
    std::vector<ContentNode> diagnoses;
    std::vector<ReferencedImage> images;
    bool more = false; ///< it holds what only its maker knows
};

WrittenVersion ReadVersion(const DicomDataSet& version);

} // namespace tavrel
