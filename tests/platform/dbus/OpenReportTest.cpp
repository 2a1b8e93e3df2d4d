#include "platform/dbus/DbusOpenReport.h"

#include "tests/platform/dbus/PrivateBus.h"
#include "tests/platform/dbus/ReportListener.h"

#include <gtest/gtest.h>

#include <QDBusReply>
#include <QDBusVariant>
#include <QFile>

namespace tavrel::test {
namespace {

class OpenReport : public testing::Test {
protected:
    QDBusPendingCall AskObject(const QString& interface, const QString& member, const QVariantList& arguments = {}) {
        const auto call = Ask(client, server.baseService(), TavrelReport.path, interface, member, arguments);
        EXPECT_TRUE(WaitForAnswer(call));
        return call;
    }

    PrivateBus bus;
    std::string study;
    QDBusConnection server = bus.Connect();
    DbusOpenReport report{server, [this] { return study; }};
    QDBusConnection client = bus.Connect();
};

TEST_F(OpenReport, IsOfTheStudyThatTheProgramNames) {
    study = "1.2.3";
    const auto call = AskObject(PropertiesInterface, "Get", {TavrelReport.interface, StudyOfReport});
    EXPECT_EQ(call.reply().arguments().value(0).value<QDBusVariant>().variant().toString(), "1.2.3");
}

TEST_F(OpenReport, TellsEachChangeOnce) {
    const ReportListener listener(client);
    Idle();
    for (const char* now : {"1.2.3", "1.2.4", ""}) {
        study = now;
        Idle();
    }
    EXPECT_EQ(listener.studies, (QStringList{"Tavrel.Report 1.2.3", "Tavrel.Report 1.2.4", "Tavrel.Report "}));
}

TEST_F(OpenReport, IntrospectsWithTheVeryTextOfItsReference) {
    const auto call = AskObject("org.freedesktop.DBus.Introspectable", "Introspect");
    QFile file(DBUS_REFERENCE_FOLDER "/Tavrel.Report.xml");
    ASSERT_TRUE(file.open(QFile::ReadOnly));
    const QString reference = file.readAll();
    const auto begin = reference.indexOf("  <interface"), end = reference.indexOf("</node>");
    EXPECT_TRUE(QDBusReply<QString>(call).value().contains(reference.mid(begin, end - begin)));
}

} // namespace
} // namespace tavrel::test
