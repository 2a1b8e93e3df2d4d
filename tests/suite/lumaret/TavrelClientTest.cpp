#include "suite/lumaret/TavrelClient.h"

#include "platform/dbus/ViewParametersMap.h"
#include "tests/platform/dbus/PrivateBus.h"
#include "tests/suite/lumaret/FakeTavrel.h"
#include "tests/support/SampleView.h"

#include <QDBusArgument>
#include <QElapsedTimer>
#include <QFile>

#include <gtest/gtest.h>

#include <algorithm>
#include <optional>

namespace tavrel::test {
namespace {

using Names = std::vector<std::string>;
using namespace std::chrono_literals;

const QString Study = "1.2.3";
const QString Another = "1.2.4";
const QString StillOpening = "The report program is still opening a report. Answer its window first.";

class TavrelClientTest : public testing::Test {
protected:
    TavrelClientTest() {
        QObject::connect(&client, &TavrelClient::Said, [this](const QString& words) { said = words; });
    }
    void StartTavrel() { tavrel.emplace(bus.Connect()); }
    void OpenReport(const QString& study = Study) {
        client.LoadForImgSeries({"/studies/a.dcm", "/studies/b.dcm"}, study);
        ASSERT_TRUE(WaitUntil([&] { return client.OpenStudy() == study && !client.Opening(); }));
    }
    /// Asks for the report of another study, and waits for the question that comes.
    void WantAnother() {
        client.LoadSRSeries("1.2.4.9", Another);
        ASSERT_TRUE(WaitUntil([&] { return client.Asking(); }));
    }
    /// A program that tells of its reports, which are those of `study`.
    void StartTelling(const QString& study = Study) {
        StartTavrel();
        tavrel->willOpen = study.toStdString();
        tavrel->TellStudy();
    }
    /// From now on the bus leaves a trace of each start of the program.
    void WatchStarts() { bus.AddService(TavrelFactory.service, "/usr/bin/touch " + Trace()); }
    bool Started() const { return QFile::exists(Trace()); }
    QString Trace() const { return bus.Folder() + "/started"; }
    bool WaitFor(const QString& words) {
        return WaitUntil([&] { return said.startsWith(words); });
    }

    PrivateBus bus;
    std::optional<FakeTavrel> tavrel;
    TavrelClient client{bus.Connect()};
    QString said;
};

TEST_F(TavrelClientTest, OpensTheReportOfASeries) {
    StartTavrel();
    OpenReport();
    EXPECT_EQ(tavrel->calls, (Names{"CreateInstance", "LoadForImgSeries"}));
    EXPECT_EQ(tavrel->last.arguments().value(0).toStringList(), (QStringList{"/studies/a.dcm", "/studies/b.dcm"}));
    EXPECT_EQ(said, "Ready.");
}

TEST_F(TavrelClientTest, EachReportIsOpenedOverAnObjectOfItsOwn) {
    StartTavrel();
    OpenReport();
    client.LoadSRSeries("1.2.3.2.1", Study);
    ASSERT_TRUE(WaitUntil([&] { return !client.Opening(); }));
    EXPECT_EQ(tavrel->calls, (Names{"CreateInstance", "LoadForImgSeries", "CreateInstance", "LoadSRSeries"}));
    EXPECT_EQ(tavrel->last.path(), "/Tavrel/CTavrel/2");
}

TEST_F(TavrelClientTest, ImagesGoToTheObjectMadeLast) {
    StartTavrel();
    OpenReport();
    OpenReport();
    client.AddImage({"/studies/a.dcm", std::make_shared<ViewParameters>(), "Bone"});
    ASSERT_TRUE(WaitFor("The image was added"));
    EXPECT_EQ(tavrel->last.path(), "/Tavrel/CTavrel/2");
}

TEST_F(TavrelClientTest, TheReportOfAnotherStudyIsNeverOpenedUnasked) {
    StartTavrel();
    OpenReport();
    WantAnother();
    Idle();
    EXPECT_EQ(tavrel->calls, (Names{"CreateInstance", "LoadForImgSeries"}));
    EXPECT_EQ(client.OpenStudy(), Study);
}

TEST_F(TavrelClientTest, AReportThatShallStayStays) {
    StartTavrel();
    OpenReport();
    WantAnother();
    client.LeaveOpen();
    EXPECT_EQ(said, "The open report stays open; no other one was opened.");
    EXPECT_FALSE(client.Opening());
    Idle();
    EXPECT_EQ(tavrel->calls, (Names{"CreateInstance", "LoadForImgSeries"}));
}

TEST_F(TavrelClientTest, TheQuestionIsAskedEachTime) {
    StartTavrel();
    OpenReport();
    WantAnother();
    client.LeaveOpen();
    WantAnother();
    EXPECT_EQ(client.OpenStudy(), Study);
}

TEST_F(TavrelClientTest, ANewProgramOpensWhatTheFormerOnesEndHasMadeRoomFor) {
    StartTavrel();
    OpenReport();
    FakeTavrel next(bus.Connect());
    tavrel->onCloseReport = [&] {
        tavrel->ReleaseName();
        next.TakeName();
    };
    WantAnother();
    client.CloseAndOpen();
    ASSERT_TRUE(WaitUntil([&] { return bus.HasOwner(TavrelFactory.service) && tavrel->calls.size() == 3; }));
    Idle();
    EXPECT_EQ(next.calls, Names{}); // the former one is still there
    tavrel->Die();
    ASSERT_TRUE(WaitUntil([&] { return !client.Opening(); }));
    EXPECT_EQ(tavrel->calls.back(), "CloseReport");
    EXPECT_EQ(next.calls, (Names{"CreateInstance", "LoadSRSeries"}));
    EXPECT_EQ(client.OpenStudy(), Another);
}

TEST_F(TavrelClientTest, AProgramThatCannotCloseItsReportKeepsItAndThatIsSaid) {
    StartTavrel();
    OpenReport();
    WantAnother();
    tavrel->refusing = "CloseReport";
    client.CloseAndOpen();
    EXPECT_TRUE(WaitFor("The open report could not be closed: "));
    EXPECT_FALSE(client.Opening());
    EXPECT_EQ(client.OpenStudy(), Study);
}

TEST_F(TavrelClientTest, AReportThatIsClosedDuringTheQuestionAnswersIt) {
    StartTavrel();
    OpenReport();
    WantAnother();
    tavrel->Die();
    ASSERT_TRUE(WaitFor("The report was closed."));
    EXPECT_FALSE(client.Asking());
    client.CloseAndOpen(); // too late
    Idle();
    EXPECT_FALSE(client.Opening());
}

TEST_F(TavrelClientTest, AfterAnEndAnotherStudysReportOpensUnasked) {
    StartTavrel();
    OpenReport();
    tavrel->Die();
    ASSERT_TRUE(WaitUntil([&] { return !client.Open(); }));
    StartTavrel();
    OpenReport(Another);
    EXPECT_EQ(tavrel->calls, (Names{"CreateInstance", "LoadForImgSeries"}));
}

TEST_F(TavrelClientTest, AnOpeningThatCameToNothingIsNoOpenReport) {
    StartTelling("");
    client.LoadForImgSeries({"/studies/a.dcm"}, Study);
    ASSERT_TRUE(WaitFor("No report was opened."));
    EXPECT_FALSE(client.Open());
    tavrel->willOpen = "1.2.4";
    OpenReport(Another);
}

TEST_F(TavrelClientTest, AReportThatSomebodyElseSwitchedIsKnown) {
    StartTelling();
    OpenReport();
    tavrel->openStudy = "1.2.4";
    EXPECT_TRUE(WaitUntil([&] { return client.OpenStudy() == Another; }));
}

TEST_F(TavrelClientTest, AStudyWithoutEndIsCut) {
    StartTelling();
    OpenReport();
    tavrel->openStudy = std::string(1024UL * 1024, '1');
    EXPECT_TRUE(WaitUntil([&] { return client.OpenStudy() == QString(64, '1') + "..."; }));
}

TEST_F(TavrelClientTest, WhatAnotherProgramTellsOfReportsIsNotHeard) {
    StartTelling();
    OpenReport();
    auto spoofed = QDBusMessage::createSignal(TavrelReport.path, PropertiesInterface, "PropertiesChanged");
    spoofed << TavrelReport.interface << QVariantMap{{StudyOfReport, Another}} << QStringList{};
    ASSERT_TRUE(bus.Connect().send(spoofed));
    Idle();
    EXPECT_EQ(client.OpenStudy(), Study);
}

TEST_F(TavrelClientTest, AReportThatIsSwitchedDuringTheQuestionIsAskedAboutAnew) {
    StartTelling();
    OpenReport();
    WantAnother();
    tavrel->openStudy = "1.2.5";
    ASSERT_TRUE(WaitUntil([&] { return client.OpenStudy() == "1.2.5"; }));
    QString asked;
    QObject::connect(&client, &TavrelClient::CloseFirst, [&](const QString& open) { asked = open; });
    client.CloseAndOpen();
    EXPECT_EQ(asked, "1.2.5");
    EXPECT_NE(tavrel->calls.back(), "CloseReport");
}

TEST_F(TavrelClientTest, AReportThatWasOpenBeforeTheViewerIsKnown) {
    StartTelling();
    OpenReport();
    TavrelClient later(bus.Connect());
    ASSERT_TRUE(WaitUntil([&] { return later.Open(); }));
    later.LoadSRSeries("1.2.4.9", Another);
    EXPECT_TRUE(later.Asking());
    later.CloseAndOpen();
    EXPECT_TRUE(WaitUntil([&] { return tavrel->calls.back() == "CloseReport"; }));
}

TEST_F(TavrelClientTest, AnImageGoesWithEveryViewParameter) {
    StartTavrel();
    OpenReport();
    const auto view = std::make_shared<ViewParameters>(SampleView());
    client.AddImage({"/studies/ü.dcm", view, "Bone"});
    ASSERT_TRUE(WaitFor("The image was added"));
    const auto arguments = tavrel->last.arguments();
    EXPECT_EQ(arguments[0], "/studies/ü.dcm");
    EXPECT_EQ(*ViewParametersOf(qdbus_cast<QVariantMap>(arguments[1])), *view);
    EXPECT_EQ(arguments[2], "Bone");
}

TEST_F(TavrelClientTest, AnAbsentProgramIsSaidAtOnce) {
    QElapsedTimer time;
    time.start();
    client.LoadSRSeries("1.2.3.2.1", Study);
    ASSERT_TRUE(WaitFor("The report program could not be started: "));
    EXPECT_LT(time.elapsed(), 1000);
    EXPECT_FALSE(client.Opening());
}

TEST_F(TavrelClientTest, AProgramThatFailsToStartIsSaid) {
    bus.AddService(TavrelFactory.service, "/bin/false");
    client.LoadSRSeries("1.2.3.2.1", Study);
    EXPECT_TRUE(WaitFor("The report program could not be started: "));
}

TEST_F(TavrelClientTest, ABusyProgramRefusesInWordsAndIsNotAskedTwice) {
    StartTavrel();
    tavrel->holding = "LoadForImgSeries";
    client.LoadForImgSeries({"/studies/a.dcm"}, Study);
    ASSERT_TRUE(WaitUntil([&] { return tavrel->calls.size() == 2; }));
    client.LoadSRSeries("1.2.3.2.1", Study);
    EXPECT_EQ(said, StillOpening);
    said.clear();
    client.AddImage({"/studies/a.dcm", std::make_shared<ViewParameters>(), {}});
    EXPECT_EQ(said, StillOpening);
    Idle();
    EXPECT_EQ(tavrel->calls, (Names{"CreateInstance", "LoadForImgSeries"}));
    tavrel->AnswerHeld();
    EXPECT_TRUE(WaitFor("Ready."));
}

TEST_F(TavrelClientTest, NothingWaitsForABusyProgram) {
    StartTavrel();
    tavrel->holding = "CreateInstance";
    QElapsedTimer time;
    time.start();
    client.LoadForImgSeries({"/studies/a.dcm"}, Study);
    client.AddImage({"/studies/a.dcm", std::make_shared<ViewParameters>(), {}});
    client.RemoveImages();
    EXPECT_LT(time.elapsed(), 100);
    EXPECT_TRUE(client.Opening());
}

TEST_F(TavrelClientTest, AnImageWaitsForAProgramThatIsStoring) {
    StartTavrel();
    OpenReport();
    tavrel->holding = "AddImageToSR";
    client.AddImage({"/studies/a.dcm", std::make_shared<ViewParameters>(), {}});
    EXPECT_EQ(said, "Waiting for the report program ...");
    Idle();
    tavrel->AnswerHeld();
    EXPECT_TRUE(WaitFor("The image was added"));
}

TEST_F(TavrelClientTest, WithoutAReportNoImageIsSent) {
    StartTavrel();
    client.AddImage({"/studies/a.dcm", std::make_shared<ViewParameters>(), {}});
    EXPECT_EQ(said, "No report is open. Press Report first.");
    client.RemoveImages();
    Idle();
    EXPECT_EQ(tavrel->calls, Names{});
}

TEST_F(TavrelClientTest, TheEndOfTheProgramIsSeen) {
    StartTavrel();
    OpenReport();
    int closed = 0;
    QObject::connect(&client, &TavrelClient::Closed, [&] { ++closed; });
    tavrel->Die();
    ASSERT_TRUE(WaitFor("The report was closed."));
    EXPECT_FALSE(client.Open());
    EXPECT_EQ(closed, 1);
}

TEST_F(TavrelClientTest, AProgramThatDiesWhileItOpensIsSaidOnce) {
    StartTavrel();
    tavrel->holding = "LoadForImgSeries";
    client.LoadForImgSeries({"/studies/a.dcm"}, Study);
    ASSERT_TRUE(WaitUntil([&] { return tavrel->calls.size() == 2; }));
    tavrel->Die();
    ASSERT_TRUE(WaitFor("The report program ended before the report was open."));
    Idle();
    EXPECT_EQ(said, "The report program ended before the report was open.");
    EXPECT_FALSE(client.Opening());
}

TEST_F(TavrelClientTest, AProgramThatDiesWithAnImageIsSaid) {
    StartTavrel();
    OpenReport();
    tavrel->holding = "AddImageToSR";
    client.AddImage({"/studies/a.dcm", std::make_shared<ViewParameters>(), {}});
    ASSERT_TRUE(WaitUntil([&] { return tavrel->calls.size() == 3; }));
    tavrel->Die();
    ASSERT_TRUE(WaitFor("The report was closed."));
    Idle();
    EXPECT_EQ(said, "The report was closed.");
}

TEST_F(TavrelClientTest, AfterAnEndTheNextReportStartsANewProgram) {
    StartTavrel();
    OpenReport();
    tavrel->Die();
    ASSERT_TRUE(WaitUntil([&] { return !client.Open(); }));
    StartTavrel();
    OpenReport();
    EXPECT_EQ(tavrel->calls, (Names{"CreateInstance", "LoadForImgSeries"}));
}

TEST_F(TavrelClientTest, ALostBusIsSaid) {
    bus.Kill();
    Idle();
    client.LoadSRSeries("1.2.3.2.1", Study);
    EXPECT_TRUE(WaitFor("The report program could not be started: "));
}

TEST_F(TavrelClientTest, TheProgramIsStartedAheadWithoutAnObject) {
    WatchStarts();
    client.StartAhead();
    EXPECT_TRUE(WaitUntil([&] { return Started(); }));
    EXPECT_EQ(said, "");
}

TEST_F(TavrelClientTest, AProgramThatRunsIsNotStartedAhead) {
    StartTelling();
    OpenReport();
    WatchStarts();
    tavrel->ReleaseName(); // or the bus would know that it runs
    client.StartAhead();
    EXPECT_FALSE(WaitUntil([&] { return Started(); }, 1500ms));
}

TEST_F(TavrelClientTest, AfterAReportTheProgramIsStartedAheadForTheNext) {
    StartTavrel();
    OpenReport();
    WatchStarts();
    tavrel->Die();
    EXPECT_TRUE(WaitUntil([&] { return Started(); }));
}

TEST_F(TavrelClientTest, AProgramThatEndsWithoutAReportIsNotStartedForEver) {
    StartTelling("");
    client.LoadForImgSeries({"/studies/a.dcm"}, Study);
    ASSERT_TRUE(WaitFor("No report was opened."));
    bool ended = false;
    QObject::connect(&client, &TavrelClient::Closed, [&] { ended = true; });
    WatchStarts();
    tavrel->Die();
    ASSERT_TRUE(WaitUntil([&] { return ended; }));
    EXPECT_FALSE(WaitUntil([&] { return Started(); }, 1500ms));
}

TEST_F(TavrelClientTest, AProgramThatCannotBeStartedAheadIsNotSaidBeforeAReportIsWanted) {
    bus.AddService(TavrelFactory.service, "/bin/false");
    client.StartAhead();
    Idle(1500ms);
    EXPECT_EQ(said, "");
    client.LoadSRSeries("1.2.3.2.1", Study);
    EXPECT_TRUE(WaitFor("The report program could not be started: "));
}

} // namespace
} // namespace tavrel::test
