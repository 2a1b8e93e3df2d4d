#include "sr/content/NewUid.h"
#include "platform/limits.h"
#include "platform/uid.h"

#include <gtest/gtest.h>

#include <set>

namespace tavrel::test {
namespace {

/// As long as a site's root may be.
std::string LongestRoot() {
    return "1." + std::string(longest::BaseUid - 2, '2');
}

TEST(NewUids, BeginWithTheSitesRootAndTheKind) {
    EXPECT_TRUE(NewUid("1.2.3", UidKind::Version).starts_with("1.2.3.1."));
    EXPECT_TRUE(NewUid("1.2.3", UidKind::ReportSeries).starts_with("1.2.3.2."));
    EXPECT_TRUE(NewUid("1.2.3", UidKind::PresentationState).starts_with("1.2.3.3."));
    EXPECT_TRUE(NewUid("1.2.3", UidKind::PresentationSeries).starts_with("1.2.3.4."));
}

TEST(NewUids, AreValidToTheLetter) {
    for (const std::string& root : {std::string("1.2.3"), std::string("2.25.123456789012345678"), LongestRoot()})
        for (int count = 0; count < 1000; ++count) {
            const auto uid = NewUid(root, UidKind::Version);
            ASSERT_TRUE(IsStandardUid(uid)) << uid;
        }
}

TEST(NewUids, HaveSixtyFourCharactersWithTheLongestRoot) {
    EXPECT_EQ(NewUid(LongestRoot(), UidKind::PresentationSeries).size(), 64U);
}

TEST(NewUids, HaveNoMoreDigitsThanANumberOf128Bits) {
    EXPECT_EQ(NewUid("1.2.3", UidKind::Version).size(), std::string("1.2.3.1.").size() + 39);
}

TEST(NewUids, OfOneSecondAllDiffer) {
    std::set<std::string> made;
    for (int count = 0; count < 1000; ++count)
        made.insert(NewUid(LongestRoot(), UidKind::Version));
    EXPECT_EQ(made.size(), 1000U);
}

TEST(NewUids, OfARootThatIsTooLongAreTooLongRatherThanAlike) {
    EXPECT_GT(NewUid(LongestRoot() + "2222", UidKind::Version).size(), longest::Uid);
}

} // namespace
} // namespace tavrel::test
