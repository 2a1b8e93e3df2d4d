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
        Run("INSERT INTO StdFinding (CodeScheme, CodeValue, CodeMeaning) VALUES ('SRT', 'C1', 'Cyst')");
        global.catalogue = Connect(GetParam());
        Open(StandardCodes);
    }

    void Run(std::string_view statement) { beside->OpenResultSet(statement); }
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
    Run("INSERT INTO StdFinding (CodeScheme, CodeValue, CodeMeaning) VALUES ('SRT', 'C10', 'Nodule')");

    Do(Delete, "C1", "", "");

    ExpectNoMessages();
    EXPECT_EQ(StoredCodes(), Texts{"C10|SRT|Nodule"});
}

TEST_P(CodesOnEngine, ACodeInSmallLettersIsNotFoundByItsCapitals) {
    Run("INSERT INTO StdFinding (CodeScheme, CodeValue, CodeMeaning) VALUES ('SRT', 'n1', 'Nodule')");

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

    Do(Add, "L1", "", meaning);

    ExpectNoMessages();
    EXPECT_EQ(Listed().back(), "L1|99SS|" + meaning + "|");
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

std::string EngineName(const testing::TestParamInfo<const char*>& entry) {
    return std::string(entry.param).substr(std::string_view("DicomFDB_").size());
}

INSTANTIATE_TEST_SUITE_P(Engines, CodesOnEngine,
                         testing::Values("DicomFDB_sqlite", "DicomFDB_postgresql", "DicomFDB_mariadb"), EngineName);

/// SQLite's Upper() leaves the letters outside ASCII as they are.
class CodesOnServer : public CodesOnEngine {};

TEST_P(CodesOnServer, AnAccentedSearchFindsMeaningsInSmallLetters) {
    Run("INSERT INTO StdFinding (CodeScheme, CodeValue, CodeMeaning) VALUES ('SRT', 'F1', 'Fracture du fémur')");
    manager.txtFind.Typed("FéM");

    manager.txtFind.KeyUp();

    EXPECT_EQ(Listed(), Texts{"F1|SRT|FRACTURE DU FÉMUR|"});
}

INSTANTIATE_TEST_SUITE_P(Engines, CodesOnServer, testing::Values("DicomFDB_postgresql", "DicomFDB_mariadb"),
                         EngineName);

} // namespace
} // namespace tavrel::test
