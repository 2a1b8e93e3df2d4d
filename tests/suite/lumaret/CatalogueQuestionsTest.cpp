#include "suite/lumaret/CatalogueQuestions.h"
#include "suite/lumaret/StudyPanel.h"
#include "tests/platform/dbus/PrivateBus.h"
#include "tests/suite/lumaret/CatalogueRows.h"
#include "tests/suite/lumaret/SlowServer.h"

#include <QElapsedTimer>
#include <QLineEdit>
#include <QPushButton>
#include <QSignalSpy>
#include <QTableWidget>
#include <QTest>

#include <gtest/gtest.h>

namespace tavrel::test {
namespace {

/// The lists of the window, with two patients, beside a server that may keep them waiting.
class BesideASlowServer : public testing::Test {
protected:
    BesideASlowServer() {
        for (const auto& [id, name, date] :
             {std::tuple{"1", "ROSSI^MARIA", "20260101"}, std::tuple{"2", "VERDI^ANNA", "20250101"}}) {
            const QString study = QString("1.2.") + id;
            rows.AddPatient(id, name);
            rows.AddStudy(study, id, date);
            rows.AddSeries(study + ".1", study, "CT");
            rows.AddImage(study + ".1", QString(id) + ".dcm", 1);
        }
        QObject::connect(&panel, &StudyPanel::ImagesChosen,
                         [this](const SeriesRow&, const QStringList& files) { shown += files; });
        QObject::connect(&panel, &StudyPanel::Said, [this](const QString& words) { said = words; });
        panel.Search();
        Settle();
    }
    ~BesideASlowServer() override { server->GoOn(); }

    void Settle() {
        if (!WaitUntil([this] { return catalogue.Idle(); }))
            throw std::runtime_error("the catalogue has not answered");
    }
    /// Until so many statements wait at the server.
    bool Waits(int count) {
        return WaitUntil([&, this] { return server->Waiting() == count; });
    }
    QTableWidget& Table(const QString& name) {
        for (auto* table : panel.findChildren<QTableWidget*>())
            if (table->accessibleName() == name)
                return *table;
        throw std::runtime_error("there is no " + name.toStdString());
    }
    void SearchFor(const QString& name) {
        panel.findChildren<QLineEdit*>().first()->setText(name);
        panel.Search();
    }
    QString OnlyPatient() { return Table("Studies").rowCount() == 1 ? Table("Studies").item(0, 0)->text() : "-"; }

    CatalogueRows rows{OwnSqliteEntry()};
    std::shared_ptr<SlowServer> server = std::make_shared<SlowServer>();
    CatalogueQuestions catalogue{server};
    StudyPanel panel{catalogue};
    QStringList shown;
    QString said;
};

TEST_F(BesideASlowServer, TheWindowStaysAliveAndSaysWhatItWaitsFor) {
    server->Hold("FROM");
    QElapsedTimer time;
    time.start();
    panel.Search();
    Table("Studies").selectRow(0);
    panel.Refresh();
    EXPECT_LT(time.elapsed(), 1000);
    panel.Search();
    EXPECT_EQ(said, "Searching ...");
    EXPECT_EQ(Table("Studies").rowCount(), 2);
    server->GoOn();
    Settle();
    EXPECT_EQ(said, "2 studies.");
}

TEST_F(BesideASlowServer, ANewerSearchReplacesAnOlderOneThatIsStillBeingAsked) {
    server->Hold("[Oo"); // the letter of the one that the other has not
    SearchFor("rossi");
    ASSERT_TRUE(Waits(1));
    SearchFor("verdi");
    Settle();
    EXPECT_TRUE(OnlyPatient().contains("VERDI", Qt::CaseInsensitive));
    server->GoOn();
    ASSERT_TRUE(Waits(0));
    Idle();
    EXPECT_TRUE(OnlyPatient().contains("VERDI", Qt::CaseInsensitive));
}

TEST_F(BesideASlowServer, ALateAnswerNeverFillsAnotherPatientsLists) {
    server->Hold("'1.2.1'");
    Table("Studies").selectRow(0);
    ASSERT_TRUE(Waits(1));
    EXPECT_EQ(Table("Series").rowCount(), 0);
    Table("Studies").selectRow(1);
    Settle();
    server->GoOn();
    ASSERT_TRUE(Waits(0));
    Idle();
    ASSERT_EQ(shown.size(), 1);
    EXPECT_TRUE(shown.first().endsWith("/2.dcm"));
    EXPECT_EQ(Table("Series").rowCount(), 1);
}

TEST_F(BesideASlowServer, WhatIsFoundMeanwhileEndsTheWaitForTheFormerStudysSeries) {
    server->Hold("'1.2.1'");
    Table("Studies").selectRow(0);
    ASSERT_TRUE(Waits(1));
    SearchFor("verdi anna");
    Settle();
    server->GoOn();
    ASSERT_TRUE(Waits(0));
    Idle();
    EXPECT_EQ(shown.size(), 1);
    EXPECT_TRUE(shown.first().endsWith("/2.dcm"));
}

TEST_F(BesideASlowServer, ARefreshThatComesLateIsNotTheNextStudys) {
    Table("Studies").selectRow(0);
    Settle();
    rows.AddSeries("1.2.1.9", "1.2.1", "SR", 9);
    server->Hold("'1.2.1'");
    panel.Refresh();
    ASSERT_TRUE(Waits(1));
    Table("Studies").selectRow(1);
    Settle();
    server->GoOn();
    ASSERT_TRUE(Waits(0));
    Idle();
    EXPECT_EQ(Table("Series").rowCount(), 1);
}

TEST_F(BesideASlowServer, FewConnectionsWaitAndNoneIsSharedByThreads) {
    server->Hold("FROM");
    for (int i = 0; i < 20; ++i)
        catalogue.Ask(
            QString::number(i), [](StudyCatalogue& asked) { return asked.SeriesOf("1.2.1"); }, [](const auto&) {});
    ASSERT_TRUE(Waits(4));
    Idle();
    EXPECT_EQ(server->Waiting(), 4);
    server->GoOn();
    Settle();
    EXPECT_EQ(server->Connections(), 4);
    EXPECT_FALSE(server->ShareAConnection());
}

TEST_F(BesideASlowServer, OneConnectionIsEnoughForOneQuestionAfterTheOther) {
    for (int i = 0; i < 10; ++i) {
        panel.Search();
        Settle();
    }
    EXPECT_EQ(server->Connections(), 1);
}

TEST_F(BesideASlowServer, TheEndWaitsForNobodyWhoIsSilent) {
    auto silent = std::make_unique<CatalogueQuestions>(server);
    server->Hold("FROM");
    bool answered = false;
    silent->Ask(
        "x", [](StudyCatalogue& asked) { return asked.SeriesOf("1.2.1"); }, [&](const auto&) { answered = true; });
    ASSERT_TRUE(Waits(1));
    QElapsedTimer time;
    time.start();
    silent.reset();
    EXPECT_LT(time.elapsed(), 3000);
    server->GoOn();
    ASSERT_TRUE(Waits(0));
    Idle();
    EXPECT_FALSE(answered);
}

TEST_F(BesideASlowServer, AFailureIsSaidAndLeavesTheListsAsTheyAre) {
    rows.Run("DROP TABLE Series");
    Table("Studies").selectRow(0);
    Settle();
    EXPECT_TRUE(said.startsWith("The catalogue cannot be read: ")) << said.toStdString();
    EXPECT_EQ(Table("Studies").rowCount(), 2);
}

} // namespace
} // namespace tavrel::test
