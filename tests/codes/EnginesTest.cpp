// The manager on every engine that a catalogue may live on; runs under tests/support/engines.

#include "platform/odbc/OdbcDatabase.h"
#include "suite/catalogue/Schema.h"
#include "tests/codes/CodesTest.h"

#include <functional>

namespace tavrel::test {
namespace {

enum Action { Add, Modify, Delete };

std::unique_ptr<Connection> Connect(const std::string& entry) {
    auto connection = OdbcDatabase().NewConnection();
    connection->Open("DSN=" + entry);
    return connection;
}

class CodesOnEngine : public CodesTest, public testing::WithParamInterface<const char*> {
protected:
    CodesOnEngine() : beside(Connect(GetParam())) {
        CreateSchema(*beside, DetectEngine(*beside));
        Run("DELETE FROM StdFinding");
        AddRow("SRT", "C1", "Cyst");
        global.catalogue = Connect(GetParam());
        Open(StandardCodes);
    }

    void Run(std::string_view statement) { beside->OpenResultSet(statement); }
    void AddRow(const std::string& scheme, const std::string& code, const std::string& meaning) {
        Run("INSERT INTO StdFinding (CodeScheme, CodeValue, CodeMeaning) VALUES ('" + scheme + "', '" + code + "', '" +
            meaning + "')");
    }
    std::vector<std::string> StoredCodes() {
        std::vector<std::string> rows;
        for (const auto found = beside->OpenResultSet("SELECT * FROM StdFinding ORDER BY CodeValue, CodeMeaning");
             !found->AtEnd(); found->MoveNext())
            rows.push_back(found->Text("CodeValue") + "|" + found->Text("CodeScheme") + "|" +
                           found->Text("CodeMeaning"));
        return rows;
    }
    void Do(Action action, std::string_view code, std::string_view scheme, std::string_view meaning) {
        manager.optManageCodes(action).Press();
        FillNewCode(code, scheme, meaning);
        manager.cmdDone.Press();
    }
    void ExpectNoMessages() { EXPECT_EQ(windows.Texts(), Texts{}); }

    std::unique_ptr<Connection> beside; ///< another writer at the same catalogue
};

TEST_P(CodesOnEngine, AddStoresTheCode) {
    Do(Add, "n1", "", "Nodule");

    ExpectNoMessages();
    EXPECT_EQ(StoredCodes(), (Texts{"C1|SRT|Cyst", "n1|99SS|Nodule"}));
}

TEST_P(CodesOnEngine, AddFindsTheKnownCodeInSpiteOfTheBlankInItsStatement) {
    Do(Add, "C1", "", "Another cyst");

    ExpectNoMessages();
    EXPECT_EQ(StoredCodes(), Texts{"C1|SRT|Cyst"});
}

TEST_P(CodesOnEngine, ModifyFindsTheCodeInSpiteOfTheBlankInItsStatement) {
    Do(Modify, "C1", "SRT", "Simple cyst");

    ExpectNoMessages();
    EXPECT_EQ(StoredCodes(), Texts{"C1|SRT|Simple cyst"});
}

TEST_P(CodesOnEngine, DeleteRemovesTheCodeInSpiteOfTheBlankInItsStatement) {
    AddRow("SRT", "C10", "Nodule");

    Do(Delete, "C1", "", "");

    ExpectNoMessages();
    EXPECT_EQ(StoredCodes(), Texts{"C10|SRT|Nodule"});
}

TEST_P(CodesOnEngine, ACodeInSmallLettersIsNotFoundByItsCapitals) {
    AddRow("SRT", "n1", "Nodule");

    Do(Delete, "n1", "", "");

    EXPECT_EQ(StoredCodes(), (Texts{"C1|SRT|Cyst", "n1|SRT|Nodule"}));
}

TEST_P(CodesOnEngine, ListedCodesCarryNoPadding) {
    Search("cys");

    ExpectNoMessages();
    EXPECT_EQ(Listed(), Texts{"C1|SRT|CYST|"});
}

TEST_P(CodesOnEngine, AccentedMeaningsAreStoredAndListed) {
    Do(Add, "F1", "", "Fracture du fémur");

    EXPECT_EQ(StoredCodes().back(), "F1|99SS|Fracture du fémur");
    EXPECT_EQ(Listed().back(), "F1|99SS|FRACTURE DU FÉMUR|");
}

TEST_P(CodesOnEngine, AnApostropheInTheCodeLosesNothingAndTheCatalogueStaysUsable) {
    for (const Action action : {Add, Modify, Delete})
        Do(action, "O'BRIEN", "SRT", "Cyst");
    Search("cyst");

    EXPECT_EQ(windows.messages.size(), 3U);
    EXPECT_EQ(StoredCodes(), Texts{"C1|SRT|Cyst"});
    EXPECT_EQ(Listed(), Texts{"C1|SRT|CYST|"});
}

TEST_P(CodesOnEngine, ALongMeaningIsListedWhole) {
    const std::string meaning(255, 'M');

    AddRow("99SS", "L1", meaning);

    Do(Delete, "none", "", ""); // lists the whole table

    ExpectNoMessages();
    EXPECT_EQ(Listed().back(), "L1|99SS|" + meaning + "|");
}

TEST_P(CodesOnEngine, CodesOf16CharactersAreMaintainedLikeAnyOther) {
    const std::string code(16, 'L');
    Do(Add, code, "", "Long");
    Do(Add, code, "", "Long again");
    Do(Modify, code, "SRT", "Longer");
    EXPECT_EQ(StoredCodes(), (Texts{"C1|SRT|Cyst", code + "|SRT|Longer"}));

    Do(Delete, code, "", "");
    EXPECT_EQ(StoredCodes(), Texts{"C1|SRT|Cyst"});
    ExpectNoMessages();
}

TEST_P(CodesOnEngine, ALongerCodeThatTheTableHasCanBeDeleted) {
    const std::string code(64, 'L');
    AddRow("99SS", code, "Long");

    Do(Delete, code, "", "");

    EXPECT_EQ(StoredCodes(), Texts{"C1|SRT|Cyst"});
    ExpectNoMessages();
}

TEST_P(CodesOnEngine, ABlankBehindACodeTellsItFromNoOther) {
    Do(Add, "C1 ", "", "Twin");
    EXPECT_EQ(StoredCodes(), Texts{"C1|SRT|Cyst"});
    ExpectNoMessages();
}

TEST_P(CodesOnEngine, OfTwoRowsOfACodeTheFirstIsModifiedAndBothAreDeleted) {
    AddRow("99SS", "C1", "Other");

    Do(Modify, "C1", "SRT", "Sibling");
    EXPECT_EQ(StoredCodes(), (Texts{"C1|99SS|Other", "C1|SRT|Sibling"}));

    Do(Delete, "C1", "", "");
    EXPECT_EQ(StoredCodes(), Texts{});
    ExpectNoMessages();
}

TEST_P(CodesOnEngine, OfTwinRowsOneIsModified) {
    AddRow("SRT", "C1", "Cyst");

    Do(Modify, "C1", "SRT", "Twin");

    ExpectNoMessages();
    EXPECT_EQ(StoredCodes(), (Texts{"C1|SRT|Cyst", "C1|SRT|Twin"}));
}

TEST_P(CodesOnEngine, AMicroSignInACodeStaysAsItIs) {
    AddRow("SRT", "µ1", "Granule");

    Do(Modify, "µ1", "SRT", "Small granule");
    EXPECT_EQ(StoredCodes(), (Texts{"C1|SRT|Cyst", "µ1|SRT|Small granule"}));

    Do(Delete, "µ1", "", "");
    EXPECT_EQ(StoredCodes(), Texts{"C1|SRT|Cyst"});
}

TEST_P(CodesOnEngine, BlanksAfterACodeDoNotCount) {
    Do(Add, "C1  ", "", "Another cyst");
    Do(Add, "B1  ", "", "Bulla");
    EXPECT_EQ(StoredCodes().size(), 2U);

    Do(Delete, "B1", "", "");
    EXPECT_EQ(StoredCodes(), Texts{"C1|SRT|Cyst"});
    ExpectNoMessages();
}

TEST_P(CodesOnEngine, BlanksAfterASchemeAndAMeaningAreKept) {
    Do(Modify, "C1", "SRT ", "Cyst  ");

    EXPECT_EQ(StoredCodes(), Texts{"C1|SRT |Cyst  "});
    EXPECT_EQ(Listed(), Texts{"C1|SRT |CYST  |"});
}

/// Another writer comes in between the finding of a code and its change.
class Meanwhile : public ForwardingConnection {
public:
    Meanwhile(std::unique_ptr<Connection> target, std::function<void()> writer)
        : ForwardingConnection(std::move(target)), writer_(std::move(writer)) {}

    std::unique_ptr<ResultSet> OpenResultSet(std::string_view statement, Cursor cursor) override {
        auto rows = ForwardingConnection::OpenResultSet(statement, cursor);
        if (cursor == Cursor::Dynamic)
            writer_();
        return rows;
    }

private:
    std::function<void()> writer_;
};

TEST_P(CodesOnEngine, ARowThatAnotherWriterChangedMeanwhileStaysAsThatWriterLeftIt) {
    global.catalogue = std::make_unique<Meanwhile>(std::move(global.catalogue), [this] {
        Run("UPDATE StdFinding SET CodeMeaning = 'Theirs' WHERE CodeValue = 'C1'");
    });

    Do(Modify, "C1", "SRT", "Ours");

    EXPECT_EQ(StoredCodes(), Texts{"C1|SRT|Theirs"});
    EXPECT_EQ(windows.messages.size(), 1U);
    EXPECT_EQ(manager.txtNewMeaning.Text(), "Ours");
    EXPECT_EQ(manager.PendingAction, "Update");
}

TEST_P(CodesOnEngine, ARowThatAnotherWriterDeletedMeanwhileIsNotMadeAgain) {
    global.catalogue = std::make_unique<Meanwhile>(std::move(global.catalogue),
                                                   [this] { Run("DELETE FROM StdFinding WHERE CodeValue = 'C1'"); });

    Do(Modify, "C1", "SRT", "Ours");

    EXPECT_EQ(StoredCodes(), Texts{});
    EXPECT_EQ(windows.messages.size(), 1U);
}

TEST_P(CodesOnEngine, AFailedModifyCanBeDoneAgain) {
    global.catalogue = std::make_unique<Meanwhile>(std::move(global.catalogue), [this] {
        if (windows.messages.empty())
            Run("UPDATE StdFinding SET CodeMeaning = 'Theirs' WHERE CodeValue = 'C1'");
    });
    Do(Modify, "C1", "SRT", "Ours");

    manager.cmdDone.Press();

    EXPECT_EQ(windows.messages.size(), 1U);
    EXPECT_EQ(StoredCodes(), Texts{"C1|SRT|Ours"});
}

TEST_P(CodesOnEngine, ACodeOf65CharactersIsRefusedAndStaysInItsBox) {
    const std::string code(65, 'L');

    Do(Add, code, "", "Too long");

    EXPECT_EQ(StoredCodes(), Texts{"C1|SRT|Cyst"});
    EXPECT_EQ(windows.messages.size(), 1U);
    EXPECT_EQ(manager.txtNewCode.Text(), code);
}

std::string EngineName(const testing::TestParamInfo<const char*>& entry) {
    return std::string(entry.param).substr(std::string_view("DicomFDB_").size());
}

INSTANTIATE_TEST_SUITE_P(Engines, CodesOnEngine,
                         testing::Values("DicomFDB_sqlite", "DicomFDB_postgresql", "DicomFDB_mariadb"), EngineName);

/// SQLite's Upper() leaves the letters outside ASCII as they are.
class CodesOnSqlite : public CodesOnEngine {};

TEST_P(CodesOnSqlite, AMicroSignIsFoundInAMeaning) {
    AddRow("SRT", "G1", "Granule of 5 µm");
    manager.txtFind.Typed("5 µm");

    manager.txtFind.KeyUp();

    EXPECT_EQ(Listed(), Texts{"G1|SRT|GRANULE OF 5 µM|"});
}

INSTANTIATE_TEST_SUITE_P(Engines, CodesOnSqlite, testing::Values("DicomFDB_sqlite"), EngineName);

/// The servers' Upper() knows every letter: of the micro sign it makes a Greek capital.
class CodesOnServer : public CodesOnEngine {};

TEST_P(CodesOnServer, AMicroSignIsNotFoundInAMeaning) {
    AddRow("SRT", "G1", "Granule of 5 µm");
    manager.txtFind.Typed("5 µm");

    manager.txtFind.KeyUp();

    ExpectNoMessages();
    EXPECT_EQ(Listed(), Texts{});
}

TEST_P(CodesOnServer, AnAccentedSearchFindsMeaningsInSmallLetters) {
    AddRow("SRT", "F1", "Fracture du fémur");
    manager.txtFind.Typed("FéM");

    manager.txtFind.KeyUp();

    EXPECT_EQ(Listed(), Texts{"F1|SRT|FRACTURE DU FÉMUR|"});
}

INSTANTIATE_TEST_SUITE_P(Engines, CodesOnServer, testing::Values("DicomFDB_postgresql", "DicomFDB_mariadb"),
                         EngineName);

} // namespace
} // namespace tavrel::test
