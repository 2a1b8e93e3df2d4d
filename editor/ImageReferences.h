#pragma once

#include "host/Global.h"
#include "sr/PresentationState.h"
#include "sr/content/ImagePresentationContext.h"
#include "sr/content/ReferencedImage.h"

#include <cstddef>
#include <cstdint>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <tuple>
#include <vector>

namespace tavrel {

/// The images of a report as its versions of the interchange form name them, each with a presentation state in which
/// any viewer shows it as the physician saw it.
///
/// An image costs the reading of its header and at most two short statements; in a new view also the storing of a file
/// of some 3 KB. Its pixels are never read.
class ImageReferences {
public:
    explicit ImageReferences(Global& global) : global_(global) {}

    /// Makes the images those of the current report's document, where the site writes the interchange form and there
    /// are any. A presentation state that shows the same image in the same view serves again; others are made and
    /// stored, or kept. Answers what failed, a text for each image: it is left out then, or named without a state.
    std::vector<std::string> Put(const ImageList& images);

    /// The images that the current report's document names, as far as they are of its study and in the catalogue. The
    /// others stay with the document until its pending list is another one than now.
    ImageList Find();
    /// How many others, as long as it is that list.
    std::size_t NotFound() const;

private:
    /// An image with a presentation state that this program has made, and of which report.
    struct Made {
        std::string reportSeries;
        ReferencedImage image;
    };

    /// What a save has come to so far.
    struct Work {
        const OpenedReport& report;
        std::vector<ReferencedImage> images;
        std::vector<std::string> failures;
        bool serviceAway = false; ///< it is not waited for once more
    };
    void Refer(Work& work, const ImagePresentationContext& image);
    void AddState(Work& work, ReferencedImage& named, const Presentation& wanted, const DicomDataSet& header);
    /// Gives the image a known state that shows it so; false when there is none.
    bool Reuse(const OpenedReport& report, ReferencedImage& image, const Presentation& wanted,
               const DicomDataSet& header);
    NewPresentationState NewState(const Work& work) const;
    /// The image that the document names already by this file; none when nobody can tell.
    std::optional<ReferencedImage> Former(const OpenedReport& report, const ImagePresentationContext& image) const;
    /// Without a file name when the catalogue has no file of it.
    ImagePresentationContext Shown(const OpenedReport& report, const ReferencedImage& image);
    /// How a stored state shows its image; none when it cannot be read.
    const Presentation* Known(const OpenedReport& report, const ReferencedImage& image, const DicomDataSet& header);
    /// The native path of an object of the report's study; empty when the catalogue has none.
    std::string FileOf(const OpenedReport& report, const std::string& sopInstanceUid) const;
    DataSetHandle HeaderOf(const std::string& file) const;

    Global& global_;
    /// Of the states that were read or made: of another maker's each image may have a view of its own.
    std::map<std::tuple<std::string, std::string, std::int32_t>, Presentation> known_;
    std::vector<Made> made_;
    std::weak_ptr<const ImageList> found_; ///< the pending list that is filled with what was found
    std::vector<ReferencedImage> notFound_;
};

} // namespace tavrel
