#include "host/Catalogue.h"
#include "platform/error.h"
#include "tests/support/OpenQueries.h"
#include "tests/support/RecordingDatabase.h"
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

TEST_F(Audit, MarksNoOtherSeriesForAUidThatWouldTurnTheStatement) {
    station.AddExampleStudy();

    EXPECT_FALSE(SetSeriesStatus(global, "x' OR '1'='1", "VIEWED"));

    EXPECT_THAT(station.Rows("Series", {"SeriesStatus"}), ElementsAre(ElementsAre("")));
}

TEST_F(Audit, NamesTheTextThatNoStatementTakes) {
    try {
        InQuotes("O'Brien");
        FAIL() << "accepted";
    } catch (const Error& error) {
        EXPECT_EQ(error.description, "The catalogue cannot be asked with a text that holds an apostrophe: O'Brien");
    }
    EXPECT_EQ(InQuotes("O`Brien \"x\" \\"), "O`Brien \"x\" \\");
}

TEST_F(Audit, ReadsAPatientsMissingNameAsEmpty) {
    station.AddExampleStudy();
    station.Execute("UPDATE Patient SET PatientName = NULL");

    WriteHistory(global, "1.2.3.1", "REFERT", "View Refert");

    EXPECT_THAT(station.Rows("History", {"PatientName", "PatientID"}), ElementsAre(ElementsAre("", "P1")));
}

TEST_F(Audit, FailsWithoutAConnection) {
    global.catalogue.reset();

    EXPECT_THROW(WriteHistory(global, "1.9.9", "REFERT", "View Refert"), Error);
}

class Statements : public Audit {
protected:
    Statements() { global.catalogue = std::make_unique<RecordingConnection>(std::move(global.catalogue), statements); }
    std::vector<RanStatement> statements;
};

TEST_F(Statements, OfTheAuditHaveTheirExactWords) {
    WriteHistory(global, "1.9.9", "REFERT", "View Refert");

    EXPECT_THAT(
        statements,
        ElementsAre(
            RanStatement{"SELECT AETitle FROM DicomServer"},
            RanStatement{"SELECT Patient.ID, Patient.PatientName, Study.StudyInstanceUID, Series.SeriesInstanceUID  "
                         "FROM Patient, Study, Series  WHERE Series.SeriesInstanceUID ='1.9.9' AND Patient.ID = "
                         "Study.IDPatient AND Study.StudyInstanceUID = Series.StudyInstanceUID"},
            RanStatement{"INSERT INTO History (Node, Username, PatientName, PatientID, StudyUID, SeriesUID, ActionVal, "
                         "Description)  VALUES ('ORBENTA','','','1.9.9','1.9.9','1.9.9','REFERT','View Refert')"}));
}

TEST_F(Statements, OfTheSeriesStatusHaveTheirExactWords) {
    SetSeriesStatus(global, "1.2.3.1", "VIEWED");

    EXPECT_THAT(statements,
                ElementsAre(RanStatement{"UPDATE Series SET SeriesStatus='VIEWED' WHERE SeriesInstanceUID='1.2.3.1'"}));
}

TEST_F(Audit, ClosesItsQueries) {
    std::vector<std::string> open;
    global.catalogue = std::make_unique<OpenQueries>(std::move(global.catalogue), open);

    WriteHistory(global, "1.9.9", "REFERT", "View Refert");

    EXPECT_THAT(open, ElementsAre(testing::StartsWith("INSERT ")));
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

} // namespace
} // namespace tavrel::test
