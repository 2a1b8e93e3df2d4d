#pragma once

#include "platform/qt/PdfFile.h"
#include "platform/qt/PrintPages.h"
#include "tests/editor/PrintingStation.h"
#include "tests/support/Shell.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <string>

namespace tavrel::test {

inline std::string WithoutBlanks(std::string text) {
    std::erase_if(text, [](char c) { return c == ' ' || c == '\n' || c == '\r' || c == '\f'; });
    return text;
}

/// Saves what is printed as a PDF, at once.
class PdfPrinter : public ReportPrinter {
public:
    explicit PdfPrinter(std::string file) : file_(std::move(file)) {}
    void ShowModal(const PrintLayout& layout, ResultSet& rows, const DateTime& today) override {
        SavePdf(PrintPages(layout, rows, today), QString::fromStdString(file_));
    }

private:
    std::string file_;
};

/// A station with an approved report whose "Print " makes a PDF named after the test.
class PdfStation : public PrintingStation {
public:
    PdfStation() {
        std::filesystem::remove(file);
        pdfEditor.LoadDocs();
    }

    /// Prints this reading and answers the text of the PDF in the order that it is copied in; a form
    /// feed ends each page.
    std::string TextWith(const std::string& reading) {
        Print(reading);
        return RunShell("pdftotext -raw '" + file + "' -").out;
    }
    /// Its pages, each the lines of its text.
    std::vector<Texts> PagesWith(const std::string& reading) {
        std::vector<Texts> pages;
        std::string line;
        for (const char c : TextWith(reading)) {
            if (pages.empty() || c == '\f')
                pages.emplace_back();
            if (c == '\n')
                pages.back().push_back(std::exchange(line, {}));
            else if (c != '\f')
                line += c;
        }
        pages.pop_back();
        return pages;
    }
    void Print(const std::string& reading = "Normal heart and lungs.") {
        pdfEditor.txtReportAnnotation.Text(reading);
        pdfEditor.cmdPrint.Press();
    }

    const std::string file = [] {
        const auto* test = testing::UnitTest::GetInstance()->current_test_info();
        std::string name = std::string(test->test_suite_name()) + "." + test->name();
        std::ranges::replace(name, '/', '.');
        return PAGES_FOLDER "/" + name + ".pdf";
    }();

    PdfPrinter pdf{file};
    FakeTimer pdfTimer;
    FakeReportWatch pdfWatch;
    frmReport pdfEditor{global, serviceEvents, chooser, codeTables, pdf, pdfTimer, pdfWatch}; ///< the one that prints
};

/// The pages of a report with this reading, as the editor prints it.
inline PrintPages PagesOf(PrintingStation& station, const std::string& reading = "Normal.",
                          const ReportCodes& codes = {}) {
    station.PrintReading(reading);
    const auto connection = station.database->NewConnection();
    connection->Open({}, {}, {});
    return {PrintReportLayout(codes), *connection->OpenResultSet("SELECT * FROM Report"), {2026, 11, 15}};
}

} // namespace tavrel::test
