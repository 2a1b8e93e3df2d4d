#include "platform/dcmtk/DcmtkLibrary.h"
#include "platform/paths.h"
#include "tests/editor/ReportingStation.h"
#include "tests/support/StorageNode.h"

#include <gtest/gtest.h>

#include <mutex>

namespace tavrel::test {
namespace {

/// Store events that arrive from the service's own thread and are handled when they are waited for.
class QueuedServiceEvents : public FakeServiceEvents {
public:
    void Arrive(const std::filesystem::path& file) {
        const std::scoped_lock lock(mutex_);
        arrived_.push_back(InsidePath(file));
    }
    void AwaitSentEvents() override {
        Texts arrived;
        {
            const std::scoped_lock lock(mutex_);
            arrived.swap(arrived_);
        }
        for (const auto& path : arrived)
            RaiseStore("1.2.3.2.1", path);
    }

private:
    std::mutex mutex_;
    Texts arrived_;
};

/// The images that were added must be in SR.dat before the screen is filled again, whichever save it is.
TEST(StoredImages, AreNeverLostInTwoHundredSavesToARealService) {
    ReportingStation station;
    QueuedServiceEvents events;
    DcmtkLibrary library(station.background, events);
    StorageNode node;
    node.BeforeAnswering([&](const StorageNode::Received& received) { events.Arrive(received.file); });
    station.SetPort(node.Port(), "PORVANE");

    Global global(station.PortsWith(library));
    frmBase codeTables(global);
    frmSRSeriesChoice chooser(global, [] {});
    frmReport editor(global, events, chooser, codeTables, station.printer, station.draftTimer, station.reportWatch);
    CTavrel automation(global, station.viewers, chooser, editor);
    automation.LoadForImgSeries(station.ImageSeries());

    for (int round = 0; round < 200; ++round) {
        const auto fileName = std::to_string(round) + ".dcm";
        automation.RemoveImagesFromSR();
        automation.AddImageToSR("first.dcm", SomeView(), "Bone");
        automation.AddImageToSR(fileName, SomeView(), "");
        editor.cmdSave.Press();
        ASSERT_EQ(station.windows.Texts(), Texts{});
        ASSERT_EQ(global.report->pendingImages->size(), 2U);
        ASSERT_EQ(global.report->pendingImages->back().Filename, fileName);
    }
    EXPECT_EQ(node.Objects().size(), 200U);
    EXPECT_EQ(editor.lstHistory.ListCount(), 200);
}

} // namespace
} // namespace tavrel::test
