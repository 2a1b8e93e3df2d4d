#include "tests/suite/paper/PaperDesk.h"
#include "tests/support/Failure.h"
#include "tests/support/Shell.h"

#include <cstdlib>

namespace tavrel::test {
namespace {

/// Prints to the queue of `tests/support/printqueue`, under which these tests run.
class PaperQueue : public PaperDesk {
protected:
    static std::vector<std::string> Documents() {
        auto files = FilesIn(std::getenv("PRINT_SPOOL"));
        std::erase_if(files, [](const std::string& file) {
            return !std::filesystem::path(file).filename().string().starts_with('d');
        });
        return files;
    }
};

TEST_F(PaperQueue, TakesEveryPageAndTheSecondReportToo) {
    std::string lines;
    for (int line = 0; line < 100; ++line)
        lines += "line\r\n";
    const PrintLayout page = Page(WithReading(lines + "end"));
    for (const std::size_t printed : {1U, 2U}) {
        EXPECT_EQ(PrintWithoutDisplay(page, {2026, 11, 22}, "Reparto"), 3);
        const auto documents = Documents();
        ASSERT_EQ(documents.size(), printed);
        const std::string text = RunShell("pdftotext -raw '" + documents.back() + "' -").out;
        EXPECT_EQ(std::ranges::count(text, '\f'), 3);
        EXPECT_NE(text.find("page 3 of 3"), std::string::npos) << text;
    }
}

TEST_F(PaperQueue, SaysThatThePrinterTakesNothing) {
    const PrintLayout page = Page(WithReading("Normal."));
    const auto before = Documents();
    RunShell("cupsreject Reparto");
    const std::string said = FailureOf([&] { PrintWithoutDisplay(page, {2026, 11, 22}, "Reparto"); });
    RunShell("cupsaccept Reparto");
    EXPECT_TRUE(said.starts_with("The report was not printed: the printer Reparto does not take it (")) << said;
    EXPECT_EQ(Documents(), before);
    EXPECT_NO_THROW(PrintWithoutDisplay(page, {2026, 11, 22}, "Reparto"));
}

TEST_F(PaperQueue, SaysThatThePrinterIsStoppedAndKeepsTheReport) {
    const PrintLayout page = Page(WithReading("Normal."));
    const auto before = Documents().size();
    RunShell("cupsdisable Reparto");
    const std::string said = FailureOf([&] { PrintWithoutDisplay(page, {2026, 11, 22}, "Reparto"); });
    RunShell("cupsenable Reparto");
    EXPECT_TRUE(said.starts_with("The printer Reparto is stopped: the report waits in its queue")) << said;
    EXPECT_EQ(Documents().size(), before + 1);
}

TEST_F(PaperQueue, PrintsOnThePaperThatThePrinterHas) {
    RunShell("lpadmin -p Letter -E -v file:/dev/null -P '" LETTER_PRINTER "'");
    std::string lines;
    for (int line = 0; line < 100; ++line)
        lines += "line\r\n";
    EXPECT_EQ(PrintWithoutDisplay(Page(WithReading(lines + "end")), {2026, 11, 22}, "Letter"), 3);
    const std::string paper = RunShell("pdfinfo '" + Documents().back() + "'").out;
    EXPECT_NE(paper.find("(letter)"), std::string::npos) << paper;
    // What lies beyond the sheet is in the text all the same, but not in that of a page cut to its size.
    const std::string text = RunShell("pdftotext -raw -x 0 -y 0 -W 612 -H 792 '" + Documents().back() + "' -").out;
    EXPECT_NE(text.find("page 3 of 3"), std::string::npos) << text;
}

} // namespace
} // namespace tavrel::test
