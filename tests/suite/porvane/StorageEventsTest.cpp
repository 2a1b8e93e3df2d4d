#include "platform/dbus/DbusServiceEvents.h"
#include "platform/paths.h"
#include "platform/posix/PosixFiles.h"
#include "tests/suite/SuiteRoom.h"
#include "tests/suite/TestObject.h"

#include <QCoreApplication>
#include <QDBusConnection>
#include <QDBusMessage>
#include <dcmtk/dcmdata/dcdeftag.h>
#include <dcmtk/dcmdata/dcuid.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <csignal>

namespace tavrel {
namespace {

/// A session bus for one test.
class Bus {
public:
    explicit Bus(const std::filesystem::path& folder)
        : daemon_({"dbus-daemon", "--session", "--nofork", "--address=unix:path=" + (folder / "bus").string()},
                  (folder / "bus.log").string()) {
        setenv("DBUS_SESSION_BUS_ADDRESS", ("unix:path=" + (folder / "bus").string()).c_str(), 1);
        Eventually([&] { return std::filesystem::exists(folder / "bus"); });
    }
    void End() {
        daemon_.Signal(SIGTERM);
        daemon_.Wait();
    }
    ~Bus() { unsetenv("DBUS_SESSION_BUS_ADDRESS"); }
    Bus(const Bus&) = delete;
    Bus& operator=(const Bus&) = delete;

private:
    Child daemon_;
};

/// Writes down each event, and what the catalogue knew when it came.
class Witness : public ServiceEventHandler {
public:
    explicit Witness(SuiteRoom& room) : room_(room) {}

    void OnConnection(const std::string& calling, const std::string& called, const std::string& peer) override {
        events.push_back("connection " + calling + " " + called + " " + peer);
    }
    void OnEndConnection(const std::string& calling, const std::string& called, const std::string& peer) override {
        events.push_back("end " + calling + " " + called + " " + peer);
    }
    void OnStore(const std::string& calling, const std::string& called, const std::string& sopClass,
                 const std::string& sopInstance, const std::string& series, const std::string& path) override {
        events.push_back("store " + calling + " " + called + " " + sopClass + " " + sopInstance + " " + series);
        storedPath = path;
        rowsThen = room_.Value("SELECT count(*) FROM Image WHERE SOPInstanceUID='" + sopInstance + "'");
    }

    void OnOtherStore(const std::string& sopInstance) override { events.push_back("store of another, " + sopInstance); }

    std::vector<std::string> events;
    std::string storedPath;
    std::string rowsThen;

private:
    SuiteRoom& room_;
};

class StorageEvents : public testing::Test {
protected:
    StorageEvents() {
        attachment = events.Attach(witness);
        events.Expect("2.999.4"); // the report below
    }

    static TestObject Report() {
        TestObject report;
        report.Set(DCM_SOPClassUID, UID_BasicTextSRStorage).Set(DCM_Modality, "SR").Set(DCM_SOPInstanceUID, "2.999.4");
        return report;
    }
    std::size_t StoreEvents() {
        return static_cast<std::size_t>(
            std::ranges::count_if(witness.events, [](const std::string& event) { return event.starts_with("store"); }));
    }

    int argc = 1;
    std::string name = "test";
    char* argv = name.data();
    QCoreApplication application{argc, &argv};
    SuiteRoom room;
    Bus bus{room.Folder()};
    std::unique_ptr<Child> service = room.StartService();
    QDBusConnection connection =
        QDBusConnection::connectToBus(qEnvironmentVariable("DBUS_SESSION_BUS_ADDRESS"), room.Folder().c_str());
    DbusServiceEvents events{connection};
    Witness witness{room};
    std::unique_ptr<ServiceObject> attachment;
};

TEST_F(StorageEvents, AReportOfTheWorkstationIsToldBeforeItIsAnswered) {
    ASSERT_EQ(Report().Send(room, "AE_INTERNAL"), 0);
    events.AwaitSentEvents(); // every event that was sent before the answer has come now
    ASSERT_EQ(StoreEvents(), 1U);
    EXPECT_EQ(witness.storedPath, InsidePath(room.StoredFiles().at(0)));
}

TEST_F(StorageEvents, TheRowsAreThereWhenTheEventComes) {
    Report().Send(room, "AE_INTERNAL");
    events.AwaitSentEvents();
    EXPECT_EQ(witness.rowsThen, "1");
}

TEST_F(StorageEvents, TheEventNamesTheReport) {
    TestObject report = Report();
    report.Send(room, "AE_INTERNAL");
    events.AwaitSentEvents();
    ASSERT_GE(witness.events.size(), 2U);
    EXPECT_EQ(witness.events[0], "connection AE_INTERNAL PORVANE 127.0.0.1");
    EXPECT_EQ(witness.events[1], std::string("store AE_INTERNAL PORVANE ") + UID_BasicTextSRStorage + " 2.999.4 " +
                                     report.Get(DCM_SeriesInstanceUID));
}

TEST_F(StorageEvents, TheEndOfAnAssociationIsTold) {
    Report().Send(room, "AE_INTERNAL");
    EXPECT_TRUE(Eventually([this] {
        events.AwaitSentEvents();
        return !witness.events.empty() && witness.events.back() == "end AE_INTERNAL PORVANE 127.0.0.1";
    }));
}

TEST_F(StorageEvents, AnImageIsNotTold) {
    TestObject().Send(room, "AE_INTERNAL");
    events.AwaitSentEvents();
    EXPECT_EQ(StoreEvents(), 0U);
}

TEST_F(StorageEvents, AReportFromElsewhereIsNotTold) {
    Report().Send(room, "MODALITY");
    events.AwaitSentEvents();
    EXPECT_EQ(StoreEvents(), 0U);
}

TEST_F(StorageEvents, ARefusedReportIsNotTold) {
    Report().Remove(DCM_StudyInstanceUID).Send(room, "AE_INTERNAL");
    events.AwaitSentEvents();
    EXPECT_EQ(StoreEvents(), 0U);
}

TEST_F(StorageEvents, AReportThatIsSentAgainIsToldAgain) {
    Report().Send(room, "AE_INTERNAL");
    Report().Send(room, "AE_INTERNAL");
    events.AwaitSentEvents();
    EXPECT_EQ(StoreEvents(), 2U);
    EXPECT_EQ(room.Count("Image"), "1");
}

TEST_F(StorageEvents, AVersionThatCouldNotBeSentIsToldLikeOneThatWas) {
    std::filesystem::create_directories(room.Unsent());
    TestObject report = Report();
    report.SaveTo(room.Unsent() / "version.dcm");
    ASSERT_TRUE(Eventually([this] {
        events.AwaitSentEvents();
        return !witness.events.empty();
    }));
    EXPECT_EQ(witness.events[0], std::string("store AE_INTERNAL PORVANE ") + UID_BasicTextSRStorage + " 2.999.4 " +
                                     report.Get(DCM_SeriesInstanceUID));
    EXPECT_EQ(InsidePath(room.StoredFiles().at(0)), witness.storedPath);
    EXPECT_EQ(witness.rowsThen, "1");
}

TEST_F(StorageEvents, AnImageThatCouldNotBeSentIsNotTold) {
    std::filesystem::create_directories(room.Unsent());
    TestObject().SaveTo(room.Unsent() / "image.dcm");
    EXPECT_TRUE(Eventually([this] { return room.Count("Image") == "1"; }));
    events.AwaitSentEvents();
    EXPECT_EQ(StoreEvents(), 0U);
}

TEST_F(StorageEvents, TheServiceIntrospectsAsItsReferenceSays) {
    auto question = QDBusMessage::createMethodCall("Porvane.Service", "/Porvane/Service",
                                                   "org.freedesktop.DBus.Introspectable", "Introspect");
    const QString answer = connection.call(question).arguments().value(0).toString();
    const std::string reference = PosixFiles().ReadText(DBUS_REFERENCE_FOLDER "/Porvane.Service.xml");
    const auto begin = reference.find("  <interface");
    const auto interface = reference.substr(begin, reference.find("</node>") - begin);
    EXPECT_NE(answer.toStdString().find(interface), std::string::npos) << answer.toStdString();
}

TEST_F(StorageEvents, AServiceOfTheSessionEndsWithIt) {
    service.reset();
    room.MoveToAnotherPort();
    service = room.StartService({"--with-session"});
    bus.End();
    EXPECT_EQ(service->Wait(), 0);
}

TEST_F(StorageEvents, AServiceOfTheSessionDoesNotStartWithoutOne) {
    service.reset();
    bus.End();
    EXPECT_EQ(room.StartService({"--with-session"})->Wait(), 1);
}

TEST_F(StorageEvents, AServiceWhoseBusEndsGoesOnStoring) {
    bus.End();
    EXPECT_EQ(Report().Send(room, "AE_INTERNAL"), 0);
}

} // namespace
} // namespace tavrel
