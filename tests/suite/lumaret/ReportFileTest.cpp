#include "suite/lumaret/ReportFile.h"

#include "tests/suite/lumaret/InterchangeReport.h"
#include "tests/suite/lumaret/SampleImage.h"
#include "tests/suite/lumaret/SampleReport.h"
#include "tests/support/Failure.h"

#include <QFile>
#include <QTemporaryDir>
#include <QTextBlock>
#include <QTextCursor>
#include <QTextDocument>

#include <gtest/gtest.h>

namespace tavrel::test {
namespace {

class ReportFileTest : public testing::Test {
protected:
    /// The words of a report as they stand on the screen.
    QString Shown(const SampleReport& report) {
        WriteReport(path, report);
        return ShownFile();
    }
    QString ShownFile() const {
        QTextDocument document;
        document.setHtml(ReportAsHtml(path));
        return document.toPlainText();
    }
    /// What is said of a file that cannot be shown; empty of one that can.
    QString FailureOf(const QString& file) {
        return QString::fromStdString(tavrel::FailureOf([&] { ReportAsHtml(file); }));
    }
    void WriteBytes(const QByteArray& bytes) const {
        QFile file(path);
        ASSERT_TRUE(file.open(QFile::WriteOnly));
        file.write(bytes);
    }
    QStringList Written(const QStringList& files) {
        QStringList written;
        for (const ReportVersion& version : VersionsOf(files))
            written += version.written;
        return written;
    }

    QTemporaryDir folder;
    QString path = folder.filePath("report.dcm");
};

TEST_F(ReportFileTest, PatientTitleAndReadingAreShown) {
    const QString shown = Shown({});
    for (const char* words : {"MARIA ROSSI", "#P1", "Chest CT", "No nodule.", "2026-11-14 10:15:00"})
        EXPECT_TRUE(shown.contains(words)) << words << " in\n" << shown.toStdString();
}

TEST_F(ReportFileTest, AMeasurementAndAnImageOfAnotherClassAreShown) {
    const QString shown = Shown({.comprehensive = true});
    for (const char* words : {"No nodule.", "Diameter", "4 mm", "CT image (no. 1)"})
        EXPECT_TRUE(shown.contains(words)) << words << " in\n" << shown.toStdString();
}

TEST_F(ReportFileTest, MarkupInATextStaysText) {
    const char* reading = R"(<img src="file:///etc/hostname"> <script>alert(1)</script> <a href="x">y</a> &amp;)";
    const QString shown = Shown({.patientName = "<b>ROSSI</b>", .reading = reading});
    EXPECT_TRUE(shown.contains("<b>ROSSI</b>")) << shown.toStdString();
    EXPECT_TRUE(shown.contains(reading)) << shown.toStdString();
}

TEST_F(ReportFileTest, NothingInItLeadsAnywhere) {
    WriteReport(path, {.comprehensive = true});
    const QString html = ReportAsHtml(path);
    EXPECT_FALSE(html.contains("<a ")) << html.toStdString();
    EXPECT_FALSE(html.contains("href")) << html.toStdString();
}

TEST_F(ReportFileTest, LinesOfAReadingStayLines) {
    EXPECT_TRUE(Shown({.reading = "First line.\r\nSecond line."}).contains("First line.\nSecond line."));
}

TEST_F(ReportFileTest, EveryCharacterSetIsShownRight) {
    struct Case {
        const char* set;
        const char* bytes;
        const char* words;
    };
    for (const auto& [set, bytes, words] :
         {Case{"ISO_IR 192", "Müller — Ωμέγα 山田", "Müller — Ωμέγα 山田"}, Case{"ISO_IR 100", "M\xFCller", "Müller"},
          Case{"ISO_IR 144", "\xBC\xD8\xE0", "Мир"}, Case{"\\ISO 2022 IR 87", "\x1B$B;3ED\x1B(B", "山田"},
          Case{"GB18030", "\xCD\xF5", "王"}, Case{"", "M\xFCller", "Müller"}})
        EXPECT_TRUE(Shown({.characterSet = set, .reading = bytes}).contains(words)) << set;
}

TEST_F(ReportFileTest, APartThatCannotBeReadIsSaidToBeMissing) {
    WriteReport(path, {.comprehensive = true});
    QFile file(path);
    ASSERT_TRUE(file.open(QFile::ReadOnly));
    WriteBytes(file.readAll().replace("NUM ", "NONE")); // no type of content
    const QString shown = ShownFile();
    EXPECT_TRUE(shown.startsWith("Parts of this document cannot be read and are not shown.")) << shown.toStdString();
    EXPECT_TRUE(shown.contains("No nodule.")) << shown.toStdString();
}

TEST_F(ReportFileTest, AnotherProgramsReportIsShownWhole) {
    for (const auto& [file, words] : {std::pair("test-SR.dcm", "Jörg Riesmeier"), {"reportsi.dcm", "unknown image"}}) {
        path = QString(TAVREL_PYDICOM_DATA "/test_files/") + file;
        const QString shown = ShownFile();
        EXPECT_TRUE(shown.contains(words)) << shown.toStdString();
        EXPECT_FALSE(shown.contains("cannot be read")) << shown.toStdString();
    }
}

TEST_F(ReportFileTest, WhatIsNoReportIsNamedWithTheReason) {
    EXPECT_TRUE(FailureOf(path).startsWith("report.dcm cannot be shown: ")) << FailureOf(path).toStdString();
    EXPECT_TRUE(FailureOf(path).contains("No such file")) << FailureOf(path).toStdString();
    EXPECT_TRUE(FailureOf(folder.path()).contains("it is a folder"));
    WriteImage(path);
    EXPECT_TRUE(FailureOf(path).contains("it holds no structured report")) << FailureOf(path).toStdString();
    WriteBytes("nothing of the kind");
    EXPECT_TRUE(FailureOf(path).contains("no readable DICOM file")) << FailureOf(path).toStdString();
}

TEST_F(ReportFileTest, AFileThatEndsAnywhereDoesNoHarm) {
    WriteReport(path, {.comprehensive = true});
    QFile file(path);
    ASSERT_TRUE(file.open(QFile::ReadOnly));
    const QByteArray whole = file.readAll();
    for (qsizetype size = 0; size < whole.size(); size += 7) {
        WriteBytes(whole.left(size));
        FailureOf(path);
    }
    EXPECT_EQ(FailureOf(path).isEmpty(), false);
}

TEST_F(ReportFileTest, AnyByteMayBeWrongWithoutHarm) {
    WriteReport(path, {.comprehensive = true});
    QFile file(path);
    ASSERT_TRUE(file.open(QFile::ReadOnly));
    const QByteArray whole = file.readAll();
    for (qsizetype place = 132; place < whole.size(); place += 3) {
        QByteArray wrong = whole;
        wrong[place] = static_cast<char>(~wrong[place]);
        WriteBytes(wrong);
        EXPECT_NO_FATAL_FAILURE(FailureOf(path));
    }
}

TEST_F(ReportFileTest, AnInterchangeReportIsShownWithItsCodedEntries) {
    WriteInterchangeReport(path);
    const QString shown = ShownFile();
    for (const char* words : {"CT Chest", "Chest CT", "No nodule.", "Chest (51185008, SCT)", "Nodule (27925004, SCT)",
                              "left upper lobe, 4 mm", "Non-small cell lung cancer (254637007, SCT)", "suspected"})
        EXPECT_TRUE(shown.contains(words)) << words << " in\n" << shown.toStdString();
}

TEST_F(ReportFileTest, ReferencesAreNumberedAndNoUidIsShown) {
    WriteInterchangeReport(path);
    const QString shown = ShownFile();
    EXPECT_TRUE(shown.contains("CT image with presentation state (no. 1)")) << shown.toStdString();
    EXPECT_TRUE(shown.contains("CT image with presentation state (no. 2)")) << shown.toStdString();
    EXPECT_TRUE(shown.contains("Referenced Frame Number:\n7")) << shown.toStdString();
    EXPECT_FALSE(shown.contains("1.2.3.1.")) << shown.toStdString();
}

TEST_F(ReportFileTest, EachViewOfAnImageHasANumberOfItsOwn) {
    WriteInterchangeReport(path, {.oneImage = true});
    const QString shown = ShownFile();
    EXPECT_TRUE(shown.contains("(no. 1)")) << shown.toStdString();
    EXPECT_TRUE(shown.contains("(no. 2)")) << shown.toStdString();
}

/// The direction of the last paragraph that holds these words.
Qt::LayoutDirection DirectionOf(const QString& html, const QString& words) {
    QTextDocument document;
    document.setHtml(html);
    return document.find(words, document.characterCount(), QTextDocument::FindBackward).block().textDirection();
}

TEST_F(ReportFileTest, ATextRunsAsItsScriptDoes) {
    WriteInterchangeReport(path, {.title = "صورة الصدر", .reading = "אין ממצא."});
    EXPECT_EQ(DirectionOf(ReportAsHtml(path), "אין ממצא"), Qt::RightToLeft);
    EXPECT_EQ(DirectionOf(ReportAsHtml(path), "صورة"), Qt::RightToLeft);
    EXPECT_EQ(DirectionOf(ReportAsHtml(path), "Impression"), Qt::LeftToRight);
}

TEST_F(ReportFileTest, AReferenceThatATextImitatesStaysText) {
    const char* text = R"(<a href="http://localhost/x?requestType=WADO+1.2.3">CT</a>:</b><br>)";
    WriteInterchangeReport(path, {.title = text, .reading = text, .annotation = "</div>"});
    EXPECT_EQ(ShownFile().count(text), 2);
}

TEST_F(ReportFileTest, VersionsComeNewestFirstWithTheirDates) {
    const QString older = folder.filePath("b.dcm"), newer = folder.filePath("a.dcm"),
                  undated = folder.filePath("c.dcm");
    WriteReport(older, {.date = "20261114", .time = "235959.5"});
    WriteReport(newer, {.date = "20261115", .time = "0001"});
    WriteReport(undated, {.date = "", .time = ""});
    const QString missing = folder.filePath("0.dcm");
    EXPECT_EQ(Written({undated, missing, older, newer}),
              (QStringList{"15/11/2026 00:01", "14/11/2026 23:59:59", "c.dcm", "0.dcm"}));
}

TEST_F(ReportFileTest, AVersionIsNewerThanThoseThatItNamesWhateverTheClockSaid) {
    const QString first = folder.filePath("1.dcm"), second = folder.filePath("2.dcm");
    WriteReport(first, {.time = "101500", .uid = "1.2.3.3.1"});
    WriteReport(second, {.time = "091500", .uid = "1.2.3.3.2", .predecessor = "1.2.3.3.1"});
    EXPECT_EQ(Written({first, second}), (QStringList{"14/11/2026 09:15:00", "14/11/2026 10:15:00"}));
}

} // namespace
} // namespace tavrel::test
