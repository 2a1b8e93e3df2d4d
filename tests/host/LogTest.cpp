#include "host/Log.h"
#include "tests/support/Workstation.h"

#include <gtest/gtest.h>

namespace tavrel::test {
namespace {

class Log : public testing::Test {
protected:
    std::string Text() const { return station.files->ReadText(station.Path("Tavrel.log")); }
    Workstation station{Workstation::NotStarted};
};

TEST_F(Log, LiesBesideTheExecutableAndEndsItsLinesWithCarriageReturnAndLineFeed) {
    station.clock.now = {2026, 11, 15, 12, 54, 0};

    WriteLog(station.global, "Entering main");

    EXPECT_EQ(Text(), "15/11/2026 12:54:00 - Entering main\r\n");
}

TEST_F(Log, GrowsByALineAMessage) {
    WriteLog(station.global, "History initialized");
    WriteLog(station.global, "LoadDocs: Document loaded");

    EXPECT_EQ(Text(), "15/11/2026 08:05:09 - History initialized\r\n"
                      "15/11/2026 08:05:09 - LoadDocs: Document loaded\r\n");
}

TEST_F(Log, WritesMidnightInFull) {
    station.clock.now = {2026, 11, 15};

    WriteLog(station.global, "Entering main");

    EXPECT_EQ(Text(), "15/11/2026 00:00:00 - Entering main\r\n");
}

TEST_F(Log, ThatCannotBeWrittenIsSilence) {
    station.process.applicationFolder = station.Path("nowhere");

    EXPECT_NO_THROW(WriteLog(station.global, "Entering main"));

    EXPECT_TRUE(station.windows.messages.empty());
    EXPECT_FALSE(station.files->Exists(station.Path("nowhere\\Tavrel.log")));
}

TEST_F(Log, IsClosedAgainAfterEachLine) {
    WriteLog(station.global, "first");
    std::filesystem::remove(station.NativePath("Tavrel.log"));

    WriteLog(station.global, "second");

    EXPECT_EQ(Text(), "15/11/2026 08:05:09 - second\r\n");
}

} // namespace
} // namespace tavrel::test
