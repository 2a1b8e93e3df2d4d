#include "editor/ImageHandOver.h"

#include "editor/DelimitedText.h"
#include "host/ErrorReport.h"
#include "platform/paths.h"
#include "sr/DcmSRDocument.h"

#include <vector>

namespace tavrel {
namespace {

/// The fields of a line in their order, for reading and for writing alike.
template <typename Line, typename Image, typename View> void ForEachField(Line& line, Image& image, View& view) {
    line.Field(image.Filename);
    line.Field(view.zoom);
    line.Field(view.flipHorizontal);
    line.Field(view.flipVertical);
    line.Field(image.LUTName);
    line.Field(view.displayedArea.left);
    line.Field(view.displayedArea.top);
    line.Field(view.displayedArea.right);
    line.Field(view.displayedArea.bottom);
    line.Field(view.inverted);
    line.Field(view.smoothed);
    line.NullField();
    line.Field(view.frame);
    line.Field(view.rotation);
    line.Field(view.windowCenter);
    line.Field(view.windowWidth);
    line.Field(view.panX);
    line.Field(view.panY);
    line.Field(view.gamma);
    line.Field(view.sharpness);
}

} // namespace

std::string ImageHandOver::HandOverFile() const {
    return FolderOf(global_.report->filePath) + "SR.dat";
}

void ImageHandOver::AddImage(const std::string& fileName, const ViewParametersHandle& viewPars,
                             const std::string& lutName) {
    if (!global_.report->pendingImages)
        throw Error(Fault::Missing, "Tavrel", "The report's list of images has not been made yet");
    global_.report->pendingImages->push_back({fileName, viewPars, lutName});
}

void ImageHandOver::RemoveImage(const std::string&) const {}

std::string ImageHandOver::SeriesUid() const {
    const auto& document = global_.report->document;
    return document ? document->SeriesUid() : "";
}

void ImageHandOver::Keep() {
    if (const auto& images = global_.report->pendingImages; images && !images->empty())
        waiting_.insert_or_assign(SeriesUid(), *images);
}

std::size_t ImageHandOver::Waiting() const {
    const auto found = waiting_.find(SeriesUid());
    return found == waiting_.end() ? 0 : found->second.size();
}

void ImageHandOver::Load(ReportOwner* owner) {
    std::vector<std::string> failures; // of the viewer
    TrapNumbered(global_.ports.windows, "LoadSRDat ", [&] {
        const auto theOwner = [&]() -> ReportOwner& {
            if (!owner)
                throw Error(Fault::Missing, "Tavrel", "The report has no automation object to hand its images to");
            return *owner;
        };
        const auto take = [&](ImagePresentationContext image) {
            auto& viewers = theOwner();
            Trap([&] { viewers.ShowImage(image.Filename, image.ViewPars, image.LUTName); },
                 [&](const Error& error) { failures.push_back(error.description); });
            global_.report->pendingImages->push_back(
                std::move(image)); // the viewer may have replaced the list meanwhile
        };
        if (global_.report->pendingImages && !global_.report->pendingImages->empty())
            theOwner().RemoveImagesFromRefertList();
        global_.report->pendingImages = std::make_shared<ImageList>();
        if (const auto waiting = waiting_.find(SeriesUid()); waiting != waiting_.end()) {
            for (const auto& image : ImageList(waiting->second))
                take(image);
            return;
        }
        if (global_.report->filePath.empty())
            return;
        const auto file = HandOverFile();
        if (!global_.ports.files.Exists(file))
            return;

        const auto text = global_.ports.files.ReadText(file);
        DelimitedReader line(text, file);
        while (!line.AtEnd()) {
            ImagePresentationContext image{
                .Filename = {}, .ViewPars = std::make_shared<ViewParameters>(), .LUTName = {}};
            ForEachField(line, image, *image.ViewPars);
            line.EndLine();
            take(std::move(image));
        }
    });
    if (failures.empty())
        return;
    std::string words = std::string(SendFileInfoPrefix) + failures.front();
    if (failures.size() > 1)
        words += "\r\n(The viewer did not show " + std::to_string(failures.size()) + " of the report's images.)";
    global_.ports.windows.Ask({.text = words, .title = {}});
}

void ImageHandOver::Write() {
    const auto file = HandOverFile();
    const auto images = global_.report->pendingImages;
    if (!images || images->empty())
        return;
    Keep();                              // until the file holds them
    static const ViewParameters neutral; // for an image that was added without parameters
    std::string lines, why;
    std::size_t left = 0;
    for (const auto& image : *images) {
        DelimitedWriter line;
        const auto write = [&] {
            ForEachField(line, image, image.ViewPars ? *image.ViewPars : neutral);
            line.EndLine();
            lines += line.Text();
        };
        Trap(write, [&](const Error& error) {
            why = error.description;
            ++left;
        });
    }
    if (!lines.empty())
        global_.ports.files.WriteText(file, lines);
    if (left > 0)
        throw Error(Fault::TypeMismatch, "ImageHandOver",
                    why + " (" + std::to_string(left) + " of the report's " + std::to_string(images->size()) +
                        " images, which wait for the next save)");
    waiting_.erase(SeriesUid());
}

} // namespace tavrel
