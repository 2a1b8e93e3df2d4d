#pragma once

#include "platform/viewer.h"

#include <string>
#include <string_view>

namespace tavrel {

/// Stands before what is told of an image that the viewer did not show.
inline constexpr std::string_view SendFileInfoPrefix = "SendFileInfo ";

/// What the editor asks of the automation object that showed it.
class ReportOwner {
public:
    virtual ~ReportOwner() = default;
    virtual void CloseReport() = 0;
    virtual void LoadSRSeries(const std::string& seriesUid) = 0;
    virtual void RemoveImagesFromRefertList() = 0;
    /// Has the viewer show an image, when it has a file and parameters. A failure is an `Error` for the caller.
    virtual void ShowImage(const std::string& filename, const ViewParametersHandle& viewPars,
                           const std::string& lutName) = 0;
};

} // namespace tavrel
