#include "platform/dbus/DbusAutomation.h"
#include "platform/dbus/DbusViewerLink.h"
#include "platform/dbus/ViewParametersMap.h"
#include "tests/platform/dbus/PrivateBus.h"
#include "tests/platform/dbus/RecordingObject.h"
#include "tests/support/Failure.h"
#include "tests/support/FakeProcess.h"

#include <gtest/gtest.h>

#include <QDBusArgument>
#include <QDBusConnectionInterface>
#include <QDBusMessage>
#include <QDBusVariant>
#include <QDBusVirtualObject>
#include <QElapsedTimer>
#include <QTimer>

namespace tavrel::test {
namespace {

using Names = std::vector<std::string>;
using namespace std::chrono_literals;

/// A viewer that answers, hangs or refuses as it is told.
class TestViewer final : public QDBusVirtualObject {
public:
    explicit TestViewer(QDBusConnection bus) : bus_(std::move(bus)) {
        bus_.registerVirtualObject(LumaretViewer.path, this);
        bus_.interface()->registerService(LumaretViewer.service);
    }
    QString introspect(const QString&) const override { return {}; }
    bool handleMessage(const QDBusMessage& message, const QDBusConnection&) override {
        const auto name = message.member() == "Set" ? message.arguments().at(1).toString() : message.member();
        if (message.member() == "Set")
            properties[name] = message.arguments().at(2).value<QDBusVariant>().variant();
        calls.push_back(name.toStdString());
        if (name == "ViewRefertImages")
            shown.push_back(
                (properties["SRFilename"].toString() + " " + properties["LUTName"].toString()).toStdString());
        if (name == hanging)
            held_.push_back(message);
        else
            bus_.send(name == refused ? message.createErrorReply("Lumaret.Error", "no such thing")
                                      : message.createReply());
        return true;
    }
    void AnswerHeld() {
        hanging.clear();
        for (const auto& message : held_)
            bus_.send(message.createReply());
    }
    void Leave() { bus_.interface()->unregisterService(LumaretViewer.service); }

    Names calls;
    Names shown; ///< file and table of each image
    QVariantMap properties;
    QString hanging;
    QString refused;

private:
    QDBusConnection bus_;
    std::vector<QDBusMessage> held_;
};

class ViewerLinkTest : public testing::Test {
protected:
    PrivateBus bus;
    QDBusConnection program = bus.Connect();
    DbusViewerLink link{program};
    QElapsedTimer time;
};

class WithViewer : public ViewerLinkTest {
protected:
    TestViewer peer{bus.Connect()};
    std::unique_ptr<Viewer> viewer = link.Create();
};

/// The program waits for its viewer for a short time only.
class WithImpatience : public ViewerLinkTest {
protected:
    TestViewer peer{bus.Connect()};
    DbusViewerLink impatient{program, 500ms};
    std::unique_ptr<Viewer> viewer = impatient.Create();
};

// What is known at once takes far less than the 5 s of a wait, on a busy machine too.
constexpr int Promptly = 2000;

constexpr auto NoViewer = "There is no viewer: nobody has the name \"Lumaret.Viewer\" on the session bus.";

TEST_F(ViewerLinkTest, AViewerThatIsNotThereIsKnownAtOnce) {
    time.start();
    EXPECT_EQ(FailureOf([&] { link.Create(); }), NoViewer);
    EXPECT_LT(time.elapsed(), Promptly);
}

TEST_F(ViewerLinkTest, ARegisteredViewerIsStarted) {
    bus.AddService(LumaretViewer.service, DBUS_TEST_PEER " viewer");
    EXPECT_TRUE(link.Create());
    EXPECT_TRUE(bus.HasOwner(LumaretViewer.service));
}

TEST_F(ViewerLinkTest, AViewerWhoseStartFailsIsAnError) {
    bus.AddService(LumaretViewer.service, "/bin/false");
    const auto failure = FailureOf([&] { link.Create(); });
    EXPECT_TRUE(failure.starts_with("The viewer failed in its start: ")) << failure;
}

TEST_F(ViewerLinkTest, AViewerThatStartsAndNeverComesUpCostsTheBound) {
    bus.AddService(LumaretViewer.service, "/bin/sleep 5");
    DbusViewerLink impatient(program, 500ms);
    time.start();
    EXPECT_EQ(FailureOf([&] { impatient.Create(); }),
              "The viewer \"Lumaret.Viewer\" was started and has not come up in time.");
    EXPECT_LT(time.elapsed(), Promptly);
}

TEST_F(ViewerLinkTest, ALostBusIsAClearError) {
    bus.Kill();
    ASSERT_TRUE(WaitUntil([&] { return !program.isConnected(); }));
    EXPECT_NE(FailureOf([&] { link.Create(); }), "");
}

TEST_F(WithViewer, AHandOverArrivesInItsOrder) {
    viewer->SRFilename("C:\\DATA\\é.dcm");
    viewer->LUTName("bone");
    const auto viewPars = std::make_shared<ViewParameters>();
    viewPars->zoom = 2;
    viewer->ViewPars(viewPars);
    viewer->ViewRefertImages();
    EXPECT_EQ(peer.calls, (Names{"SRFilename", "LUTName", "ViewPars", "ViewRefertImages"}));
    EXPECT_EQ(peer.properties["SRFilename"], "C:\\DATA\\é.dcm");
    EXPECT_EQ(peer.properties["LUTName"], "bone");
    EXPECT_EQ(ViewParametersOf(qdbus_cast<QVariantMap>(peer.properties["ViewPars"]))->zoom, 2);
}

TEST_F(WithViewer, NoViewParametersAreAnEmptyMap) {
    viewer->ViewPars(nullptr);
    viewer->ClearRefertList();
    EXPECT_EQ(peer.calls, (Names{"ViewPars", "ClearRefertList"}));
    EXPECT_TRUE(qdbus_cast<QVariantMap>(peer.properties["ViewPars"]).isEmpty());
}

TEST_F(WithImpatience, AHungViewerCostsTheBoundOnce) {
    peer.hanging = "ViewRefertImages";
    time.start();
    EXPECT_EQ(FailureOf([&] { viewer->ViewRefertImages(); }),
              "The viewer did not answer ViewRefertImages within 0.5 s.");
    EXPECT_GE(time.restart(), 450);
    for (int i = 0; i < 20; ++i)
        EXPECT_EQ(FailureOf([&] { viewer->ClearRefertList(); }),
                  "The viewer still does not answer; ClearRefertList was not sent.");
    EXPECT_LT(time.elapsed(), Promptly);
}

TEST_F(WithImpatience, AViewerThatAnswersAfterAllIsUsedAgain) {
    peer.hanging = "ViewRefertImages";
    FailureOf([&] { viewer->ViewRefertImages(); });
    peer.AnswerHeld();
    Idle();
    EXPECT_EQ(FailureOf([&] { viewer->ClearRefertList(); }), "");
}

TEST_F(WithImpatience, AWaitInsideAWaitEndsWithTheOuterOne) {
    peer.hanging = "ViewRefertImages";
    QMetaObject::invokeMethod(
        &peer,
        [&] {
            Idle(400ms);
            FailureOf([&] { viewer->ViewRefertImages(); });
        },
        Qt::QueuedConnection);
    time.start();
    EXPECT_NE(FailureOf([&] { viewer->ViewRefertImages(); }), "");
    EXPECT_LT(time.elapsed(), 800);
}

TEST_F(WithViewer, AViewerThatGoesIsKnownAtOnce) {
    peer.Leave();
    time.start();
    EXPECT_EQ(FailureOf([&] { viewer->ClearRefertList(); }), NoViewer);
    EXPECT_LT(time.elapsed(), Promptly);
}

TEST_F(ViewerLinkTest, AViewerThatEndsInsideACallIsAnError) {
    QProcess process;
    process.start(DBUS_TEST_PEER, {"viewer"});
    ASSERT_TRUE(bus.WaitForOwner(LumaretViewer.service));
    const auto viewer = link.Create();
    Stop(process);
    QTimer::singleShot(50ms, &process, [&] { process.kill(); });
    EXPECT_EQ(FailureOf([&] { viewer->ViewRefertImages(); }),
              "The viewer ended before it had answered ViewRefertImages.");
    process.waitForFinished();
}

TEST_F(WithViewer, ACallThatTheViewerRefusesIsAnErrorWithItsWords) {
    peer.refused = "ClearRefertList";
    EXPECT_EQ(FailureOf([&] { viewer->ClearRefertList(); }),
              "The viewer failed in ClearRefertList: no such thing (Lumaret.Error)");
}

TEST_F(WithViewer, AnImageWithAPropertyThatTheViewerRefusesIsToldAndNotShown) {
    peer.refused = "LUTName";
    viewer->LUTName("bone");
    EXPECT_EQ(FailureOf([&] { viewer->ViewRefertImages(); }),
              "The viewer failed in LUTName: no such thing (Lumaret.Error)");
    EXPECT_EQ(peer.calls, Names{"LUTName"});
    peer.refused.clear();
    EXPECT_EQ(FailureOf([&] { viewer->ViewRefertImages(); }), "");
}

TEST_F(WithViewer, HandOversThatAreServedInsideEachOtherDoNotMix) {
    QMetaObject::invokeMethod(
        &peer,
        [&] {
            viewer->SRFilename("second");
            viewer->LUTName("second");
            viewer->ViewRefertImages();
        },
        Qt::QueuedConnection);
    viewer->SRFilename("first");
    viewer->LUTName("first");
    viewer->ViewRefertImages();
    EXPECT_EQ(peer.shown, (Names{"second second", "first first"}));
}

TEST_F(ViewerLinkTest, MutualCallsNeverStall) {
    bus.AddService(LumaretViewer.service, DBUS_TEST_PEER " viewer");
    const auto viewer = link.Create();
    Record record;
    RecordingFactory factory(record);
    FakeProcess process;
    DbusAutomation server(program, factory, process,
                          {.storing = [] { return false; }, .windowOpen = [] { return false; }});
    ASSERT_TRUE(WaitForAnswer(Ask(bus.Connect(), TavrelFactory, "CreateInstance")));
    for (int i = 0; i < 2000; ++i)
        ASSERT_EQ(FailureOf([&] { viewer->ViewRefertImages(); }), "") << i;
    EXPECT_EQ(record.ended.size(), 2001U);
}

} // namespace
} // namespace tavrel::test
