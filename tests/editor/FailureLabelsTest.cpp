#include "tests/editor/ReportingStation.h"

#include <gtest/gtest.h>

namespace tavrel::test {
namespace {

/// A catalogue of which one statement fails.
class FailingStatement : public ForwardingConnection {
public:
    FailingStatement(std::unique_ptr<Connection> target, std::string_view statement)
        : ForwardingConnection(std::move(target)), failing_(statement) {}

    std::unique_ptr<ResultSet> OpenResultSet(std::string_view statement, Cursor cursor) override {
        if (statement == failing_)
            throw Error(13, "driver", "The table is locked");
        return ForwardingConnection::OpenResultSet(statement, cursor);
    }

private:
    std::string_view failing_;
};

struct Failure {
    std::string_view name, statement;
    void (frmReport::*handler)();
    std::string_view label;

    friend void PrintTo(const Failure& failure, std::ostream* out) { *out << failure.name; }
};

class FailureOf : public testing::TestWithParam<Failure> {};

TEST_P(FailureOf, IsToldAfterItsLabel) {
    ReportingStation station;
    station.OpenReport();
    station.global.report->imageSeries = station.ImageSeries();
    station.global.catalogue =
        std::make_unique<FailingStatement>(std::move(station.global.catalogue), GetParam().statement);
    station.windows.answers = {Answer::Yes};
    (station.editor.*GetParam().handler)();
    ASSERT_FALSE(station.windows.messages.empty());
    EXPECT_EQ(station.windows.messages.back().text, std::string(GetParam().label) + "13-The table is locked");
    EXPECT_EQ(station.windows.messages.back().title, "");
}

INSTANTIATE_TEST_SUITE_P(
    , FailureOf,
    testing::Values(
        Failure{"TheCaption", "SELECT * FROM SiteData ", &frmReport::Form_Load, "frmReport.ShowSiteCaption:"},
        Failure{"TheHeadings", "SELECT * FROM StdTitles Order by CodeMeaning ", &frmReport::lstHistory_Click,
                "frmReport.FillScreen:"},
        Failure{"TheUser", " SELECT * FROM Users WHERE UserName='mrossi'", &frmReport::LoadDocs,
                "frmReport.LookUpUserAndSite:"},
        Failure{"TheOrganization", "SELECT * FROM SiteData", &frmReport::LoadDocs, "frmReport.LookUpUserAndSite:"},
        Failure{"Save", "SELECT * FROM StdTitles Where CodeMeaning='Heading'", &frmReport::cmdSave_Click,
                "Save report - "},
        Failure{"Approve", "SELECT AETitle FROM DicomServer", &frmReport::cmdApprove_Click, "Approve Report "},
        Failure{"New", "SELECT Max(SeriesNumber) as SRCount From Series WHERE StudyInstanceUID='1.2.3'",
                &frmReport::cmdNew_Click, "frmReport.cmdNew_Click:"}),
    testing::PrintToStringParamName());

TEST(FailureLabels, LoadingWithoutADocumentFails) {
    ReportingStation station;
    station.OpenReport();
    station.global.report->document.reset();
    station.editor.LoadDocs();
    EXPECT_EQ(station.windows.Texts(), Texts{"frmReport.LoadDocs:91-No report is open"});
}

TEST(FailureLabels, AHistoryLineWithoutADocumentNamesTheClick) {
    ReportingStation station;
    station.OpenReport();
    station.global.report->document.reset();
    station.editor.lstHistory.ListIndex(0);
    EXPECT_EQ(station.windows.Texts(), Texts{"frmReport.lstHistory_Click:91-No report is open"});
}

TEST(FailureLabels, AHistoryThatCannotBeDrawnNamesTheLastVersionsButton) {
    ReportingStation station;
    station.OpenReport();
    station.editor.lstHistory.Watch([](Change) { throw Error(7, "screen", "No screen"); });
    station.editor.cmdLastVersion.Press();
    EXPECT_EQ(station.windows.Texts(), Texts{"frmReport.cmdLastVersion_Click:7-No screen"});
}

TEST(FailureLabels, AStorageServiceThatCannotBeReachedNamesTheLoading) {
    class Unreachable : public FakeServiceEvents {
    public:
        std::unique_ptr<ServiceObject> Attach(ServiceEventHandler&) override { throw Error(7, "bus", "No bus"); }
    } events;
    ReportingStation station;
    station.OpenReport();
    frmReport editor(station.global, events, station.chooser, station.codeTables, station.printer, station.draftTimer,
                     station.reportWatch);
    editor.Form_Load();
    EXPECT_EQ(station.windows.Texts(), Texts{"frmReport.Form_Load:7-No bus"});
}

} // namespace
} // namespace tavrel::test
