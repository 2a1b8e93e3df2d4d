#include "suite/porvane/ServiceLog.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace tavrel {
namespace {

using testing::EndsWith;
using testing::HasSubstr;
using testing::SizeIs;

std::string Logged(const std::string& message) {
    testing::internal::CaptureStderr();
    LogLine(message);
    return testing::internal::GetCapturedStderr();
}

TEST(ServiceLog, WhatMovesTheCursorOrTurnsTheWritingIsEscaped) {
    EXPECT_THAT(Logged("a\nb\r\x1B[2J\x7F"), EndsWith("porvane: a\\x0Ab\\x0D\\x1B[2J\\x7F\n"));
    EXPECT_THAT(Logged("a\u0085b\u2028c\u202Ed"), EndsWith("a\\xC2\\x85b\\xE2\\x80\\xA8c\\xE2\\x80\\xAEd\n"));
}

TEST(ServiceLog, LettersOfAnyLanguageStand) {
    EXPECT_THAT(Logged("Müller 山田 „ß“"), EndsWith("Müller 山田 „ß“\n"));
}

TEST(ServiceLog, WhatIsNoUtf8IsEscaped) {
    EXPECT_THAT(Logged("M\xFCller \xE2\x80"), EndsWith("M\\xFCller \\xE2\\x80\n"));
}

TEST(ServiceLog, ALongMessageIsCut) {
    EXPECT_THAT(Logged(std::string(100'000, 'x')), SizeIs(testing::Lt(1100U)));
}

TEST(ServiceLog, OfAFloodMostLinesAreCountedOnly) {
    testing::internal::CaptureStderr();
    for (int line = 0; line < 100'000; ++line)
        LogLine("a peer makes it speak");
    EXPECT_THAT(testing::internal::GetCapturedStderr(), SizeIs(testing::Lt(1'000'000U)));
}

TEST(ServiceLog, AQuotedTextCannotEndItsQuotation) {
    EXPECT_EQ(Quote("X\" stored \\"), "\"X\\\" stored \\\\\"");
}

} // namespace
} // namespace tavrel
