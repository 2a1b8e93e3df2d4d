#include "suite/catalogue/Upgrade.h"
#include "platform/error.h"
#include "platform/text_blocks.h"
#include "tests/suite/SuiteRoom.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <future>
#include <iterator>

namespace tavrel {
namespace {

using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;

/// Each test on the servers of tests/support/engines.
class Upgrades : public testing::TestWithParam<const char*> {
protected:
    Upgrades() {
        room.Insert("Patient", {{"ID", "P1"}, {"PatientName", "ROSSI^ANNA"}});
        room.Insert("SiteData", {{"BaseUID", "2.999.1"}, {"Organization", "Orbenta"}});
        for (const char* file : {"one", "other"})
            room.Insert("Image", {{"SOPInstanceUID", "2.999.1"}, {"ImageFile", file}});
    }
    ~Upgrades() override {
        room.Run("DELETE FROM Image");
        EXPECT_EQ(room.Tool("upgrade").status, 0); // the server is the next test's, too
    }

    Engine ItsEngine() { return DetectEngine(room.Catalogue()); }
    SchemaComparison Compared() { return CompareWithSchema(room.Catalogue(), ItsEngine()); }
    int Version() { return Compared().Version().number; }
    std::vector<std::string> Statements() {
        std::vector<std::string> statements;
        const CatalogueUpgrade upgrade(room.Catalogue(), ItsEngine());
        for (const CatalogueUpgrade::Step& step : upgrade.Steps())
            std::ranges::copy(step.statements, std::back_inserter(statements));
        return statements;
    }

    void DropIndex(const std::string& name, const std::string& table) {
        room.Run("DROP INDEX " + name + (ItsEngine() == Engine::MariaDb ? " ON " + table : ""));
    }
    /// As the programs of that version made it.
    void MakeOlder(int version) {
        if (version < 7)
            for (const std::string_view table : {std::string_view("Writing"), text_block::Table})
                room.Run("DROP TABLE " + std::string(table));
        room.Run("DELETE FROM CatalogueVersion");
        if (version < FirstWritten)
            room.Run("DROP TABLE CatalogueVersion");
        else
            room.Run("INSERT INTO CatalogueVersion (Version, OldestWriter) VALUES (" + std::to_string(version) +
                     ", 1)");
        if (version < 5)
            room.Run("DROP TABLE StorageArea");
        if (version < 4) {
            DropIndex("ImageOnce", "Image");
            room.Run("ALTER TABLE Image DROP COLUMN Twin");
        }
        if (version < 3)
            for (const char* table : {"Archive", "Outgoing", "OutgoingClaim"})
                room.Run(std::string("DROP TABLE ") + table);
        if (version < 2)
            room.Run("ALTER TABLE SiteData DROP COLUMN ReportForm");
    }
    void ExpectWholeAndWithItsRows() {
        EXPECT_THAT(Compared().faults, IsEmpty());
        EXPECT_EQ(Version(), SchemaVersion);
        EXPECT_EQ(room.Value("SELECT PatientName FROM Patient"), "ROSSI^ANNA");
        EXPECT_EQ(room.Value("SELECT Organization FROM SiteData"), "Orbenta");
        EXPECT_EQ(room.Count("Image"), "2");
    }

    SuiteRoom room{std::string("DicomFDB_") + GetParam()};
};

TEST_P(Upgrades, ANewCatalogueSaysItsVersionAndLacksNothing) {
    EXPECT_EQ(room.Value("SELECT MAX(Version) FROM CatalogueVersion"), std::to_string(SchemaVersion));
    EXPECT_THAT(Compared().faults, IsEmpty());
    EXPECT_THAT(room.Tool("upgrade").out, HasSubstr(" has version " + std::to_string(SchemaVersion) + " already\n"));
}

TEST_P(Upgrades, EveryOlderOneIsBroughtUpAndKeepsItsRows) {
    for (int version = 1; version < SchemaVersion; ++version) {
        MakeOlder(version);
        EXPECT_EQ(Version(), version);
        const Outcome outcome = room.Tool("upgrade");
        EXPECT_THAT(outcome.out, HasSubstr(" has version " + std::to_string(version) + " of " +
                                           std::to_string(SchemaVersion) + "\n"))
            << outcome.err;
        ExpectWholeAndWithItsRows();
    }
}

TEST_P(Upgrades, ACatalogueOfBeforeLearnsToTellTwins) {
    MakeOlder(3);
    EXPECT_EQ(room.Tool("upgrade").status, 0);
    const auto add = [&] { room.Insert("Image", {{"SOPInstanceUID", "2.999.1"}, {"Twin", "1"}}); };
    add();
    EXPECT_THROW(add(), Error);
}

TEST_P(Upgrades, ADryRunSaysEveryStatementAndChangesNothing) {
    MakeOlder(1);
    const Outcome outcome = room.Tool("upgrade --dry-run");
    for (const std::string& statement : Statements())
        EXPECT_THAT(outcome.out, HasSubstr("\n" + statement + ";\n"));
    EXPECT_THAT(outcome.out, HasSubstr("\n-- version 2\nALTER TABLE SiteData ADD COLUMN ReportForm "));
    EXPECT_EQ(Version(), 1);
}

TEST_P(Upgrades, OneThatWasInterruptedAnywhereIsBroughtUpByAnother) {
    std::size_t all = 1;
    for (std::size_t done = 0; done < all; ++done) {
        MakeOlder(1);
        const auto statements = Statements();
        all = statements.size();
        for (std::size_t i = 0; i < done; ++i)
            room.Run(statements[i]);
        CatalogueUpgrade(room.Catalogue(), ItsEngine()).Run();
        ExpectWholeAndWithItsRows();
    }
    EXPECT_GT(all, 10U);
}

TEST_P(Upgrades, OneThatFailsLeavesTheCatalogueAsItWasOrGoesOnLater) {
    MakeOlder(1);
    room.Run("ALTER TABLE Image ADD COLUMN Twin INTEGER");
    room.Run("UPDATE Image SET Twin=0");
    const auto failed = room.Tool("upgrade");
    EXPECT_EQ(failed.status, 1);
    EXPECT_THAT(failed.err, HasSubstr("The catalogue was not brought up: "));
    EXPECT_THAT(failed.err, HasSubstr("start this one again"));
    EXPECT_EQ(Version(), ItsEngine() == Engine::MariaDb ? 3 : 1);
    room.Run("UPDATE Image SET Twin=NULL");
    EXPECT_EQ(room.Tool("upgrade").status, 0);
    ExpectWholeAndWithItsRows();
}

TEST_P(Upgrades, TwoAtOnceBringTheCatalogueUpOnce) {
    MakeOlder(1);
    auto other = std::async(std::launch::async, [this] { return room.Tool("upgrade").status; });
    const int status = room.Tool("upgrade").status;
    EXPECT_TRUE(other.get() == 0 || status == 0);
    ExpectWholeAndWithItsRows();
}

TEST_P(Upgrades, AreNotDoneByInit) {
    MakeOlder(4);
    const Outcome outcome = room.Tool("init");
    EXPECT_EQ(outcome.status, 1);
    EXPECT_THAT(outcome.err, HasSubstr("The catalogue has version 4, and this program knows " +
                                       std::to_string(SchemaVersion) + "; \"orbenta-catalogue upgrade\" brings it up"));
    EXPECT_EQ(Version(), 4);
}

TEST_P(Upgrades, InitGoesOnWithACatalogueThatWasMadeByHalf) {
    MakeOlder(1);
    for (const char* table : {"Archive", "Report", "StdTitles"})
        room.Run(std::string("DROP TABLE IF EXISTS ") + table);
    room.Run("ALTER TABLE SiteData ADD COLUMN ReportForm VARCHAR(16)");
    room.Run("ALTER TABLE Image ADD COLUMN Twin INTEGER");
    const Outcome outcome = room.Tool("init");
    EXPECT_EQ(outcome.status, 0) << outcome.err;
    ExpectWholeAndWithItsRows();
}

TEST_P(Upgrades, OfACatalogueThatIsNoneSayInit) {
    if (ItsEngine() != Engine::Sqlite)
        GTEST_SKIP() << "the server's catalogue is the next test's";
    const std::string entry = "--dsn DicomFDB_sqlite\\;Database=" + (room.Folder() / "empty.db").string();
    EXPECT_THAT(RunShell(TOOL_PROGRAM " " + entry + " upgrade").err, HasSubstr("\"orbenta-catalogue init\" makes it"));
    EXPECT_THAT(RunShell(TOOL_PROGRAM " " + entry + " check").out, HasSubstr("MISSING  there is no catalogue yet; "));
}

/// Of later programs.
class LaterCatalogue : public Upgrades {
protected:
    ~LaterCatalogue() override { room.Run("DELETE FROM CatalogueVersion WHERE Version=99"); }
    void MakeLater(const std::string& oldestWriter) {
        room.Run("INSERT INTO CatalogueVersion (Version, OldestWriter) VALUES (99, " + oldestWriter + ")");
    }
};

TEST_P(LaterCatalogue, ThatOnlyAddedIsWorkedAsEver) {
    MakeLater("1");
    EXPECT_EQ(room.Tool("site --organization New").status, 0);
    EXPECT_THAT(room.Tool("check").out, HasSubstr("warning  The catalogue has version 99, and this program knows "));
    for (const char* command : {"init", "upgrade"})
        EXPECT_THAT(room.Tool(command).err, HasSubstr("take the program of the version that made it"));
}

TEST_P(LaterCatalogue, ThatThisProgramWouldSpoilIsLeftAlone) {
    MakeLater("99");
    for (const char* command : {"site --organization New", "init", "upgrade", "port"})
        EXPECT_THAT(room.Tool(command).err, HasSubstr("too old to write there")) << command;
    EXPECT_THAT(room.Tool("check").out, HasSubstr("MISSING  The catalogue has version 99, and this program knows " +
                                                  std::to_string(SchemaVersion) + ", too"));
    EXPECT_EQ(room.Value("SELECT Organization FROM SiteData"), "Orbenta");
}

/// What a catalogue lacks of its version.
class DamagedSchemas : public Upgrades {
protected:
    /// It is named, mended on request, and well afterwards.
    void ExpectMended(const std::string& words) {
        EXPECT_THAT(room.Tool("check").out, HasSubstr("MISSING  " + words + "; \"orbenta-catalogue check --mend\""));
        EXPECT_THAT(room.Tool("check --mend").out, HasSubstr("mended   " + words + "\n"));
        EXPECT_THAT(room.Tool("check").out, Not(HasSubstr(words)));
    }
};

TEST_P(DamagedSchemas, AreMendedColumnByColumn) {
    room.Run("ALTER TABLE Study DROP COLUMN AccessionNumber");
    ExpectMended("table Study lacks the column AccessionNumber");
    EXPECT_EQ(Version(), SchemaVersion);
}

TEST_P(DamagedSchemas, AreMendedOfAColumnThatOnceCameLater) {
    DropIndex("ImageOnce", "Image");
    room.Run("ALTER TABLE Image DROP COLUMN Twin");
    EXPECT_THAT(room.Tool("init").err, HasSubstr("check --mend"));
    ExpectMended("table Image lacks the column Twin");
    EXPECT_THAT(Compared().faults, IsEmpty());
}

TEST_P(DamagedSchemas, AreMendedTableByTable) {
    room.Run("DROP TABLE Outgoing");
    ExpectMended("the catalogue lacks the table Outgoing");
    EXPECT_THAT(Compared().faults, IsEmpty());
}

TEST_P(DamagedSchemas, AreMendedIndexByIndex) {
    DropIndex("SeriesByStudy", "Series");
    ExpectMended("table Series lacks the index SeriesByStudy");
}

TEST_P(DamagedSchemas, AreContentWithAnIndexOfAnotherName) {
    DropIndex("SeriesByStudy", "Series");
    room.Run("CREATE INDEX MyOwn ON Series (StudyInstanceUID)");
    EXPECT_THAT(Compared().faults, IsEmpty());
    DropIndex("MyOwn", "Series");
    Upgrades::room.Run("CREATE INDEX SeriesByStudy ON Series (StudyInstanceUID)");
}

TEST_P(DamagedSchemas, AreNotContentWithAnIndexThatTellsNoTwins) {
    DropIndex("ImageOnce", "Image");
    room.Run("CREATE INDEX MyOwn ON Image (SOPInstanceUID, Twin)");
    ExpectMended("table Image lacks the index ImageOnce");
    DropIndex("MyOwn", "Image");
}

TEST_P(DamagedSchemas, AreMendedWhereAColumnHoldsTooLittle) {
    if (ItsEngine() == Engine::Sqlite)
        GTEST_SKIP() << "its columns hold any text";
    const bool mariaDb = ItsEngine() == Engine::MariaDb;
    const auto change = [&](const std::string& table, const std::string& column, const std::string& type) {
        room.Run("ALTER TABLE " + table + (mariaDb ? " MODIFY COLUMN " : " ALTER COLUMN ") + column +
                 (mariaDb ? " " : " TYPE ") + type);
    };
    change("Study", "StudyDescription", "VARCHAR(64)");
    ExpectMended("the column StudyDescription of table Study holds 64 characters and must hold 255");
    change("Patient", "ID", mariaDb ? "VARCHAR(16) NOT NULL" : "VARCHAR(16)");
    ExpectMended("the column ID of table Patient holds 16 characters and must hold 64");
    change("Outgoing", "ImageID", mariaDb ? "INTEGER NOT NULL" : "INTEGER");
    ExpectMended(std::string("the column ImageID of table Outgoing is too small for its numbers (") +
                 (mariaDb ? "int)" : "integer)"));
    room.Insert("Patient", {{"ID", "P2"}});
    EXPECT_THROW(room.Insert("Patient", {{"ID", "P2"}}), Error); // the key is one still
}

TEST_P(DamagedSchemas, AreMendedWhereATableLostItsKey) {
    if (ItsEngine() == Engine::Sqlite)
        GTEST_SKIP() << "its tables keep their keys";
    room.Run(std::string("ALTER TABLE Patient DROP ") +
             (ItsEngine() == Engine::MariaDb ? "PRIMARY KEY" : "CONSTRAINT patient_pkey"));
    ExpectMended("table Patient lacks its key ID");
}

TEST_P(DamagedSchemas, ThatNoStatementMakesAgainAreNamed) {
    if (ItsEngine() != Engine::PostgreSql)
        GTEST_SKIP() << "one engine is enough";
    room.Run("ALTER TABLE History DROP COLUMN HistoryID");
    EXPECT_THAT(room.Tool("check --mend").out, HasSubstr("lacks the column HistoryID, which no statement makes again"));
    room.Run("DROP TABLE History");
    room.Tool("check --mend");
}

INSTANTIATE_TEST_SUITE_P(Suite, Upgrades, testing::Values("sqlite", "postgresql", "mariadb"), EngineName);
INSTANTIATE_TEST_SUITE_P(Suite, LaterCatalogue, testing::Values("sqlite", "postgresql", "mariadb"), EngineName);
INSTANTIATE_TEST_SUITE_P(Suite, DamagedSchemas, testing::Values("sqlite", "postgresql", "mariadb"), EngineName);

} // namespace
} // namespace tavrel
