#pragma once

#include "codes/frmBase.h"
#include "editor/frmReport.h"
#include "host/Text.h"
#include "host/automation/CTavrel.h"
#include "host/chooser/frmSRSeriesChoice.h"
#include "platform/attributes.h"
#include "platform/error.h"
#include "sr/DcmSRDocument.h"
#include "sr/content/ImagePresentationContext.h"
#include "tests/support/FakeReportPrinter.h"
#include "tests/support/FakeReportWatch.h"
#include "tests/support/FakeServiceEvents.h"
#include "tests/support/FakeTimer.h"
#include "tests/support/ReadBytes.h"
#include "tests/support/Workstation.h"

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

namespace tavrel::test {

using Texts = std::vector<std::string>;

/// A workstation with the example study, the chooser, the editor and one automation object, tied
/// together as the program ties them. Nothing is open yet.
class ReportingStation : public Workstation {
public:
    ReportingStation() : Workstation(NotStarted) { AddExampleStudy(); }

    FakeReportPrinter printer;
    FakeTimer draftTimer;
    FakeReportWatch reportWatch;
    frmBase codeTables{global};
    frmSRSeriesChoice chooser{global, [this] { editor.cmdNew_Click(); }};
    frmReport editor{global, serviceEvents, chooser, codeTables, printer, draftTimer, reportWatch};
    CTavrel automation{global, viewers, chooser, editor};

    DcmSRDocument& Document() { return *global.report->document; }

    /// Opens a report of the example study by its series.
    void OpenReport(const ReportSeed& seed = {}) {
        AddReport(seed);
        automation.LoadSRSeries(seed.seriesUid);
    }
    /// Opens the images of the example study, which makes a new report when it has none.
    void OpenImages() { automation.LoadForImgSeries(ImageSeries()); }

    /// From now on the storage service files the versions that are sent in this folder of the study and says so.
    void StoreInto(const std::string& seriesDir) {
        store.answer = [this, seriesDir](const SentVersion& version) {
            const auto path = File(version, seriesDir);
            if (TextOf(version.dataSet->GetValue(attribute::Modality)) == "SR")
                serviceEvents.RaiseStore("1.2.3.2.1", path);
        };
    }
    /// Files an object as the storage service does, a version in this folder of the study.
    std::string File(const SentVersion& object, const std::string& seriesDir) {
        const auto text = [&](const Attribute& attribute) { return TextOf(object.dataSet->GetValue(attribute)); };
        const auto series = text(attribute::SeriesInstanceUid);
        const bool version = text(attribute::Modality) == "SR";
        const auto seriesFolder = version ? seriesDir : series;
        const auto name = "img_" + std::to_string(1000500 + store.sent.size()).substr(1) + ".dcm";
        auto path = Path("study\\" + seriesFolder) + "\\" + name;
        if (std::filesystem::create_directories(NativePath("study\\" + seriesFolder)) && !version)
            AddSeries(series, text(attribute::StudyInstanceUid), text(attribute::Modality), seriesFolder);
        object.dataSet->SaveToFile(path);
        Insert(
            "Image",
            {{"SeriesInstanceUID", series}, {"ImageFile", name}, {"SOPInstanceUID", text(attribute::SopInstanceUid)}});
        return path;
    }

    /// A person who does this in the chooser.
    void InChooser(const std::function<void()>& act) {
        windows.onModal = [act](Form&) { act(); };
    }

    /// How many rows of `History` there are.
    std::size_t HistoryCount() { return Rows("History", {"ActionVal"}).size(); }

    void WriteFile(const std::string& below, const std::string& contents) {
        std::filesystem::create_directories(NativePath(below).parent_path());
        std::ofstream(NativePath(below), std::ios::binary) << contents;
    }
    std::string ReadFile(const std::string& below) { return ReadBytes(NativePath(below)); }
};

/// A process of the account: it shares the catalogue, the state folder and the clock with the station's own.
struct AnotherProcess {
    explicit AnotherProcess(ReportingStation& shared, Files& files)
        : station(shared), global(shared.PortsWith(files)) {}
    explicit AnotherProcess(ReportingStation& shared) : AnotherProcess(shared, *shared.files) {}

    ReportingStation& station;
    Global global;
    FakeServiceEvents events;
    FakeTimer timer;
    FakeReportWatch watch;
    frmBase codeTables{global};
    frmSRSeriesChoice chooser{global, [this] { editor.cmdNew_Click(); }};
    frmReport editor{global, events, chooser, codeTables, station.printer, timer, watch};
    CTavrel automation{global, station.viewers, chooser, editor};
};

inline ViewParametersHandle SomeView() {
    return std::make_shared<ViewParameters>(
        ViewParameters{.zoom = 1.5F,
                       .flipHorizontal = true,
                       .displayedArea = {.left = 10, .top = 20, .right = 500, .bottom = 400},
                       .smoothed = true,
                       .frame = 3,
                       .rotation = 90,
                       .windowCenter = 40,
                       .windowWidth = 400,
                       .panX = 0.1F,
                       .panY = -2.25F});
}

} // namespace tavrel::test
