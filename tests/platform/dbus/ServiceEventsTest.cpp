#include "platform/dbus/DbusServiceEmitter.h"
#include "platform/dbus/DbusServiceEvents.h"
#include "platform/error.h"
#include "tests/platform/dbus/PrivateBus.h"

#include <gtest/gtest.h>

#include <QDBusConnectionInterface>
#include <QDBusMessage>
#include <QDBusReply>
#include <QElapsedTimer>
#include <QFile>
#include <QMetaObject>

#include <thread>

namespace tavrel::test {
namespace {

using Names = std::vector<std::string>;
using namespace std::chrono_literals;

// What is known at once takes far less than the 2 s of a wait, on a busy machine too.
constexpr int AtOnce = 1000;

class Listener final : public ServiceEventHandler {
public:
    void OnConnection(const std::string& a, const std::string& b, const std::string& c) override {
        events.push_back("OnConnection " + a + " " + b + " " + c);
    }
    void OnEndConnection(const std::string& a, const std::string& b, const std::string& c) override {
        events.push_back("OnEndConnection " + a + " " + b + " " + c);
    }
    void OnStore(const std::string& a, const std::string& b, const std::string& c, const std::string& d,
                 const std::string& e, const std::string& f) override {
        events.push_back("OnStore " + a + " " + b + " " + c + " " + d + " " + e + " " + f);
        stored();
    }
    void OnOtherStore(const std::string& uid) override { others.push_back(uid); }

    Names events;
    Names others; ///< what was stored and not expected
    std::function<void()> stored = [] {};
};

class ServiceEventsTest : public testing::Test {
protected:
    /// A version of this program is stored.
    void Store(DbusServiceEmitter& service, const std::string& uid) {
        events.Expect(uid);
        Tell(service, uid);
    }
    static void Tell(DbusServiceEmitter& service, const std::string& uid) {
        service.OnStore("AE_INTERNAL", "STORAGE", "1.2", uid, "1.3", "/data/" + uid + ".dcm");
    }

    PrivateBus bus;
    QDBusConnection program = bus.Connect();
    DbusServiceEvents events{program};
    Listener listener;
    QElapsedTimer time;
};

class WithService : public ServiceEventsTest {
protected:
    DbusServiceEmitter service{bus.Connect()};
    std::unique_ptr<ServiceObject> attached = events.Attach(listener);
};

TEST_F(WithService, EveryEventIsToldInOrderWithTheProgramsSeparator) {
    events.Expect("1.2.3");
    service.OnConnection("TAVREL", "STORAGE", "127.0.0.1");
    service.OnStore("AE_INTERNAL", "STORAGE", "1.2", "1.2.3", "1.3", "/data/st 1/img_000001.dcm");
    service.OnEndConnection("TAVREL", "STORAGE", "127.0.0.1");
    events.AwaitSentEvents();
    EXPECT_EQ(listener.events, (Names{"OnConnection TAVREL STORAGE 127.0.0.1",
                                      "OnStore AE_INTERNAL STORAGE 1.2 1.2.3 1.3 \\data\\st 1\\img_000001.dcm",
                                      "OnEndConnection TAVREL STORAGE 127.0.0.1"}));
}

TEST_F(WithService, TheServiceDescribesItselfAsItsReferenceSays) {
    const auto call =
        Ask(program, PorvaneService.service, PorvaneService.path, "org.freedesktop.DBus.Introspectable", "Introspect");
    ASSERT_TRUE(WaitForAnswer(call));
    QFile file(DBUS_REFERENCE_FOLDER "/Porvane.Service.xml");
    ASSERT_TRUE(file.open(QFile::ReadOnly));
    const QString reference = QString(file.readAll()).section("<node>\n", 1).section("</node>", 0, 0);
    EXPECT_TRUE(QDBusReply<QString>(call).value().contains(reference))
        << QDBusReply<QString>(call).value().toStdString();
}

TEST_F(WithService, WhatTheServiceDoesNotHaveIsAnErrorOfTheBus) {
    const auto call = Ask(program, PorvaneService, "Store");
    ASSERT_TRUE(WaitForAnswer(call));
    EXPECT_EQ(call.error().type(), QDBusError::UnknownMethod);
}

TEST_F(WithService, AReleasedServiceObjectTellsNothing) {
    attached.reset();
    Store(service, "1");
    events.AwaitSentEvents();
    EXPECT_TRUE(listener.events.empty());
}

TEST_F(WithService, AnExchangedServiceObjectTellsNoEventTwice) {
    attached = events.Attach(listener);
    Store(service, "1");
    events.AwaitSentEvents();
    EXPECT_EQ(listener.events.size(), 1U);
}

TEST_F(WithService, AHandlerMayReleaseItsServiceObjectWhileItIsTold) {
    Listener other;
    auto second = events.Attach(other);
    listener.stored = [&] { second.reset(); };
    Store(service, "1");
    events.AwaitSentEvents();
    EXPECT_EQ(listener.events.size(), 1U);
    EXPECT_TRUE(other.events.empty());
}

TEST_F(WithService, EveryEventSentBeforeTheWaitIsHandledAfterIt) {
    for (std::size_t i = 1; i <= 1000; ++i) {
        events.Expect(std::to_string(i));
        std::thread([&] { Tell(service, std::to_string(i)); }).join();
        events.AwaitSentEvents();
        ASSERT_EQ(listener.events.size(), i);
    }
}

TEST_F(WithService, EventsOfSeveralThreadsAreAllToldEachInItsOrder) {
    const auto send = [&](const std::string& name) {
        for (int i = 0; i < 100; ++i)
            service.OnConnection(name, std::to_string(i), "");
    };
    std::thread first(send, "a");
    std::thread second(send, "b");
    first.join();
    second.join();
    events.AwaitSentEvents();
    ASSERT_EQ(listener.events.size(), 200U);
    std::map<char, int> next;
    for (const auto& event : listener.events) {
        const char sender = event.at(std::string("OnConnection ").size());
        EXPECT_EQ(event, std::string("OnConnection ") + sender + " " + std::to_string(next[sender]++) + " ");
    }
}

TEST_F(WithService, TheWaitIsKnownAsOne) {
    bool during = false;
    listener.stored = [&] { during = events.Awaiting(); };
    Store(service, "1");
    events.AwaitSentEvents();
    EXPECT_TRUE(during);
    EXPECT_FALSE(events.Awaiting());
}

TEST_F(WithService, EventsOfAnotherSenderAreNotTaken) {
    auto forged = QDBusMessage::createSignal(PorvaneService.path, PorvaneService.interface, "OnStore");
    forged.setArguments({"a", "b", "c", "d", "e", "/f"});
    auto other = bus.Connect();
    other.send(forged);
    other.interface()->isServiceRegistered(PorvaneService.service); // the bus has passed it on by now
    events.AwaitSentEvents();
    EXPECT_TRUE(listener.events.empty());
}

TEST_F(WithService, AnEventOfAVersionThatWasNotSentIsAnothers) {
    Tell(service, "1");
    events.AwaitSentEvents();
    EXPECT_TRUE(listener.events.empty());
    EXPECT_EQ(listener.others, Names{"1"});
}

TEST_F(WithService, AVersionIsStoredOnce) {
    Store(service, "1");
    Tell(service, "1");
    events.AwaitSentEvents();
    EXPECT_EQ(listener.events.size(), 1U);
    EXPECT_EQ(listener.others, Names{"1"});
}

TEST_F(ServiceEventsTest, AServiceThatCameAfterTheSendingIsNotBelieved) {
    const auto attached = events.Attach(listener);
    {
        const DbusServiceEmitter service{bus.Connect()};
        events.Expect("1");
    }
    DbusServiceEmitter later{bus.Connect()};
    Tell(later, "1");
    events.AwaitSentEvents();
    EXPECT_TRUE(listener.events.empty());
    EXPECT_EQ(listener.others, Names{"1"});
}

TEST_F(ServiceEventsTest, AVersionThatWasSentWithoutAServiceIsToldByTheOneThatComes) {
    const auto attached = events.Attach(listener);
    events.Expect("1");
    DbusServiceEmitter service{bus.Connect()};
    Tell(service, "1");
    events.AwaitSentEvents();
    EXPECT_EQ(listener.events.size(), 1U);
}

TEST_F(WithService, ASecondServiceCannotTakeTheName) {
    EXPECT_THROW(DbusServiceEmitter(bus.Connect()), Error);
    Store(service, "1");
    events.AwaitSentEvents();
    EXPECT_EQ(listener.events.size(), 1U);
}

TEST_F(WithService, ALostBusCostsOnlyTheEvents) {
    bus.Kill();
    ASSERT_TRUE(WaitUntil([&] { return !program.isConnected(); }));
    Store(service, "1");
    time.start();
    events.AwaitSentEvents();
    EXPECT_LT(time.elapsed(), AtOnce);
}

TEST_F(ServiceEventsTest, AnAbsentServiceIsNotWaitedFor) {
    time.start();
    events.AwaitSentEvents();
    EXPECT_LT(time.elapsed(), AtOnce);
}

TEST_F(ServiceEventsTest, AnAbsentServiceIsNotStarted) {
    const auto trace = bus.Folder() + "/started";
    bus.AddService(PorvaneService.service, "/usr/bin/touch " + trace);
    const auto attached = events.Attach(listener);
    events.AwaitSentEvents();
    Idle();
    EXPECT_FALSE(QFile::exists(trace));
}

TEST_F(ServiceEventsTest, AServiceThatComesLaterIsHeard) {
    const auto attached = events.Attach(listener);
    DbusServiceEmitter service{bus.Connect()};
    Store(service, "1");
    events.AwaitSentEvents();
    EXPECT_EQ(listener.events.size(), 1U);
}

TEST_F(ServiceEventsTest, AServiceThatComesAgainIsHeard) {
    const auto attached = events.Attach(listener);
    for (const auto* uid : {"1", "2"}) {
        DbusServiceEmitter service{bus.Connect()};
        Store(service, uid);
        events.AwaitSentEvents();
    }
    EXPECT_EQ(listener.events.size(), 2U);
}

TEST_F(ServiceEventsTest, WithoutABusTheServiceGetsAClearError) {
    bus.Kill();
    EXPECT_THROW(DbusServiceEmitter(bus.Connect()), Error);
}

/// The service as a process of its own, without a Qt application and without an event loop.
class WithServiceProcess : public ServiceEventsTest {
protected:
    WithServiceProcess() {
        service.start(DBUS_TEST_PEER, {"service"});
        EXPECT_TRUE(service.waitForReadyRead(10000));
    }
    ~WithServiceProcess() override {
        service.kill();
        service.waitForFinished();
    }

    QProcess service;
    std::unique_ptr<ServiceObject> attached = events.Attach(listener);
};

TEST_F(WithServiceProcess, EventsAndTheWaitNeedNoEventLoopThere) {
    events.Expect("1.2.3");
    service.write("1.2.3\n");
    ASSERT_TRUE(WaitUntil([&] { return !listener.events.empty(); }));
    time.start();
    events.AwaitSentEvents();
    EXPECT_LT(time.elapsed(), AtOnce);
}

TEST_F(WithServiceProcess, AHungServiceCostsAtMostTheBound) {
    Stop(service);
    time.start();
    events.AwaitSentEvents();
    EXPECT_GE(time.elapsed(), 1800);
    EXPECT_LT(time.elapsed(), 4000);
}

TEST_F(WithServiceProcess, AHungServiceIsNoReasonToWaitBeforeTheSending) {
    Stop(service);
    time.start();
    events.Expect("1");
    EXPECT_LT(time.elapsed(), AtOnce);
}

} // namespace
} // namespace tavrel::test
