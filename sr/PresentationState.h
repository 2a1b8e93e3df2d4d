#pragma once

#include "platform/datetime.h"
#include "platform/dicom.h"
#include "platform/viewer.h"

#include <string>
#include <string_view>

namespace tavrel {

/// The SOP class of the presentation states that the program writes (DICOM PS3.4, B.5).
inline constexpr std::string_view GrayscalePresentationState = "1.2.840.10008.5.1.4.1.1.11.1";

/// How an image is shown: what a presentation state keeps of it.
struct Presentation {
    ViewParameters view;
    std::string lutName;

    bool operator==(const Presentation&) const = default;
};

/// What a new presentation state does not take from the image that it shows.
struct NewPresentationState {
    std::string sopInstanceUid;
    std::string seriesUid; ///< of presentation states alone, in the image's study
    std::string seriesNumber;
    int instanceNumber = 1;
    std::string creator;
    DateTime made;
};

/// Whether the data set is an image that a Grayscale Softcopy Presentation State can show.
bool ShowsGreyLevels(const DicomDataSet& image);

/// A Grayscale Softcopy Presentation State (DICOM PS3.3, A.33.1) that shows a frame of a grey image as `presentation`
/// does: area, flips, rotation, window, inversion and gamma. Smoothing and sharpness have no place in one, and a
/// rotation is the nearest quarter turn. Of the image its header is enough.
///
/// It is written here rather than by the toolkit's dcmpstat, which wants the pixels, leaves out what the standard has
/// come to ask for and ties some twenty libraries to a program; in the tests dcmpstat judges what is written here.
DataSetHandle MakePresentationState(DicomLibrary& dicom, const DicomDataSet& image, const Presentation& presentation,
                                    const NewPresentationState& identity);

/// How a presentation state shows a frame (0-based) of a grey image, as near as view parameters go. What it does not
/// say is as the image has it. An `Error` when it is none of that image.
Presentation ReadPresentationState(const DicomDataSet& state, const DicomDataSet& image, std::int32_t frame);

} // namespace tavrel
