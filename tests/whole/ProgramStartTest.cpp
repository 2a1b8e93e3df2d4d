#include "platform/odbc/OdbcDatabase.h"
#include "tests/platform/dbus/PrivateBus.h"
#include "tests/platform/dbus/SignalCount.h"

#include <gtest/gtest.h>

#include <QDBusConnectionInterface>
#include <QDBusMessage>
#include <QDBusPendingCall>
#include <QFile>

namespace tavrel::test {
namespace {

/// The program itself, without a display, on a catalogue that holds nothing but the site.
class ProgramStart : public testing::Test {
protected:
    ProgramStart() {
        qputenv("QT_QPA_PLATFORM", "offscreen");
        qputenv("ODBCINI", MakeCatalogue().toUtf8());
    }
    ~ProgramStart() override {
        program.kill();
        program.waitForFinished();
    }

    QString MakeCatalogue() {
        const auto entry = QString("Driver=SQLite3;Database=%1/catalogue.db").arg(bus.Folder());
        const auto catalogue = OdbcDatabase().NewConnection();
        catalogue->Open(entry.toStdString());
        catalogue->OpenResultSet("CREATE TABLE SiteData (BaseUID TEXT, Organization TEXT)");
        catalogue->OpenResultSet("INSERT INTO SiteData VALUES ('1.2.999', 'Orbenta General Hospital')");
        QFile file(bus.Folder() + "/odbc.ini");
        EXPECT_TRUE(file.open(QFile::WriteOnly));
        file.write(("[DicomFDB]\n" + QString(entry).replace(';', '\n') + "\n").toUtf8());
        return file.fileName();
    }
    void Start(const QStringList& arguments) { program.start(TAVREL_PROGRAM, arguments); }
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
