#include "platform/error.h"
#include "suite/porvane/ObjectCatalogue.h"
#include "tests/suite/SuiteRoom.h"
#include "tests/support/Shell.h"

#include <gtest/gtest.h>

namespace tavrel {
namespace {

void Node(const std::string& action, const std::string& name) {
    const Outcome outcome = RunShell("$CLUSTER_NODE " + action + " " + name);
    ASSERT_EQ(outcome.status, 0) << action << " " << name << ": " << outcome.err;
}

/// A service has begun to store an object through one node, and is judged through another.
class FormerTransactionOfANode : public testing::Test {
protected:
    static constexpr std::uint32_t Area = 1;

    void SetUp() override {
        former.OfArea(Area);
        former.Open();
        header.patientId = "1";
        header.studyUid = "2.999.1";
        header.seriesUid = "2.999.2";
        header.sopInstanceUid = "2.999.3";
        former.Begin();
        former.Add(header, place, {}, 0);
    }
    bool Judge(std::uint32_t area) {
        ObjectCatalogue later(database, "DicomFDB_galera-3");
        later.OfArea(area);
        later.Open();
        later.EndFormerTransaction(area);
        return later.Holds(place);
    }

    SuiteRoom room{"DicomFDB_galera-3"};
    OdbcDatabase database;
    ObjectCatalogue former{database, "DicomFDB_galera-2"};
    ObjectHeader header;
    ObjectPlace place{"\\studies\\2.999.1", "2.999.2", "img_000001.dcm"};
};

TEST_F(FormerTransactionOfANode, CanNoLongerBeCommittedOnceItWasJudgedOnAnother) {
    EXPECT_FALSE(Judge(Area));
    EXPECT_THROW(former.Commit(), Error);
    EXPECT_EQ(room.Count("Image"), "0");
}

TEST_F(FormerTransactionOfANode, ThatWasCommittedIsFoundOnAnother) {
    former.Commit();
    EXPECT_TRUE(Judge(Area));
}

TEST_F(FormerTransactionOfANode, OfAnotherAreaIsLeftAlone) {
    EXPECT_FALSE(Judge(Area + 1));
    EXPECT_NO_THROW(former.Commit());
    EXPECT_EQ(room.Count("Image"), "1");
}

TEST_F(FormerTransactionOfANode, ThatHungCanNoLongerBeCommittedOnceItWasJudgedOnAnother) {
    Node("freeze", "galera-2");
    EXPECT_FALSE(Judge(Area));
    Node("go-on", "galera-2");
    EXPECT_THROW(former.Commit(), Error);
    Node("await", "galera-2");
    EXPECT_EQ(room.Count("Image"), "0");
}

} // namespace
} // namespace tavrel
