// What other people's programs say of the pages that are saved.

#include "tests/suite/paper/PaperDesk.h"

#include "platform/qt/PdfFile.h"
#include "platform/qt/PrintPages.h"
#include "tests/editor/PrintingStation.h"

#include <QGuiApplication>
#include <QImage>

#include <array>

namespace tavrel::test {
namespace {

class ArchivedPages : public PaperDesk {
protected:
    void ExpectForArchives() const {
        const Outcome judged = RunShell(PDFA_JUDGE " '" + pdf + "'");
        EXPECT_NE(judged.out.find(" is a valid PDF/A-1b file"), std::string::npos) << judged.out << judged.err;
        const Outcome checked = RunShell("qpdf --check '" + pdf + "'");
        EXPECT_EQ(checked.status, 0) << checked.out << checked.err;
    }
};

TEST_F(ArchivedPages, OfALongReportInManyScriptsAreForArchives) {
    std::string reading = "Ελληνικά\r\nКириллица\r\n山田 太郎\r\n홍길동\r\nقباني لنزار\r\nדבורה\r\nใจดี\r\nहृदय\r\n" +
                          std::string(500, 'W');
    for (int line = 0; line < 500; ++line)
        reading += "\r\nline " + std::to_string(line);
    EXPECT_GT(Saved(Page(WithReading(reading, "Yamada^Tarou=山田^太郎=やまだ^たろう"))).size(), 8U);
    ExpectForArchives();
}

TEST_F(ArchivedPages, WhoseNameIsNoMarkupAreForArchives) {
    Saved(Page(WithReading("Normal.", "Doe & <Sons>^\"Peter\"")));
    ExpectForArchives();
}

/// Prints into a PDF.
class PdfOf : public ReportPrinter {
public:
    explicit PdfOf(std::string file) : file_(std::move(file)) {}
    void ShowModal(const PrintLayout& layout, ResultSet& rows, const DateTime& today) override {
        SavePdf(PrintPages(layout, rows, today), QString::fromStdString(file_));
    }

private:
    std::string file_;
};

TEST_F(ArchivedPages, OfTheEditorWithATransparentLogoAreForArchives) {
    qputenv("QT_QPA_PLATFORM", "offscreen");
    std::array<char, 6> name{"pages"};
    std::array<char*, 2> arguments{name.data(), nullptr};
    int count = 1;
    const QGuiApplication application(count, arguments.data());
    PrintingStation editor;
    QImage logo(300, 100, QImage::Format_ARGB32);
    logo.fill(QColor(255, 0, 0, 100));
    ASSERT_TRUE(logo.save(QString::fromStdString(editor.NativePath("Logo.bmp").string()), "PNG"));
    PdfOf printer(pdf);
    ASSERT_TRUE(FillPrintTable(editor.global, {"ROSSI^MARIA"}));
    ShowPrintReport(editor.global, printer, {"ROSSI^MARIA"}, {});
    EXPECT_EQ(editor.windows.Texts(), Texts{});
    EXPECT_NE(RunShell("pdfimages -list '" + pdf + "'").out.find("image"), std::string::npos);
    ExpectForArchives();
}

} // namespace
} // namespace tavrel::test
