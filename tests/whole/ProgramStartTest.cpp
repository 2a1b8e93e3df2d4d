#include "platform/odbc/OdbcDatabase.h"
#include "tests/platform/dbus/PrivateBus.h"
#include "tests/platform/dbus/SignalCount.h"
#include "tests/support/SqliteEntry.h"

#include <gtest/gtest.h>

#include <QDBusConnectionInterface>
#include <QDBusMessage>
#include <QDBusPendingCall>
#include <QDBusVariant>
#include <QFileInfo>

#include <algorithm>
#include <array>

namespace tavrel::test {
namespace {

/// The program itself, without a display, on a catalogue that holds nothing but the site.
class ProgramStart : public testing::Test {
protected:
    ProgramStart() {
        qputenv("QT_QPA_PLATFORM", "offscreen");
        MakeCatalogue();
    }
    ~ProgramStart() override {
        program.kill();
        program.waitForFinished();
    }

    void MakeCatalogue() const {
        const std::filesystem::path folder = bus.Folder().toStdString();
        UseSqliteEntry(folder);
        const auto catalogue = OdbcDatabase().NewConnection();
        catalogue->Open(ConnectionText(SqliteEntry({}, folder / "catalogue.db")));
        catalogue->OpenResultSet("CREATE TABLE SiteData (BaseUID TEXT, Organization TEXT)");
        catalogue->OpenResultSet("INSERT INTO SiteData VALUES ('1.2.999', 'Orbenta General Hospital')");
    }
    void Start(const QStringList& arguments) { program.start(TAVREL_PROGRAM, arguments); }
    /// Starts `executable` where windows are shown on the display of that name; none when it is empty.
    void StartOn(const QString& display, const QString& executable = TAVREL_PROGRAM) {
        auto environment = QProcessEnvironment::systemEnvironment();
        for (const char* variable : {"QT_QPA_PLATFORM", "DISPLAY", "WAYLAND_DISPLAY"})
            environment.remove(variable);
        if (!display.isEmpty())
            environment.insert("DISPLAY", display);
        program.setProcessEnvironment(environment);
        program.start(executable, {});
    }
    std::string Said() { return program.readAllStandardError().toStdString(); }
    bool Ended() {
        return WaitUntil([&] { return program.state() == QProcess::NotRunning; }, std::chrono::seconds(20));
    }

    PrivateBus bus;
    QDBusConnection client = bus.Connect();
    QProcess program;
};

TEST_F(ProgramStart, APersonsStartRunsStartUpAndEndsWithSuccess) {
    Start({});
    ASSERT_TRUE(Ended());
    EXPECT_EQ(program.exitStatus(), QProcess::NormalExit);
    EXPECT_EQ(program.exitCode(), 0);
}

TEST_F(ProgramStart, APersonsStartTakesNoName) {
    SignalCount changes;
    client.connect("org.freedesktop.DBus", "/org/freedesktop/DBus", "org.freedesktop.DBus", "NameOwnerChanged",
                   {"Tavrel.CTavrel"}, "sss", &changes, SLOT(Count()));
    Start({});
    ASSERT_TRUE(Ended());
    Idle();
    EXPECT_EQ(changes.count, 0);
}

TEST_F(ProgramStart, WithoutADisplayAStartEndsWithASentence) {
    for (const char* executable : {TAVREL_PROGRAM, LUMARET_PROGRAM}) {
        StartOn("", executable);
        ASSERT_TRUE(Ended());
        EXPECT_EQ(program.exitStatus(), QProcess::NormalExit);
        EXPECT_EQ(program.exitCode(), 1);
        EXPECT_EQ(Said(), QFileInfo(executable).fileName().toStdString() +
                              ": No window can be shown: there is no display (DISPLAY is not set)\n");
    }
}

TEST_F(ProgramStart, OnADisplayWhereNobodyAnswersAStartEndsWithASentence) {
    for (const char* executable : {TAVREL_PROGRAM, LUMARET_PROGRAM}) {
        StartOn(":9999", executable);
        ASSERT_TRUE(Ended());
        EXPECT_EQ(program.exitStatus(), QProcess::NormalExit);
        EXPECT_EQ(program.exitCode(), 1);
        EXPECT_EQ(Said(), QFileInfo(executable).fileName().toStdString() +
                              ": No window can be shown: could not connect to display :9999\n");
    }
}

TEST_F(ProgramStart, TheViewerStartsWithoutABus) {
    bus.Kill();
    program.start(LUMARET_PROGRAM, {});
    EXPECT_FALSE(WaitUntil([&] { return program.state() == QProcess::NotRunning; }, std::chrono::seconds(2)));
}

TEST_F(ProgramStart, TheViewerHasItsInterfaceOnTheBus) {
    program.start(LUMARET_PROGRAM, {});
    ASSERT_TRUE(bus.WaitForOwner("Lumaret.Viewer"));
    const auto text =
        Ask(client, "Lumaret.Viewer", "/Lumaret/Viewer", "org.freedesktop.DBus.Introspectable", "Introspect");
    ASSERT_TRUE(WaitForAnswer(text));
    EXPECT_TRUE(text.reply().arguments().value(0).toString().contains("<interface name=\"Lumaret.Viewer\">"));
}

TEST_F(ProgramStart, NoReportIsOpenAfterAStart) {
    Start({"--automation"});
    ASSERT_TRUE(bus.WaitForOwner("Tavrel.CTavrel"));
    const auto study = Ask(client, "Tavrel.CTavrel", "/Tavrel/Report", "org.freedesktop.DBus.Properties", "Get",
                           {"Tavrel.Report", "StudyInstanceUID"});
    ASSERT_TRUE(WaitForAnswer(study));
    EXPECT_EQ(study.reply().arguments().value(0).value<QDBusVariant>().variant().toString(), "");
}

TEST_F(ProgramStart, AnAutomationStartAnswersNoPersonsQuestion) {
    Start({"--automation", "--help"});
    EXPECT_TRUE(bus.WaitForOwner("Tavrel.CTavrel"));
}

TEST_F(ProgramStart, AnAutomationStartTakesTheName) {
    Start({"--automation"});
    EXPECT_TRUE(bus.WaitForOwner("Tavrel.CTavrel"));
    EXPECT_EQ(program.state(), QProcess::Running);
}

TEST_F(ProgramStart, ASecondAutomationStartEndsWithAMessage) {
    ASSERT_TRUE(client.interface()->registerService("Tavrel.CTavrel").isValid());
    Start({"--automation"});
    ASSERT_TRUE(Ended());
    EXPECT_EQ(program.exitCode(), 1);
    EXPECT_TRUE(program.readAllStandardError().endsWith(
        "tavrel: Another process has the name \"Tavrel.CTavrel\" on the session bus.\n"));
}

TEST_F(ProgramStart, OfThoseStartedAtOnceOneIsTheProgram) {
    std::array<QProcess, 3> starts;
    for (QProcess& start : starts)
        start.start(TAVREL_PROGRAM, {"--automation"});
    const auto ended = [&] {
        return std::ranges::count(starts, QProcess::NotRunning, [](const QProcess& start) { return start.state(); });
    };
    EXPECT_TRUE(WaitUntil([&] { return ended() == 2; }, std::chrono::seconds(20)));
    EXPECT_TRUE(bus.HasOwner("Tavrel.CTavrel"));
    for (QProcess& start : starts) {
        start.kill();
        start.waitForFinished();
    }
}

TEST_F(ProgramStart, AnAutomationStartWithoutABusEndsWithAMessage) {
    bus.Kill();
    Start({"--automation"});
    ASSERT_TRUE(Ended());
    EXPECT_EQ(program.exitCode(), 1);
    EXPECT_TRUE(program.readAllStandardError().contains("tavrel: There is no session bus to be called on: "));
}

TEST_F(ProgramStart, CloseReportIsAnsweredAndEndsTheProgram) {
    bus.AddService("Lumaret.Viewer", DBUS_TEST_PEER " viewer");
    Start({"--automation"});
    ASSERT_TRUE(bus.WaitForOwner("Tavrel.CTavrel"));
    const auto created = Ask(client, "Tavrel.CTavrel", "/Tavrel/CTavrel", "Tavrel.ClassFactory", "CreateInstance");
    ASSERT_TRUE(WaitForAnswer(created));
    const auto close = Ask(client, created.reply().service(), "/Tavrel/CTavrel/1", "Tavrel.CTavrel", "CloseReport");
    ASSERT_TRUE(WaitForAnswer(close));
    EXPECT_FALSE(close.isError()) << close.error().message().toStdString();
    ASSERT_TRUE(Ended());
    EXPECT_EQ(program.exitCode(), 0);
}

TEST_F(ProgramStart, TheProgramEndsWithItsBus) {
    Start({"--automation"});
    ASSERT_TRUE(bus.WaitForOwner("Tavrel.CTavrel"));
    bus.Kill();
    ASSERT_TRUE(Ended());
    EXPECT_EQ(program.exitStatus(), QProcess::NormalExit);
}

} // namespace
} // namespace tavrel::test
