#pragma once

#include <string>

namespace tavrel {

/// An image that a version refers to, and the presentation state in which the physician saw it.
struct ReferencedImage {
    std::string studyUid;
    std::string seriesUid;
    std::string sopClassUid;
    std::string sopInstanceUid;
    int frame = 0; ///< 1-based; 0: the image has but one
    /// Empty: it is referred to without a presentation state.
    std::string presentationSeriesUid;
    std::string presentationSopClassUid;
    std::string presentationSopInstanceUid;

    bool operator==(const ReferencedImage&) const = default;
};

} // namespace tavrel
