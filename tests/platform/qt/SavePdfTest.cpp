#include "tests/platform/qt/PdfStation.h"
#include "tests/support/Failure.h"

#include <gmock/gmock.h>

#include <sys/stat.h>

namespace tavrel::test {
namespace {

/// The pages of a printed report.
class SavedPdf : public testing::Test {
protected:
    void SaveAs(const std::string& below) const {
        SavePdf(pages, QString::fromStdString(station.NativePath(below).string()));
    }

    PrintingStation station;
    PrintPages pages = PagesOf(station);
};

TEST_F(SavedPdf, IsReadableByItsOwnerOnly) {
    station.WriteFile("report.pdf", "%PDF-1.4, an older one");
    SaveAs("report.pdf");
    using std::filesystem::perms;
    EXPECT_EQ(std::filesystem::status(station.NativePath("report.pdf")).permissions(),
              perms::owner_read | perms::owner_write);
    EXPECT_TRUE(station.ReadFile("report.pdf").starts_with("%PDF-"));
}

TEST_F(SavedPdf, SaysWhoseItIsWithoutMarkup) {
    PrintLayout layout;
    layout.document = {.patient = "Doe & <Sons>, Peter", .study = "CT"};
    SavePdf(PrintPages(layout, {2026, 11, 15}), QString::fromStdString(station.NativePath("report.pdf").string()));
    const auto file = station.NativePath("report.pdf").string();
    EXPECT_NE(RunShell("pdfinfo '" + file + "'").out.find("Doe & <Sons>, Peter - "), std::string::npos);
    EXPECT_NE(RunShell("pdfinfo -meta '" + file + "'").out.find("Doe &amp; &lt;Sons&gt;, Peter - "), std::string::npos);
}

TEST_F(SavedPdf, InAFolderThatDoesNotExistIsAnError) {
    const auto failure = FailureOf([&] { SaveAs("nowhere/report.pdf"); });

    EXPECT_TRUE(
        failure.starts_with("The PDF " + station.NativePath("nowhere/report.pdf").string() + " cannot be written: "))
        << failure;
}

TEST_F(SavedPdf, LeavesAloneWhatIsNoPdf) {
    station.WriteFile("version.dcm", "a report's own file");
    EXPECT_THROW(SaveAs("version.dcm"), Error);
    EXPECT_EQ(station.ReadFile("version.dcm"), "a report's own file");
    const std::string pipe = station.NativePath("pipe").string();
    ASSERT_EQ(mkfifo(pipe.c_str(), 0600), 0);
    EXPECT_THAT(FailureOf([&] { SaveAs("pipe"); }), testing::EndsWith("it is no ordinary file"));
    EXPECT_TRUE(std::filesystem::is_fifo(pipe));
}

TEST_F(SavedPdf, WhoseNameIsAFolderIsAnErrorAndLeavesTheFolder) {
    std::filesystem::create_directories(station.NativePath("report.pdf/kept"));
    EXPECT_THROW(SaveAs("report.pdf"), Error);
    EXPECT_TRUE(std::filesystem::exists(station.NativePath("report.pdf/kept")));
}

} // namespace
} // namespace tavrel::test
