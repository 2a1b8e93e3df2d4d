#include "platform/dbus/DbusAutomation.h"
#include "platform/dbus/ViewParametersMap.h"
#include "tests/platform/dbus/PrivateBus.h"
#include "tests/platform/dbus/RecordingObject.h"
#include "tests/platform/dbus/SignalCount.h"
#include "tests/support/Failure.h"
#include "tests/support/FakeProcess.h"
#include "tests/support/SampleView.h"

#include <gtest/gtest.h>

#include <QDBusArgument>
#include <QDBusObjectPath>
#include <QDBusPendingCall>
#include <QDBusReply>
#include <QFile>
#include <QXmlStreamReader>

#include <cmath>
#include <limits>
#include <optional>

namespace tavrel::test {
namespace {

using testing::Test;
using Names = std::vector<std::string>;

/// The automation server in this process, its client on a connection of its own.
class Automation : public Test {
protected:
    /// An object as a client gets it.
    QString NewObject() {
        const auto call = Ask(client, TavrelFactory, "CreateInstance");
        EXPECT_TRUE(WaitForAnswer(call));
        record.begun.clear();
        record.ended.clear();
        return QDBusReply<QDBusObjectPath>(call).value().path();
    }
    QDBusPendingCall Call(const QString& member, const QVariantList& arguments = {}) {
        return Ask(client, TavrelFactory.service, object, TavrelObjectInterface, member, arguments);
    }
    QDBusPendingCall AddImage(const QVariantMap& viewPars) { return Call("AddImageToSR", {"1.dcm", viewPars, "bone"}); }
    /// While `call` runs, a modal window is waited for and `meanwhile` happens.
    void ShowsWindow(const std::string& call, const std::function<void()>& meanwhile) {
        record.during = [=](const std::string& begun) {
            if (begun == call)
                meanwhile();
        };
    }
    QString Introspect(const QString& path) {
        const auto call = Ask(client, TavrelFactory.service, path, "org.freedesktop.DBus.Introspectable", "Introspect");
        EXPECT_TRUE(WaitForAnswer(call));
        return QDBusReply<QString>(call).value();
    }
    PrivateBus bus;
    Record record;
    bool storing = false;
    bool windowOpen = false;
    RecordingFactory factory{record};
    FakeProcess process;
    QDBusConnection serverBus = bus.Connect();
    DbusAutomation server{serverBus,
                          factory,
                          process,
                          {.storing = [this] { return storing; }, .windowOpen = [this] { return windowOpen; }}};
    QDBusConnection client = bus.Connect();
    QString object = NewObject();
};

QString ReferenceFile(const QString& interface) {
    QFile file(QString(DBUS_REFERENCE_FOLDER) + "/" + interface + ".xml");
    EXPECT_TRUE(file.open(QFile::ReadOnly));
    return QString::fromUtf8(file.readAll());
}

/// Each member and argument of `interface` in `xml`, one a line, with all its attributes.
QStringList MembersOf(const QString& interface, const QString& xml) {
    QStringList members;
    QXmlStreamReader reader(xml);
    bool inside = false;
    while (!reader.atEnd()) {
        reader.readNext();
        if (reader.name() == QLatin1String("interface"))
            inside = reader.isStartElement() && reader.attributes().value("name") == interface;
        else if (inside && reader.isStartElement()) {
            QString line = reader.name().toString();
            for (const auto& attribute : reader.attributes())
                line += QString(" %1=%2").arg(attribute.name(), attribute.value());
            members << line;
        }
    }
    EXPECT_FALSE(reader.hasError()) << reader.errorString().toStdString();
    return members;
}

TEST_F(Automation, EachCreationAnswersANewObject) {
    EXPECT_EQ(object, "/Tavrel/CTavrel/1");
    EXPECT_EQ(NewObject(), "/Tavrel/CTavrel/2");
}

TEST_F(Automation, ImageFilesArriveWithTheProgramsSeparator) {
    ASSERT_TRUE(WaitForAnswer(Call("LoadForImgSeries", {QStringList{"/data/st 1/é.dcm", "/data/2.dcm"}})));
    EXPECT_EQ(record.files, (Names{"\\data\\st 1\\é.dcm", "\\data\\2.dcm"}));
}

TEST_F(Automation, AnEmptySeriesArrivesEmpty) {
    ASSERT_TRUE(WaitForAnswer(Call("LoadForImgSeries", {QStringList{}})));
    EXPECT_TRUE(record.files.empty());
}

TEST_F(Automation, TheImageNameOfTheViewerIsLeftAsItIs) {
    const QVariantMap viewPars{{"Zoom", 2.0}};
    ASSERT_TRUE(WaitForAnswer(Call("SendFileInfo", {"/data/a b.dcm", viewPars, "bone/1"})));
    EXPECT_EQ(record.begun, Names{"SendFileInfo /data/a b.dcm bone/1"});
}

TEST_F(Automation, CallsAreServedInOrderOfArrival) {
    for (int i = 0; i < 100; ++i)
        Call(i % 2 ? "RemoveImagesFromSR" : "LoadSRSeries", i % 2 ? QVariantList() : QVariantList{QString::number(i)});
    ASSERT_TRUE(WaitForAnswer(Call("Class_Terminate")));
    ASSERT_EQ(record.begun.size(), 101U);
    EXPECT_EQ(record.begun, record.ended);
    for (std::size_t i = 0; i < 100; i += 2)
        EXPECT_EQ(record.begun[i], "LoadSRSeries " + std::to_string(i));
}

TEST_F(Automation, ACallIsAnsweredWhenItsOperationEnds) {
    std::optional<QDBusPendingCall> opening;
    ShowsWindow("LoadSRSeries 1", [&] {
        Idle();
        EXPECT_FALSE(opening->isFinished());
    });
    opening = Call("LoadSRSeries", {"1"});
    EXPECT_TRUE(WaitForAnswer(*opening));
    EXPECT_FALSE(opening->isError());
}

TEST_F(Automation, WhileAWindowIsWaitedForTheImageCallsAndCloseReportAreServed) {
    const QVariantMap viewPars{{"Zoom", 2.0}};
    ShowsWindow("LoadSRSeries 1", [&] {
        EXPECT_TRUE(WaitForAnswer(Call("RemoveImagesFromSR")));
        EXPECT_TRUE(WaitForAnswer(AddImage(viewPars)));
        EXPECT_TRUE(WaitForAnswer(Call("SendFileInfo", {"1.dcm", viewPars, "bone"})));
        EXPECT_TRUE(WaitForAnswer(Call("RemoveImagesFromRefertList")));
        EXPECT_TRUE(WaitForAnswer(Call("CloseReport")));
    });
    EXPECT_TRUE(WaitForAnswer(Call("LoadSRSeries", {"1"})));
    EXPECT_EQ(record.ended.size(), 6U);
    EXPECT_EQ(record.ended.back(), "LoadSRSeries 1");
}

TEST_F(Automation, WhileAWindowIsWaitedForOpeningCallsWaitTheirTurn) {
    std::optional<QDBusPendingCall> last;
    ShowsWindow("LoadSRSeries 1", [&] {
        Call("LoadSRSeries", {"2"});
        Ask(client, TavrelFactory, "CreateInstance");
        last = Call("LoadForImgSeries", {QStringList{"/1.dcm"}});
        EXPECT_TRUE(WaitForAnswer(Call("RemoveImagesFromSR")));
        Idle();
        EXPECT_EQ(record.begun, (Names{"LoadSRSeries 1", "RemoveImagesFromSR"}));
    });
    ASSERT_TRUE(WaitForAnswer(Call("LoadSRSeries", {"1"})));
    EXPECT_TRUE(WaitForAnswer(*last));
    EXPECT_EQ(record.ended,
              (Names{"RemoveImagesFromSR", "LoadSRSeries 1", "LoadSRSeries 2", "CreateInstance", "LoadForImgSeries"}));
}

TEST_F(Automation, AnOpeningCallWaitsForAWindowThatAPersonOpened) {
    std::optional<QDBusPendingCall> opening;
    const auto personOpensWindow = [&] {
        opening = Call("LoadSRSeries", {"1"});
        EXPECT_TRUE(WaitForAnswer(Call("RemoveImagesFromSR")));
        EXPECT_EQ(record.begun, Names{"RemoveImagesFromSR"});
    };
    QMetaObject::invokeMethod(&server, personOpensWindow, Qt::QueuedConnection);
    ASSERT_TRUE(WaitUntil([&] { return opening.has_value(); }));
    EXPECT_TRUE(WaitForAnswer(*opening));
}

TEST_F(Automation, NoCallIsServedWhileAVersionIsStored) {
    storing = true;
    const auto image = Call("RemoveImagesFromSR");
    const auto opening = Call("LoadSRSeries", {"1"});
    const auto end = Call("CloseReport");
    Idle();
    EXPECT_TRUE(record.begun.empty());
    storing = false;
    EXPECT_TRUE(WaitForAnswer(end));
    EXPECT_EQ(record.begun, (Names{"RemoveImagesFromSR", "LoadSRSeries 1", "CloseReport"}));
}

TEST_F(Automation, AStoreInsideAnOpeningHoldsTheImageCallsToo) {
    ShowsWindow("LoadSRSeries 1", [&] {
        storing = true;
        const auto image = Call("RemoveImagesFromSR");
        Idle();
        EXPECT_FALSE(image.isFinished());
        storing = false;
        EXPECT_TRUE(WaitForAnswer(image));
    });
    EXPECT_TRUE(WaitForAnswer(Call("LoadSRSeries", {"1"})));
}

TEST_F(Automation, CallsThatWaitInOneAnotherHaveALimitedDepth) {
    std::size_t deepest = 0;
    record.during = [&](const std::string&) {
        deepest = std::max(deepest, record.begun.size() - record.ended.size());
        Idle(std::chrono::milliseconds(1));
    };
    for (int i = 0; i < 300; ++i)
        Call("RemoveImagesFromSR");
    EXPECT_TRUE(WaitUntil([&] { return record.ended.size() == 300; }));
    EXPECT_GT(deepest, 1U);
    EXPECT_LE(deepest, 32U);
}

TEST_F(Automation, CloseReportIsServedAtAnyDepth) {
    bool closed = false;
    record.during = [&](const std::string& call) {
        if (call == "CloseReport")
            closed = true;
        else
            WaitUntil([&] { return closed; });
    };
    for (int i = 0; i < 40; ++i)
        Call("RemoveImagesFromSR");
    EXPECT_TRUE(WaitForAnswer(Call("CloseReport")));
    EXPECT_EQ(record.begun[32], "CloseReport");
}

TEST_F(Automation, TheFactoryIntrospectsAsItsReferenceSays) {
    EXPECT_EQ(MembersOf("Tavrel.ClassFactory", Introspect(TavrelFactory.path)),
              MembersOf("Tavrel.ClassFactory", ReferenceFile("Tavrel.ClassFactory")));
}

TEST_F(Automation, AnObjectIntrospectsAsItsReferenceSays) {
    const auto members = MembersOf("Tavrel.CTavrel", Introspect(object));
    EXPECT_EQ(members, MembersOf("Tavrel.CTavrel", ReferenceFile("Tavrel.CTavrel")));
    EXPECT_EQ(members.filter("method").size(), 8);
}

TEST_F(Automation, TheFactoryNamesItsObjects) {
    EXPECT_TRUE(Introspect(TavrelFactory.path).contains("<node name=\"1\"/>"));
}

TEST_F(Automation, EveryMemberOfTheReferenceIsServedWithItsArguments) {
    const std::map<QString, QVariant> samples{
        {"as", QStringList{"/1.dcm"}}, {"s", "text"}, {"a{sv}", QVariantMap{{"Zoom", 2.0}}}};
    QString method;
    QVariantList arguments;
    const auto serve = [&] {
        const auto call = Call(method, arguments);
        EXPECT_TRUE(WaitForAnswer(call) && !call.isError()) << method.toStdString();
        arguments.clear();
    };
    for (const auto& member : MembersOf("Tavrel.CTavrel", ReferenceFile("Tavrel.CTavrel"))) {
        if (member.startsWith("arg"))
            arguments << samples.at(member.section("type=", 1).section(' ', 0, 0));
        else if (!method.isEmpty())
            serve();
        if (!member.startsWith("arg"))
            method = member.section("name=", 1);
    }
    EXPECT_EQ(record.ended.size(), 8U);
}

TEST_F(Automation, ACallWithOtherArgumentsIsRefusedByTheBusRules) {
    const auto call = Call("LoadSRSeries", {1});
    ASSERT_TRUE(WaitForAnswer(call));
    EXPECT_EQ(call.error().type(), QDBusError::UnknownMethod);
    EXPECT_TRUE(record.begun.empty());
}

TEST_F(Automation, AnObjectThatWasNeverMadeIsUnknown) {
    object = "/Tavrel/CTavrel/7";
    const auto call = Call("LoadSRSeries", {"1"});
    ASSERT_TRUE(WaitForAnswer(call));
    EXPECT_EQ(call.error().type(), QDBusError::UnknownObject);
}

TEST_F(Automation, ACallWithoutAnInterfaceIsUnderstood) {
    const auto call = Ask(client, TavrelFactory.service, object, "", "LoadSRSeries", {"1"});
    ASSERT_TRUE(WaitForAnswer(call));
    EXPECT_EQ(record.ended, Names{"LoadSRSeries 1"});
}

TEST_F(Automation, AClientThatWantsNoAnswerGetsNone) {
    client.send(
        QDBusMessage::createMethodCall(TavrelFactory.service, object, TavrelObjectInterface, "RemoveImagesFromSR"));
    EXPECT_TRUE(WaitUntil([&] { return record.ended == Names{"RemoveImagesFromSR"}; }));
}

TEST_F(Automation, TheUniqueNameAndTheWellKnownOneLeadToTheSameObject) {
    const auto call = Ask(client, serverBus.baseService(), object, TavrelObjectInterface, "LoadSRSeries", {"1"});
    ASSERT_TRUE(WaitForAnswer(call));
    EXPECT_EQ(record.ended, Names{"LoadSRSeries 1"});
}

TEST_F(Automation, ClosedIsNeverRaised) {
    SignalCount closed;
    client.connect("", "", TavrelObjectInterface, "Closed", &closed, SLOT(Count()));
    ASSERT_TRUE(WaitForAnswer(Call("CloseReport")));
    Idle();
    EXPECT_EQ(closed.count, 0);
}

TEST_F(Automation, ASecondProcessCannotTakeTheName) {
    const auto start = [&] { DbusAutomation(bus.Connect(), factory, process, {}); };
    EXPECT_THROW(start(), Error);
}

TEST_F(Automation, AClientThatMadeAThousandObjectsAndVanishedHoldsUpNobody) {
    {
        const auto vanishing = bus.Connect();
        for (int made = 0; made < 999; ++made)
            Ask(vanishing, TavrelFactory, "CreateInstance");
        ASSERT_TRUE(WaitForAnswer(Ask(vanishing, TavrelFactory, "CreateInstance")));
        QDBusConnection::disconnectFromBus(vanishing.name());
    }
    EXPECT_EQ(record.ended.size(), 1000U);
    ASSERT_TRUE(WaitForAnswer(Call("LoadSRSeries", {"1.2"})));
    EXPECT_EQ(record.ended.back(), "LoadSRSeries 1.2");
}

TEST_F(Automation, AClientThatVanishesInsideItsCallHoldsUpNobody) {
    const auto vanishing = bus.Connect();
    ShowsWindow("LoadSRSeries 1.2", [&] {
        QDBusConnection::disconnectFromBus(vanishing.name());
        Idle();
    });
    Ask(vanishing, TavrelFactory.service, object, TavrelObjectInterface, "LoadSRSeries", {"1.2"});
    ASSERT_TRUE(WaitUntil([&] { return !record.ended.empty(); }));
    EXPECT_TRUE(WaitForAnswer(Call("LoadSRSeries", {"1.3"})));
}

TEST_F(Automation, WithoutABusThereIsAClearError) {
    const auto nowhere = QDBusConnection::connectToBus("unix:path=/nowhere", "nowhere");
    const auto failure = FailureOf([&] { DbusAutomation(nowhere, factory, process, {}); });
    EXPECT_TRUE(failure.starts_with("There is no session bus")) << failure;
}

TEST_F(Automation, AProgramThatLosesItsBusEndsOnceNoWindowIsOpen) {
    windowOpen = true;
    bus.Kill();
    Idle();
    EXPECT_EQ(process.ended, 0);
    windowOpen = false;
    EXPECT_TRUE(WaitUntil([&] { return process.ended > 0; }));
    Idle();
    EXPECT_EQ(process.ended, 1);
}

TEST_F(Automation, ViewParametersArrive) {
    const auto sent = std::make_shared<ViewParameters>(SampleView());
    ASSERT_TRUE(WaitForAnswer(AddImage(ViewParametersMap(sent))));
    ASSERT_TRUE(record.viewPars);
    EXPECT_EQ(*record.viewPars, *sent);
}

TEST_F(Automation, ExtremeViewParametersSurvive) {
    using Short = std::numeric_limits<std::int16_t>;
    using Long = std::numeric_limits<std::int32_t>;
    using Single = std::numeric_limits<float>;
    const auto sent = std::make_shared<ViewParameters>(
        ViewParameters{.zoom = Single::max(),
                       .flipHorizontal = true,
                       .flipVertical = true,
                       .displayedArea = {Short::min(), Short::max(), Short::min(), Short::max()},
                       .inverted = true,
                       .smoothed = true,
                       .frame = Long::max(),
                       .rotation = Long::min(),
                       .windowCenter = Single::lowest(),
                       .windowWidth = Single::min(),
                       .panX = Single::denorm_min(),
                       .panY = -Single::infinity(),
                       .gamma = -0.0F,
                       .sharpness = Single::infinity()});
    ASSERT_TRUE(WaitForAnswer(AddImage(ViewParametersMap(sent))));
    EXPECT_EQ(*record.viewPars, *sent);
    EXPECT_TRUE(std::signbit(record.viewPars->gamma));
}

TEST_F(Automation, ANumberBeyondSinglePrecisionBecomesTheLargest) {
    ASSERT_TRUE(WaitForAnswer(AddImage({{"Zoom", 1e300}, {"PanX", -1e300}})));
    EXPECT_EQ(record.viewPars->zoom, std::numeric_limits<float>::max());
    EXPECT_EQ(record.viewPars->panX, std::numeric_limits<float>::lowest());
}

TEST_F(Automation, ANumberThatIsNoneStaysNone) {
    ASSERT_TRUE(WaitForAnswer(AddImage({{"Gamma", std::numeric_limits<double>::quiet_NaN()}})));
    EXPECT_TRUE(std::isnan(record.viewPars->gamma));
}

TEST_F(Automation, UnknownViewParametersAreIgnoredAndMissingOnesAreNeutral) {
    ASSERT_TRUE(WaitForAnswer(AddImage({{"Sparkle", QStringList{"a"}}, {"zoom", 3.0}, {"PanY", 2.0}})));
    ViewParameters expected;
    expected.panY = 2;
    EXPECT_EQ(*record.viewPars, expected);
}

TEST_F(Automation, ViewParametersOfAWrongTypeAreIgnored) {
    ASSERT_TRUE(WaitForAnswer(
        AddImage({{"Zoom", "wide"}, {"Inverted", 1}, {"DisplayedArea", 7}, {"Frame", true}, {"Rotation", 5e9}})));
    EXPECT_EQ(*record.viewPars, ViewParameters());
}

TEST_F(Automation, AnAreaOfAnotherShapeIsIgnored) {
    ASSERT_TRUE(WaitForAnswer(AddImage({{"DisplayedArea", QVariantList{1, 2, 3, 4}}})));
    EXPECT_EQ(*record.viewPars, ViewParameters());
}

TEST_F(Automation, AWholeNumberIsTakenWhereARealOneIsMeant) {
    ASSERT_TRUE(WaitForAnswer(AddImage({{"Zoom", 2}, {"Frame", 3.0}, {"Rotation", QVariant::fromValue<qint64>(90)}})));
    EXPECT_EQ(record.viewPars->zoom, 2);
    EXPECT_EQ(record.viewPars->frame, 3);
    EXPECT_EQ(record.viewPars->rotation, 90);
}

TEST_F(Automation, AnEmptyMapIsNoObject) {
    record.viewPars = std::make_shared<ViewParameters>();
    ASSERT_TRUE(WaitForAnswer(AddImage({})));
    EXPECT_FALSE(record.viewPars);
}

} // namespace
} // namespace tavrel::test
