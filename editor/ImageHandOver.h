#pragma once

#include "editor/ReportOwner.h"
#include "host/Global.h"
#include "sr/ImagePresentationContext.h"

#include <cstddef>
#include <map>
#include <string>

namespace tavrel {

/// The images that a report refers to and the file "SR.dat" that keeps them beside the report's files:
/// UTF-8, one line of 20 delimited fields for each image.
class ImageHandOver {
public:
    explicit ImageHandOver(Global& global) : global_(global) {}

    /// Appends an image to the pending list. An `Error` when there is no list yet.
    void AddImage(const std::string& fileName, const ViewParametersHandle& viewPars, const std::string& lutName);
    /// Deliberately without effect: single images stay until the whole list is emptied.
    void RemoveImage(const std::string& fileName) const;

    /// Rebuilds the pending list, from the file beside the current SR file unless images of this report wait, and
    /// hands each image to the viewer. Shows its own failures, those of the viewer in one message; the images read
    /// before one stay.
    void Load(ReportOwner* owner);
    /// Writes the pending list beside the current SR file. An empty list leaves the file as it was. An image that
    /// no file can hold is left out, which is an `Error`; the list waits then.
    void Write();
    /// The pending list of the current report waits for the next `Write`: until then it stands for the file.
    void Keep();
    /// How many images of the current report no file holds as they should stand.
    std::size_t Waiting() const;

private:
    std::string HandOverFile() const;
    /// Empty while there is none.
    std::string SeriesUid() const;

    Global& global_;
    std::map<std::string, ImageList> waiting_; ///< by the report's series
};

} // namespace tavrel
