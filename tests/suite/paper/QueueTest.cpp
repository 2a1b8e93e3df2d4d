#include "tests/suite/paper/PaperDesk.h"

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

} // namespace
} // namespace tavrel::test
