#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>

namespace tavrel {

/// How the viewer showed an image. The defaults are the neutral values.
struct ViewParameters {
    float zoom = 1;
    bool flipHorizontal = false;
    bool flipVertical = false;
    struct Area {
        std::int16_t left = 0, top = 0, right = 0, bottom = 0; ///< image pixels
        bool operator==(const Area&) const = default;
    } displayedArea;
    bool inverted = false;
    bool smoothed = false;
    std::int32_t frame = 0;
    std::int32_t rotation = 0; ///< degrees
    float windowCenter = 0;
    float windowWidth = 0;
    float panX = 0;
    float panY = 0;
    float gamma = 1;
    float sharpness = 0;

    bool operator==(const ViewParameters&) const = default;
};

using ViewParametersHandle = std::shared_ptr<ViewParameters>;

/// The viewer's automation object. Every call is bounded in time; a viewer that is gone, or that
/// does not answer, is an error.
class Viewer {
public:
    virtual ~Viewer() = default;
    virtual void SRFilename(std::string_view filename) = 0;
    virtual void LUTName(std::string_view name) = 0;
    /// No object clears the property.
    virtual void ViewPars(const ViewParametersHandle& parameters) = 0;
    virtual void ViewRefertImages() = 0;
    virtual void ClearRefertList() = 0;
};

class ViewerLink {
public:
    virtual ~ViewerLink() = default;
    /// Creates the automation object "Lumaret.Viewer"; an error when there is no viewer.
    virtual std::unique_ptr<Viewer> Create() = 0;
};

} // namespace tavrel
