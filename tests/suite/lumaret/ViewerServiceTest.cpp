#include "suite/lumaret/ViewerService.h"

#include "editor/ImageHandOver.h"
#include "platform/dbus/DbusViewerLink.h"
#include "platform/dbus/ViewParametersMap.h"
#include "sr/content/ImagePresentationContext.h"
#include "suite/lumaret/ImageView.h"
#include "suite/lumaret/TavrelClient.h"
#include "tests/platform/dbus/PrivateBus.h"
#include "tests/suite/lumaret/FakeTavrel.h"
#include "tests/suite/lumaret/SampleImage.h"
#include "tests/support/Workstation.h"

#include <QDBusArgument>
#include <QDBusConnectionInterface>
#include <QDBusReply>
#include <QFile>

#include <gtest/gtest.h>

#include <limits>
#include <thread>

namespace tavrel::test {
namespace {

class ViewerServiceTest : public testing::Test {
protected:
    ViewerServiceTest() {
        QObject::connect(&service, &ViewerService::ImageHanded,
                         [this](const ReportImage& image) { handed.push_back(image); });
        QObject::connect(&service, &ViewerService::ListCleared, [this] { handed.clear(); });
    }

    PrivateBus bus;
    QDBusConnection viewersBus = bus.Connect();
    ViewerService service;
    bool registered = service.Register(viewersBus);
    DbusViewerLink link{bus.Connect()};
    std::vector<ReportImage> handed;
};

TEST_F(ViewerServiceTest, AReportHandsItsImagesOver) {
    const auto viewer = link.Create();
    const auto view = std::make_shared<ViewParameters>();
    view->displayedArea = {1, 2, 3, 4};
    viewer->SRFilename("/studies/ü.dcm");
    viewer->LUTName("Bone");
    viewer->ViewPars(view);
    for (std::size_t time = 1; time <= 2; ++time) {
        viewer->ViewRefertImages();
        ASSERT_EQ(handed.size(), time);
        EXPECT_EQ(handed.back().filename, "/studies/ü.dcm");
        EXPECT_EQ(handed.back().lutName, "Bone");
        EXPECT_EQ(*handed.back().view, *view);
    }
    viewer->ClearRefertList();
    EXPECT_TRUE(handed.empty());
}

TEST_F(ViewerServiceTest, AnEmptyHandOverShowsNothing) {
    const auto viewer = link.Create();
    viewer->SRFilename("");
    viewer->LUTName("");
    viewer->ViewPars(nullptr);
    viewer->ViewRefertImages();
    EXPECT_TRUE(handed.empty());
}

TEST_F(ViewerServiceTest, ANameWithoutEndIsNoImageAndThatIsSaid) {
    QString said;
    QObject::connect(&service, &ViewerService::Refused, [&](const QString& words) { said = words; });
    const auto viewer = link.Create();
    viewer->SRFilename(std::string(10UL * 1024 * 1024, 'x'));
    viewer->ViewRefertImages();
    EXPECT_TRUE(handed.empty());
    EXPECT_EQ(said, "Not shown: the report handed over a file name of more than 4096 characters.");
}

TEST_F(ViewerServiceTest, AnImageWithoutViewParametersHasNone) {
    const auto viewer = link.Create();
    viewer->SRFilename("a.dcm");
    viewer->ViewRefertImages();
    ASSERT_EQ(handed.size(), 1U);
    EXPECT_EQ(handed[0].view, nullptr);
}

TEST_F(ViewerServiceTest, ThePropertiesCanBeRead) {
    link.Create()->LUTName("Bone");
    const auto call = Ask(bus.Connect(), LumaretViewer.service, LumaretViewer.path, PropertiesInterface, "Get",
                          {LumaretViewer.interface, "LUTName"});
    ASSERT_TRUE(WaitForAnswer(call));
    EXPECT_EQ(call.reply().arguments().value(0).value<QDBusVariant>().variant(), "Bone");
}

TEST_F(ViewerServiceTest, IntrospectsWithTheVeryTextOfItsReference) {
    const auto call = Ask(bus.Connect(), LumaretViewer.service, LumaretViewer.path,
                          "org.freedesktop.DBus.Introspectable", "Introspect");
    ASSERT_TRUE(WaitForAnswer(call));
    QFile file(DBUS_REFERENCE_FOLDER "/Lumaret.Viewer.xml");
    ASSERT_TRUE(file.open(QFile::ReadOnly));
    const QString reference = file.readAll();
    const auto begin = reference.indexOf("  <interface"), end = reference.indexOf("</node>");
    EXPECT_TRUE(QDBusReply<QString>(call).value().contains(reference.mid(begin, end - begin)));
}

TEST_F(ViewerServiceTest, HasThePropertiesOfItsReference) {
    const auto call = Ask(bus.Connect(), LumaretViewer.service, LumaretViewer.path, PropertiesInterface, "GetAll",
                          {LumaretViewer.interface});
    ASSERT_TRUE(WaitForAnswer(call));
    const auto properties = qdbus_cast<QVariantMap>(call.reply().arguments().value(0));
    EXPECT_EQ(properties.keys(), (QStringList{"LUTName", "SRFilename", "ViewPars"}));
    EXPECT_EQ(properties["ViewPars"].value<QDBusArgument>().currentSignature(), "a{sv}");
}

TEST_F(ViewerServiceTest, ASecondViewerIsRefused) {
    QDBusConnection other = bus.Connect();
    ViewerService second;
    EXPECT_TRUE(registered);
    EXPECT_FALSE(second.Register(other));
}

TEST_F(ViewerServiceTest, ASecondStartHasTheFirstShowItself) {
    int shown = 0;
    QObject::connect(&service, &ViewerService::Activated, [&] { ++shown; });
    bool answered = false;
    std::jthread second([&] { answered = ApplicationInterface::AskToShow(bus.Connect(), "token"); });
    ASSERT_TRUE(WaitUntil([&] { return shown == 1; }));
    second.join();
    EXPECT_TRUE(answered);
    EXPECT_EQ(qgetenv("XDG_ACTIVATION_TOKEN"), "token");
    qunsetenv("XDG_ACTIVATION_TOKEN");
}

TEST_F(ViewerServiceTest, TheDesktopsInterfaceIsWholeAndStartsNobody) {
    int shown = 0;
    QObject::connect(&service, &ViewerService::Activated, [&] { ++shown; });
    const QVariantMap none;
    for (const auto& [member, arguments] :
         {std::pair("Activate", QVariantList{none}), std::pair("Open", QVariantList{QStringList{"file:///x"}, none}),
          std::pair("ActivateAction", QVariantList{"x", QVariantList(), none})}) {
        const auto call = Ask(bus.Connect(), LumaretApplication.service, LumaretApplication.path,
                              LumaretApplication.interface, member, arguments);
        ASSERT_TRUE(WaitForAnswer(call));
        EXPECT_FALSE(call.isError()) << member << ": " << call.error().message().toStdString();
    }
    EXPECT_EQ(shown, 3);
    viewersBus.unregisterService(LumaretViewer.service);
    EXPECT_FALSE(ApplicationInterface::AskToShow(bus.Connect(), {}));
}

/// Hands what the editor reads from its file to the viewer.
class Owner : public ReportOwner {
public:
    explicit Owner(Viewer& viewer) : viewer_(viewer) {}
    void CloseReport() override {}
    void LoadSRSeries(const std::string&) override {}
    void RemoveImagesFromRefertList() override { viewer_.ClearRefertList(); }
    void ShowImage(const std::string& filename, const ViewParametersHandle& view, const std::string& lut) override {
        viewer_.SRFilename(filename);
        viewer_.LUTName(lut);
        viewer_.ViewPars(view);
        viewer_.ViewRefertImages();
    }

private:
    Viewer& viewer_;
};

/// View parameters, every one with an extreme value. What is drawn of them is told elsewhere.
std::vector<ViewParameters> ExtremeViews() {
    using Float = std::numeric_limits<float>;
    using Short = std::numeric_limits<std::int16_t>;
    using Long = std::numeric_limits<std::int32_t>;
    std::vector<ViewParameters> views;
    for (const float value : {Float::max(), Float::lowest(), Float::min(), Float::denorm_min(), 0.1F, 16777217.0F})
        for (const bool flag : {false, true})
            views.push_back({.zoom = value,
                             .flipHorizontal = flag,
                             .flipVertical = !flag,
                             .displayedArea = {Short::min(), Short::max(), Short::max(), Short::min()},
                             .inverted = flag,
                             .smoothed = !flag,
                             .frame = 0,
                             .rotation = flag ? Long::min() : Long::max(),
                             .windowCenter = value,
                             .windowWidth = -value,
                             .panX = value,
                             .panY = -value,
                             .gamma = value,
                             .sharpness = -value});
    return views;
}

TEST_F(ViewerServiceTest, ViewParametersComeBackEqualThroughFileBusAndViewer) {
    Workstation station;
    const QString image = QString::fromStdString(station.NativePath("image.dcm").string());
    WriteImage(image);
    const auto viewer = link.Create();
    Owner owner(*viewer);
    FakeTavrel tavrel(bus.Connect());
    TavrelClient client(bus.Connect());
    client.LoadSRSeries("1.2.3.2.1", "1.2.3");
    ASSERT_TRUE(WaitUntil([&] { return client.Open(); }));
    ImageView screen;
    for (const ViewParameters& parameters : ExtremeViews()) {
        station.global.report->filePath = station.Path("img_000001.dcm");
        station.global.report->pendingImages = std::make_shared<ImageList>();
        ImageHandOver handOver(station.global);
        handOver.AddImage(image.toStdString(), std::make_shared<ViewParameters>(parameters), "Bone");
        handOver.Write();
        handOver.Load(&owner);
        ASSERT_EQ(station.windows.Texts(), std::vector<std::string>{});
        screen.Open(handed.back().filename, *handed.back().view);
        screen.grab();
        const auto calls = tavrel.calls.size();
        client.AddImage({image, std::make_shared<ViewParameters>(screen.View()), handed.back().lutName});
        ASSERT_TRUE(WaitUntil([&] { return tavrel.calls.size() > calls; }));
        EXPECT_EQ(*ViewParametersOf(qdbus_cast<QVariantMap>(tavrel.last.arguments().value(1))), parameters);
        EXPECT_EQ(tavrel.last.arguments().value(2), "Bone");
    }
}

} // namespace
} // namespace tavrel::test
