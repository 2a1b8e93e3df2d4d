#include "tests/platform/qt/PdfStation.h"

#include <QPdfWriter>

#include <regex>
#include <sstream>

namespace tavrel::test {
namespace {

/// Where a word of a PDF stands, in points.
struct Word {
    std::string text;
    double left = 0, top = 0, right = 0, bottom = 0;
};

std::vector<Word> WordsOf(const std::string& file) {
    std::vector<Word> words;
    std::istringstream lines(RunShell("pdftotext -bbox '" + file + "' -").out);
    for (std::string line; std::getline(lines, line);)
        if (Word word; std::sscanf(line.c_str(), R"( <word xMin="%lf" yMin="%lf" xMax="%lf" yMax="%lf")", &word.left,
                                   &word.top, &word.right, &word.bottom) == 4) {
            const auto start = line.find('>') + 1;
            word.text = line.substr(start, line.find('<', start) - start);
            words.push_back(word);
        }
    return words;
}

Word WordCalled(const std::string& text, const std::string& file) {
    const auto words = WordsOf(file);
    const auto found = std::ranges::find(words, text, &Word::text);
    if (found == words.end())
        throw std::runtime_error("The page does not say " + text);
    return *found;
}

constexpr double PointsPerMillimetre = 72 / 25.4;

void ExpectWithinTheMargins(const std::string& file) {
    const auto words = WordsOf(file);
    ASSERT_FALSE(words.empty());
    for (const Word& word : words) {
        EXPECT_GE(word.left, 19.5 * PointsPerMillimetre);
        EXPECT_LE(word.right, 190.5 * PointsPerMillimetre);
        EXPECT_GE(word.top, 14 * PointsPerMillimetre);
        EXPECT_LE(word.bottom, 283 * PointsPerMillimetre);
    }
}

/// Lines "1." to "N.".
std::string ShortLines(int count) {
    std::string text;
    for (int i = 1; i <= count; ++i)
        text += (i == 1 ? "" : "\r\n") + std::to_string(i) + ".";
    return text;
}

TEST(Pages, TheTextIsCopiedInTheLayoutsOrder) {
    PdfStation station;
    EXPECT_EQ(station.TextWith("Cuore e polmoni nella norma.\r\nNessun versamento."),
              "Relazione clinica\nPrinting report\n"
              "Paziente\nROSSI, MARIA\nIdentificativo paziente\nP1\nData di nascita\n20/05/1960\nEtà\n66 y\nSesso\nF\n"
              "Data studio\n14/11/2026\nReferto\nCuore e polmoni nella norma.\nNessun versamento.\n"
              "Il medico\nDr. Mario Rossi\nData referto\n14/11/2026\n"
              "Referto stampato il 15/11/2026\n\f");
}

TEST(Pages, AreA4WithTheirFontsEmbedded) {
    PdfStation station;
    station.Print();
    const auto info = RunShell("pdfinfo '" + station.file + "'").out;
    EXPECT_NE(info.find("(A4)"), std::string::npos) << info;
    EXPECT_NE(info.find("Pages:           1\n"), std::string::npos) << info;
    std::istringstream fonts(RunShell("pdffonts '" + station.file + "' | tail -n +3").out);
    int count = 0;
    for (std::string font; std::getline(fonts, font); ++count) {
        EXPECT_TRUE(std::regex_search(font, std::regex(" yes (yes|no ) yes "))) << font; // embedded, and as text
        EXPECT_TRUE(font.find("LiberationSans") != std::string::npos || font.find("Arial") != std::string::npos)
            << font;
    }
    EXPECT_GE(count, 2); // regular and bold
}

TEST(Pages, AReadingOf1024CharactersIsPrintedWhole) {
    PdfStation station;
    std::string reading;
    for (int word = 1; reading.size() < 1024; ++word)
        reading += "parola" + std::to_string(word) + " ";
    reading.resize(1024);
    EXPECT_NE(WithoutBlanks(station.TextWith(reading)).find(WithoutBlanks(reading)), std::string::npos);
    ExpectWithinTheMargins(station.file);
}

TEST(Pages, AccentsLigaturesAndSymbolsCanBeCopied) {
    PdfStation station;
    const std::string reading =
        "Opacità, perché così più giù; È già Ñandú Größe ÿ. Efficace finding, flow: 5 µm ± ½ °C « »";
    EXPECT_NE(WithoutBlanks(station.TextWith(reading)).find(WithoutBlanks(reading)), std::string::npos);
}

TEST(Pages, AWordWiderThanThePageIsBroken) {
    PdfStation station;
    const auto reading = Repeated("W", 1024);
    EXPECT_NE(WithoutBlanks(station.TextWith(reading)).find(reading), std::string::npos);
    ExpectWithinTheMargins(station.file);
}

TEST(Pages, AnEmptyReadingLeavesItsPlace) {
    PdfStation station;
    EXPECT_NE(station.TextWith("").find("\nReferto\nIl medico\n"), std::string::npos);
}

TEST(Pages, EmptyLinesAndTabsKeepTheirPlace) {
    PdfStation station;
    station.Print("first\r\n\r\n\r\n\tfourth\tline");
    const Word first = WordCalled("first", station.file), fourth = WordCalled("fourth", station.file);
    EXPECT_NEAR(fourth.top - first.top, 3 * 15.2, 0.5);
    EXPECT_GT(fourth.left, first.left + 20);
    EXPECT_GT(WordCalled("line", station.file).left, fourth.left + 40);
}

TEST(Pages, LongTextsInTheOtherFieldsAreWrappedNotCut) {
    PdfStation station;
    const auto name = Repeated("MONTESANTO ", 23); // 253 characters
    station.pdfEditor.txtPtName.Text(name);
    station.pdfEditor.txtApprovingPhysician.Text(Repeated("Dott. ", 42));
    EXPECT_NE(WithoutBlanks(station.TextWith("Short.")).find(WithoutBlanks(name)), std::string::npos);
    ExpectWithinTheMargins(station.file);
}

TEST(Pages, FortyShortLinesAreAllPrintedInOrderUnderAHeaderOnEachPage) {
    PdfStation station;
    const auto pages = station.PagesWith(ShortLines(40));
    ASSERT_EQ(pages.size(), 2U);
    int number = 0;
    for (const Texts& page : pages) {
        EXPECT_EQ(page.front(), "Relazione clinica");
        EXPECT_EQ(page.back(), "Referto stampato il 15/11/2026");
        for (const auto& line : page)
            number += line == std::to_string(number + 1) + ".";
    }
    EXPECT_EQ(number, 40);
    ExpectWithinTheMargins(station.file);
}

TEST(Pages, AsManyLinesAsAReadingCanHoldArePrinted) {
    PdfStation station;
    const auto pages = station.PagesWith(Repeated("x\r\n", 341));
    int lines = 0;
    for (const Texts& page : pages)
        lines += static_cast<int>(std::ranges::count(page, "x"));
    EXPECT_EQ(lines, 341);
    ExpectWithinTheMargins(station.file);
}

class PageBreaks : public testing::TestWithParam<int> {};

TEST_P(PageBreaks, NeverPartACaptionFromItsValueOrASignatureFromTheReading) {
    PdfStation station;
    const auto last = std::to_string(GetParam()) + ".";
    for (const Texts& page : station.PagesWith(ShortLines(GetParam()))) {
        const auto holds = [&](const std::string& line) { return std::ranges::count(page, line) > 0; };
        EXPECT_EQ(holds("Il medico"), holds("Dr. Mario Rossi"));
        EXPECT_EQ(holds("Il medico"), holds(last));
        EXPECT_GE(page.size(), 6U); // never one line alone between header and footer
    }
    ExpectWithinTheMargins(station.file);
}

INSTANTIATE_TEST_SUITE_P(After, PageBreaks, testing::Range(24, 40),
                         [](const auto& lines) { return std::to_string(lines.param) + "Lines"; });

/// The pages as they are saved, with these codes after a short reading.
std::string FileWith(PrintingStation& station, const ReportCodes& codes, const std::string& reading = "Normal.") {
    const auto* test = testing::UnitTest::GetInstance()->current_test_info();
    std::string file = std::string(PAGES_FOLDER "/") + test->test_suite_name() + "." + test->name() + ".pdf";
    SavePdf(PagesOf(station, reading, codes), QString::fromStdString(file));
    return file;
}

TEST(Pages, CodesAreCopiedBetweenTheReadingAndTheSignature) {
    PrintingStation station;
    const auto file = FileWith(station, {"Ginocchio",
                                         {{"SRT", "F1", "Nodulo", "a sinistra"}, {"SRT", "F2", "Versamento", ""}},
                                         {{"SRT", "D1", "Cisti", ""}}});
    const auto text = RunShell("pdftotext -raw '" + file + "' -").out;
    EXPECT_NE(text.find("\nReferto\nNormal.\nDistretto corporeo\nGinocchio\nReperti\nNodulo: a sinistra\n"
                        "Versamento\nDiagnosi\nCisti\nIl medico\n"),
              std::string::npos)
        << text;
}

TEST(Pages, CodesThatHoldAPlaceholderArePrintedAsTheyAre) {
    PrintingStation station;
    const auto file = FileWith(station, {"", {{"SRT", "F1", "50 %i", "70 %d"}}, {}});
    EXPECT_NE(RunShell("pdftotext -raw '" + file + "' -").out.find("50 %i: 70 %d\n"), std::string::npos);
}

TEST(Pages, TwoHundredFindingsAreAllPrintedInOrder) {
    PrintingStation station;
    ReportCodes codes{"Torace", {}, {{"SRT", "D1", "Cisti", ""}}};
    for (int i = 0; i < 200; ++i)
        codes.findings.push_back({"SRT", "F", "Reperto" + std::to_string(i), Repeated("molto esteso ", i % 20)});
    const auto file = FileWith(station, codes, ShortLines(20));
    int number = 0;
    for (const Word& word : WordsOf(file))
        number += word.text == "Reperto" + std::to_string(number) + (number % 20 == 0 ? "" : ":");
    EXPECT_EQ(number, 200);
    ExpectWithinTheMargins(file);
}

TEST(Pages, ALineOfAParagraphFromTheRightBeginsAtTheRight) {
    PdfStation station;
    station.Print(Repeated("שלום ", 34) + "CT.");
    EXPECT_GT(WordCalled(".CT", station.file).right, 180 * PointsPerMillimetre);
}

TEST(Pages, OnlyThePagesAskedForAreDrawn) {
    PrintingStation station;
    const PrintPages pages = PagesOf(station, ShortLines(120));
    ASSERT_EQ(pages.Count(), 4);
    const std::string file = PAGES_FOLDER "/PageRange.pdf";
    {
        QPdfWriter writer(QString::fromStdString(file));
        writer.setPageMargins({});
        writer.setPageRanges(QPageRanges::fromString("2-3"));
        pages.Paint(writer);
    }
    EXPECT_NE(RunShell("pdfinfo '" + file + "'").out.find("Pages:           2\n"), std::string::npos);
}

TEST(Pages, ASmallerSheetTakesTheWholePage) {
    PrintingStation station;
    const PrintPages pages = PagesOf(station);
    const std::string file = PAGES_FOLDER "/A5.pdf";
    {
        QPdfWriter writer(QString::fromStdString(file));
        writer.setPageSize(QPageSize(QPageSize::A5));
        writer.setPageMargins({});
        pages.Paint(writer);
    }
    for (const Word& word : WordsOf(file)) {
        EXPECT_LE(word.right, 148 * PointsPerMillimetre);
        EXPECT_LE(word.bottom, 210 * PointsPerMillimetre);
    }
    EXPECT_NE(RunShell("pdftotext -raw '" + file + "' -").out.find("Referto stampato il 15/11/2026"),
              std::string::npos);
}

} // namespace
} // namespace tavrel::test
