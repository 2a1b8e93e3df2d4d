#include "host/automation/CTavrel.h"

#include "editor/frmReport.h"
#include "host/Catalogue.h"
#include "host/ErrorReport.h"
#include "host/Startup.h"
#include "host/Text.h"
#include "host/chooser/frmSRSeriesChoice.h"
#include "platform/attributes.h"
#include "platform/limits.h"
#include "platform/text.h"
#include "sr/DcmSRDocument.h"
#include "sr/content/ImagePresentationContext.h"

#include <optional>

namespace tavrel {
namespace {

std::string UidOfFirst(const DataSetList& series, const Attribute& uid) {
    return TextOf(series.GetElementValue(0, uid));
}

std::string StudyUidOf(const DataSetList& series) {
    return UidOfFirst(series, attribute::StudyInstanceUid);
}

struct SeriesRow {
    std::string studyUid;
    std::string folder;
};

/// Asks on a connection of its own, which is closed again before anything else happens.
std::optional<SeriesRow> FindSeries(Database& database, const std::string& seriesUid) {
    const auto connection = database.NewConnection();
    connection->Open(CatalogueConnectionText);
    const auto row =
        connection->OpenResultSet("SELECT Series.*,Study.StudyPath FROM Series,Study "
                                  "WHERE Series.SeriesInstanceUID='" +
                                  InQuotes(seriesUid) + "'  AND Study.StudyInstanceUID =Series.StudyInstanceUID");
    std::optional<SeriesRow> found;
    if (!row->AtEnd())
        found = {row->Text("StudyInstanceUID"), row->Text("StudyPath") + "\\" + row->Text("SeriesDir")};
    row->Close();
    connection->Close();
    return found;
}

/// The beginning of a text that is longer than any of its kind. A window with megabytes of it would not answer.
std::string Beginning(std::string_view text) {
    return std::string(FirstCharacters(text, longest::Uid)) + "...";
}

/// A client may send anything as a path, or as the look-up table, which is one too for some viewers.
void CheckLength(std::string_view what, std::string_view path) {
    if (path.size() > longest::Path)
        throw Error(Fault::TypeMismatch, "Tavrel",
                    std::string(what) + " is longer than " + std::to_string(longest::Path) +
                        " characters: " + Beginning(path));
}

} // namespace

CTavrel::CTavrel(Global& global, ViewerLink& viewers, frmSRSeriesChoice& chooser, frmReport& editor)
    : global_(global), viewers_(viewers), chooser_(chooser), editor_(editor) {
    Init(global_);
    ConnectViewer();
}

void CTavrel::ConnectViewer() {
    const auto ignore = [](const Error&) {};
    Trap([&] { viewer_ = viewers_.Create(); }, ignore);
    if (!viewer_) {
        global_.ports.windows.Ask({.text = "Viewer not loaded", .title = {}});
        return;
    }
    Trap(
        [&] {
            viewer_->SRFilename("");
            viewer_->LUTName("");
            viewer_->ViewPars(nullptr);
        },
        ignore);
}

Viewer& CTavrel::ConnectedViewer() const {
    if (!viewer_)
        throw Error(Fault::Missing, "Tavrel", "The viewer is not connected");
    return *viewer_;
}

void CTavrel::LoadForImgSeries(const std::shared_ptr<DataSetList>& series) {
    Trap([&] { OpenForImgSeries(series); },
         [&](const Error& error) { ShowApplicationError(global_, "Quendor", "Esegui", error); });
}

void CTavrel::LoadForImgSeries(std::span<const std::string> imageFiles) {
    Trap(
        [&] {
            for (const auto& file : imageFiles)
                CheckLength("The name of an image file", file);
            OpenForImgSeries(global_.ports.dicom.OpenImageSeries(imageFiles));
        },
        [&](const Error& error) { ShowApplicationError(global_, "Quendor", "Esegui", error); });
}

void CTavrel::OpenForImgSeries(const std::shared_ptr<DataSetList>& series) {
    editor_.MakeShownCurrent();
    const auto studyUid = StudyUidOf(*series);
    if (!chooser_.ShowSRDocuments(studyUid))
        return; // a new report might stand beside one that could not be seen
    const auto document = std::make_shared<DcmSRDocument>(global_);
    auto& report = StartReport(global_, studyUid, document);
    if (chooser_.cancelled() == -1)
        return;

    report.imageSeries = series;
    if (const auto folder = chooser_.DDO(); !folder.empty())
        document->LoadSeries(folder);
    else {
        ReadReportForm(global_);
        document->CreateFromDDO(*series, 0);
    }

    report.seriesUid = UidOfFirst(*series, attribute::SeriesInstanceUid);
    MarkViewed(report.seriesUid);
    editor_.Open(*this);
}

void CTavrel::LoadSRSeries(const std::string& seriesUid) {
    TrapShort(global_.ports.windows, "Quendor.LoadSRSeries: ", [&] {
        const bool possible = seriesUid.size() <= longest::Uid;
        const auto series = possible ? FindSeries(global_.ports.database, seriesUid) : std::nullopt;
        if (!series) {
            global_.ports.windows.Ask(
                {.text = "Cannot find SRSeries UID='" + (possible ? seriesUid : Beginning(seriesUid)) + "'",
                 .title = {}});
            return;
        }
        editor_.MakeShownCurrent();
        const auto document = std::make_shared<DcmSRDocument>(global_);
        auto& report = StartReport(global_, series->studyUid, document);
        document->LoadSeries(series->folder);
        report.seriesUid = seriesUid;
        MarkViewed(seriesUid);
        editor_.Open(*this);
    });
}

void CTavrel::MarkViewed(const std::string& seriesUid) {
    WriteHistory(global_, seriesUid, "REFERT", "View Refert");
    SetSeriesStatus(global_, seriesUid, "VIEWED");
}

void CTavrel::AddImageToSR(const std::string& filename, const ViewParametersHandle& viewPars,
                           const std::string& lutName) {
    TrapShort(global_.ports.windows, "AddImageToSR ", [&] {
        CheckLength("The name of the image", filename);
        CheckLength("The name of the look-up table", lutName);
        editor_.AddImage(filename, viewPars, lutName);
    });
}

void CTavrel::RemoveImagesFromSR() {
    TrapShort(global_.ports.windows, "RemoveImageFromSR ", [&] {
        editor_.MakeShownCurrent();
        global_.report->pendingImages = std::make_shared<ImageList>();
    });
}

void CTavrel::RemoveImagesFromRefertList() {
    Trap([&] { ConnectedViewer().ClearRefertList(); }, [](const Error&) {});
}

void CTavrel::SendFileInfo(const std::string& filename, const ViewParametersHandle& viewPars,
                           const std::string& lutName) {
    TrapShort(global_.ports.windows, SendFileInfoPrefix, [&] { ShowImage(filename, viewPars, lutName); });
}

void CTavrel::ShowImage(const std::string& filename, const ViewParametersHandle& viewPars, const std::string& lutName) {
    if (filename.empty() || !viewPars)
        return;
    CheckLength("The name of the image", filename);
    CheckLength("The name of the look-up table", lutName);
    auto& viewer = ConnectedViewer();
    viewer.SRFilename(filename);
    viewer.LUTName(lutName);
    viewer.ViewPars(viewPars);
    viewer.ViewRefertImages();
}

void CTavrel::CloseReport() {
    closing_ = true;
    editor_.Leave();
    global_.ports.process.End();
}

std::unique_ptr<AutomationObject> CTavrelFactory::CreateInstance() {
    return std::make_unique<CTavrel>(global_, viewers_, chooser_, editor_);
}

} // namespace tavrel
