#include "host/Catalogue.h"
#include "host/Text.h"
#include "platform/attributes.h"
#include "platform/error.h"
#include "tests/support/Workstation.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace tavrel::test {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

class Audit : public testing::Test {
protected:
    std::vector<std::vector<std::string>> History() {
        return station.Rows("History", {"Node", "Username", "PatientName", "PatientID", "StudyUID", "SeriesUID",
                                        "ActionVal", "Description"});
    }
    Workstation station;
    Global& global = station.global;
};

TEST_F(Audit, NamesTheSeriesWithItsPatientAndStudy) {
    station.AddExampleStudy();
    global.currentUserName = "mrossi";

    WriteHistory(global, "1.2.3.1", "REFERT", "View Refert");

    EXPECT_THAT(History(), ElementsAre(ElementsAre("ORBENTA", "mrossi", "ROSSI^MARIA", "P1", "1.2.3", "1.2.3.1",
                                                   "REFERT", "View Refert")));
}

TEST_F(Audit, OfASeriesThatTheCatalogueDoesNotKnowFillsThreeColumnsWithItsUid) {
    WriteHistory(global, "1.9.9", "REFERT", "View Refert");

    EXPECT_THAT(History(),
                ElementsAre(ElementsAre("ORBENTA", "", "", "1.9.9", "1.9.9", "1.9.9", "REFERT", "View Refert")));
}

TEST_F(Audit, OfAProcessThatHasLoadedNoDocumentLeavesTheUserEmpty) {
    station.AddExampleStudy();

    WriteHistory(global, "1.2.3.1", "REFERT", "View Refert");

    EXPECT_EQ(History().at(0).at(1), "");
}

TEST_F(Audit, TakesItsNodeFromTheFirstServer) {
    station.Insert("DicomServer", {{"AETitle", "SECOND"}});

    WriteHistory(global, "1.9.9", "REFERT", "View Refert");

    EXPECT_EQ(History().at(0).at(0), "ORBENTA");
}

TEST_F(Audit, KeepsLettersOfEveryLanguage) {
    station.AddPatient("P2", "MÜLLER^ŁUCJA=山田");
    station.AddStudy("1.2.4", "P2", "");
    station.AddSeries("1.2.4.1", "1.2.4", "CT", "");

    WriteHistory(global, "1.2.4.1", "REFERT", "View Refert");

    EXPECT_EQ(History().at(0).at(2), "MÜLLER^ŁUCJA=山田");
}

TEST_F(Audit, FailsWithoutAServer) {
    station.Execute("DELETE FROM DicomServer");

    EXPECT_THROW(WriteHistory(global, "1.9.9", "REFERT", "View Refert"), Error);
    EXPECT_THAT(History(), IsEmpty());
}

TEST_F(Audit, FailsOnAnApostropheInThePatientsName) {
    station.AddPatient("P2", "D'ANGELO^PIA");
    station.AddStudy("1.2.4", "P2", "");
    station.AddSeries("1.2.4.1", "1.2.4", "CT", "");

    EXPECT_THROW(WriteHistory(global, "1.2.4.1", "REFERT", "View Refert"), Error);
    EXPECT_THAT(History(), IsEmpty());
}

TEST_F(Audit, FailsOnAPatientWithoutAName) {
    station.AddExampleStudy();
    station.Execute("UPDATE Patient SET PatientName = NULL");

    EXPECT_THROW(WriteHistory(global, "1.2.3.1", "REFERT", "View Refert"), Error);
}

TEST_F(Audit, FailsWithoutAConnection) {
    global.catalogue.reset();

    EXPECT_THROW(WriteHistory(global, "1.9.9", "REFERT", "View Refert"), Error);
}

class Statements : public Audit {
protected:
    struct Recording : ForwardingConnection {
        Recording(std::unique_ptr<Connection> target, std::vector<std::string>& texts)
            : ForwardingConnection(std::move(target)), statements(texts) {}
        std::unique_ptr<ResultSet> OpenResultSet(std::string_view statement, Cursor cursor) override {
            EXPECT_EQ(cursor, Cursor::ForwardOnly);
            statements.emplace_back(statement);
            return ForwardingConnection::OpenResultSet(statement, cursor);
        }
        std::vector<std::string>& statements;
    };
    void SetUp() override { global.catalogue = std::make_unique<Recording>(std::move(global.catalogue), statements); }
    std::vector<std::string> statements;
};

TEST_F(Statements, OfTheAuditHaveTheirExactWords) {
    WriteHistory(global, "1.9.9", "REFERT", "View Refert");

    EXPECT_THAT(
        statements,
        ElementsAre("SELECT AETitle FROM DicomServer",
                    "SELECT Patient.ID, Patient.PatientName, Study.StudyInstanceUID, Series.SeriesInstanceUID  FROM "
                    "Patient, Study, Series  WHERE Series.SeriesInstanceUID ='1.9.9' AND Patient.ID = Study.IDPatient "
                    "AND Study.StudyInstanceUID = Series.StudyInstanceUID",
                    "INSERT INTO History (Node, Username, PatientName, PatientID, StudyUID, SeriesUID, ActionVal, "
                    "Description)  VALUES ('ORBENTA','','','1.9.9','1.9.9','1.9.9','REFERT','View Refert')"));
}

TEST_F(Statements, OfTheSeriesStatusHaveTheirExactWords) {
    SetSeriesStatus(global, "1.2.3.1", "VIEWED");

    EXPECT_THAT(statements, ElementsAre("UPDATE Series SET SeriesStatus='VIEWED' WHERE SeriesInstanceUID='1.2.3.1'"));
}

using SeriesStatus = Audit;

TEST_F(SeriesStatus, IsSetOnItsSeriesAlone) {
    station.AddExampleStudy();
    station.AddSeries("1.2.3.5", "1.2.3", "CT", "more");

    EXPECT_TRUE(SetSeriesStatus(global, "1.2.3.1", "VIEWED"));

    EXPECT_THAT(station.Rows("Series", {"SeriesInstanceUID", "SeriesStatus"}),
                ElementsAre(ElementsAre("1.2.3.1", "VIEWED"), ElementsAre("1.2.3.5", "")));
}

TEST_F(SeriesStatus, OfAnUnknownSeriesIsSetOnNothing) {
    EXPECT_TRUE(SetSeriesStatus(global, "1.9.9", "VIEWED"));
}

TEST_F(SeriesStatus, AnswersFalseOnAFailureAndShowsNothing) {
    EXPECT_FALSE(SetSeriesStatus(global, "1.2'3", "VIEWED"));
    EXPECT_TRUE(station.windows.messages.empty());
}

TEST_F(SeriesStatus, AnswersFalseWithoutAConnection) {
    global.catalogue.reset();

    EXPECT_FALSE(SetSeriesStatus(global, "1.2.3.1", "VIEWED"));
}

struct Stamped {
    DateTime now;
    std::string_view stamp;
};

class TimeStamps : public testing::TestWithParam<Stamped> {};

TEST_P(TimeStamps, KeepTheirLeadingZeros) {
    FakeClock clock;
    clock.now = GetParam().now;

    EXPECT_EQ(TimeStamp(clock), GetParam().stamp);
}

INSTANTIATE_TEST_SUITE_P(, TimeStamps,
                         testing::Values(Stamped{{2026, 11, 15, 8, 5, 9}, "2026.11.15.08.05.09"},
                                         Stamped{{2026, 1, 2, 0, 0, 0}, "2026.01.02.00.00.00"},
                                         Stamped{{2026, 12, 31, 23, 59, 59}, "2026.12.31.23.59.59"}));

struct PathAndFolder {
    std::string_view path;
    std::string_view folder;
};

class Folders : public testing::TestWithParam<PathAndFolder> {};

TEST_P(Folders, EndAtTheLastSeparator) {
    EXPECT_EQ(FolderOf(GetParam().path), GetParam().folder);
}

INSTANTIATE_TEST_SUITE_P(, Folders,
                         testing::Values(PathAndFolder{"C:\\a\\b.dcm", "C:\\a\\"},     //
                                         PathAndFolder{"b.dcm", "."},                  //
                                         PathAndFolder{"", "."},                       //
                                         PathAndFolder{"   ", "."},                    //
                                         PathAndFolder{"  C:\\a\\b.dcm  ", "C:\\a\\"}, //
                                         PathAndFolder{"C:\\a b\\c d.dcm", "C:\\a b\\"},
                                         PathAndFolder{"\\b.dcm", "\\"},      //
                                         PathAndFolder{"C:\\a\\", "C:\\a\\"}, //
                                         PathAndFolder{"a/b.dcm", "."}));

struct Appended {
    int present;
    std::int16_t asked;
    std::int16_t answered;
    int after;
};

class CodeItems : public testing::TestWithParam<Appended> {
protected:
    Workstation station{Workstation::NotStarted};
};

TEST_P(CodeItems, AreAppendedOrReplaced) {
    const DataSetHandle dataSet = station.dicom->NewDataSet();
    const Tag sequence = attribute::ConceptNameCodeSequence;
    for (int index = 0; index < GetParam().present; ++index)
        dataSet->SetSequenceItem(sequence, index, station.dicom->NewDataSet());
    std::int16_t itemIndex = GetParam().asked;

    AppendCodeItem(*station.dicom, *dataSet, sequence, "DCM", "121073", "Impression", itemIndex);

    EXPECT_EQ(itemIndex, GetParam().answered);
    EXPECT_EQ(dataSet->GetSequenceItemCount(sequence), GetParam().after);
    const DataSetHandle item = dataSet->GetSequenceItem(sequence, itemIndex);
    EXPECT_EQ(TextOf(item->GetValue(attribute::CodeValue)), "121073");
    EXPECT_EQ(TextOf(item->GetValue(attribute::CodingSchemeDesignator)), "DCM");
    EXPECT_EQ(TextOf(item->GetValue(attribute::CodeMeaning)), "Impression");
}

INSTANTIATE_TEST_SUITE_P(, CodeItems,
                         testing::Values(Appended{0, -1, 0, 1}, Appended{2, -1, 2, 3}, Appended{2, -300, 2, 3},
                                         Appended{0, 0, 0, 1}, Appended{1, 0, 0, 1}, Appended{3, 1, 1, 3}));

} // namespace
} // namespace tavrel::test
