#pragma once

#include "editor/ImageReferences.h"
#include "editor/ReportOwner.h"
#include "host/Global.h"
#include "platform/error.h"
#include "sr/content/ImagePresentationContext.h"

#include <cstddef>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace tavrel {

/// The images that a report refers to and the file "SR.dat" that keeps them beside the report's files:
/// UTF-8, one line of 20 delimited fields for each image. A version of the interchange form names them too, which
/// counts where there is no such file.
class ImageHandOver {
public:
    explicit ImageHandOver(Global& global) : global_(global), references_(global) {}

    /// Appends an image to the pending list. An `Error` when there is no list yet.
    void AddImage(const std::string& fileName, const ViewParametersHandle& viewPars, const std::string& lutName);
    /// Deliberately without effect: single images stay until the whole list is emptied.
    void RemoveImage(const std::string& fileName) const;

    /// Rebuilds the pending list, from the file beside the current SR file unless images of this report wait, or from
    /// the version without such a file, and hands each image to the viewer. Shows its own failures, those of the viewer
    /// in one message; the images read before one stay.
    void Load(ReportOwner* owner);
    /// Makes the pending images those that the next version names, where the site's form has a place for them. What
    /// fails stops nothing and waits to be told.
    void Name();
    /// Tells what `Name` could not do, unless that is what was told last.
    void TellUnnamed();
    /// Writes the pending list beside the current SR file. An empty list leaves the file as it was. An image that
    /// no file can hold is left out, which is an `Error`; the list waits then.
    void Write();
    /// The pending list of the current report waits for the next `Write`: until then it stands for the file.
    void Keep();
    /// What waits for the current report is kept beside the drafts as well, for a later run of the program. Where that
    /// fails, or an image cannot be written at all, the desktop's log says so.
    void KeepOnDisk();
    /// What an earlier run has kept so waits again, unless another version of the report was saved meanwhile.
    void Recall();
    /// How many images of the current report no file holds as they should stand.
    std::size_t Waiting() const;

private:
    struct Loaded {
        ImageList images;
        std::optional<Error> malformed; ///< why not the rest of them
    };
    /// What a loading has not handed to the viewer yet. A store event does not wait for that.
    struct Rest {
        std::shared_ptr<OpenedReport> report;
        ImageList images;
    };
    /// Those that wait, or the file's.
    Loaded ToLoad();
    void TellNotFound();
    /// Once: what does not change is known.
    void Tell(const std::string& words);
    /// The pending list as it will be.
    ImageList Images() const;
    std::string HandOverFile() const;
    /// Empty for a series that can name no file.
    std::string KeptFile() const;
    std::string KeptFolder() const;
    void LogOfKept(const std::string& what, const Error& error) const;
    /// Empty while there is none.
    std::string SeriesUid() const;

    Global& global_;
    ImageReferences references_;
    std::vector<std::string> unnamed_;         ///< why, of each image, at the last save
    std::string told_;                         ///< last, and of which report
    std::map<std::string, ImageList> waiting_; ///< by the report's series
    std::shared_ptr<Rest> rest_;
};

} // namespace tavrel
