#include "editor/ImageReferences.h"

#include "host/Catalogue.h"
#include "host/ErrorReport.h"
#include "host/Text.h"
#include "platform/attributes.h"
#include "platform/paths.h"
#include "platform/text.h"
#include "platform/uid.h"
#include "sr/DcmSRDocument.h"
#include "sr/UnsentVersion.h"
#include "sr/content/NewUid.h"
#include "sr/forms/InterchangeTree.h"

#include <algorithm>
#include <array>
#include <limits>
#include <utility>

namespace tavrel {
namespace {

/// More than this in a version is no physician's choice, and each is looked for.
constexpr std::size_t MostShown = 500;

Error NoReference(const std::string& why) {
    return {Fault::TypeMismatch, "ImageReferences", why};
}

/// A whole number of a header; `absent` for anything else.
int Number(const DicomDataSet& header, const Attribute& attribute, int absent) {
    const std::string text = TextOf(header, attribute);
    const bool whole = !text.empty() && text.size() < 10 && std::ranges::all_of(text, IsDigit);
    return whole ? std::stoi(text) : absent;
}

std::int16_t Pixels(int count) {
    return static_cast<std::int16_t>(std::min<int>(count, std::numeric_limits<std::int16_t>::max()));
}

/// Without a presentation state.
ReferencedImage Named(const DicomDataSet& header, std::int32_t frame) {
    ReferencedImage image;
    image.studyUid = TextOf(header, attribute::StudyInstanceUid);
    image.seriesUid = TextOf(header, attribute::SeriesInstanceUid);
    image.sopClassUid = TextOf(header, attribute::SopClassUid);
    image.sopInstanceUid = TextOf(header, attribute::SopInstanceUid);
    for (const std::string* uid : {&image.studyUid, &image.seriesUid, &image.sopClassUid, &image.sopInstanceUid})
        if (!IsUid(*uid))
            throw NoReference("It lacks a UID.");
    if (Number(header, attribute::Rows, 0) == 0)
        throw NoReference("The file holds no image.");
    const int frames = Number(header, attribute::NumberOfFrames, 1);
    if (frame < 0 || frame >= frames)
        throw NoReference("It has no frame " + std::to_string(frame + 1L) + ".");
    if (frames > 1)
        image.frame = frame + 1;
    return image;
}

void TakeState(ReferencedImage& image, const ReferencedImage& from) {
    image.presentationSeriesUid = from.presentationSeriesUid;
    image.presentationSopClassUid = from.presentationSopClassUid;
    image.presentationSopInstanceUid = from.presentationSopInstanceUid;
}

std::int32_t FrameOf(const ReferencedImage& image) {
    return std::max(image.frame - 1, 0);
}

/// The state with the image and the frame that it shows.
std::tuple<std::string, std::string, std::int32_t> KeyOf(const ReferencedImage& image) {
    return {image.presentationSopInstanceUid, image.sopInstanceUid, FrameOf(image)};
}

bool Same(const ReferencedImage& left, const ReferencedImage& right) {
    return left.sopInstanceUid == right.sopInstanceUid && left.frame == right.frame;
}

/// What stands before the random number of a UID of this kind.
std::string UidRoot(const std::string& baseUid, UidKind kind) {
    return baseUid + "." + std::to_string(static_cast<int>(kind)) + ".";
}

Presentation PresentationOf(const ImagePresentationContext& image) {
    return {image.ViewPars ? *image.ViewPars : ViewParameters(), image.LUTName};
}

} // namespace

std::vector<std::string> ImageReferences::Put(const ImageList& images) {
    const auto report = global_.report; // it stays, whatever comes while the catalogue is asked
    if (global_.reportForm != ReportForm::Interchange || images.empty())
        return {};
    Work work{.report = *report, .images = {}, .failures = {}};
    for (const ImagePresentationContext& image : images)
        Trap([&] { Refer(work, image); },
             [&](const Error& error) {
                 if (auto former = Former(*report, image))
                     work.images.push_back(std::move(*former));
                 else
                     work.failures.push_back("The version does not name the image " + image.Filename + ": " +
                                             error.description);
             });
    if (found_.lock() == report->pendingImages)
        for (const ReferencedImage& other : notFound_)
            if (std::ranges::none_of(work.images, [&](const auto& image) { return Same(image, other); }))
                work.images.push_back(other);
    report->document->Images(std::move(work.images));
    return work.failures;
}

void ImageReferences::Refer(Work& work, const ImagePresentationContext& image) {
    const Presentation wanted = PresentationOf(image);
    const DataSetHandle header = HeaderOf(image.Filename);
    ReferencedImage named = Named(*header, wanted.view.frame);
    if (named.studyUid != work.report.studyUid)
        throw NoReference("It is of another study than the report.");
    if (ShowsGreyLevels(*header))
        Trap([&] { AddState(work, named, wanted, *header); },
             [&](const Error& error) {
                 work.failures.push_back("The version names the image " + image.Filename +
                                         " without the way in which it was shown: " + error.description);
             });
    work.images.push_back(std::move(named));
}

void ImageReferences::AddState(Work& work, ReferencedImage& named, const Presentation& wanted,
                               const DicomDataSet& header) {
    const NewPresentationState identity = NewState(work);
    const DataSetHandle state = MakePresentationState(global_.ports.dicom, header, wanted, identity);
    const Presentation shown = ReadPresentationState(*state, header, wanted.view.frame); // as any state tells it
    if (Reuse(work.report, named, shown, header))
        return;
    const Delivery delivery = work.serviceAway ? KeepUnsent(global_.ports, *state, {}) : StoreOrKeep(global_, *state);
    if (delivery.fate == Delivery::Fate::NotStored)
        throw NoReference(delivery.why);
    work.serviceAway = delivery.fate == Delivery::Fate::Kept;
    named.presentationSeriesUid = identity.seriesUid;
    named.presentationSopClassUid = GrayscalePresentationState;
    named.presentationSopInstanceUid = identity.sopInstanceUid;
    known_.insert_or_assign(KeyOf(named), shown);
    made_.push_back({work.report.document->SeriesUid(), named});
}

bool ImageReferences::Reuse(const OpenedReport& report, ReferencedImage& image, const Presentation& wanted,
                            const DicomDataSet& header) {
    const auto serves = [&](const ReferencedImage& candidate) {
        const Presentation* known = Same(candidate, image) ? Known(report, candidate, header) : nullptr;
        if (!known || *known != wanted)
            return false;
        TakeState(image, candidate);
        return true;
    };
    return std::ranges::any_of(report.document->Images(), serves) || std::ranges::any_of(made_, serves, &Made::image);
}

NewPresentationState ImageReferences::NewState(const Work& work) const {
    const DcmSRDocument& document = *work.report.document;
    const std::string reportSeries = document.SeriesUid();
    // The states of a report stand in one series of their own; another maker's is left alone.
    const std::string root = UidRoot(global_.baseUid, UidKind::PresentationSeries);
    std::string series;
    for (const ReferencedImage& image : document.Images())
        if (image.presentationSeriesUid.starts_with(root))
            series = image.presentationSeriesUid;
    for (const Made& made : made_)
        if (made.reportSeries == reportSeries)
            series = made.image.presentationSeriesUid;
    if (series.empty())
        series = NewUid(global_.baseUid, UidKind::PresentationSeries);
    return {.sopInstanceUid = NewUid(global_.baseUid, UidKind::PresentationState),
            .seriesUid = series,
            .seriesNumber = TextOf(*document.Series()->Item(0), attribute::SeriesNumber),
            .instanceNumber = static_cast<int>(work.images.size() + 1),
            .creator = PersonNameValue(global_.userSignature),
            .made = global_.ports.clock.Now()};
}

std::optional<ReferencedImage> ImageReferences::Former(const OpenedReport& report,
                                                       const ImagePresentationContext& image) const {
    const std::int32_t frame = PresentationOf(image).view.frame;
    const auto isIt = [&](const ReferencedImage& former) {
        return FrameOf(former) == frame && FileOf(report, former.sopInstanceUid) == NativePath(image.Filename);
    };
    std::optional<ReferencedImage> found;
    Trap(
        [&] {
            const auto& images = report.document->Images();
            if (const auto former = std::ranges::find_if(images, isIt); former != images.end())
                found = *former;
        },
        [](const Error&) {});
    return found;
}

ImageList ImageReferences::Find() {
    const auto report = global_.report;
    found_ = report->pendingImages;
    notFound_ = report->document ? report->document->Images() : std::vector<ReferencedImage>();
    std::vector<ReferencedImage> others; // all of them until it is known: a failure loses none
    ImageList images;
    for (const ReferencedImage& image : std::vector(notFound_)) {
        const bool looked = images.size() < MostShown && image.studyUid == report->studyUid;
        auto shown = looked ? Shown(*report, image) : ImagePresentationContext();
        if (shown.Filename.empty())
            others.push_back(image);
        else
            images.push_back(std::move(shown));
    }
    notFound_ = std::move(others);
    return images;
}

std::size_t ImageReferences::NotFound() const {
    return found_.lock() == global_.report->pendingImages ? notFound_.size() : 0;
}

ImagePresentationContext ImageReferences::Shown(const OpenedReport& report, const ReferencedImage& image) {
    ImagePresentationContext shown{.Filename = FileOf(report, image.sopInstanceUid),
                                   .ViewPars = std::make_shared<ViewParameters>(),
                                   .LUTName = {}};
    if (shown.Filename.empty())
        return shown;
    ViewParameters& view = *shown.ViewPars;
    view.frame = FrameOf(image);
    Trap(
        [&] {
            const DataSetHandle header = HeaderOf(shown.Filename);
            // Without a state to tell more, the whole image.
            view.displayedArea.right = Pixels(Number(*header, attribute::Columns, 0));
            view.displayedArea.bottom = Pixels(Number(*header, attribute::Rows, 0));
            if (const Presentation* known = Known(report, image, *header)) {
                view = known->view;
                shown.LUTName = known->lutName;
            }
        },
        [](const Error&) {}); // the viewer says what is wrong with the file
    return shown;
}

const Presentation* ImageReferences::Known(const OpenedReport& report, const ReferencedImage& image,
                                           const DicomDataSet& header) {
    const std::string& state = image.presentationSopInstanceUid;
    if (image.presentationSopClassUid != GrayscalePresentationState)
        return nullptr;
    const Presentation* known = nullptr;
    Trap(
        [&] {
            auto found = known_.find(KeyOf(image));
            if (found == known_.end()) {
                const auto stored = global_.ports.dicom.NewDataSetList();
                stored->LoadFile(FileOf(report, state));
                found =
                    known_.emplace(KeyOf(image), ReadPresentationState(*stored->Item(0), header, FrameOf(image))).first;
            }
            known = &found->second;
        },
        [](const Error&) {});
    return known;
}

std::string ImageReferences::FileOf(const OpenedReport& report, const std::string& sopInstanceUid) const {
    if (!IsUid(sopInstanceUid))
        return {};
    const auto row = Catalogue(global_).OpenResultSet(
        "SELECT Study.StudyPath, Series.SeriesDir, Image.ImageFile FROM Image, Series, Study "
        "WHERE Image.SOPInstanceUID='" +
        InQuotes(sopInstanceUid) +
        "' AND Series.SeriesInstanceUID=Image.SeriesInstanceUID "
        "AND Study.StudyInstanceUID=Series.StudyInstanceUID AND Study.StudyInstanceUID='" +
        InQuotes(report.studyUid) + "' ORDER BY Image.ImageID");
    const std::string file =
        row->AtEnd() ? std::string()
                     : row->Text("StudyPath") + "\\" + row->Text("SeriesDir") + "\\" + row->Text("ImageFile");
    row->Close();
    return NativePath(file);
}

DataSetHandle ImageReferences::HeaderOf(const std::string& file) const {
    return global_.ports.dicom.OpenImageSeries(std::array{file})->Item(0);
}

} // namespace tavrel
