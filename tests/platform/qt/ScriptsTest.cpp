// Every alphabet on the screen and on paper.

#include "platform/person_name.h"
#include "tests/platform/qt/PdfStation.h"

#include <QGlyphRun>
#include <QRawFont>
#include <QTextLayout>

namespace tavrel::test {
namespace {

struct Script {
    std::string called, name, reading;
};

const auto Alphabets = testing::Values(
    Script{"Polish", "Żółć^Świętosława", "Łagodna zmiana ogniskowa w płucu."},
    Script{"Greek", "Διονύσιος^Παπαδόπουλος", "Φυσιολογική καρδιά και πνεύμονες."},
    Script{"Russian", "Люкceмбypг^Пётр", "Сердце и лёгкие без изменений."},
    Script{"Japanese", "Yamada^Tarou=山田^太郎=やまだ^たろう", "心臓と肺は正常です。"},
    Script{"Korean", "Hong^Gildong=洪^吉洞=홍^길동", "심장과 폐는 정상입니다."},
    Script{"Chinese", "Wang^XiaoDong=王^小東", "心肺未见异常。"},
    Script{"Arabic", "قباني^لنزار", "القلب والرئتان طبيعيان."}, Script{"Hebrew", "שרון^דבורה", "הלב והריאות תקינים."},
    Script{"Thai", "ใจดี^สมชาย", "หัวใจและปอดปกติ"}, Script{"Vietnamese", "Nguyễn^Thị Hương", "Tim và phổi bình thường."},
    Script{"Armenian", "Սարոյան^Վիլյամ", "Սիրտը և թոքերը նորմալ են։"});
/// Its letters join to others, of which a PDF does not say what they were.
const Script Hindi{"Hindi", "शर्मा^सीता", "हृदय और फेफड़े सामान्य हैं।"};

class Scripts : public testing::TestWithParam<Script> {};
class ScriptsOnPaper : public Scripts {};

/// Qt's own marks of direction, and the forms that a PDF's reader makes of letters that are joined, are left out.
std::string Copied(std::string text) {
    QString copied = QString::fromStdString(WithoutBlanks(std::move(text)));
    copied.remove(QChar(0x202A))
        .remove(QChar(0x202B))
        .remove(QChar(0x202C))
        .remove(QChar(0x200E))
        .remove(QChar(0x200F));
    return copied.normalized(QString::NormalizationForm_KC).toStdString();
}

TEST_P(Scripts, HaveAGlyphForEachCharacter) {
    const QString text = QString::fromStdString(WrittenName(GetParam().name) + " " + GetParam().reading);
    QTextLayout layout(text, QFont("Arial"));
    layout.beginLayout();
    layout.createLine();
    layout.endLayout();
    const auto runs = layout.glyphRuns();
    const auto drawn = [&](char32_t character) {
        return std::ranges::any_of(runs, [&](const QGlyphRun& run) { // boxes in place of letters are of no file
            return !run.rawFont().fontTable("cmap").isEmpty() && run.rawFont().supportsCharacter(character);
        });
    };
    for (const char32_t character : text.toUcs4())
        EXPECT_TRUE(drawn(character)) << QString::fromUcs4(&character, 1).toStdString();
}

TEST_P(ScriptsOnPaper, AreCopiedAsTheyStandOnTheScreen) {
    PdfStation station;
    station.pdfEditor.txtPtName.Text(GetParam().name);
    const auto text = Copied(station.TextWith(GetParam().reading));
    EXPECT_NE(text.find(Copied(WrittenName(GetParam().name))), std::string::npos) << text;
    EXPECT_NE(text.find(Copied(GetParam().reading)), std::string::npos) << text;
}

constexpr auto Called = [](const auto& test) { return test.param.called; };
INSTANTIATE_TEST_SUITE_P(All, Scripts, Alphabets, Called);
INSTANTIATE_TEST_SUITE_P(Joined, Scripts, testing::Values(Hindi), Called);
INSTANTIATE_TEST_SUITE_P(All, ScriptsOnPaper, Alphabets, Called);

} // namespace
} // namespace tavrel::test
