#include "platform/dcmtk/Implementation.h"
#include "suite/porvane/DimseCommand.h"
#include "suite/porvane/Places.h"
#include "suite/porvane/UpperLayer.h"
#include "tests/suite/SuiteRoom.h"
#include "tests/support/DocumentTable.h"

#include <dcmtk/config/osconfig.h>

#include <dcmtk/dcmdata/dcuid.h>
#include <dcmtk/dcmdata/dcxfer.h>
#include <dcmtk/dcmnet/scu.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <map>
#include <set>

namespace tavrel::test {
namespace {

constexpr std::size_t MostContexts = 128;

std::set<std::string> UidsUnder(std::string_view heading) {
    std::set<std::string> uids;
    for (const auto& row : TableUnder(heading, CONFORMANCE_DOCUMENT))
        uids.insert(row[1]);
    return uids;
}

/// What the page says of the service, and what the service says itself.
class ServiceConformance : public testing::Test {
protected:
    struct Offer {
        std::string abstractSyntax;
        std::string transferSyntax;
    };

    /// Those of the offers that the service takes.
    std::vector<Offer> Taken(const std::vector<Offer>& offers) const {
        std::vector<Offer> taken;
        for (std::size_t from = 0; from < offers.size(); from += MostContexts) {
            DcmSCU caller;
            caller.setPeerHostName("127.0.0.1");
            caller.setPeerPort(static_cast<Uint16>(room.Port()));
            caller.setPeerAETitle("PORVANE");
            const std::size_t end = std::min(from + MostContexts, offers.size());
            for (std::size_t at = from; at < end; ++at) {
                OFList<OFString> syntaxes;
                syntaxes.emplace_back(offers[at].transferSyntax);
                caller.addPresentationContext(offers[at].abstractSyntax, syntaxes);
            }
            EXPECT_TRUE(caller.initNetwork().good());
            static_cast<void>(caller.negotiateAssociation()); // fails where nothing is taken
            for (std::size_t at = from; at < end; ++at)
                if (caller.findPresentationContextID(offers[at].abstractSyntax, offers[at].transferSyntax) != 0)
                    taken.push_back(offers[at]);
            if (caller.isConnected())
                caller.releaseAssociation();
        }
        return taken;
    }

    SuiteRoom room;
    std::unique_ptr<Child> service = room.StartService();
};

TEST_F(ServiceConformance, TakesTheSopClassesOfThePageAndNoOther) {
    const auto listed = UidsUnder("##### 4.2.2.5 SOP classes");
    auto known = listed;
    for (int each = 0; each < numberOfDcmAllStorageSOPClassUIDs; ++each)
        known.insert(dcmAllStorageSOPClassUIDs[each]);
    known.insert({UID_FINDStudyRootQueryRetrieveInformationModel, UID_MOVEStudyRootQueryRetrieveInformationModel,
                  UID_FINDModalityWorklistInformationModel, UID_StorageCommitmentPushModelSOPClass,
                  UID_ModalityPerformedProcedureStepSOPClass, UID_MediaStorageDirectoryStorage});
    std::vector<Offer> offers;
    offers.reserve(known.size());
    for (const auto& uid : known)
        offers.push_back({uid, UID_LittleEndianExplicitTransferSyntax});
    std::set<std::string> taken;
    for (const Offer& offer : Taken(offers))
        taken.insert(offer.abstractSyntax);
    EXPECT_EQ(taken, listed);
}

TEST_F(ServiceConformance, TakesTheTransferSyntaxesOfThePageAndNoOther) {
    std::vector<Offer> offers;
    for (int each = EXS_Unknown + 1; each < 100; ++each) // more than the toolkit knows
        if (const DcmXfer syntax(static_cast<E_TransferSyntax>(each)); *syntax.getXferID() != 0)
            offers.push_back({UID_CTImageStorage, syntax.getXferID()});
    std::set<std::string> taken;
    for (const Offer& offer : Taken(offers))
        taken.insert(offer.transferSyntax);
    EXPECT_EQ(taken, UidsUnder("##### 4.2.2.6 Transfer syntaxes"));
}

/// "131,072 bytes" as 131072.
std::uint64_t NumberOf(std::string text) {
    std::erase(text, ',');
    return std::stoull(text);
}

TEST(ServiceLimits, AreThoseOfThePage) {
    const std::map<std::string, std::uint64_t> limits = {
        {"PDU that senders are asked not to exceed", upper_layer::LongestPdu},
        {"Associations at once", Places::ForAll},
        {"Further associations of the editor at once", Places::ForTheEditor},
        {"Association request", upper_layer::MostRequestBytes},
        {"Command", DimseCommand::MostBytes},
    };
    std::size_t found = 0;
    for (const auto& row : TableUnder("##### 4.2.2.2 Limits", CONFORMANCE_DOCUMENT)) {
        const auto limit = limits.find(row[0]);
        EXPECT_EQ(limit == limits.end() ? 0 : NumberOf(row[1]), limit == limits.end() ? 0 : limit->second) << row[0];
        found += limits.contains(row[0]) ? 1 : 0;
    }
    EXPECT_EQ(found, limits.size());
}

TEST(Implementation, IsNamedAsThePageSays) {
    const auto rows = TableUnder("### 3.4 Implementation identifying information", CONFORMANCE_DOCUMENT);
    EXPECT_EQ(rows.at(0).at(1), ImplementationClassUid);
    EXPECT_EQ(rows.at(1).at(1), ImplementationVersionName());
}

} // namespace
} // namespace tavrel::test
