#pragma once

#include "platform/attributes.h"
#include "platform/error.h"
#include "sr/DcmSRDocument.h"
#include "suite/paper/ReportVersions.h"
#include "suite/paper/WithoutDisplay.h"
#include "tests/support/Shell.h"
#include "tests/support/Workstation.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <functional>
#include <stdexcept>
#include <string>
#include <vector>

namespace tavrel::test {

/// Reports in files, and what their pages say as another program reads them.
class PaperDesk : public testing::Test {
protected:
    PaperDesk() { station.AddExampleStudy(); }

    static std::vector<std::string> FilesIn(const std::filesystem::path& folder) {
        std::vector<std::string> files;
        for (const auto& entry : std::filesystem::directory_iterator(folder))
            files.push_back(entry.path().string());
        std::ranges::sort(files);
        return files;
    }
    /// The files of a report, oldest version first.
    std::vector<std::string> Report(const ReportSeed& seed = {}) {
        station.AddReport(seed);
        return FilesIn(station.NativePath("study/" + seed.seriesDir));
    }
    /// A version of the interchange form, as `write` fills it.
    std::string Interchange(const std::function<void(DcmSRDocument&)>& write,
                            const std::string& patient = "Doe^Peter") {
        station.global.reportForm = ReportForm::Interchange;
        station.global.userSignature = "Rossi^Mario";
        const auto images = station.ImageSeries();
        images->SetElementString(0, attribute::PatientName, patient);
        DcmSRDocument document(station.global);
        document.CreateFromDDO(*images, 0);
        document.SetTitle("LN", "24627-2", "CT Chest", "Chest");
        write(document);
        std::string file = station.NativePath("version.dcm").string();
        document.Save(station.Path("version.dcm"));
        if (!station.windows.messages.empty())
            throw std::runtime_error(station.windows.messages.front().text);
        return file;
    }
    /// The same with nothing but this reading.
    std::string WithReading(const std::string& reading, const std::string& patient = "Doe^Peter") {
        return Interchange([&](DcmSRDocument& document) { document.Reading(reading); }, patient);
    }
    /// A file of one of ours, changed.
    std::string Changed(const std::string& file, const std::function<void(DicomDataSet&)>& change) const {
        const auto read = station.dicom->NewDataSetList();
        read->LoadFile(file);
        change(*read->Item(0));
        std::string other = station.NativePath("other.dcm").string();
        read->Item(0)->SaveToFile(other);
        return other;
    }

    PrintLayout Page(const std::vector<std::string>& files, int number) const {
        return ReportVersions(*station.dicom, files).Page(number);
    }
    PrintLayout Page(const std::string& file) const { return Page(std::vector{file}, 1); }
    /// The text of a control that stands on every page; empty when there is none.
    static std::string OnEveryPage(PrintLayout layout, const std::string& control) {
        try {
            return layout.Control(control).text;
        } catch (const Error&) {
            return {};
        }
    }
    /// What stands below a caption.
    static std::string Below(const PrintLayout& layout, const std::string& caption) {
        for (const auto& section : layout.sections)
            for (std::size_t i = 0; i + 1 < section.controls.size(); ++i)
                if (section.controls[i].text == caption)
                    return section.controls[i + 1].text;
        return {};
    }

    const std::string pdf = [] {
        std::filesystem::create_directories(PAGES_FOLDER);
        const auto* test = testing::UnitTest::GetInstance()->current_test_info();
        std::string name = std::string(test->test_suite_name()) + "." + test->name();
        std::ranges::replace(name, '/', '.');
        return PAGES_FOLDER "/" + name + ".pdf";
    }();
    /// The lines of each page, in the order that they are copied in, its number in the last one.
    std::vector<std::vector<std::string>> Saved(const PrintLayout& layout) const {
        std::filesystem::remove(pdf);
        SavePdfWithoutDisplay(layout, {2026, 11, 22}, pdf);
        std::vector<std::vector<std::string>> pages(1);
        std::string line;
        for (const char c : RunShell("pdftotext -raw '" + pdf + "' -").out)
            if (c == '\f')
                pages.emplace_back();
            else if (c == '\n')
                pages.back().push_back(std::exchange(line, {}));
            else
                line += c;
        pages.pop_back();
        return pages;
    }
    static bool Holds(const std::vector<std::string>& page, const std::string& line) {
        return std::ranges::count(page, line) > 0;
    }

    Workstation station;
};

} // namespace tavrel::test
