#include "suite/lumaret/TavrelClient.h"
#include "suite/lumaret/ViewerService.h"
#include "tests/platform/dbus/PrivateBus.h"

#include <QElapsedTimer>

#include <gtest/gtest.h>

namespace tavrel::test {
namespace {

/// The viewer adds an image; the report, before it answers, has the viewer clear its list and show the
/// image; the viewer, before it answers that, calls the report again.
TEST(MutualCalls, OfViewerAndReportNeverStall) {
    constexpr int rounds = 2000;
    PrivateBus bus;
    bus.AddService(TavrelFactory.service, LUMARET_REPORT_PEER);
    QDBusConnection viewersBus = bus.Connect();
    ViewerService service;
    ASSERT_TRUE(service.Register(viewersBus));
    TavrelClient client(viewersBus);
    int shown = 0, cleared = 0, added = 0, removed = 0;
    QObject::connect(&service, &ViewerService::ListCleared, [&] { ++cleared; });
    QObject::connect(&service, &ViewerService::ImageHanded, [&] {
        ++shown;
        client.RemoveImages();
    });
    QObject::connect(&client, &TavrelClient::Removed, [&] { ++removed; });
    const ReportImage image{"a.dcm", std::make_shared<ViewParameters>(), {}};
    QObject::connect(&client, &TavrelClient::Added, [&] {
        if (++added < rounds)
            client.AddImage(image);
    });
    client.LoadSRSeries("1.2.3.2.1", "1.2.3");
    ASSERT_TRUE(WaitUntil([&] { return client.Open(); }));

    QElapsedTimer time;
    time.start();
    client.AddImage(image);
    EXPECT_TRUE(WaitUntil([&] { return added == rounds && removed == rounds; }, std::chrono::seconds(60)));
    EXPECT_EQ(shown, rounds);
    EXPECT_EQ(cleared, rounds);
    RecordProperty("milliseconds", static_cast<int>(time.elapsed()));
}

} // namespace
} // namespace tavrel::test
