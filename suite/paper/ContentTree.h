#pragma once

#include "platform/dicom.h"

#include <string>
#include <vector>

namespace tavrel {

/// A stretch of a structured report below its own caption.
struct ContentBlock {
    int level = 0;         ///< how many captions it stands below
    std::string caption{}; ///< may be empty
    std::string text{};    ///< may be empty, when captions alone follow; lines end with CR LF
};

/// The content tree of a structured report of any kind, in its order: every item that says something in words, numbers
/// or dates, and that there is an image, an object or a region where one is named.
std::vector<ContentBlock> ReadContentTree(const DicomDataSet& document);

} // namespace tavrel
