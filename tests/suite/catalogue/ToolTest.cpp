#include "platform/paths.h"
#include "platform/posix/PosixFiles.h"
#include "suite/catalogue/CodeTable.h"
#include "suite/catalogue/OdbcEntry.h"
#include "tests/suite/SuiteRoom.h"
#include "tests/suite/TestObject.h"

#include <dcmtk/dcmdata/dcdeftag.h>
#include <dcmtk/dcmdata/dcuid.h>
#include <gtest/gtest.h>

#include <unistd.h>

#include <csignal>
#include <fstream>

namespace tavrel {
namespace {

constexpr int Failed = 1;
constexpr int WrongArguments = 2;

bool Holds(const std::string& text, const std::string& part) {
    return text.find(part) != std::string::npos;
}

std::string BesideTheTool(const std::string& path) {
    return (std::filesystem::path(TOOL_PROGRAM).parent_path().parent_path() / path).string();
}

class Tool : public testing::Test {
protected:
    /// Takes the right away to change the catalogue, from `what` of it on.
    void Protect(const std::filesystem::path& what) const {
        namespace fs = std::filesystem;
        fs::permissions(room.Folder(), fs::perms(0755));
        for (const auto& file : fs::directory_iterator(room.Folder()))
            fs::permissions(file, fs::perms(0666));
        const auto all = fs::perms::owner_write | fs::perms::group_write | fs::perms::others_write;
        fs::permissions(what, all, fs::perm_options::remove);
    }
    /// As an account to which root's rights are no help.
    static std::string Plainly(const std::string& command) {
        return (geteuid() == 0 ? "setpriv --reuid 65534 --regid 65534 --clear-groups " : "") + command;
    }
    std::string Write(const std::string& name, const std::string& text) {
        std::ofstream(room.Folder() / name, std::ios::binary) << text;
        return (room.Folder() / name).string();
    }
    Outcome ImportCodes(const std::string& csv, const std::string& more = {}) {
        return room.Tool("codes import " + Write("codes.csv", csv) + " --table findings " + more);
    }
    Outcome ImportDemonstration(const std::string& kind) {
        return room.Tool("codes import " DEMONSTRATION_CODES "/" + kind + ".csv --table " + kind);
    }

    SuiteRoom room;
};

TEST_F(Tool, EveryCommandExplainsItself) {
    const std::vector<std::pair<std::string, std::vector<std::string>>> commands = {
        {"",
         {"setup", "odbc", "init", "upgrade", "site", "user", "port", "codes", "texts", "writing", "import",
          "department", "check", "--dsn", "Exit status"}},
        {"setup",
         {"--organization", "--base-uid", "--reports", "--node", "--signature", "--port", "--ae-title", "--studies",
          "--codes", "--logo", "--import", "--yes", "--dry-run"}},
        {"odbc", {"--engine", "--database", "--server", "--port", "--user", "--password-file", "--file"}},
        {"init", {"tables"}},
        {"upgrade", {"--dry-run"}},
        {"site", {"--base-uid", "--organization", "--reports", "--node"}},
        {"user", {"--signature", "--remove"}},
        {"port", {"--port", "--ae-title"}},
        {"codes import", {"--table", "--replace", "CodeMeaning"}},
        {"texts import", {"--replace", "Kind", "___"}},
        {"texts", {"import", "list", "export", "remove"}},
        {"writing", {"--user", "--spelling", "--dictation", "--remove"}},
        {"import", {"FOLDER"}},
        {"report print", {"--series", "--version", "--output", "--printer", "PDF/A"}},
        {"department", {"init", "join", "leave", "list"}},
        {"department join", {"--name", "--port", "--ae-title", "--node", "--machine", "--new-password", "--file"}},
        {"check", {"missing"}}};
    for (const auto& [command, words] : commands) {
        const Outcome help = room.Tool(command + " --help");
        EXPECT_EQ(help.status, 0) << command;
        for (const auto& word : words)
            EXPECT_TRUE(Holds(help.out, word)) << command << " " << word;
    }
}

TEST_F(Tool, WrongArgumentsAreSaidOnTheErrorOutput) {
    for (const char* arguments : {"",
                                  "nonsense",
                                  "port --port 70000",
                                  "site --base-uid 1..2",
                                  "site --reports modern",
                                  "import /no/such/folder",
                                  "port --ae-title A_TITLE_OF_SEVENTEEN",
                                  "user \"O'Brien\" --signature X",
                                  "codes import /dev/null --table nonsense",
                                  "texts remove nonsense x",
                                  "writing --spelling ../x",
                                  "writing --remove",
                                  "odbc --engine oracle --database x",
                                  "odbc --engine mariadb --database x --user y --server a,b",
                                  "department join --name Ward1",
                                  "department leave",
                                  "report print",
                                  "report print /dev/null --series 1.2 --output x.pdf",
                                  "report print --series 1.2",
                                  "report print /dev/null --version 2 --output x.pdf",
                                  "report print --series 1.2 --output x.pdf --printer y"}) {
        const Outcome outcome = room.Tool(arguments);
        EXPECT_EQ(outcome.status, WrongArguments) << arguments;
        EXPECT_FALSE(outcome.err.empty()) << arguments;
    }
}

/// Another maker's report, two copies of which the catalogue names.
class ToolPrints : public Tool {
protected:
    ToolPrints() {
        room.Tool("init");
        room.Insert("Patient", {{"ID", "P1"}});
        room.Insert(
            "Study",
            {{"StudyInstanceUID", "2.999.1"}, {"StudyPath", InsidePath(room.Folder().string())}, {"IDPatient", "P1"}});
        room.Insert("Series",
                    {{"SeriesInstanceUID", "2.999.2"}, {"StudyInstanceUID", "2.999.1"}, {"SeriesDir", "report"}});
        std::filesystem::create_directories(room.Folder() / "report");
        std::filesystem::copy_file(REAL_IMAGES "/reportsi.dcm", file);
        room.Insert("Image", {{"SeriesInstanceUID", "2.999.2"}, {"ImageFile", "1.dcm"}});
    }
    std::string SavedText() const { return RunShell("pdftotext -raw '" + pdf + "' -").out; }

    const std::string file = (room.Folder() / "report/1.dcm").string(), pdf = (room.Folder() / "x.pdf").string();
};

TEST_F(ToolPrints, AFileWithoutADisplayAHomeOrACatalogue) {
    const Outcome outcome =
        RunShell("env -i " TOOL_PROGRAM " --dsn NoSuchEntry report print '" + file + "' --output '" + pdf + "'");
    EXPECT_EQ(outcome.status, 0);
    EXPECT_EQ(outcome.out + outcome.err,
              "Saved Last Name, First Name - OFFIS Structured Reporting Templates - version 1 of 1, not approved: "
              "1 page\n");
    EXPECT_TRUE(Holds(SavedText(), "Last Name, First Name\n")) << SavedText();
}

TEST_F(ToolPrints, TheNewestVersionOfASeriesAndThatTwice) {
    for (int time = 0; time < 2; ++time)
        EXPECT_EQ(room.Tool("report print --series 2.999.2 --output '" + pdf + "'").status, 0);
    EXPECT_TRUE(Holds(SavedText(), "page 1 of 1")) << SavedText();
}

TEST_F(ToolPrints, NothingOfWhatIsNotThere) {
    const auto failure = [&](const std::string& arguments) {
        const Outcome outcome = room.Tool("report print --output '" + pdf + "' " + arguments);
        EXPECT_EQ(outcome.status, Failed) << arguments;
        EXPECT_FALSE(std::filesystem::exists(pdf));
        return outcome.err;
    };
    EXPECT_EQ(failure("--series 2.999.3"), "orbenta-catalogue: The catalogue names no file of a series 2.999.3\n");
    EXPECT_EQ(failure("--series 2.999.2 --version 2"),
              "orbenta-catalogue: There is no version 2 of this report, which has 1 version\n");
    EXPECT_TRUE(Holds(failure(REAL_IMAGES "/CT_small.dcm"), "CT_small.dcm is no structured report"));
    std::filesystem::remove(file);
    EXPECT_TRUE(Holds(failure("--series 2.999.2"), "1.dcm"));
}

TEST_F(ToolPrints, OnNoPrinterThatIsNotThere) {
    const Outcome outcome = room.Tool("report print '" + file + "' --printer Nowhere");
    EXPECT_EQ(outcome.status, Failed);
    EXPECT_TRUE(Holds(outcome.err, "There is no printer Nowhere; this machine has ")) << outcome.err;
}

TEST_F(Tool, ACatalogueThatCannotBeOpenedIsAFailure) {
    const Outcome outcome = RunShell(std::string(TOOL_PROGRAM) + " --dsn NoSuchEntry init");
    EXPECT_EQ(outcome.status, Failed);
    EXPECT_TRUE(
        Holds(outcome.err, "no ODBC entry \"NoSuchEntry\" that leads to a catalogue; \"orbenta-catalogue odbc --dsn"))
        << outcome.err;
}

TEST_F(Tool, ItsVersionIsTheProjects) {
    EXPECT_EQ(room.Tool("--version").out, "orbenta-catalogue " PROJECT_VERSION "\n");
}

TEST_F(Tool, TheSiteIsSetAndChanged) {
    EXPECT_EQ(room.Tool("site --base-uid 2.999.1 --organization \"Hôpital d'Or\" --node N1").status, 0);
    EXPECT_EQ(room.Tool("site --organization New").status, 0);
    EXPECT_EQ(room.Value("SELECT BaseUID FROM SiteData"), "2.999.1");
    EXPECT_EQ(room.Value("SELECT Organization FROM SiteData"), "New");
    EXPECT_EQ(room.Value("SELECT AETitle FROM DicomServer"), "N1");
}

TEST_F(Tool, AnOrganizationThatReportsCannotHoldIsRefused) {
    const Outcome outcome = room.Tool("site --base-uid 2.999.1 --organization '山田'");
    EXPECT_EQ(outcome.status, WrongArguments);
    EXPECT_TRUE(Holds(outcome.err, "ISO_IR 100"));
}

class SiteOfReports : public Tool {
protected:
    SiteOfReports() { room.Tool("site --base-uid 2.999.1 --organization Orbenta"); }
    void SignAs(const std::string& signature) { signing = room.Tool("user anna --signature '" + signature + "'"); }

    Outcome signing;
};

TEST_F(SiteOfReports, AreClassicUntilItIsSaid) {
    EXPECT_TRUE(Holds(room.Tool("site").out, "\nReports: classic\n"));
    EXPECT_EQ(room.Value("SELECT ReportForm FROM SiteData"), "NULL");
}

TEST_F(SiteOfReports, AreInterchangeOnceItIsSaid) {
    EXPECT_EQ(room.Tool("site --reports interchange").status, 0);
    EXPECT_TRUE(Holds(room.Tool("site --node N1").out, "\nReports: interchange\n"));
    EXPECT_EQ(room.Value("SELECT ReportForm FROM SiteData"), "interchange");
}

TEST_F(SiteOfReports, KeepTheirFormWhateverElseIsSet) {
    room.Tool("site --reports interchange");
    room.Tool("site --organization New --base-uid 2.999.2");
    EXPECT_EQ(room.Value("SELECT ReportForm FROM SiteData"), "interchange");
}

TEST_F(SiteOfReports, AreClassicAgainWhenItIsSaid) {
    room.Tool("site --reports interchange");
    EXPECT_TRUE(Holds(room.Tool("site --reports classic").out, "\nReports: classic\n"));
}

TEST_F(SiteOfReports, NeedTheSitesOtherDataFirst) {
    room.Run("DELETE FROM SiteData");
    EXPECT_EQ(room.Tool("site --reports interchange").status, WrongArguments);
    EXPECT_EQ(room.Count("SiteData"), "0");
}

TEST_F(SiteOfReports, OfACatalogueOfBeforeAreClassic) {
    room.Run("ALTER TABLE SiteData DROP COLUMN ReportForm");
    EXPECT_TRUE(Holds(room.Tool("site --organization New").out, "\nReports: classic\n"));
}

TEST_F(SiteOfReports, InterchangeTakeNamesOfEveryAlphabet) {
    EXPECT_EQ(room.Tool("site --reports interchange --organization '東京病院'").status, 0);
    SignAs("Yamada^Tarou=山田^太郎=やまだ^たろう");
    EXPECT_EQ(signing.status, 0);
    EXPECT_EQ(room.Value("SELECT Signature FROM Users"), "Yamada^Tarou=山田^太郎=やまだ^たろう");
}

TEST_F(SiteOfReports, ClassicTakeNoSignatureThatTheyCannotHold) {
    SignAs("山田^太郎");
    EXPECT_EQ(signing.status, WrongArguments);
    EXPECT_EQ(room.Count("Users"), "0");
}

TEST_F(SiteOfReports, StayInterchangeWhileTheirOrganizationIsNothingForClassicOnes) {
    room.Tool("site --reports interchange --organization '東京病院'");
    const Outcome outcome = room.Tool("site --reports classic");
    EXPECT_EQ(outcome.status, WrongArguments);
    EXPECT_TRUE(Holds(outcome.err, "ISO_IR 100"));
    EXPECT_EQ(room.Value("SELECT ReportForm FROM SiteData"), "interchange");
}

TEST_F(SiteOfReports, AreSetInPlaceOfAFormThatNobodyKnows) {
    room.Run("UPDATE SiteData SET ReportForm='modern'");
    EXPECT_EQ(room.Tool("site --organization New").status, Failed);
    EXPECT_EQ(room.Tool("site --reports classic").status, 0);
}

TEST_F(Tool, ABaseUidOver42CharactersIsRefused) {
    const std::string longest = "2.999." + std::string(36, '1');
    EXPECT_EQ(room.Tool("site --organization X --base-uid " + longest + "1").status, WrongArguments);
    EXPECT_EQ(room.Tool("site --organization X --base-uid " + longest).status, 0);
}

TEST_F(Tool, ANewSiteNeedsBothOfItsData) {
    const Outcome outcome = room.Tool("site --base-uid 2.999.1");
    EXPECT_EQ(outcome.status, WrongArguments);
    EXPECT_TRUE(Holds(outcome.err, "both --base-uid and --organization")) << outcome.err;
}

TEST_F(Tool, SeveralPortRowsBecomeOne) {
    room.Insert("Port", {{"Port", "1"}, {"AETitle", "OTHER"}});
    EXPECT_EQ(room.Tool("port --port 4242 --ae-title STORE").status, 0);
    EXPECT_EQ(room.Value("SELECT Port FROM Port"), "4242");
}

TEST_F(Tool, AUserIsAddedChangedAndRemoved) {
    room.Tool("user anna --signature Bianchi^A");
    room.Tool("user anna --signature Bianchi^Anna");
    EXPECT_EQ(room.Value("SELECT Signature FROM Users"), "Bianchi^Anna");
    EXPECT_EQ(room.Tool("user").out, "anna: Bianchi^Anna\n");
    EXPECT_EQ(room.Tool("user anna --remove").status, 0);
    EXPECT_EQ(room.Count("Users"), "0");
    EXPECT_EQ(room.Tool("user anna --remove").status, Failed);
}

TEST_F(Tool, CodesAreImportedWhateverTheirColumnsOrder) {
    const Outcome outcome = ImportCodes("CodeMeaning,CodeValue,CodeScheme\n\"Nodule, solid\",F1,99SS\nØdème,F2,99SS\n");
    EXPECT_EQ(outcome.out, "Added 2 codes to StdFinding; 0 were there already\n") << outcome.err;
    EXPECT_EQ(room.Value("SELECT CodeMeaning FROM StdFinding WHERE CodeValue='F1'"), "Nodule, solid");
    EXPECT_EQ(room.Value("SELECT CodeMeaning FROM StdFinding WHERE CodeValue='F2'"), "Ødème");
}

TEST_F(Tool, AnApostropheInACodeBecomesABackQuote) {
    ImportCodes("CodeScheme,CodeValue,CodeMeaning\n99SS,F1,Crohn's disease\n");
    EXPECT_EQ(room.Value("SELECT CodeMeaning FROM StdFinding"), "Crohn`s disease");
}

TEST_F(Tool, WrongCodesAreNamedAndNoneIsImported) {
    const Outcome outcome = ImportCodes("CodeScheme,CodeValue,CodeMeaning\n99SS,F1,good\n99SS,F2\n99SS,,none\n"
                                        "99SS,F1,again\n99SS,F3,\xFF\n99SS,F4," +
                                        std::string(65, 'x') + "\n99SS,F5,\"open\n");
    EXPECT_EQ(outcome.status, Failed);
    for (const char* words :
         {"line 3: has 2 fields, not 3", "line 4: CodeValue is empty", "line 5: CodeValue \"F1\" stands in line 2",
          "line 6: CodeMeaning is not UTF-8", "line 7: CodeMeaning is longer than 64 characters",
          "line 8: a quote that is not closed", "nothing was imported"})
        EXPECT_TRUE(Holds(outcome.err, words)) << words << "\n" << outcome.err;
    EXPECT_EQ(room.Count("StdFinding"), "0");
}

TEST_F(Tool, CodesWithoutAHeaderAreRefused) {
    const Outcome outcome = ImportCodes("99SS,F1,Nodule\n");
    EXPECT_EQ(outcome.status, Failed);
    EXPECT_TRUE(Holds(outcome.err, "line 1: the first row must name the columns"));
}

TEST_F(Tool, KnownCodesStayUnlessTheyAreReplaced) {
    ImportCodes("CodeScheme,CodeValue,CodeMeaning\n99SS,F1,old\n");
    EXPECT_TRUE(Holds(ImportCodes("CodeScheme,CodeValue,CodeMeaning\n99SS,F1,new\n").out, "1 were there already"));
    EXPECT_EQ(room.Value("SELECT CodeMeaning FROM StdFinding"), "old");
    ImportCodes("CodeScheme,CodeValue,CodeMeaning\n99SS,F1,new\n", "--replace");
    EXPECT_EQ(room.Value("SELECT CodeMeaning FROM StdFinding"), "new");
}

TEST_F(Tool, TheDemonstrationCodesAreAllGood) {
    for (const CodeKind& kind : CodeKinds) {
        const Outcome outcome = ImportDemonstration(std::string(kind.name));
        EXPECT_EQ(outcome.status, 0) << outcome.err;
        EXPECT_GE(std::stoi(room.Count(std::string(kind.table))), 30);
    }
}

TEST_F(Tool, AnOdbcEntryIsAddedBesideTheOthers) {
    const std::string file = Write("some.ini", "; mine\n[Other]\nDriver=X\n");
    room.Tool("odbc --engine sqlite --database /a/b.db --file " + file);
    EXPECT_EQ(PosixFiles().ReadText(file), "; mine\n[Other]\nDriver=X\n\n[DicomFDB]\nDriver=SQLite3\nDatabase=/a/b.db\n"
                                           "Timeout=2500\nSyncPragma=NORMAL\nJournalMode=WAL\nLoadExt=" +
                                               BesideTheTool("lib/orbenta/sqlite-letters.so") + "\n");
}

TEST_F(Tool, AnOdbcEntryOfTheSameNameIsReplaced) {
    const std::string file = Write("some.ini", "[dicomfdb]\nDriver=Old\n\n[Other]\nDriver=X\n");
    room.Tool("odbc --engine sqlite --database /a/b.db --file " + file);
    const std::string text = PosixFiles().ReadText(file);
    EXPECT_TRUE(text.starts_with("[DicomFDB]\nDriver=SQLite3\n"));
    EXPECT_TRUE(text.ends_with("\n\n[Other]\nDriver=X\n")) << text;
    EXPECT_FALSE(Holds(text, "Old"));
}

TEST_F(Tool, AServersEntryTakesItsPasswordFromAFile) {
    const std::string password = Write("password", "a secret\n");
    room.Tool("odbc --engine postgresql --database orbenta --user o --password-file " + password + " --file " +
              (room.Folder() / "new.ini").string());
    const std::string text = PosixFiles().ReadText((room.Folder() / "new.ini").string());
    EXPECT_TRUE(Holds(text, "Driver=PostgreSQL Unicode\nServername=127.0.0.1\nPort=5432\n"));
    EXPECT_TRUE(Holds(text, "Password=a secret\n"));
    const auto permissions = std::filesystem::status(room.Folder() / "new.ini").permissions();
    EXPECT_EQ(permissions & std::filesystem::perms(077), std::filesystem::perms::none);
}

TEST_F(Tool, AnEntryWithAPasswordMakesItsFileItsOwnersAlone) {
    using std::filesystem::perms;
    const std::string password = Write("password", "a secret\n");
    const std::string file = Write("some.ini", "[Other]\nDriver=X\n");
    const auto permissions = [&] { return std::filesystem::status(file).permissions(); };
    std::filesystem::permissions(file, perms(0644));
    room.Tool("odbc --engine sqlite --database /a/b.db --file " + file);
    EXPECT_EQ(permissions(), perms(0644));
    room.Tool("odbc --engine postgresql --database orbenta --user o --password-file " + password + " --file " + file);
    EXPECT_EQ(permissions(), perms(0600));
}

std::string ValueOf(const OdbcSettings& settings, const std::string& name) {
    std::string values;
    for (const auto& [each, value] : settings)
        values += each == name ? value : "";
    return values;
}

TEST(EntriesForAnotherAccount, HaveWhatMariaDbNeedsWhateverTheOwnersHas) {
    const OdbcSettings owners = {{"Driver", "MariaDB Unicode"},
                                 {"SERVER", "db"},
                                 {"initstmt", "SET x=1"},
                                 {"OPTION", "0"},
                                 {"USER", "o"},
                                 {"PWD", "secret"},
                                 {"SSLVERIFY", "1"},
                                 {"READ_TIMEOUT", "9"}};
    const OdbcSettings entry = ForAccount(owners, Engine::MariaDb, "ct-1", "word");
    EXPECT_TRUE(Holds(ValueOf(entry, "INITSTMT"), "tx_isolation='READ-COMMITTED'"));
    EXPECT_EQ(ValueOf(entry, "initstmt") + ValueOf(entry, "PWD"), "");
    EXPECT_EQ(ValueOf(entry, "OPTION") + ValueOf(entry, "CHARSET"), "2utf8mb4");
    EXPECT_EQ(ValueOf(entry, "SERVER") + ValueOf(entry, "SSLVERIFY") + ValueOf(entry, "READ_TIMEOUT"), "db19");
    EXPECT_EQ(ValueOf(entry, "USER") + ValueOf(entry, "PASSWORD"), "ct-1word");
}

TEST(EntriesForAnotherAccount, KeepPostgreSqlsOwnOptionsAndGetThoseThatLack) {
    const OdbcSettings owners = {{"Servername", "a,b"}, {"Username", "o"}};
    EXPECT_TRUE(Holds(ValueOf(ForAccount(owners, Engine::PostgreSql, "ct-1", "w"), "pqopt"),
                      " target_session_attrs=read-write"));
    const OdbcSettings with = {{"Servername", "a"}, {"pqopt", "sslmode=require"}};
    EXPECT_EQ(ValueOf(ForAccount(with, Engine::PostgreSql, "ct-1", "w"), "pqopt"), "sslmode=require");
}

TEST_F(Tool, OfSeveralServersTheEntryWantsTheOneThatTakesChanges) {
    const std::string file = (room.Folder() / "new.ini").string();
    room.Tool("odbc --engine postgresql --database orbenta --user o --server a,b,c --file " + file);
    const std::string text = PosixFiles().ReadText(file);
    EXPECT_TRUE(Holds(text, "\nServername=a,b,c\n")) << text;
    EXPECT_TRUE(Holds(text, " target_session_attrs=read-write\n")) << text;
}

TEST_F(Tool, ACatalogueInAFileIsNoDepartments) {
    const Outcome outcome = room.Tool("department init");
    EXPECT_EQ(outcome.status, Failed);
    EXPECT_TRUE(Holds(outcome.err, "A department needs a catalogue on a PostgreSQL or MariaDB server")) << outcome.err;
}

TEST_F(Tool, AServersEntryNeedsAUser) {
    EXPECT_EQ(room.Tool("odbc --engine mariadb --database orbenta").status, WrongArguments);
}

TEST_F(Tool, AFolderIsImportedThroughTheService) {
    const auto service = room.StartService();
    std::filesystem::create_directories(room.Folder() / "in/deep");
    TestObject().Numbered(1).SaveTo(room.Folder() / "in/one.dcm");
    TestObject(RealImage("JPEG2000.dcm")).SaveTo(room.Folder() / "in/deep/two");
    Write("in/readme.txt", "no object");
    const Outcome outcome = room.Tool("import " + (room.Folder() / "in").string());
    EXPECT_EQ(outcome.out, "Stored 2 objects; 0 failed; 1 files are not DICOM objects\n") << outcome.err;
    EXPECT_EQ(outcome.err, ""); // no progress bar where there is no terminal
    EXPECT_EQ(room.Count("Image"), "2");
}

TEST_F(Tool, AReportThatCouldNotBeSentIsImportedAlthoughItsUidHasPaddedComponents) {
    const auto service = room.StartService();
    std::filesystem::create_directories(room.Folder() / "unsent");
    TestObject().Set(DCM_SOPInstanceUID, "2.999.1.1.2026.11.05.08.05.09").SaveTo(room.Folder() / "unsent/version.dcm");
    const Outcome outcome = room.Tool("import " + (room.Folder() / "unsent").string());
    EXPECT_EQ(outcome.status, 0) << outcome.err;
    EXPECT_EQ(room.Count("Image"), "1");
}

TEST_F(Tool, WhatCannotBeImportedIsNamed) {
    const auto service = room.StartService();
    std::filesystem::create_directories(room.Folder() / "in");
    TestObject().Remove(DCM_StudyInstanceUID).SaveTo(room.Folder() / "in/refused.dcm");
    std::filesystem::copy(RealImage("MR_truncated.dcm"), room.Folder() / "in/broken.dcm");
    TestObject().Numbered(1).SaveTo(room.Folder() / "in/well.dcm");
    const Outcome outcome = room.Tool("import " + (room.Folder() / "in").string());
    EXPECT_EQ(outcome.status, Failed);
    EXPECT_TRUE(Holds(outcome.err, "refused.dcm: was refused: ")) << outcome.err;
    EXPECT_TRUE(Holds(outcome.err, "; the storage service's log says why")) << outcome.err;
    EXPECT_TRUE(Holds(outcome.err, "broken.dcm: cannot be read")) << outcome.err;
    EXPECT_TRUE(Holds(outcome.out, "Stored 1 objects; 2 failed"));
}

TEST_F(Tool, AnImportWithoutAServiceFails) {
    std::filesystem::create_directories(room.Folder() / "in");
    TestObject().SaveTo(room.Folder() / "in/one.dcm");
    const Outcome outcome = room.Tool("import " + (room.Folder() / "in").string());
    EXPECT_EQ(outcome.status, Failed);
    EXPECT_TRUE(Holds(outcome.err, "one.dcm: was not sent: ")) << outcome.err;
}

class Check : public Tool {
protected:
    Check() {
        room.Tool("site --base-uid 2.999.1 --organization Orbenta --node NODE");
        room.Tool("user $(id -un) --signature Bianchi^Anna");
        for (const std::string_view table : code_table::All)
            room.Insert(std::string(table), {{"CodeScheme", "99SS"}, {"CodeValue", "A"}, {"CodeMeaning", "a"}});
    }
    void ExpectMissing(const std::string& words) {
        const Outcome outcome = room.Tool("check");
        EXPECT_EQ(outcome.status, Failed);
        EXPECT_TRUE(Holds(outcome.out, "MISSING  " + words)) << outcome.out;
    }

    std::unique_ptr<Child> service = room.StartService();
};

TEST_F(Check, AWholeInstallationIsWell) {
    const Outcome outcome = room.Tool("check");
    EXPECT_EQ(outcome.status, 0) << outcome.out;
    EXPECT_FALSE(Holds(outcome.out, "MISSING"));
}

TEST_F(Check, ACatalogueWithoutAFormOfReportsIsWellAndClassic) {
    room.Run("ALTER TABLE SiteData DROP COLUMN ReportForm");
    room.Run("DROP TABLE CatalogueVersion");
    const Outcome outcome = room.Tool("check");
    EXPECT_EQ(outcome.status, 0) << outcome.out;
    EXPECT_TRUE(Holds(outcome.out, "well     reports are written in the classic form\n"));
}

TEST_F(Check, NamesOfEveryAlphabetAreWellWhereReportsAreInterchange) {
    room.Tool("site --reports interchange --organization '東京病院'");
    room.Tool("user $(id -un) --signature '山田^太郎'");
    const Outcome outcome = room.Tool("check");
    EXPECT_EQ(outcome.status, 0) << outcome.out;
    EXPECT_TRUE(Holds(outcome.out, "well     reports are written in the interchange form\n"));
}

TEST_F(Check, IsContentWithAPresentationStateThatWasImported) {
    std::filesystem::create_directories(room.Folder() / "in");
    TestObject().SaveTo(room.Folder() / "in/image.dcm");
    TestObject()
        .Remove(DCM_PixelData)
        .Set(DCM_SOPClassUID, UID_GrayscaleSoftcopyPresentationStateStorage)
        .Set(DCM_SOPInstanceUID, "2.999.6.1")
        .Set(DCM_SeriesInstanceUID, "2.999.6")
        .SaveTo(room.Folder() / "in/state.dcm");
    EXPECT_EQ(room.Tool("import " + (room.Folder() / "in").string()).status, 0);
    EXPECT_EQ(room.Value("SELECT Modality FROM Series WHERE SeriesInstanceUID='2.999.6'"), "PR");
    const Outcome outcome = room.Tool("check");
    EXPECT_EQ(outcome.status, 0) << outcome.out;
}

TEST_F(Check, SaysWhenNoVersionWaits) {
    EXPECT_TRUE(Holds(room.Tool("check").out, "well     no version waits to be stored in " + room.Unsent().string()));
}

/// The storage service is not there to take them in.
class CheckOfUnsentVersions : public Check {
protected:
    CheckOfUnsentVersions() {
        service.reset();
        std::filesystem::create_directories(room.Unsent());
    }
    void Keep(const std::string& name, TestObject version) { version.SaveTo(room.Unsent() / name); }
    std::string Words() { return room.Tool("check").out; }
    std::string At(const std::string& time) const { return "since " + time + " in " + room.Unsent().string() + "\n"; }
};

TEST_F(CheckOfUnsentVersions, NamesHowManyOfWhomSinceWhenAndWhere) {
    Keep("1.dcm", TestObject().Set(DCM_PatientName, "ROSSI^MARIO").Set(DCM_StudyInstanceUID, "2.999.1"));
    Keep("2.dcm", TestObject().Set(DCM_PatientName, "ROSSI^MARIO").Set(DCM_StudyInstanceUID, "2.999.1"));
    RunShell("touch -d '2026-11-15 08:05:09' " + (room.Unsent() / "2.dcm").string());
    EXPECT_TRUE(Holds(Words(), "warning  2 versions of patient ROSSI, MARIO (1CT1), study 2.999.1 wait to be stored " +
                                   At("15/11/2026 08:05:09")))
        << Words();
}

TEST_F(CheckOfUnsentVersions, NamesEachPatientsOwn) {
    Keep("1.dcm", TestObject().Set(DCM_PatientName, "ROSSI^MARIO"));
    Keep("2.dcm", TestObject().Set(DCM_PatientName, "BIANCHI^ANNA"));
    EXPECT_TRUE(Holds(Words(), "warning  1 version of patient ROSSI, MARIO (1CT1), study "));
    EXPECT_TRUE(Holds(Words(), "warning  1 version of patient BIANCHI, ANNA (1CT1), study "));
}

TEST_F(CheckOfUnsentVersions, NamesThoseOfAReportThatWasApprovedMeanwhile) {
    const auto version = [](const std::string& uid) {
        return TestObject()
            .Set(DCM_SOPClassUID, UID_BasicTextSRStorage)
            .Set(DCM_SeriesInstanceUID, "2.999.4")
            .Set(DCM_SOPInstanceUID, uid);
    };
    service = room.StartService();
    ASSERT_EQ(version("2.999.4.1").Set(DCM_VerificationFlag, "VERIFIED").Send(room, "AE_INTERNAL"), Stored);
    service.reset();
    Keep("2.dcm", version("2.999.4.2"));
    EXPECT_TRUE(Holds(Words(), " stays unstored since ")) << Words();
    EXPECT_TRUE(Holds(Words(), ": the report was approved meanwhile and takes no further version\n")) << Words();
}

TEST_F(CheckOfUnsentVersions, NamesWhatCannotBeRead) {
    Write("state/tavrel/unsent/1.dcm", "no DICOM file");
    RunShell("touch -d '2026-11-15 08:05:09' " + (room.Unsent() / "1.dcm").string());
    EXPECT_TRUE(
        Holds(Words(), "warning  1 version that cannot be read waits to be stored " + At("15/11/2026 08:05:09")))
        << Words();
}

TEST_F(CheckOfUnsentVersions, LeavesOutWhatIsNotComplete) {
    Write("state/tavrel/unsent/1.dcm", "");
    EXPECT_FALSE(Holds(Words(), "warning"));
}

TEST_F(CheckOfUnsentVersions, ShowsNoControlCharactersOfAForeignFile) {
    Keep("1.dcm", TestObject().Set(DCM_PatientName, "A\x1b[2J"));
    EXPECT_FALSE(Holds(Words(), "\x1b"));
}

TEST_F(CheckOfUnsentVersions, DoesNotFailForThem) {
    Keep("1.dcm", TestObject().Remove(DCM_SOPInstanceUID)); // so it stays there
    service = room.StartService();
    const Outcome outcome = room.Tool("check");
    EXPECT_TRUE(Holds(outcome.out, "warning  1 version of patient "));
    EXPECT_EQ(outcome.status, 0);
}

TEST_F(CheckOfUnsentVersions, LooksWhereItIsTold) {
    Write("elsewhere.dcm", "");
    EXPECT_TRUE(Holds(room.Tool("check --unsent " + room.Folder().string()).out,
                      "no version waits to be stored in " + room.Folder().string() + "\n"));
}

TEST_F(Check, LooksForStudiesWhereItIsTold) {
    TestObject().Send(room);
    service->Signal(SIGTERM);
    service->Wait();
    for (const char* table : {"Patient", "Study", "Series", "Image"})
        room.Run(std::string("DELETE FROM ") + table);
    EXPECT_FALSE(Holds(room.Tool("check").out, "is in no row"));
    const std::string out = room.Tool("check --studies " + room.Studies().string()).out;
    EXPECT_TRUE(Holds(out, " with 1 object is in no row; ")) << out;
}

TEST_F(Check, AServiceThatDoesNotAnswerIsFound) {
    service.reset();
    ExpectMissing("the storage service does not answer on port " + std::to_string(room.Port()));
}

struct Lack {
    const char* name;
    std::string statement; ///< brings it about
    const char* words;
};

class CheckOfACatalogue : public Check, public testing::WithParamInterface<Lack> {};

TEST_P(CheckOfACatalogue, FindsWhatIsWrong) {
    room.Run(GetParam().statement);
    ExpectMissing(GetParam().words);
}

INSTANTIATE_TEST_SUITE_P(
    Tool, CheckOfACatalogue,
    testing::Values(Lack{"NoTable", "DROP TABLE History", "the catalogue lacks the table History"},
                    Lack{"TwoSites", "INSERT INTO SiteData (BaseUID, Organization) VALUES ('2.999.2', 'Other')",
                         "table SiteData has 2 rows and must have one"},
                    Lack{"ALongBaseUid", "UPDATE SiteData SET BaseUID='2.999." + std::string(37, '1') + "'",
                         "the site's BaseUID has 43 characters; with more than 42 the UIDs of reports grow too long"},
                    Lack{"AZeroPaddedBaseUid", "UPDATE SiteData SET BaseUID='2.999.01'",
                         "the site's BaseUID \"2.999.01\" is no UID"},
                    Lack{"NoOrganization", "UPDATE SiteData SET Organization=NULL", "the site has no Organization"},
                    Lack{"AnUnknownForm", "UPDATE SiteData SET ReportForm='modern'",
                         "The site's reports are to be written in a form that this program does not know: \"modern\""},
                    Lack{"AnOrganizationForInterchangeAlone", "UPDATE SiteData SET Organization='東京病院'",
                         "the site's Organization has characters that classic reports (ISO_IR 100) cannot hold"},
                    Lack{"ASignatureForInterchangeAlone", "UPDATE Users SET Signature='山田^太郎'",
                         "the signature of "},
                    Lack{"TwoServices", "INSERT INTO Port (Port, AETitle) VALUES (1, 'OTHER')",
                         "table Port has 2 rows and must have one"},
                    Lack{"ALongAeTitle", "UPDATE Port SET AETitle='A_TITLE_OF_SEVENTEEN'",
                         "the storage service's AE title \"A_TITLE_OF_SEVENTEEN\" must have 1 to 16 characters"},
                    Lack{"NoSignature", "DELETE FROM Users", "user "},
                    Lack{"NoNode", "DELETE FROM DicomServer", "table DicomServer names no AE title"},
                    Lack{"NoCodes", "DELETE FROM StdFinding", "table StdFinding has no codes"},
                    Lack{"AnApostrophe", "INSERT INTO Patient (ID, PatientName) VALUES ('1', 'D''ANGELO')",
                         "patient D'ANGELO holds an apostrophe"},
                    Lack{"AColumnLess", "ALTER TABLE Study DROP COLUMN AccessionNumber",
                         "table Study lacks the column AccessionNumber; \"orbenta-catalogue check --mend\" mends it"}),
    [](const auto& test) { return test.param.name; });

class TextBlocksTool : public Tool {
protected:
    TextBlocksTool() { room.Tool("init"); }
    Outcome Import(const std::string& rows, const std::string& more = {}) {
        return room.Tool("texts import " + Write("texts.csv", "Kind,Name,Body\r\n" + rows) + " " + more);
    }
    std::string Exported() { return room.Tool("texts export").out; }
};

TEST_F(TextBlocksTool, ExportsWhatItImports) {
    const std::string rows = "template,\"Chest CT\",\"Lungs: ___\nHeart, \"\"normal\"\".\"\r\n"
                             "short,\"nad\",\"No abnormality.\"\r\n";
    const Outcome outcome = Import(rows);
    EXPECT_EQ(outcome.out, "Added 2 texts, changed 0; 0 were there already\n") << outcome.err;
    EXPECT_EQ(Exported(), "Kind,Name,Body\r\n" + rows);
    EXPECT_EQ(room.Tool("texts list").out, "template  Chest CT: Lungs: ___ ...\nshort  nad: No abnormality.\n");
}

TEST_F(TextBlocksTool, TakesAChangedFileAgain) {
    Import("short,nad,No abnormality.\nshort,n,Normal.\n");
    EXPECT_EQ(Import("short,nad,Nothing abnormal.\nshort,n,Normal.\n").out,
              "Added 0 texts, changed 1; 1 were there already\n");
    EXPECT_TRUE(Holds(Import("", "--replace").err, "line 1: no row follows the names of the columns"));
    EXPECT_EQ(Import("short,b,Both lungs.\n", "--replace").out, "Added 1 texts, changed 0; 0 were there already\n");
    EXPECT_EQ(Exported(), "Kind,Name,Body\r\nshort,\"b\",\"Both lungs.\"\r\n");
}

TEST_F(TextBlocksTool, ImportsNothingOfAFileWithAFault) {
    const Outcome outcome = Import("short,nad,No abnormality.\nshort,n a,x\nshort,n.,x\nmacro,x,x\nshort,nad,y\n"
                                   "template,,x\nshort,e,\n");
    EXPECT_EQ(outcome.status, Failed);
    for (const char* fault : {"line 3: Name of a short form must hold no blank",
                              "line 4: Name of a short form must end with a letter or a digit", "line 5: Kind must be",
                              "line 6: the short \"nad\" stands in line 2 already", "line 7: Name is empty",
                              "line 8: Body is empty", "nothing was imported"})
        EXPECT_TRUE(Holds(outcome.err, fault)) << fault << "\n" << outcome.err;
    EXPECT_EQ(Exported(), "Kind,Name,Body\r\n");
}

TEST_F(TextBlocksTool, TakesAFileOfASpreadsheet) {
    const auto file = Write("texts.csv", "\xEF\xBB\xBF\"Body\",\"Kind\",\"Name\"\r\n\"One\r\ntwo\",short,é\r\n");
    EXPECT_EQ(room.Tool("texts import " + file).err, "");
    EXPECT_EQ(Exported(), "Kind,Name,Body\r\nshort,\"é\",\"One\r\ntwo\"\r\n");
}

TEST_F(TextBlocksTool, NamesTheLineOfADamagedFile) {
    EXPECT_TRUE(Holds(Import("short,a,\"x\ny\"\nshort,b,Gr\xF6\xDF"
                             "e\n")
                          .err,
                      "line 4: Body is not UTF-8"));
    EXPECT_TRUE(Holds(Import("short,a,b\nshort,c,\"d").err, "line 3: a quote that is not closed"));
    EXPECT_TRUE(Holds(Import(std::string("short,a,x\0y\n", 12)).err, "line 2: Body "));
    EXPECT_TRUE(Holds(room.Tool("texts import " + Write("texts.csv", "")).err, "line 1: the first row must name"));
    EXPECT_EQ(Exported(), "Kind,Name,Body\r\n");
}

TEST_F(TextBlocksTool, HoldsABodyOfFourThousandCharactersAndNoLongerOne) {
    const auto body = [](int count) {
        std::string text;
        while (count-- > 0)
            text += "é";
        return text;
    };
    EXPECT_EQ(Import("template,CT," + body(4000) + "\n").status, 0);
    EXPECT_TRUE(Holds(Exported(), body(4000)));
    EXPECT_TRUE(Holds(Import("template,CT," + body(4001) + "\n").err, "Body is longer than 4000 characters"));
}

TEST_F(TextBlocksTool, SaysWhatClassicReportsLack) {
    EXPECT_TRUE(Holds(Import("short,ge,≥\n").err, "The short \"ge\" has characters that classic reports"));
}

TEST_F(TextBlocksTool, RemovesATextAndSaysWhenThereIsNone) {
    Import("short,nad,No abnormality.\n");
    EXPECT_EQ(room.Tool("texts remove short nad").status, 0);
    EXPECT_EQ(Exported(), "Kind,Name,Body\r\n");
    EXPECT_TRUE(Holds(room.Tool("texts remove short nad").err, "There is no short \"nad\""));
}

TEST_F(TextBlocksTool, SaysHowACatalogueOfBeforeGetsItsTable) {
    room.Run("DROP TABLE TextBlock");
    EXPECT_TRUE(Holds(room.Tool("texts list").err, "\"orbenta-catalogue upgrade\" makes it"));
}

TEST_F(Tool, SetsTheHelpInWritingOfTheSiteAndOfAPhysician) {
    room.Tool("init");
    EXPECT_EQ(room.Tool("writing").out, "The site: spelling off, dictation off\n");
    EXPECT_EQ(room.Tool("writing --spelling en_US,it").out, "The site: spelling en_US,it, dictation off\n");
    EXPECT_EQ(room.Tool("writing --dictation 'dictate --stdout'").out,
              "The site: spelling en_US,it, dictation dictate --stdout\n");
    EXPECT_EQ(room.Tool("writing --user mrossi --spelling off").out,
              "The site: spelling en_US,it, dictation dictate --stdout\nmrossi: spelling off, dictation as the site\n");
    EXPECT_EQ(room.Tool("writing --user mrossi --remove").out,
              "The site: spelling en_US,it, dictation dictate --stdout\n");
    EXPECT_EQ(room.Tool("writing --spelling off --dictation off").out, "The site: spelling off, dictation off\n");
}

TEST_F(Tool, SaysHowACatalogueOfBeforeCanBeToldOfTheHelpInWriting) {
    room.Tool("init");
    room.Run("DROP TABLE Writing");
    EXPECT_TRUE(Holds(room.Tool("writing").err, "\"orbenta-catalogue upgrade\" makes it"));
}

TEST_F(Tool, SaysWhichCatalogueItMayNotChangeAndWhy) {
    const std::string file = (room.Folder() / "catalogue.db").string();
    if (RunShell(Plainly("test -x " TOOL_PROGRAM)).status != 0)
        GTEST_SKIP() << "other accounts may not run " TOOL_PROGRAM;
    Protect(file);
    const std::string words =
        "The catalogue " + file + " cannot be changed: this account may not write it (Permission denied)";
    EXPECT_TRUE(Holds(RunShell(Plainly(TOOL_PROGRAM " site --node A")).err, words));
    EXPECT_TRUE(Holds(RunShell(Plainly(TOOL_PROGRAM " check")).out, words));
}

TEST_F(Tool, SaysThatTheCataloguesFolderCannotBeWritten) {
    if (RunShell(Plainly("test -x " TOOL_PROGRAM)).status != 0)
        GTEST_SKIP() << "other accounts may not run " TOOL_PROGRAM;
    room.Catalogue().Close(); // which leaves nothing beside it
    Protect(room.Folder());
    const Outcome check = RunShell(Plainly(TOOL_PROGRAM " check"));
    EXPECT_TRUE(Holds(check.out + check.err, "cannot be changed: this account may not write " + room.Folder().string() +
                                                 " (Permission denied)"))
        << check.out << check.err;
}

TEST_F(Tool, SaysWhichCatalogueItMayNotRead) {
    if (RunShell(Plainly("test -x " TOOL_PROGRAM)).status != 0)
        GTEST_SKIP() << "other accounts may not run " TOOL_PROGRAM;
    const auto file = room.Folder() / "catalogue.db";
    Protect(file);
    std::filesystem::permissions(file, std::filesystem::perms::none);
    EXPECT_TRUE(Holds(RunShell(Plainly(TOOL_PROGRAM " check")).err,
                      "The database cannot be opened: " + file.string() + ": Permission denied (DSN=DicomFDB)"));
}

} // namespace
} // namespace tavrel
