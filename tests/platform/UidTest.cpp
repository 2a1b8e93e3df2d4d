#include "platform/uid.h"

#include <gtest/gtest.h>

#include <string>

namespace tavrel {
namespace {

const std::string Longest = "2.999." + std::string(58, '1');

TEST(Uid, ZeroPaddedComponentsAreAcceptedThoughNotStandard) {
    EXPECT_TRUE(IsUid("2.999.1.1.2026.11.05.08.05.09"));
    EXPECT_FALSE(IsStandardUid("2.999.1.1.2026.11.05.08.05.09"));
}

TEST(Uid, AZeroIsAComponent) {
    EXPECT_TRUE(IsStandardUid("0.0.10"));
}

TEST(Uid, ItHasAtMost64Characters) {
    EXPECT_TRUE(IsStandardUid(Longest));
    EXPECT_FALSE(IsUid(Longest + "1"));
}

TEST(Uid, WhatWouldLeaveAFolderIsNone) {
    for (const char* text : {"", ".", "..", "../2.999", ".1", "1/2", "1.2 ", "a"})
        EXPECT_FALSE(IsUid(text)) << text;
}

TEST(Uid, TheFirstComponentIsOneOfThreeAndNotAlone) {
    for (const char* text : {"10404", "3.4", "12.3", "2"})
        EXPECT_FALSE(IsStandardUid(text)) << text;
}

TEST(Uid, AnEmptyComponentIsNotStandard) {
    for (const char* text : {"1..2", "1.2."})
        EXPECT_FALSE(IsStandardUid(text)) << text;
}

} // namespace
} // namespace tavrel
