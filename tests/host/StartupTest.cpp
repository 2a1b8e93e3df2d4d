#include "host/Startup.h"
#include "platform/error.h"
#include "tests/support/OpenQueries.h"
#include "tests/support/RecordingDatabase.h"
#include "tests/support/Workstation.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace tavrel::test {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::StartsWith;

class Startup : public testing::Test {
protected:
    std::string Log() const { return station.files->ReadText(station.Path("Tavrel.log")); }
    Workstation station{Workstation::NotStarted};
    Global& global = station.global;
};

TEST_F(Startup, OfAPersonRunsOnce) {
    Main(global);

    EXPECT_EQ(Log(), "15/11/2026 08:05:09 - Entering main\r\n");
    EXPECT_EQ(global.baseUid, "1.2.999");
}

TEST_F(Startup, OfAnAutomationRequestIsLeftToTheCreation) {
    station.process.startedByAutomation = true;

    Main(global);

    EXPECT_FALSE(station.files->Exists(station.Path("Tavrel.log")));
    EXPECT_EQ(global.catalogue, nullptr);
}

TEST_F(Startup, OpensTheCatalogueByItsFixedName) {
    Init(global);

    EXPECT_TRUE(global.catalogue->IsOpen());
    EXPECT_THAT(station.connectionTexts, ElementsAre("DSN=DicomFDB"));
}

TEST_F(Startup, ReadsTheFirstSite) {
    station.Insert("SiteData", {{"BaseUID", "9.9"}, {"Organization", "Another"}});

    Init(global);

    EXPECT_EQ(global.baseUid, "1.2.999");
    EXPECT_EQ(global.organization, "Orbenta General Hospital");
}

TEST_F(Startup, TakesTheClassicFormWhereTheSiteNamesNone) {
    Init(global);

    EXPECT_EQ(global.reportForm, ReportForm::Classic);
}

TEST_F(Startup, TakesTheClassicFormFromACatalogueOfBefore) {
    station.Execute("ALTER TABLE SiteData DROP COLUMN ReportForm");

    Init(global);

    EXPECT_EQ(global.reportForm, ReportForm::Classic);
}

TEST_F(Startup, TakesTheFormThatTheSiteNames) {
    station.Execute("UPDATE SiteData SET ReportForm='interchange'");

    Init(global);

    EXPECT_EQ(global.reportForm, ReportForm::Interchange);
}

TEST_F(Startup, WritesInNoFormThatItDoesNotKnow) {
    station.Execute("UPDATE SiteData SET ReportForm='modern'");

    Init(global);

    EXPECT_THAT(station.windows.Texts(), ElementsAre(HasSubstr("does not know: \"modern\"")));
}

TEST_F(Startup, AsksForTheSiteInItsExactWords) {
    RecordingDatabase catalogue(*station.database);
    Global recorded(station.PortsWith(catalogue));

    Init(recorded);

    EXPECT_THAT(catalogue.statements, ElementsAre(RanStatement{"SELECT * FROM SiteData"}));
}

TEST_F(Startup, ClosesItsQuery) {
    std::vector<std::string> open;
    global.catalogue = std::make_unique<OpenQueries>(station.database->NewConnection(), open);

    Init(global);

    EXPECT_THAT(open, testing::IsEmpty());
}

TEST_F(Startup, TakesAUserInformationObjectButDoesNotAskIt) {
    Init(global);

    EXPECT_EQ(global.userInformation->UserName(), "mrossi");
    EXPECT_EQ(global.currentUserName, "");
}

TEST_F(Startup, AgainKeepsTheConnectionAndReadsTheSiteAgain) {
    Init(global);
    const Connection* const first = global.catalogue.get();
    station.SetSite("1.2.888", "Renamed");

    Init(global);

    EXPECT_EQ(global.catalogue.get(), first);
    EXPECT_EQ(station.connectionTexts.size(), 1U);
    EXPECT_EQ(global.baseUid, "1.2.888");
    EXPECT_EQ(global.organization, "Renamed");
    EXPECT_EQ(station.users.made, 2);
    EXPECT_EQ(Log(), "15/11/2026 08:05:09 - Entering main\r\n15/11/2026 08:05:09 - Entering main\r\n");
}

TEST_F(Startup, AgainReopensAConnectionThatWasClosed) {
    Init(global);
    global.catalogue->Close();

    Init(global);

    EXPECT_TRUE(global.catalogue->IsOpen());
    EXPECT_EQ(station.connectionTexts.size(), 2U);
}

TEST_F(Startup, ThatSucceedsShowsNothingAndEndsNothing) {
    Init(global);

    EXPECT_TRUE(station.windows.messages.empty());
    EXPECT_EQ(station.process.ended, 0);
}

TEST_F(Startup, WithoutTheDataSourceShowsWhyAndEndsTheProcess) {
    struct Unreachable : ForwardingConnection {
        using ForwardingConnection::ForwardingConnection;
        void Open(std::string_view, std::string_view, std::string_view) override {
            throw Error(0, "ODBC", "Data source name not found");
        }
    };
    global.catalogue = std::make_unique<Unreachable>(station.database->NewConnection());

    Init(global);

    ASSERT_THAT(station.windows.Texts(), ElementsAre("Quendor.Init: Data source name not found"));
    EXPECT_EQ(station.windows.messages[0].title, "");
    EXPECT_EQ(station.windows.messages[0].buttons, Buttons::Ok);
    EXPECT_EQ(station.process.failed, 1);
    EXPECT_EQ(Log(), "15/11/2026 08:05:09 - Entering main\r\n");
}

struct BrokenSite {
    std::string_view name;
    std::string_view statement;
    friend void PrintTo(const BrokenSite& brokenSite, std::ostream* out) { *out << brokenSite.name; }
};

class StartupOn : public Startup, public testing::WithParamInterface<BrokenSite> {};

TEST_P(StartupOn, ABrokenSiteShowsWhyAndEndsTheProcess) {
    station.Execute(GetParam().statement);

    Init(global);

    EXPECT_THAT(station.windows.Texts(), ElementsAre(StartsWith("Quendor.Init: ")));
    EXPECT_EQ(station.process.failed, 1);
    EXPECT_EQ(global.userInformation, nullptr);
}

INSTANTIATE_TEST_SUITE_P(, StartupOn,
                         testing::Values(BrokenSite{"NoRow", "DELETE FROM SiteData"},
                                         BrokenSite{"NoTable", "DROP TABLE SiteData"},
                                         BrokenSite{"NoBaseUid", "UPDATE SiteData SET BaseUID = NULL"},
                                         BrokenSite{"NoOrganization", "UPDATE SiteData SET Organization = NULL"}),
                         testing::PrintToStringParamName());

TEST_F(Startup, WithoutALogFileWorksAllTheSame) {
    station.process.applicationFolder = station.Path("nowhere");

    Init(global);

    EXPECT_TRUE(station.windows.messages.empty());
    EXPECT_EQ(global.baseUid, "1.2.999");
}

} // namespace
} // namespace tavrel::test
