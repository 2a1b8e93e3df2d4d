#include "platform/person_name.h"
#include "tests/suite/paper/PaperDesk.h"
#include "tests/support/Failure.h"

#include <QString>

namespace tavrel::test {
namespace {

std::string Numbered(int lines) {
    std::string text;
    for (int i = 1; i <= lines; ++i)
        text += (i == 1 ? "" : "\r\n") + ("line " + std::to_string(i));
    return text;
}

class PaperPages : public PaperDesk {};

TEST_F(PaperPages, CarryPatientMarksAndNumbersEach) {
    const auto pages = Saved(Page(WithReading(Numbered(150))));
    ASSERT_EQ(pages.size(), 4U);
    int line = 0;
    for (std::size_t i = 0; i < pages.size(); ++i) {
        EXPECT_EQ(pages[i].front(), "CT Chest Orbenta General Hospital");
        EXPECT_TRUE(pages[i].at(1).starts_with("Doe, Peter ID P1 born ")) << pages[i].at(1);
        EXPECT_TRUE(Holds(pages[i], "NOT APPROVED"));
        EXPECT_TRUE(pages[i].back().ends_with(" page " + std::to_string(i + 1) + " of 4")) << pages[i].back();
        for (const auto& text : pages[i])
            line += text == "line " + std::to_string(line + 1);
    }
    EXPECT_EQ(line, 150);
}

TEST_F(PaperPages, OfTwoHundredThousandCharactersAreWhole) {
    std::string reading;
    for (int word = 0; reading.size() < 200'000; ++word)
        reading += "word" + std::to_string(word) + (word % 200 == 199 ? "\r\n" : " ");
    const auto pages = Saved(Page(WithReading(reading)));
    std::string text;
    for (const auto& page : pages)
        for (const auto& line : page)
            text += line + " ";
    int word = 0;
    for (std::size_t at = 0; (at = text.find("word" + std::to_string(word) + " ", at)) != std::string::npos; ++word) {
    }
    EXPECT_GT(word, 19'000);
    EXPECT_EQ(reading.find("word" + std::to_string(word)), std::string::npos);
    const std::string count = std::to_string(pages.size());
    EXPECT_TRUE(pages.back().back().ends_with(" page " + count + " of " + count)) << pages.back().back();
}

/// As many lines as the page takes and one more or less: none is lost, none stands alone, and no page is empty.
class PageEnds : public PaperDesk, public testing::WithParamInterface<int> {};

TEST_P(PageEnds, LoseNoLineAndPartNothingFromItsCaption) {
    const auto pages = Saved(Page(WithReading(Numbered(GetParam()))));
    int line = 0;
    for (const auto& page : pages) {
        EXPECT_EQ(Holds(page, "Written by"), Holds(page, "Not yet approved"));
        EXPECT_EQ(Holds(page, "Written by"), Holds(page, "line " + std::to_string(GetParam())));
        EXPECT_GE(page.size(), 7U);
        for (const auto& text : page)
            line += text == "line " + std::to_string(line + 1);
    }
    EXPECT_EQ(line, GetParam());
}

INSTANTIATE_TEST_SUITE_P(After, PageEnds, testing::Range(28, 44),
                         [](const auto& lines) { return std::to_string(lines.param) + "Lines"; });

TEST_F(PaperPages, BreakAWordThatIsLongerThanTheLine) {
    const std::string word(3000, 'W');
    std::string text;
    for (const auto& page : Saved(Page(WithReading(word))))
        for (const auto& line : page)
            if (line.find_first_not_of('W') == std::string::npos)
                text += line;
    EXPECT_EQ(text, word);
}

TEST_F(PaperPages, GrowTheirHeaderWithTheName) {
    std::string name;
    for (int i = 0; i < 9; ++i)
        name += (i == 0 ? "" : " ") + std::string("Montesanto");
    const auto pages = Saved(Page(WithReading(Numbered(100), name)));
    ASSERT_GT(pages.size(), 2U);
    for (const auto& page : pages)
        EXPECT_TRUE(Holds(page, "Montesanto Montesanto Montesanto")) << page[1];
}

/// What is copied of a page, without what a reader makes of joined letters and marks of direction.
std::string Copied(const std::string& text) {
    QString copied = QString::fromStdString(text);
    copied.removeIf([](QChar c) { return c.isSpace() || c.category() == QChar::Other_Format; });
    return copied.normalized(QString::NormalizationForm_KC).toStdString();
}

struct Script {
    std::string called, name, reading;
    friend void PrintTo(const Script& script, std::ostream* out) { *out << script.called; }
};

class ScriptsOnPaper : public PaperDesk, public testing::WithParamInterface<Script> {};

TEST_P(ScriptsOnPaper, AreCopiedFromThePages) {
    Saved(Page(WithReading(GetParam().reading, GetParam().name)));
    const auto text = Copied(RunShell("pdftotext -raw '" + pdf + "' -").out);
    EXPECT_NE(text.find(Copied(WrittenName(GetParam().name))), std::string::npos) << text;
    EXPECT_NE(text.find(Copied(GetParam().reading)), std::string::npos) << text;
}

INSTANTIATE_TEST_SUITE_P(All, ScriptsOnPaper,
                         testing::Values(Script{"Greek", "Παπαδόπουλος^Διονύσιος", "Φυσιολογική καρδιά και πνεύμονες."},
                                         Script{"Russian", "Люкceмбypг^Пётр", "Сердце и лёгкие без изменений."},
                                         Script{"Japanese", "Yamada^Tarou=山田^太郎=やまだ^たろう",
                                                "心臓と肺は正常です。"},
                                         Script{"Korean", "Hong^Gildong=洪^吉洞=홍^길동", "심장과 폐는 정상입니다."},
                                         Script{"Arabic", "قباني^لنزار", "القلب والرئتان طبيعيان."},
                                         Script{"Hebrew", "שרון^דבורה", "הלב והריאות תקינים."},
                                         Script{"Thai", "ใจดี^สมชาย", "หัวใจและปอดปกติ"}),
                         testing::PrintToStringParamName());

TEST_F(PaperPages, AreReadableByTheirOwnerOnlyAndHaveTheirFontsEmbedded) {
    Saved(Page(WithReading("山田 Ω", "Yamada^Tarou=山田^太郎")));
    using std::filesystem::perms;
    EXPECT_EQ(std::filesystem::status(pdf).permissions(), perms::owner_read | perms::owner_write);
    const auto fonts = RunShell("pdffonts '" + pdf + "' | tail -n +3").out;
    EXPECT_FALSE(fonts.empty());
    EXPECT_EQ(fonts.find(" no  no "), std::string::npos) << fonts;
}

TEST_F(PaperPages, WithACharacterThatNoFontHasAreAnErrorThatNamesIt) {
    const auto failure = FailureOf([&] { Saved(Page(WithReading("Normal \U0010FFFD."))); });
    EXPECT_NE(failure.find("would not say them: \U0010FFFD;"), std::string::npos) << failure;
    EXPECT_FALSE(std::filesystem::exists(pdf));
}

TEST_F(PaperPages, OnAPrinterThatIsNotThereAreAnError) {
    try {
        PrintWithoutDisplay(Page(WithReading("Normal.")), {2026, 11, 22}, "Nowhere");
        FAIL();
    } catch (const Error& error) {
        EXPECT_TRUE(error.description.starts_with("There is no printer Nowhere; ")) << error.description;
    }
}

} // namespace
} // namespace tavrel::test
