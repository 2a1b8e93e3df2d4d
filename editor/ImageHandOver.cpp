#include "editor/ImageHandOver.h"

#include "editor/DelimitedText.h"
#include "editor/ReportState.h"
#include "host/ErrorReport.h"
#include "platform/paths.h"
#include "platform/uid.h"
#include "sr/DcmSRDocument.h"

#include <utility>
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

struct FileLines {
    std::string text;
    std::size_t leftOut = 0; ///< images that no file can hold
    std::string why;         ///< of the last of them
};

FileLines LinesOf(const ImageList& images) {
    static const ViewParameters neutral; // for an image that was added without parameters
    FileLines lines;
    for (const auto& image : images) {
        DelimitedWriter line;
        const auto write = [&] {
            ForEachField(line, image, image.ViewPars ? *image.ViewPars : neutral);
            line.EndLine();
            lines.text += line.Text();
        };
        Trap(write, [&](const Error& error) {
            lines.why = "The image " + image.Filename + " cannot be kept with the report: " + error.description;
            ++lines.leftOut;
        });
    }
    return lines;
}

ImagePresentationContext ReadImage(DelimitedReader& line) {
    ImagePresentationContext image{.Filename = {}, .ViewPars = std::make_shared<ViewParameters>(), .LUTName = {}};
    ForEachField(line, image, *image.ViewPars);
    line.EndLine();
    return image;
}

constexpr std::string_view KeptExtension = ".images";

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
    if (auto images = Images(); !images.empty())
        waiting_.insert_or_assign(SeriesUid(), std::move(images));
}

std::size_t ImageHandOver::Waiting() const {
    const auto found = waiting_.find(SeriesUid());
    return found == waiting_.end() ? 0 : found->second.size();
}

void ImageHandOver::Name() {
    unnamed_ = references_.Put(Images());
}

void ImageHandOver::TellUnnamed() {
    const auto unnamed = std::exchange(unnamed_, {});
    if (unnamed.empty())
        return;
    std::string words = unnamed.front();
    if (unnamed.size() > 1)
        words += "\r\n(So it is with " + std::to_string(unnamed.size()) + " of the report's images.)";
    Tell(words);
}

void ImageHandOver::TellNotFound() {
    if (const std::size_t count = references_.NotFound(); count > 0)
        Tell("Of the images that the version names " + std::to_string(count) + (count == 1 ? " is" : " are") +
             " not shown: this workstation's catalogue has no such image of the study.");
}

void ImageHandOver::Tell(const std::string& words) {
    if (const std::string former = std::exchange(told_, SeriesUid() + words); former != told_)
        global_.ports.windows.Ask({.text = words, .title = {}});
}

ImageHandOver::Loaded ImageHandOver::ToLoad() {
    Loaded loaded; // what is not found is in no hand-over file either
    Trap([&] { loaded.images = references_.Find(); }, [&](const Error& error) { loaded.malformed = error; });
    if (const auto waiting = waiting_.find(SeriesUid()); waiting != waiting_.end())
        return {waiting->second, {}};
    const auto file = HandOverFile();
    if (global_.report->filePath.empty() || !global_.ports.files.Exists(file))
        return loaded;
    loaded = {};
    const auto text = global_.ports.files.ReadText(file);
    DelimitedReader line(text, file);
    Trap(
        [&] {
            while (!line.AtEnd())
                loaded.images.push_back(ReadImage(line));
        },
        [&](const Error& error) { loaded.malformed = error; });
    return loaded;
}

ImageList ImageHandOver::Images() const {
    const auto& pending = global_.report->pendingImages;
    ImageList images = pending ? *pending : ImageList();
    if (rest_ && rest_->report == global_.report)
        images.insert(images.end(), rest_->images.begin(), rest_->images.end());
    return images;
}

void ImageHandOver::Load(ReportOwner* owner) {
    std::vector<std::string> failures; // of the viewer
    TrapNumbered(global_.ports.windows, "LoadSRDat ", [&] {
        const auto theOwner = [&]() -> ReportOwner& {
            if (!owner)
                throw Error(Fault::Missing, "Tavrel", "The report has no automation object to hand its images to");
            return *owner;
        };
        if (global_.report->pendingImages && !global_.report->pendingImages->empty())
            theOwner().RemoveImagesFromRefertList();
        global_.report->pendingImages = std::make_shared<ImageList>();
        auto loaded = ToLoad();
        auto* viewers = loaded.images.empty() ? nullptr : &theOwner();
        // While the viewer is waited for a version may be stored, or this or another report be loaded.
        const auto rest = rest_ = std::make_shared<Rest>(Rest{global_.report, std::move(loaded.images)});
        while (!rest->images.empty()) {
            const auto image = rest->images.front();
            Trap([&] { viewers->ShowImage(image.Filename, image.ViewPars, image.LUTName); },
                 [&](const Error& error) { failures.push_back(error.description); });
            if (rest != rest_ || rest->report != global_.report)
                return;
            rest->images.erase(rest->images.begin());
            global_.report->pendingImages->push_back(image); // the viewer may have replaced the list meanwhile
        }
        if (loaded.malformed)
            throw Error(*loaded.malformed);
    });
    TellNotFound();
    if (failures.empty())
        return;
    std::string words = std::string(SendFileInfoPrefix) + failures.front();
    if (failures.size() > 1)
        words += "\r\n(The viewer did not show " + std::to_string(failures.size()) + " of the report's images.)";
    global_.ports.windows.Ask({.text = words, .title = {}});
}

void ImageHandOver::Write() {
    const auto file = HandOverFile();
    const ImageList images = Images();
    if (images.empty())
        return;
    const bool waited = Waiting() > 0;
    Keep(); // until the file holds them
    const FileLines lines = LinesOf(images);
    if (!lines.text.empty())
        global_.ports.files.WriteText(file, lines.text);
    if (lines.leftOut > 0)
        throw Error(Fault::TypeMismatch, "ImageHandOver",
                    lines.why + " (" + std::to_string(lines.leftOut) + " of the report's " +
                        std::to_string(images.size()) + " images, which wait for the next save)");
    waiting_.erase(SeriesUid());
    if (const auto kept = KeptFile(); waited && !kept.empty())
        global_.ports.files.Remove(kept);
}

std::string ImageHandOver::KeptFolder() const {
    return global_.ports.process.StateFolder() + "\\drafts";
}

std::string ImageHandOver::KeptFile() const {
    const std::string series = SeriesUid();
    return IsUid(series) ? KeptFolder() + "\\" + series + std::string(KeptExtension) : std::string();
}

void ImageHandOver::LogOfKept(const std::string& what, const Error& error) const {
    global_.ports.process.LogToDesktop(what + ": " + error.description);
}

void ImageHandOver::KeepOnDisk() {
    const auto waiting = waiting_.find(SeriesUid());
    if (waiting == waiting_.end())
        return;
    Trap(
        [&] {
            const std::string file = KeptFile();
            if (file.empty())
                throw Error(Fault::TypeMismatch, "ImageHandOver", "The report's series can name no file");
            DelimitedWriter version;
            version.Field(LastLabel(*global_.report->document));
            version.EndLine();
            const FileLines lines = LinesOf(waiting->second);
            auto& files = global_.ports.files;
            if (!files.Exists(file))
                files.CreateNew(KeptFolder(), SeriesUid(), KeptExtension);
            files.WriteText(file, version.Text() + lines.text);
            if (lines.leftOut > 0)
                throw Error(Fault::TypeMismatch, "ImageHandOver", lines.why);
        },
        [&](const Error& error) { LogOfKept("Images that wait for the next save end with the program", error); });
}

void ImageHandOver::Recall() {
    const std::string file = KeptFile();
    if (file.empty() || Waiting() > 0 || !global_.ports.files.Exists(file))
        return;
    Trap(
        [&] {
            const auto text = global_.ports.files.ReadText(file);
            DelimitedReader line(text, file);
            std::string version;
            line.Field(version);
            line.EndLine();
            if (version != LastLabel(*global_.report->document))
                throw Error(Fault::TypeMismatch, "ImageHandOver", "Another version of the report was saved meanwhile");
            ImageList images;
            while (!line.AtEnd())
                images.push_back(ReadImage(line));
            if (!images.empty())
                waiting_.insert_or_assign(SeriesUid(), std::move(images));
        },
        [&](const Error& error) { LogOfKept("The images in \"" + NativePath(file) + "\" are left alone", error); });
}

} // namespace tavrel
