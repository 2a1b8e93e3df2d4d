#include "tests/platform/odbc/EngineTest.h"

#include <array>

namespace tavrel {
namespace {

class Commands : public EngineTest {
protected:
    std::unique_ptr<Command> command = connection->NewCommand();

    static Parameter Text(std::string name, std::string value) {
        return {std::move(name), ParameterType::VariableCharacter, 255, std::move(value)};
    }
    static Parameter LongText(std::string name, std::string value) {
        return {std::move(name), ParameterType::LongVariableCharacter, 1024, std::move(value)};
    }
    /// The reading as it is stored after a command has inserted it.
    std::string Stored(Parameter reading) {
        command->Text("Insert Into Report (Reading) Values (?)");
        command->Append(std::move(reading));
        command->Execute();
        return database.Value("SELECT Reading FROM Report");
    }
};
INSTANTIATE_TEST_SUITE_P(Engines, Commands, AllEngines, EngineName);

constexpr std::array Columns = {
    "PatientName",        "BirthDate",      "Age",           "Sex",         "PatientID",        "StudyDate",
    "StudyDescription",   "StudyPhysician", "ReportHeading", "ReportTitle", "ReadingPhysician", "LastUpdated",
    "ApprovingPhysician", "ApprovingDate",  "Reading"};

TEST_P(Commands, ThePrintTableIsFilledInOneTransaction) {
    connection->BeginTransaction();
    command->Text("Delete from Report");
    command->Execute();
    command->Text("Insert Into Report (PatientName) Values (?)");
    command->Append(Text("PatientName", "ROSSI^MARIO"));
    command->Execute();
    command->Delete(0);
    command->Text(" Update Report Set PatientName=?,  BirthDate=?, Age=?, Sex=?, "
                  "                               PatientID=?, StudyDate=?, "
                  "                               StudyDescription=?, StudyPhysician=?, "
                  "                               ReportHeading=?, ReportTitle=?, "
                  "                               ReadingPhysician=?, LastUpdated=?, "
                  "                               ApprovingPhysician=?, ApprovingDate=?, Reading=? ");
    TestDatabase::Row expected;
    for (const std::string name : Columns) {
        command->Append(name == "Reading" ? LongText(name, "Età: '€' 😀\r\n?") : Text(name, name + " è"));
        expected.emplace_back(name == "Reading" ? "Età: '€' 😀\r\n?" : name + " è");
    }
    command->Execute();
    connection->Commit();
    EXPECT_EQ(database.Rows("SELECT * FROM Report", 15), std::vector<TestDatabase::Row>(1, expected));
}

TEST_P(Commands, AnEmptyValueIsEmptyTextAndNotNull) {
    EXPECT_EQ(Stored(LongText("Reading", "")), "");
}

TEST_P(Commands, TrailingBlanksAreKept) {
    EXPECT_EQ(Stored(LongText("Reading", "text  ")), "text  ");
}

TEST_P(Commands, AValueOfItsParametersSizeIsStored) {
    const std::string text(1024, 'x');
    EXPECT_EQ(Stored(LongText("Reading", text)), text);
}

TEST_P(Commands, TheSizeCountsCharactersAndNotBytes) {
    std::string text;
    for (int index = 0; index < 512; ++index)
        text += "€😀";
    EXPECT_EQ(Stored(LongText("Reading", text)), text);
}

TEST_P(Commands, ALongerValueIsRefusedBeforeAnythingIsSent) {
    command->Text("Insert Into Report (PatientName, Reading) Values (?, ?)");
    command->Append(Text("PatientName", "ROSSI"));
    command->Append(LongText("Reading", std::string(1025, 'x')));
    const Error error = ErrorOf([&] { command->Execute(); });
    EXPECT_EQ(error.number, static_cast<int>(OdbcFailure::ParameterTooLong));
    EXPECT_EQ(error.description, "\"Reading\" has 1025 characters; at most 1024 can be stored.");
    EXPECT_EQ(database.Value("SELECT Count(*) FROM Report"), "0");
}

TEST_P(Commands, TwentyThousandCharactersAreStored) {
    std::string text;
    for (int index = 0; index < 10000; ++index)
        text += "é€";
    EXPECT_EQ(Stored({"Reading", ParameterType::LongVariableCharacter, 20000, text}), text);
}

TEST_P(Commands, ACommandRunsAgainWithTheSameParameters) {
    command->Text("Insert Into Patient (ID) Values (?)");
    command->Append(Text("ID", "1"));
    command->Execute();
    command->Text("Update Patient Set PatientName=?");
    command->Execute();
    EXPECT_EQ(database.Value("SELECT PatientName FROM Patient"), "1");
}

TEST_P(Commands, AMissingParameterIsAnError) {
    command->Text("Insert Into Patient (ID, PatientName) Values (?, ?)");
    command->Append(Text("ID", "1"));
    EXPECT_THROW(command->Execute(), Error);
    EXPECT_EQ(database.Value("SELECT Count(*) FROM Patient"), "0");
}

TEST_P(Commands, AnUnknownParameterCannotBeDeleted) {
    ExpectFailure(OdbcFailure::UnknownParameter, [&] { command->Delete(0); });
    ExpectFailure(OdbcFailure::UnknownParameter, [&] { command->Delete(-1); });
}

TEST_P(Commands, ASecondStatementIsNotRun) {
    command->Text("Delete from Report; Delete from StdTitles");
    ExpectFailure(OdbcFailure::SecondStatement, [&] { command->Execute(); });
}

TEST_P(Commands, AChangeThatMeetsNoRowIsNoError) {
    command->Text("Delete from Report");
    EXPECT_NO_THROW(command->Execute());
}

} // namespace
} // namespace tavrel
