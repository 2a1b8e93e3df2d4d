#include "platform/dcmtk/DicomValues.h"

#include "platform/attributes.h"
#include "platform/error.h"

#include <gtest/gtest.h>

namespace tavrel::test {
namespace {

TEST(DicomValues, ALeapSecondReadsAsTheSecondBefore) {
    EXPECT_EQ(ParseDicomTime("235960"), (DateTime{0, 0, 0, 23, 59, 59}));
}

TEST(DicomValues, ATimeThatTheDayLacksReadsAsNone) {
    for (const char* text : {"24", "0860", "080561"})
        EXPECT_EQ(ParseDicomTime(text), std::nullopt) << text;
}

TEST(DicomValues, AMomentThatNoClockShowsCannotBeWritten) {
    for (const DateTime moment : {DateTime{2026, 11, 15, 24}, DateTime{2026, 11, 15, -1}, DateTime{0, 11, 15, 8}})
        EXPECT_THROW(DicomText(moment, attribute::VerificationDateTime), Error);
}

TEST(DicomValues, BlanksAreAnEmptyUid) {
    EXPECT_EQ(DicomText(" ", attribute::SopInstanceUid), " ");
}

TEST(DicomValues, AUidOfASiteWithoutARootIsTaken) {
    EXPECT_EQ(DicomText(".2.2026.11.15.08.05.09", attribute::SeriesInstanceUid), ".2.2026.11.15.08.05.09");
}

} // namespace
} // namespace tavrel::test
