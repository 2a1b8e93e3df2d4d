#include "suite/catalogue/Department.h"
#include "platform/error.h"
#include "platform/posix/PosixFiles.h"
#include "suite/catalogue/CatalogueVersion.h"
#include "suite/catalogue/OdbcEntry.h"
#include "tests/suite/SuiteRoom.h"

#include <gtest/gtest.h>

#include <algorithm>

namespace tavrel {
namespace {

const std::string PortAndTitle = "SELECT Port, AETitle FROM Port";

/// A department on each of the servers of tests/support/engines.
class OfDepartments : public testing::TestWithParam<const char*> {
protected:
    OfDepartments() { room.Run("DELETE FROM Port"); }
    ~OfDepartments() override { Clear(); }

    /// The server is the next test's, too.
    void Clear() {
        Department department(room.Catalogue());
        if (!department.Exists())
            return;
        for (const std::string& name : department.Names())
            department.Leave(name);
        for (const std::string_view table : OwnTables) {
            room.Run("DROP VIEW " + std::string(table));
            room.Run("DROP TABLE " + TableOfAll(table));
        }
        for (const char* statement : {"DROP VIEW SiteData", "DROP TABLE DepartmentSite", "DROP TABLE Workstation"})
            room.Run(statement);
        CreateSchema(room.Catalogue(), DetectEngine(room.Catalogue()));
    }

    Outcome Make(const std::string& options = {}) { return room.Tool("department init" + options); }
    std::string EntryOf(const std::string& name) const { return (room.Folder() / (name + ".ini")).string(); }
    Outcome Join(const std::string& name, const std::string& options) {
        return room.Tool("department join --name " + name + " --file " + EntryOf(name) + " " + options);
    }
    /// The usual department.
    void MakeWithTwo() {
        Make();
        EXPECT_EQ(Join("ct-1", "--port 10404 --ae-title PORVANE").status, 0);
        EXPECT_EQ(Join("mr-1", "--port 10405 --ae-title STORE").status, 0);
    }
    std::unique_ptr<Connection> As(const std::string& name) {
        auto connection = database.NewConnection();
        connection->Open(ConnectionText(ReadOdbcEntry(EntryOf(name), "DicomFDB")));
        return connection;
    }
    /// As the programs of that version made it.
    void MakeOfVersionFour() {
        for (const char* table : {"CatalogueVersion", "StorageArea", "TextBlock", "Writing"})
            room.Run(std::string("DROP TABLE ") + table);
    }
    static std::string First(Connection& connection, const std::string& query) {
        const auto rows = connection.OpenResultSet(query);
        return rows->AtEnd() ? "no row" : std::string(rows->Field(0).value_or("NULL"));
    }
    std::string List() { return room.Tool("department list").out; }
    void MakeAccount(const std::string& name) {
        const bool mariaDb = DetectEngine(room.Catalogue()) == Engine::MariaDb;
        room.Run(mariaDb ? "CREATE USER '" + name + "'@'%'" : "CREATE ROLE \"" + name + "\"");
    }
    void DropAccount(const std::string& name) {
        const bool mariaDb = DetectEngine(room.Catalogue()) == Engine::MariaDb;
        if (!mariaDb)
            room.Run("DROP OWNED BY \"" + name + "\"");
        room.Run(mariaDb ? "DROP USER '" + name + "'@'%'" : "DROP ROLE \"" + name + "\"");
    }

    SuiteRoom room{std::string("DicomFDB_") + GetParam()};
    OdbcDatabase database;
};

void Print(Connection& workstation, const std::string& reading) {
    for (const std::string& statement :
         {std::string("Delete from Report"), std::string("Insert Into Report (PatientName) Values ('ROSSI^ANNA')"),
          " Update Report Set Reading='" + reading + "'"})
        workstation.OpenResultSet(statement);
}

TEST_P(OfDepartments, EachWorkstationSeesItsOwnPortAndNode) {
    MakeWithTwo();
    EXPECT_EQ(First(*As("ct-1"), PortAndTitle), "10404");
    EXPECT_EQ(First(*As("mr-1"), PortAndTitle), "10405");
    EXPECT_EQ(First(*As("mr-1"), "SELECT AETitle FROM DicomServer"), "MR-1");
}

TEST_P(OfDepartments, AWorkstationChangesItsOwnPortAlone) {
    MakeWithTwo();
    As("ct-1")->OpenResultSet("UPDATE Port SET Port=10500");
    EXPECT_EQ(List(), "ct-1: node CT-1, storage service PORVANE on port 10500 of ct-1\n"
                      "mr-1: node MR-1, storage service STORE on port 10405 of mr-1\n");
}

TEST_P(OfDepartments, TwoThatPrintAtOnceWaitForNobodyAndHaveEachItsPage) {
    MakeWithTwo();
    for (int turn = 0; turn < 2; ++turn) { // without and with a page of before
        const auto one = As("ct-1");
        const auto other = As("mr-1");
        one->BeginTransaction();
        other->BeginTransaction();
        Print(*one, "No effusion");
        Print(*other, "A nodule");
        one->Commit();
        other->Commit();
        EXPECT_EQ(First(*one, "SELECT Reading FROM Report"), "No effusion");
        EXPECT_EQ(First(*other, "SELECT Reading FROM Report"), "A nodule");
    }
}

TEST_P(OfDepartments, AWorkstationMaintainsTheCodes) {
    MakeWithTwo();
    const auto workstation = As("ct-1");
    const auto rows = workstation->OpenResultSet("SELECT * FROM StdTitles WHERE CodeValue = 'T1 '", Cursor::Dynamic);
    rows->AddNew();
    rows->SetField("CodeValue", "T1");
    rows->SetField("CodeMeaning", "Chest X-ray");
    rows->Update();
    rows->SetField("CodeMeaning", "Chest CT");
    rows->Update();
    EXPECT_EQ(First(*As("mr-1"), "SELECT CodeMeaning FROM StdTitles WHERE CodeValue = 'T1 '"), "Chest CT");
}

TEST_P(OfDepartments, AWorkstationIsRefusedWhatItDoesNotNeed) {
    MakeWithTwo();
    const auto workstation = As("ct-1");
    workstation->OpenResultSet("INSERT INTO History (Node) VALUES ('CT-1')");
    for (const char* statement :
         {"UPDATE History SET Node='MR-1'", "DELETE FROM History", "SELECT * FROM WorkstationReport",
          "DELETE FROM Port", "INSERT INTO Users (UserName, Signature) VALUES ('x', 'Y')",
          "UPDATE SiteData SET Organization='X'", "INSERT INTO Writing (UserName) VALUES ('x')",
          "UPDATE Writing SET Dictation='x'", "INSERT INTO TextBlock (Kind) VALUES ('x')", "DELETE FROM Workstation",
          "CREATE TABLE Note (Number INTEGER)"})
        EXPECT_THROW(workstation->OpenResultSet(statement), Error) << statement;
}

TEST_P(OfDepartments, SetupLeavesToTheOwnerWhatIsTheOwners) {
    MakeWithTwo();
    const Outcome looked =
        RunShell("env -u DBUS_SESSION_BUS_ADDRESS -u XDG_CONFIG_HOME HOME='" + room.Folder().string() + "' ODBCINI='" +
                 EntryOf("ct-1") + "' " TOOL_PROGRAM " setup --as-root --dry-run");
    EXPECT_NE(looked.out.find("there    a department's: its owner sets site"), std::string::npos) << looked.out;
    EXPECT_NE(looked.out.find("missing  the storage service runs"), std::string::npos) << looked.out;
    EXPECT_EQ(looked.out.find("--signature"), std::string::npos) << looked.out;
}

TEST_P(OfDepartments, TheWorkstationOfBeforeKeepsItsPortAndNode) {
    room.Insert("Port", {{"Port", "10404"}, {"AETitle", "PORVANE"}});
    room.Insert("DicomServer", {{"AETitle", "ORBENTA"}});
    const Outcome unnamed = Make();
    EXPECT_NE(unnamed.err.find("name it by --former NAME"), std::string::npos) << unnamed.err;
    EXPECT_EQ(Make(" --former ct-1").status, 0);
    EXPECT_EQ(Make(" --former ct-1").status, 0);
    EXPECT_EQ(Join("ct-1", "").status, 0);
    EXPECT_EQ(List(), "ct-1: node ORBENTA, storage service PORVANE on port 10404 of ct-1\n");
    EXPECT_EQ(First(*As("ct-1"), PortAndTitle), "10404");
}

TEST_P(OfDepartments, ADepartmentKeepsEveryRowOfTheCatalogueOfBefore) {
    room.Insert("Patient", {{"ID", "P1"}, {"PatientName", "ROSSI^ANNA"}});
    room.Insert("Users", {{"UserName", "anna"}, {"Signature", "Bianchi^Anna"}});
    MakeWithTwo();
    EXPECT_EQ(First(*As("ct-1"), "SELECT PatientName FROM Patient"), "ROSSI^ANNA");
    EXPECT_EQ(First(*As("mr-1"), "SELECT Signature FROM Users"), "Bianchi^Anna");
}

constexpr const char* SetSite = "site --base-uid 2.999.7 --organization Orbenta --reports interchange";

TEST_P(OfDepartments, WorkstationsThatSaveInOneSecondMakeUidsOfTheirOwn) {
    room.Tool(SetSite);
    MakeWithTwo();
    const auto root = [this](const char* name) { return First(*As(name), "SELECT BaseUID FROM SiteData"); };
    EXPECT_EQ(root("ct-1"), "2.999.7.1");
    EXPECT_EQ(root("mr-1"), "2.999.7.2");
    room.Tool("department leave --name mr-1");
    Join("us-1", "--port 10406 --ae-title STORE");
    EXPECT_EQ(root("us-1"), "2.999.7.3"); // there may be reports of the one that has left
}

TEST_P(OfDepartments, TheSitesDataAreSetInOnePlaceForAll) {
    room.Tool(SetSite);
    MakeWithTwo();
    EXPECT_EQ(room.Tool("site --organization Clinic --base-uid 2.999.8").status, 0);
    EXPECT_EQ(room.Tool("site").out, "Base UID: 2.999.8\nOrganization: Clinic\nReports: interchange\nNode: none\n");
    EXPECT_EQ(First(*As("mr-1"), "SELECT BaseUID FROM SiteData"), "2.999.8.2");
    EXPECT_EQ(First(*As("mr-1"), "SELECT Organization FROM SiteData"), "Clinic");
    EXPECT_EQ(First(*As("mr-1"), "SELECT ReportForm FROM SiteData"), "interchange");
}

TEST_P(OfDepartments, ASiteOfACatalogueOfBeforeIsTheDepartments) {
    room.Tool("site --base-uid 2.999.7 --organization Orbenta");
    room.Run("ALTER TABLE SiteData DROP COLUMN ReportForm");
    EXPECT_NE(Make().err.find("lacks the column ReportForm"), std::string::npos);
    room.Tool("check --mend");
    MakeWithTwo();
    EXPECT_EQ(First(*As("ct-1"), "SELECT Organization FROM SiteData"), "Orbenta");
    EXPECT_EQ(First(*As("ct-1"), "SELECT ReportForm FROM SiteData"), "NULL");
}

TEST_P(OfDepartments, ARootOfUidsThatLeavesNoRoomForANumberIsRefused) {
    const std::string longest = "2.999.1234567890123456789012345678901234";
    room.Tool("site --organization Orbenta --base-uid " + longest);
    Make();
    EXPECT_NE(Join("ct-1", "--port 10404 --ae-title PORVANE").err.find("at most 37 characters"), std::string::npos);
    EXPECT_EQ(room.Tool("site --base-uid " + longest).status, 2);
    EXPECT_EQ(room.Tool("site --base-uid " + longest.substr(0, 37)).status, 0);
    EXPECT_EQ(Join("ct-1", "--port 10404 --ae-title PORVANE").status, 0);
}

TEST_P(OfDepartments, JoiningAgainChangesNothingAndSaysSo) {
    MakeWithTwo();
    const std::string list = List();
    const Outcome again = Join("ct-1", "--port 10404");
    EXPECT_EQ(again.status, 0) << again.err;
    EXPECT_NE(again.out.find("is a workstation already"), std::string::npos) << again.out;
    EXPECT_EQ(Join("ct-1", "--port 10406").status, 1);
    EXPECT_EQ(List(), list);
    EXPECT_EQ(First(*As("ct-1"), PortAndTitle), "10404"); // with the password of before
}

TEST_P(OfDepartments, JoiningAgainMakesAnAccountThatIsGone) {
    MakeWithTwo();
    DropAccount("ct-1");
    EXPECT_THROW(As("ct-1"), Error);
    EXPECT_EQ(Join("ct-1", "").status, 0);
    EXPECT_EQ(First(*As("ct-1"), PortAndTitle), "10404");
}

TEST_P(OfDepartments, JoiningAgainMakesRowsThatAreGone) {
    MakeWithTwo();
    room.Run("DELETE FROM WorkstationPort WHERE Workstation='ct-1'");
    room.Run("DELETE FROM WorkstationDicomServer WHERE Workstation='ct-1'");
    EXPECT_EQ(Join("ct-1", "").status, 1);
    EXPECT_EQ(Join("ct-1", "--port 10407 --ae-title PORVANE --node CT").status, 0);
    EXPECT_EQ(First(*As("ct-1"), PortAndTitle), "10407");
    EXPECT_EQ(First(*As("ct-1"), "SELECT AETitle FROM DicomServer"), "CT");
}

TEST_P(OfDepartments, AnotherPasswordEndsTheOneOfBefore) {
    MakeWithTwo();
    const std::string before = PosixFiles().ReadText(EntryOf("ct-1"));
    EXPECT_EQ(Join("ct-1", "--new-password").status, 0);
    EXPECT_EQ(First(*As("ct-1"), PortAndTitle), "10404");
    PosixFiles().WriteText(EntryOf("ct-1"), before);
    EXPECT_THROW(As("ct-1"), Error);
}

TEST_P(OfDepartments, AnEntryThatCannotBeWrittenIsMadeByTheSameCommandWithANewPassword) {
    Make();
    const std::string join = "department join --name ct-1 --port 10404 --ae-title PORVANE --new-password";
    for (const char* lost : {" --file /dev/null/ct-1.ini", " > /dev/full"}) {
        const Outcome outcome = room.Tool(join + lost);
        EXPECT_EQ(outcome.status, 1);
        EXPECT_NE(outcome.err.find("the same command with --new-password makes another one"), std::string::npos)
            << outcome.err;
    }
    EXPECT_EQ(Join("ct-1", "--new-password").status, 0);
    EXPECT_EQ(First(*As("ct-1"), PortAndTitle), "10404");
}

TEST_P(OfDepartments, AnAccountThatIsNoWorkstationsIsLeftAlone) {
    MakeWithTwo();
    MakeAccount("anna");
    const Outcome outcome = Join("anna", "--port 10408 --ae-title PORVANE");
    DropAccount("anna");
    EXPECT_EQ(outcome.status, 1);
    EXPECT_NE(outcome.err.find("no workstation's of this department"), std::string::npos) << outcome.err;
    EXPECT_EQ(List().find("anna"), std::string::npos);
}

TEST_P(OfDepartments, WhatTwoWouldShareIsRefused) {
    MakeWithTwo();
    for (const char* options :
         {"--port 10408 --ae-title PORVANE --node CT-1", "--port 10404 --ae-title OTHER --machine ct-1",
          "--port 10408 --ae-title PORVANE --machine ct-1"})
        EXPECT_EQ(Join("us-1", options).status, 1) << options;
    EXPECT_EQ(Join("us-1", "--port 10404 --ae-title PORVANE").status, 0);
}

TEST_P(OfDepartments, AWorkstationThatLeftIsLetInNoMore) {
    MakeWithTwo();
    EXPECT_EQ(room.Tool("department leave --name ct-1").status, 0);
    EXPECT_THROW(As("ct-1"), Error);
    EXPECT_EQ(List(), "mr-1: node MR-1, storage service STORE on port 10405 of mr-1\n");
    const Outcome twice = room.Tool("department leave --name ct-1");
    EXPECT_EQ(twice.err, "orbenta-catalogue: There is no workstation ct-1\n");
    EXPECT_EQ(Join("ct-1", "--port 10404 --ae-title PORVANE").status, 0);
}

TEST_P(OfDepartments, ATableThatIsMadeLaterIsEveryWorkstations) {
    MakeWithTwo();
    room.Run("DROP TABLE StdFinding");
    EXPECT_EQ(room.Tool("init").status, 0);
    for (const char* name : {"ct-1", "mr-1"})
        EXPECT_EQ(First(*As(name), "SELECT CodeValue FROM StdFinding"), "no row");
}

TEST_P(OfDepartments, AnUpgradeGivesEveryWorkstationItsRightsOnNewTables) {
    MakeWithTwo();
    MakeOfVersionFour();
    EXPECT_NE(room.Tool("upgrade --dry-run").out.find("GRANT SELECT ON CatalogueVersion TO "), std::string::npos);
    EXPECT_EQ(room.Tool("upgrade").status, 0);
    for (const char* name : {"ct-1", "mr-1"}) {
        EXPECT_EQ(First(*As(name), "SELECT count(*) FROM StorageArea"), "0");
        EXPECT_EQ(First(*As(name), "SELECT MAX(Version) FROM CatalogueVersion"), std::to_string(SchemaVersion));
        for (const char* table : {"CatalogueVersion", "TextBlock", "Writing"}) {
            EXPECT_NO_THROW(As(name)->OpenResultSet(std::string("SELECT * FROM ") + table)) << table;
            EXPECT_THROW(As(name)->OpenResultSet(std::string("DELETE FROM ") + table), Error) << table;
        }
    }
}

class CheckOfDepartments : public OfDepartments {
protected:
    std::string CheckAt(const std::string& name, const std::string& before = {}, const std::string& after = {}) const {
        return RunShell("ODBCINI=" + EntryOf(name) + " " + before + " " TOOL_PROGRAM " check" + after).out;
    }
    void HaveAStudyIn(const std::filesystem::path& folder) {
        std::string path = folder.string();
        std::ranges::replace(path, '/', '\\');
        room.Insert("Study", {{"StudyInstanceUID", "2.999.1"}, {"StudyPath", path}, {"IDPatient", "P1"}});
        room.Insert("Series", {{"SeriesInstanceUID", "2.999.2"}, {"StudyInstanceUID", "2.999.1"}});
        room.Insert("Image", {{"SeriesInstanceUID", "2.999.2"}, {"ImageFile", "img_000001.dcm"}});
    }
};

void ExpectSays(const std::string& text, const std::string& part) {
    EXPECT_NE(text.find(part), std::string::npos) << text;
}

TEST_P(CheckOfDepartments, AtAWorkstationIsContent) {
    MakeWithTwo();
    const std::string out = CheckAt("ct-1");
    ExpectSays(out, "well     this is ct-1, of a department of 2\n");
    ExpectSays(out, "well     its account may do what it must\n");
    ExpectSays(out, "well     the clocks of this machine and of the server agree\n");
    EXPECT_EQ(out.find("warning"), std::string::npos) << out;
}

TEST_P(CheckOfDepartments, AtAWorkstationNamesARightThatItLacks) {
    MakeWithTwo();
    const bool mariaDb = DetectEngine(room.Catalogue()) == Engine::MariaDb;
    room.Run(std::string("REVOKE DELETE ON Patient FROM ") + (mariaDb ? "'ct-1'@'%'" : "\"ct-1\""));
    ExpectSays(CheckAt("ct-1"), "MISSING  its account lacks DELETE on Patient;");
    ExpectSays(room.Tool("check --mend").out, "mended   every workstation's rights were given again\n");
    ExpectSays(CheckAt("ct-1"), "well     its account may do what it must\n");
}

TEST_P(CheckOfDepartments, AtAWorkstationNamesWhatTheCatalogueLacks) {
    MakeWithTwo();
    const bool mariaDb = DetectEngine(room.Catalogue()) == Engine::MariaDb;
    room.Run("ALTER TABLE Study DROP COLUMN AccessionNumber");
    room.Run(std::string("DROP INDEX SeriesByStudy") + (mariaDb ? " ON Series" : ""));
    const std::string byOwner = R"(; "orbenta-catalogue check --mend" mends it (by the owner of the tables))";
    ExpectSays(CheckAt("ct-1"), "MISSING  table Study lacks the column AccessionNumber" + byOwner);
    ExpectSays(CheckAt("ct-1"), "MISSING  table Series lacks the index SeriesByStudy" + byOwner);
    ExpectSays(CheckAt("ct-1", "", " --mend"), "it cannot be mended: ");
    room.Tool("check --mend");
    ExpectSays(CheckAt("ct-1"), "well     the catalogue has version 7, with all its tables, columns and indexes\n");
}

TEST_P(CheckOfDepartments, OfAnOlderCatalogueIsContentWithTheRightsOfItsVersion) {
    MakeWithTwo();
    MakeOfVersionFour();
    ExpectSays(CheckAt("ct-1"), "warning  The catalogue has version 4, and this program knows " +
                                    std::to_string(SchemaVersion) + "; all goes on");
    ExpectSays(CheckAt("ct-1"), "well     its account may do what it must\n");
    ExpectSays(room.Tool("check --mend").out, "mended   every workstation's rights were given again\n");
    EXPECT_EQ(room.Tool("upgrade").status, 0);
}

TEST_P(CheckOfDepartments, AtAWorkstationWarnsOfAClockThatIsApart) {
    if (RunShell("faketime -f +0 true").status != 0)
        GTEST_SKIP() << "needs faketime";
    MakeWithTwo();
    ExpectSays(CheckAt("ct-1", "faketime -f +10"), "warning  the clock of this machine is 10 seconds ahead of the");
    ExpectSays(CheckAt("ct-1", "faketime -f -10"), "warning  the clock of this machine is 10 seconds behind the");
}

TEST_P(CheckOfDepartments, AtAWorkstationNamesATreeThatIsNotThere) {
    MakeWithTwo();
    HaveAStudyIn("/nowhere/studies/2.999.1");
    ExpectSays(CheckAt("ct-1"), "MISSING  the department's studies are in /nowhere/studies, which is not there on");
}

TEST_P(CheckOfDepartments, AtAWorkstationNamesATreeThatIsAnother) {
    MakeWithTwo();
    std::filesystem::create_directory(room.Studies());
    HaveAStudyIn(room.Studies() / "2.999.1");
    ExpectSays(CheckAt("ct-1"), room.Studies().string() + " is another one than the department's: the newest study, ");
}

TEST_P(CheckOfDepartments, ByTheOwnerIsContentAndAsksForNoDesk) {
    MakeWithTwo();
    const std::string out = room.Tool("check").out;
    ExpectSays(out, "well     the department's 2 workstations have what they need of their own\n");
    EXPECT_EQ(out.find("storage service"), std::string::npos) << out;
    EXPECT_EQ(out.find("signature"), std::string::npos) << out;
}

TEST_P(CheckOfDepartments, ByTheOwnerNamesWhatAWorkstationLacks) {
    MakeWithTwo();
    DropAccount("ct-1");
    room.Run("DELETE FROM WorkstationPort WHERE Workstation='mr-1'");
    room.Run("DELETE FROM WorkstationDicomServer WHERE Workstation='mr-1'");
    const std::string out = room.Tool("check").out;
    ExpectSays(out, "MISSING  ct-1 has no account on the server; \"orbenta-catalogue department join --name ct-1\"");
    ExpectSays(out, "MISSING  mr-1 has no port");
    ExpectSays(out, "MISSING  mr-1 has no node name");
}

TEST_P(CheckOfDepartments, ByTheOwnerNamesWhatTwoShare) {
    MakeWithTwo();
    room.Run("UPDATE WorkstationDicomServer SET AETitle='CT-1'");
    ExpectSays(room.Tool("check").out, "MISSING  ct-1 and mr-1 both are the node CT-1;");
    room.Run("UPDATE WorkstationPort SET Port=10404");
    room.Run("UPDATE Workstation SET Machine='terminals'");
    room.Run("UPDATE WorkstationDicomServer SET AETitle=Workstation");
    ExpectSays(room.Tool("check").out, "MISSING  ct-1 and mr-1 both have port 10404 of the machine terminals;");
}

TEST_P(OfDepartments, ACatalogueThatIsNoDepartmentsSaysSo) {
    for (const char* command : {"list", "leave --name ct-1", "join --name ct-1 --port 1 --ae-title A"})
        EXPECT_NE(room.Tool(std::string("department ") + command).err.find("is no department's"), std::string::npos);
}

INSTANTIATE_TEST_SUITE_P(Suite, OfDepartments, testing::Values("postgresql", "mariadb"), EngineName);
INSTANTIATE_TEST_SUITE_P(Suite, CheckOfDepartments, testing::Values("postgresql", "mariadb"), EngineName);

TEST(NamesOfWorkstations, AreThoseThatEveryServerTakes) {
    for (const char* name : {"ct-1", "w", "reading_room_2"})
        EXPECT_EQ(Department::NameFault(name), "") << name;
    for (const char* name :
         {"", "1ct", "CT", "ct 1", "ct'", "ct\"", "röntgen", "-ct", "a23456789012345678901234567890123"})
        EXPECT_NE(Department::NameFault(name), "") << name;
}

} // namespace
} // namespace tavrel
