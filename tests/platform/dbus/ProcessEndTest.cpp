#include "tests/platform/dbus/PrivateBus.h"

#include <gtest/gtest.h>

#include <QDBusConnectionInterface>
#include <QDBusObjectPath>
#include <QDBusPendingCall>
#include <QDBusReply>
#include <QDBusServiceWatcher>

#include <csignal>

namespace tavrel::test {
namespace {

/// The program as a process of its own, which the bus starts.
class ProcessEnd : public testing::Test {
protected:
    ProcessEnd() { bus.AddService(TavrelFactory.service, DBUS_TEST_PEER " automation --automation"); }

    /// The unique name and the path of a new object.
    std::pair<QString, QString> Create() {
        const auto call = Ask(client, TavrelFactory, "CreateInstance");
        EXPECT_TRUE(WaitForAnswer(call));
        EXPECT_FALSE(call.isError()) << call.error().message().toStdString();
        return {call.reply().service(), QDBusReply<QDBusObjectPath>(call).value().path()};
    }
    QDBusPendingCall CloseReport(const std::pair<QString, QString>& object) {
        return Ask(client, object.first, object.second, TavrelObjectInterface, "CloseReport");
    }
    /// The end of a viewer as the bus tells it.
    void EndViewer() {
        auto viewer = bus.Connect();
        ASSERT_TRUE(viewer.registerService(LumaretViewer.service));
        ASSERT_TRUE(viewer.unregisterService(LumaretViewer.service));
    }
    qint64 ProcessOf(const QString& name) { return client.interface()->servicePid(name).value(); }

    PrivateBus bus;
    QDBusConnection client = bus.Connect();
};

TEST_F(ProcessEnd, ACreationStartsTheProgram) {
    const auto [owner, path] = Create();
    EXPECT_TRUE(owner.startsWith(':'));
    EXPECT_EQ(path, "/Tavrel/CTavrel/1");
}

TEST_F(ProcessEnd, CloseReportIsAnsweredAndTheNamesGoAway) {
    const auto object = Create();
    const QDBusServiceWatcher watcher(object.first, client, QDBusServiceWatcher::WatchForUnregistration);
    bool gone = false;
    QObject::connect(&watcher, &QDBusServiceWatcher::serviceUnregistered, [&] { gone = true; });
    const auto close = CloseReport(object);
    ASSERT_TRUE(WaitForAnswer(close));
    EXPECT_FALSE(close.isError()) << close.error().message().toStdString();
    EXPECT_TRUE(WaitUntil([&] { return gone; }));
    EXPECT_FALSE(bus.HasOwner(TavrelFactory.service));
}

TEST_F(ProcessEnd, ACreationRightAfterTheEndStartsAnotherProcess) {
    QString former;
    for (int i = 0; i < 50; ++i) {
        const auto object = Create();
        ASSERT_NE(object.first, former) << i;
        const auto close = CloseReport(object);
        ASSERT_TRUE(WaitForAnswer(close));
        ASSERT_FALSE(close.isError()) << i << close.error().message().toStdString();
        former = object.first;
    }
}

TEST_F(ProcessEnd, ASecondProcessEndsWithAMessage) {
    Create();
    QProcess second;
    second.start(DBUS_TEST_PEER, {"automation", "--automation"});
    ASSERT_TRUE(second.waitForFinished(10000));
    EXPECT_EQ(second.exitCode(), 1);
    EXPECT_EQ(second.readAllStandardError(), "Another process has the name \"Tavrel.CTavrel\" on the session bus.\n");
}

TEST_F(ProcessEnd, AProgramThatLosesItsBusEnds) {
    const auto process = static_cast<pid_t>(ProcessOf(Create().first));
    ASSERT_GT(process, 0);
    bus.Kill();
    EXPECT_TRUE(WaitUntil([&] { return kill(process, 0) != 0; }));
}

TEST_F(ProcessEnd, AProgramThatWasStartedAheadInVainEndsWithTheViewer) {
    client.call(MethodCall(MessageBus, "StartServiceByName") << TavrelFactory.service << 0U);
    ASSERT_TRUE(bus.WaitForOwner(TavrelFactory.service));
    EndViewer();
    EXPECT_TRUE(WaitUntil([&] { return !bus.HasOwner(TavrelFactory.service); }));
}

TEST_F(ProcessEnd, AProgramThatWasCalledOutlivesTheViewer) {
    Create();
    EndViewer();
    Idle();
    EXPECT_TRUE(bus.HasOwner(TavrelFactory.service));
}

} // namespace
} // namespace tavrel::test
