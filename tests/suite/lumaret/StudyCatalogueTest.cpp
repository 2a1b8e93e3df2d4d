// What the viewer reads, on every engine that a catalogue may live on; runs under tests/support/engines.

#include "suite/lumaret/StudyCatalogue.h"
#include "platform/error.h"
#include "tests/suite/lumaret/CatalogueRows.h"
#include "tests/support/NamesInScripts.h"

#include <QRegularExpression>
#include <gtest/gtest.h>

namespace tavrel::test {
namespace {

class StudyCatalogueOn : public testing::TestWithParam<const char*> {
protected:
    void AddNamed(const QString& id, const QString& name) {
        rows.AddPatient(id, name);
        rows.AddStudy("1.2." + id, id, "20261114");
    }
    /// The identifiers of the patients of the studies found.
    QStringList Found(const QString& name, const QString& id = {}, const QString& date = {}) {
        QStringList ids;
        for (const StudyRow& study : catalogue.Find(name, id, date))
            ids += study.patientId;
        ids.sort();
        return ids;
    }

    CatalogueRows rows{GetParam()};
    OdbcDatabase database;
    StudyCatalogue catalogue{database, GetParam()};
};

TEST_P(StudyCatalogueOn, AnEmptySearchFindsEveryStudyNewestFirst) {
    rows.AddPatient("1", "ROSSI^MARIA");
    rows.AddStudy("1.2.1", "1", "20250101");
    rows.AddStudy("1.2.2", "1", "20261114", "C:\\S", "Chest");
    const auto studies = catalogue.Find("", " ", "");
    ASSERT_EQ(studies.size(), 2U);
    EXPECT_EQ(studies[0].studyUid, "1.2.2");
    EXPECT_EQ(studies[0].description, "Chest");
    EXPECT_EQ(studies[1].patientName, "ROSSI^MARIA");
}

TEST_P(StudyCatalogueOn, AStudyIsFoundByItsUidAlone) {
    rows.AddPatient("1", "ROSSI^MARIA");
    rows.AddStudy("1.2.1", "1", "20250101");
    rows.AddStudy("1.2.10", "1", "20261114");
    EXPECT_EQ(catalogue.Study("1.2.1").value().date, "20250101");
    EXPECT_FALSE(catalogue.Study("1.2").has_value());
}

TEST_P(StudyCatalogueOn, APatientWithoutANameIsFoundToo) {
    rows.Run("INSERT INTO Patient (ID) VALUES ('7')");
    rows.AddStudy("1.2.7", "7", "");
    EXPECT_EQ(Found(""), QStringList{"7"});
    EXPECT_EQ(Found("", "7"), QStringList{"7"});
    EXPECT_EQ(Found("x"), QStringList{});
}

TEST_P(StudyCatalogueOn, NamesAreFoundByAnyOfTheirWordsInAnyCase) {
    AddNamed("1", "ROSSI^MARIA");
    AddNamed("2", "ROSSI^MARIO");
    EXPECT_EQ(Found("maria rossi"), QStringList{"1"});
    EXPECT_EQ(Found("Rossi, Maria"), QStringList{"1"}); // as the list draws it
    EXPECT_EQ(Found("Rossi"), (QStringList{"1", "2"}));
    EXPECT_EQ(Found("rossi giulia"), QStringList{});
}

TEST_P(StudyCatalogueOn, LettersBeyondAsciiAreFoundInAnyCase) {
    AddNamed("1", "Müller^Jürgen");
    AddNamed("2", "MÜLLER^ANNA");
    AddNamed("3", "MILLER^ANNA");
    EXPECT_EQ(Found("müller"), (QStringList{"1", "2"}));
}

TEST_P(StudyCatalogueOn, NamesAreFoundWithAndWithoutTheirAccents) {
    const QStringList names = {"Müller^José",    "MULLER^JOSE",    "Łukasiewicz^Żaneta",
                               "Škvorecký^Jiří", "Δημητρίου^Άννα", "Фёдоров^Пётр"};
    for (int i = 0; i < names.size(); ++i)
        AddNamed(QString::number(i), names[i]);
    for (const char* search : {"Muller", "mÜller", "jose", "José müller"})
        EXPECT_EQ(Found(search), (QStringList{"0", "1"})) << search;
    EXPECT_EQ(Found("lukasiewicz zaneta"), QStringList{"2"});
    EXPECT_EQ(Found("jiri skvorecky"), QStringList{"3"});
    EXPECT_EQ(Found("δημητριου ΑΝΝΑ"), QStringList{"4"});
    EXPECT_EQ(Found("федоров"), QStringList{"5"});
    EXPECT_EQ(Found("mallor"), QStringList{});
}

TEST_P(StudyCatalogueOn, OnlyAMarkThatIsAnAccentMayBeLeftOut) {
    AddNamed("1", "ハナコ");
    AddNamed("2", "バナコ");
    AddNamed("3", "किरण");
    EXPECT_EQ(Found("ハナコ"), QStringList{"1"});
    EXPECT_EQ(Found("करण"), QStringList{});
}

TEST_P(StudyCatalogueOn, ANameOfManyThatAreNewerIsFound) {
    AddNamed("old", "ІВАНОВ^Соня");
    rows.Run("UPDATE Study SET StudyDate = '19990101'");
    rows.Run("BEGIN");
    for (int i = 0; i <= StudyCatalogue::Limit; ++i)
        AddNamed(QString::number(i), "Мюллер-Петров^Ольга");
    rows.Run("COMMIT");
    EXPECT_EQ(Found("іванов"), QStringList{"old"});
}

TEST_P(StudyCatalogueOn, PunctuationOfANameStandsForItself) {
    AddNamed("1", "O`BRIEN-SMITH^A.B.");
    EXPECT_EQ(Found("o'brien-smith"), QStringList{"1"});
    EXPECT_EQ(Found("obrien"), QStringList{});
    EXPECT_EQ(Found("brien.smith"), QStringList{});
    EXPECT_EQ(Found("a.b."), QStringList{"1"});
}

TEST_P(StudyCatalogueOn, LettersWhoseCapitalsAreTwoAreFoundAsTheyAreWritten) {
    AddNamed("1", "Weiß^Straßer");
    EXPECT_EQ(Found("weiß straßer"), QStringList{"1"});
}

TEST_P(StudyCatalogueOn, ALetterBeyond16BitsIsOne) {
    AddNamed("1", "𠮷");
    EXPECT_EQ(Found("𠮷"), QStringList{"1"});
}

TEST_P(StudyCatalogueOn, PatientsOfEveryScriptAreFoundByEachOfTheirNames) {
    const auto names = NamesInScripts();
    ASSERT_GE(names.size(), 12U);
    for (std::size_t i = 0; i < names.size(); ++i)
        AddNamed(QString::number(i), QString::fromStdString(names[i].name));
    for (std::size_t i = 0; i < names.size(); ++i)
        for (const QString& word : QString::fromStdString(names[i].name).split(QRegularExpression("[=^ ]")))
            EXPECT_TRUE(Found(word).contains(QString::number(i))) << names[i].script << ": " << word.toStdString();
}

TEST_P(StudyCatalogueOn, AnApostropheIsFoundAsTheCatalogueKeepsIt) {
    AddNamed("1", "D`ANGELO^PIA");
    AddNamed("2", "DANGELO^PIA");
    EXPECT_EQ(Found("d'angelo"), QStringList{"1"});
}

TEST_P(StudyCatalogueOn, NoCharacterOfASearchHasAMeaningOfItsOwn) {
    AddNamed("A_1%", "ROSSI");
    AddNamed("AB12", "100!^\\");
    EXPECT_EQ(Found("", "A_1"), QStringList{"A_1%"});
    EXPECT_EQ(Found("", "%"), QStringList{"A_1%"});
    EXPECT_EQ(Found("!"), QStringList{"AB12"});
    EXPECT_EQ(Found("\\"), QStringList{"AB12"});
    EXPECT_EQ(Found("'; DELETE FROM Study; --"), QStringList{});
    EXPECT_EQ(Found("").size(), 2);
}

TEST_P(StudyCatalogueOn, DatesAreFoundByDayMonthOrYear) {
    rows.AddPatient("1", "ROSSI");
    rows.AddStudy("1.2.1", "1", "20261105");
    rows.AddStudy("1.2.2", "1", "20261205");
    const auto count = [&](const QString& date) { return catalogue.Find("", "", date).size(); };
    EXPECT_EQ(count("2026"), 2U);
    EXPECT_EQ(count("11/2026"), 1U);
    EXPECT_EQ(count("5/11/2026"), 1U);
    EXPECT_EQ(count("06/11/2026"), 0U);
    EXPECT_EQ(count("2611"), 0U);
}

TEST_P(StudyCatalogueOn, SeriesComeInTheirOrderWithTheirFiles) {
    rows.AddPatient("1", "ROSSI");
    rows.AddStudy("1.2.1", "1", "20261114", "\\studies\\1");
    rows.AddSeries("1.2.1.2", "1.2.1", "SR", 2, "SER2");
    rows.AddSeries("1.2.1.1", "1.2.1", "CT", 1, "SER1");
    rows.AddImage("1.2.1.1", "img_10.dcm", 10);
    rows.AddImage("1.2.1.1", "img_9.dcm", 9);
    const auto series = catalogue.SeriesOf("1.2.1");
    ASSERT_EQ(series.size(), 2U);
    EXPECT_EQ(series[0].images, 2);
    EXPECT_FALSE(series[0].IsReport());
    EXPECT_TRUE(series[1].IsReport());
    EXPECT_EQ(catalogue.FilesOf(series[0]), (QStringList{"/studies/1/SER1/img_9.dcm", "/studies/1/SER1/img_10.dcm"}));
}

TEST_P(StudyCatalogueOn, OtherReportsAreThoseOfThePatientsOtherStudiesTheNewestFirst) {
    AddNamed("P1", "ROSSI^MARIA"); // the study 1.2.P1
    AddNamed("P2", "VERDI^ANNA");
    rows.AddStudy("1.2.1", "P1", "20240101", "C:\\S", "Chest");
    rows.AddStudy("1.2.2", "P1", "20250101");
    rows.AddSeries("1.2.1.1", "1.2.1", "SR", 1, "REP");
    rows.AddSeries("1.2.1.2", "1.2.1", "CT", 2);
    rows.AddSeries("1.2.2.1", "1.2.2", "SR-OTHER");
    rows.AddSeries("1.2.P1.1", "1.2.P1", "SR");
    rows.AddSeries("1.2.P2.1", "1.2.P2", "SR");
    rows.AddImage("1.2.1.1", "img_000001.dcm", 1);
    rows.AddImage("1.2.1.1", "img_000002.dcm", 1);
    const auto reports = catalogue.OtherReportsOf(*catalogue.Study("1.2.P1"));
    ASSERT_EQ(reports.size(), 2U);
    EXPECT_EQ(reports[0].series.seriesUid, "1.2.2.1");
    EXPECT_EQ(reports[0].newestFile, "");
    EXPECT_EQ(reports[1].series.seriesUid, "1.2.1.1");
    EXPECT_EQ(reports[1].study.description, "Chest");
    EXPECT_TRUE(reports[1].newestFile.endsWith("/REP/img_000002.dcm")) << reports[1].newestFile.toStdString();
}

TEST_P(StudyCatalogueOn, OtherReportsAreNeverThoseOfAnIdentifierThatIsNearlyTheSame) {
    const QStringList ids = {"P1", "p1", "P1 ", "P`1", "P10", "P_1", ""};
    for (int i = 0; i < ids.size(); ++i) {
        const QString study = "1.2." + QString::number(i);
        try {
            rows.AddPatient(ids[i], "ROSSI^MARIA");
        } catch (const Error&) {
            continue; // an engine for which it is the same one
        }
        rows.AddStudy(study, ids[i], "20260101");
        rows.AddStudy(study + ".9", ids[i], "20250101");
        rows.AddSeries(study + ".9.1", study + ".9", "SR");
    }
    for (const QString& id : ids) {
        const auto reports = catalogue.OtherReportsOf({"1.2.99", "ROSSI^MARIA", id, {}, {}});
        EXPECT_LE(reports.size(), 1U) << id.toStdString();
        for (const OtherReport& report : reports)
            EXPECT_EQ(report.study.patientId, id);
    }
    EXPECT_TRUE(catalogue.OtherReportsOf({"1.2.99", "ROSSI^MARIA", "", {}, {}}).empty());
    EXPECT_TRUE(catalogue.OtherReportsOf({"1.2.99", "ROSSI^MARIA", "P'1", {}, {}}).empty());
}

TEST_P(StudyCatalogueOn, AtMostSoManyStudiesAreListed) {
    rows.AddPatient("1", "ROSSI");
    rows.Run("BEGIN");
    for (int i = 0; i <= StudyCatalogue::Limit; ++i)
        rows.AddStudy("1.2." + QString::number(i), "1", QString::number(20260000 + i));
    rows.Run("COMMIT");
    const auto studies = catalogue.Find("", "", "");
    ASSERT_EQ(studies.size(), static_cast<std::size_t>(StudyCatalogue::Limit));
    EXPECT_EQ(studies[0].studyUid, "1.2." + QString::number(StudyCatalogue::Limit));
}

TEST_P(StudyCatalogueOn, AFailedQueryDoesNotLastForEver) {
    rows.Run("DROP TABLE Image");
    EXPECT_THROW(catalogue.SeriesOf("1.2.1"), Error);
    EXPECT_EQ(Found(""), QStringList{});
}

TEST(StudyCatalogue, AnUnknownDataSourceIsAClearError) {
    OdbcDatabase database;
    StudyCatalogue catalogue(database, "NoSuchEntry");
    EXPECT_THROW(catalogue.Find("", "", ""), Error);
}

INSTANTIATE_TEST_SUITE_P(Engines, StudyCatalogueOn,
                         testing::Values("DicomFDB_sqlite", "DicomFDB_postgresql", "DicomFDB_mariadb"),
                         [](const auto& engine) { return std::string(engine.param).substr(9); });

} // namespace
} // namespace tavrel::test
