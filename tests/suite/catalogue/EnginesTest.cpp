#include "platform/error.h"
#include "suite/catalogue/CodeTable.h"
#include "suite/catalogue/Settings.h"
#include "suite/catalogue/TextTable.h"
#include "tests/suite/SuiteRoom.h"
#include "tests/suite/TestObject.h"
#include "tests/support/NamesInScripts.h"

#include <dcmtk/dcmdata/dcdeftag.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <csignal>

namespace tavrel {
namespace {

/// Each test on the servers of tests/support/engines.
class Engines : public testing::TestWithParam<const char*> {
protected:
    void AddFinding(const std::string& code, const std::string& meaning = "Nodule") {
        room.Insert("StdFinding", {{"CodeScheme", "99SS"}, {"CodeValue", code}, {"CodeMeaning", meaning}});
    }
    CodeImport Import(const std::string& rows) {
        return ImportCodes(room.Catalogue(), "StdFinding", "CodeScheme,CodeValue,CodeMeaning\n" + rows, false);
    }

    SuiteRoom room{std::string("DicomFDB_") + GetParam()};
};

TEST_P(Engines, TheSchemaCanBeMadeAgain) {
    room.Insert("SiteData", {{"BaseUID", "2.999.1"}, {"Organization", "Orbenta"}});
    CreateSchema(room.Catalogue(), DetectEngine(room.Catalogue()));
    EXPECT_EQ(room.Value("SELECT Organization FROM SiteData"), "Orbenta");
}

TEST_P(Engines, ACodeIsFoundWithABlankBehindIt) {
    AddFinding("F1");
    EXPECT_EQ(room.Value("SELECT CodeMeaning FROM StdFinding WHERE CodeValue = 'F1 ' "), "Nodule");
}

TEST_P(Engines, LetterCaseOfACodeCounts) {
    AddFinding("f1");
    EXPECT_TRUE(room.Column("SELECT CodeMeaning FROM StdFinding WHERE CodeValue = 'F1 ' ").empty());
}

TEST_P(Engines, ACodesValueComesBackWithoutPadding) {
    AddFinding("F1");
    EXPECT_EQ(room.Value("SELECT CodeValue FROM StdFinding"), "F1");
}

TEST_P(Engines, TextBlocksComeBackToTheLetter) {
    std::string longest;
    for (int i = 0; i < 1333; ++i)
        longest += "é\n胸";
    const std::string csv = ExportTexts({{"template", "Thorax 胸", longest + "."},
                                         {"short", "NAD", R"(Size "___", it's 'normal'; -- \)"},
                                         {"short", "nad", "No abnormality."}});
    EXPECT_EQ(ImportTexts(room.Catalogue(), csv, true).added, 3);
    EXPECT_EQ(ExportTexts(ReadTexts(room.Catalogue())), csv);
    EXPECT_TRUE(RemoveText(room.Catalogue(), "short", "nad"));
    EXPECT_EQ(ReadTexts(room.Catalogue()).size(), 2U);
}

TEST_P(Engines, TheHelpInWritingIsSetForTheSiteAndAPhysician) {
    ChangeWriting(room.Catalogue(), {"", "en_US", "dictate \"a b\""});
    ChangeWriting(room.Catalogue(), {"Müller", "off", ""});
    ChangeWriting(room.Catalogue(), {"", "it", ""});
    EXPECT_EQ(DescribeWriting(ReadWriting(room.Catalogue())),
              "The site: spelling it, dictation dictate \"a b\"\nMüller: spelling off, dictation as the site\n");
    RemoveWriting(room.Catalogue(), "Müller");
    EXPECT_EQ(ReadWriting(room.Catalogue()).size(), 1U);
}

TEST_P(Engines, ImagesComeBackInTheOrderOfTheirStoring) {
    std::vector<std::string> files;
    for (int number = 100; number > 0; --number) {
        files.push_back("img_" + std::to_string(number) + ".dcm");
        room.Insert("Image",
                    {{"SeriesInstanceUID", "2.999." + std::to_string(number % 2)}, {"ImageFile", files.back()}});
    }
    std::erase_if(files, [n = 0](const auto&) mutable { return n++ % 2 != 0; });
    std::vector<std::string> found;
    const auto rows = room.Catalogue().OpenResultSet("SELECT * From Image WHERE SeriesInstanceUID='2.999.0'");
    for (; !rows->AtEnd(); rows->MoveNext())
        found.push_back(rows->Text("ImageFile"));
    EXPECT_EQ(found, files);
}

TEST_P(Engines, AnAuditRowGetsItsTime) {
    room.Run("INSERT INTO History (Node, Username, PatientName, PatientID, StudyUID, SeriesUID, ActionVal, Description)"
             " VALUES ('N','u','p','1','2.999.1','2.999.2','REFERT','View Refert')");
    EXPECT_TRUE(room.Value("SELECT ActionTime FROM History").starts_with("20"));
}

TEST_P(Engines, CodesOfManyLettersAreImported) {
    EXPECT_EQ(Import("99SS,F1,Röntgen 胸部 \U0001F9B4\n").added, 1);
    EXPECT_EQ(room.Value("SELECT CodeMeaning FROM StdFinding"), "Röntgen 胸部 \U0001F9B4");
}

TEST_P(Engines, ASearchRaisesEveryLetter) {
    Import("99SS,F1,Fracture du fémur\n99SS,F2,Κάταγμα\n99SS,F3,Перелом\n99SS,F4,Straße\n");
    for (const char* part : {"FÉM", "ΚΆΤΑΓ", "РЕЛ", "STRAß"})
        EXPECT_EQ(
            room.Column("SELECT CodeValue FROM StdFinding WHERE Upper(CodeMeaning) LIKE '%" + std::string(part) + "%'")
                .size(),
            1U)
            << part;
}

TEST_P(Engines, NothingHasNoCapitals) {
    room.Insert("StdFinding", {{"CodeScheme", "99SS"}, {"CodeValue", "F1"}});
    EXPECT_EQ(room.Value("SELECT Upper(CodeMeaning) FROM StdFinding"), "NULL");
}

TEST_P(Engines, AMicroSignStaysOne) {
    Import("99SS,µ1,Nodule of 10 µm\n");
    EXPECT_EQ(room.Value("SELECT CodeMeaning FROM StdFinding WHERE CodeValue = 'µ1 ' "), "Nodule of 10 µm");
}

TEST_P(Engines, ACodeOf16CharactersIsImportedAndOneOf17Refused) {
    EXPECT_EQ(Import("99SS,F123456789012345,Nodule\n").added, 1);
    EXPECT_EQ(Import("99SS,F1234567890123456,Nodule\n").faults,
              std::vector<std::string>{"line 2: CodeValue is longer than 16 characters"});
    EXPECT_EQ(room.Column("SELECT CodeValue FROM StdFinding"), std::vector<std::string>{"F123456789012345"});
}

TEST_P(Engines, ACodeOf17CharactersFromElsewhereComesBack) {
    AddFinding("F1234567890123456");
    EXPECT_EQ(room.Value("SELECT CodeValue FROM StdFinding WHERE CodeValue = 'F1234567890123456 ' "),
              "F1234567890123456");
}

TEST_P(Engines, ACodeOf65CharactersIsNeverCut) {
    const std::string code(65, 'F');
    try {
        AddFinding(code);
        EXPECT_EQ(room.Value("SELECT CodeValue FROM StdFinding"), code); // SQLite holds columns to no size
    } catch (const Error&) {
        EXPECT_EQ(room.Count("StdFinding"), "0");
    }
}

TEST_P(Engines, BlanksBehindACodeMakeNoOtherCode) {
    AddFinding("F1  ");
    EXPECT_EQ(Import("99SS,F1,Nodule\n99SS,F2 ,Cyst\n").known, 1);
    EXPECT_EQ(Import("99SS,F2,Cyst\n99SS,F1 ,Nodule\n").known, 2);
    EXPECT_EQ(room.Count("StdFinding"), "2");
}

TEST_P(Engines, TwinRowsStayWhenTheirCodeIsImported) {
    AddFinding("F1", "Nodule");
    AddFinding("F1", "Cyst");
    EXPECT_EQ(Import("99SS,F1,Effusion\n").known, 1);
    const std::vector<std::string> twins = {"Cyst", "Nodule"};
    EXPECT_EQ(room.Column("SELECT CodeMeaning FROM StdFinding ORDER BY CodeMeaning"), twins);
}

TEST_P(Engines, AOneRowTableKeepsOneRow) {
    OneRowTable port(room.Catalogue(), "Port");
    port.Set({{"Port", "4242"}});
    EXPECT_EQ(port.Rows(), 1);
    EXPECT_EQ(port.Value("Port"), "4242");
    EXPECT_EQ(port.Value("AETitle"), "PORVANE");
}

TEST_P(Engines, TheFormOfReportsIsSetOnceACatalogueOfBeforeIsBroughtUp) {
    room.Run("ALTER TABLE SiteData DROP COLUMN ReportForm");
    room.Insert("SiteData", {{"BaseUID", "2.999.1"}, {"Organization", "Orbenta"}});
    EXPECT_EQ(SiteReportForm(room.Catalogue()), ReportForm::Classic);
    EXPECT_THROW(SetSiteData(room.Catalogue(), {{"ReportForm", "interchange"}}), Error);
    room.Tool("check --mend");
    SetSiteData(room.Catalogue(), {{"ReportForm", "interchange"}});
    EXPECT_EQ(SiteReportForm(room.Catalogue()), ReportForm::Interchange);
    EXPECT_EQ(room.Value("SELECT Organization FROM SiteData"), "Orbenta");
}

TEST_P(Engines, UsersAreSet) {
    SetUser(room.Catalogue(), {"anna", "O'Brien^Anna"});
    SetUser(room.Catalogue(), {"anna", "O'Brien^A"});
    ASSERT_EQ(ReadUsers(room.Catalogue()).size(), 1U);
    EXPECT_EQ(ReadUsers(room.Catalogue()).front().signature, "O'Brien^A");
}

TEST_P(Engines, TheServiceStoresAndKnowsWhatItStored) {
    auto service = room.StartService();
    EXPECT_EQ(TestObject().Numbered(1).Send(room), 0) << room.ServiceLog();
    service.reset();
    service = room.StartService();
    EXPECT_EQ(TestObject().Numbered(1).Send(room), 0);
    EXPECT_EQ(TestObject().Numbered(2).Send(room), 0);
    EXPECT_EQ(room.Count("Image"), "2");
    EXPECT_EQ(room.StoredFiles().size(), 2U);
}

TestObject Named(int number, const std::string& name) {
    const std::string digits = std::to_string(number);
    return TestObject()
        .Set(DCM_SpecificCharacterSet, "ISO_IR 192")
        .Set(DCM_PatientID, digits)
        .Set(DCM_StudyInstanceUID, "2.999.5." + digits)
        .Set(DCM_SeriesInstanceUID, "2.999.6." + digits)
        .Set(DCM_PatientName, name)
        .Numbered(number);
}

TEST_P(Engines, NamesOfEveryScriptAreCataloguedWhole) {
    const auto service = room.StartService();
    const auto names = test::NamesInScripts();
    ASSERT_GE(names.size(), 12U);
    for (std::size_t i = 0; i < names.size(); ++i) {
        const auto number = static_cast<int>(i) + 100;
        EXPECT_EQ(Named(number, names[i].name).Send(room), 0) << room.ServiceLog();
        EXPECT_EQ(room.Value("SELECT PatientName FROM Patient WHERE ID='" + std::to_string(number) + "'"),
                  names[i].name);
    }
}

TEST_P(Engines, ALongestNameOfThreeScriptsIsCataloguedWhole) {
    const auto service = room.StartService();
    const auto of = [](const std::string& letter) {
        std::string group;
        while (group.size() < 64 * letter.size())
            group += letter;
        return group;
    };
    const std::string name = of("Y") + "=" + of("\U00020BB7") + "=" + of("よ");
    EXPECT_EQ(Named(1, name).Send(room), 0) << room.ServiceLog();
    EXPECT_EQ(room.Value("SELECT PatientName FROM Patient"), name);
}

TEST_P(Engines, ARefusedRowTakesTheFileBack) {
    const auto service = room.StartService();
    room.Run("ALTER TABLE Image RENAME TO Gone");
    const int status = TestObject().Send(room);
    room.Run("ALTER TABLE Gone RENAME TO Image");
    EXPECT_EQ(status, 0x0110);
    EXPECT_TRUE(room.StoredFiles().empty());
    EXPECT_EQ(room.Count("Series"), "0");
    EXPECT_EQ(TestObject().Send(room), 0) << room.ServiceLog();
}

TEST_P(Engines, CheckMendsRows) {
    {
        const auto service = room.StartService();
        for (const int number : {1, 2})
            TestObject().Numbered(number).Send(room);
        service->Signal(SIGTERM);
        service->Wait();
    }
    room.Run("DELETE FROM Image WHERE SOPInstanceUID='2.999.7.2'");
    room.Insert("Patient", {{"ID", "P9"}, {"PatientName", "ROSSI^ANNA"}});
    const std::string out = room.Tool("check --mend").out;
    for (const char* mended : {" has no row\n", "mended   the patient P9 has no study\n"})
        EXPECT_NE(out.find(mended), std::string::npos) << out;
    EXPECT_EQ(room.Count("Image"), "2");
    EXPECT_EQ(room.Count("Patient"), "1");
}

INSTANTIATE_TEST_SUITE_P(Suite, Engines, testing::Values("sqlite", "postgresql", "mariadb"), EngineName);

} // namespace
} // namespace tavrel
