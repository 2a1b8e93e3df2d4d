#include "SampleReport.h"

#include <array>
#include <cstdlib>
#include <fstream>
#include <sstream>
#include <stdexcept>
#include <utility>

namespace tavrel::test {
namespace {

constexpr DateTime Saved{2026, 11, 15, 8, 5, 12};
const std::string BasicTextSr = "1.2.840.10008.5.1.4.1.1.88.11";

struct Attribute {
    Tag tag;
    std::string_view vr;
    Value value;
};

void Write(DicomDataSet& dataSet, const std::vector<Attribute>& attributes) {
    for (const auto& [tag, vr, value] : attributes)
        dataSet.SetValue(tag, vr, 0, value);
}

/// A new item at the end of a sequence.
DataSetHandle Append(DicomLibrary& library, DicomDataSet& dataSet, Tag sequence) {
    const auto item = library.NewDataSet();
    dataSet.SetSequenceItem(sequence, dataSet.GetSequenceItemCount(sequence), item);
    return item;
}

void AppendConcept(DicomLibrary& library, DicomDataSet& dataSet, const std::string& scheme, const std::string& code,
                   const std::string& meaning) {
    Write(*Append(library, dataSet, {0x0040, 0xA043}),
          {{{0x0008, 0x0100}, "SH", code}, {{0x0008, 0x0102}, "SH", scheme}, {{0x0008, 0x0104}, "LO", meaning}});
}

void AppendText(DicomLibrary& library, DicomDataSet& report, const std::string& scheme, const std::string& code,
                const std::string& meaning, const std::string& text) {
    const auto item = Append(library, report, {0x0040, 0xA730});
    Write(*item, {{{0x0040, 0xA010}, "CS", "CONTAINS"}, {{0x0040, 0xA040}, "CS", "TEXT"}});
    AppendConcept(library, *item, scheme, code, meaning);
    Write(*item, {{{0x0040, 0xA160}, "UT", text}});
}

std::string InstanceUid(int version) {
    return "1.2.826.0.1.3680043.9.1.1.2026.11.15.08.05." + std::to_string(version);
}

} // namespace

TestFolder::TestFolder() {
    std::string name = (std::filesystem::temp_directory_path() / "dicom-test-XXXXXX").string();
    if (::mkdtemp(name.data()) == nullptr)
        throw std::runtime_error("no folder for the test");
    path = name;
}

TestFolder::~TestFolder() {
    std::error_code ignored;
    std::filesystem::remove_all(path, ignored);
}

std::shared_ptr<DataSetList> TestLibrary::Load(const std::string& path) {
    auto list = dicom.NewDataSetList();
    list->LoadFile(path);
    return list;
}

std::string Text(const Value& value) {
    const auto* text = std::get_if<std::string>(&value);
    return text == nullptr ? std::string{} : *text;
}

std::string Text(const DicomDataSet& dataSet, Tag tag) {
    return Text(dataSet.GetValue(tag, "LO"));
}

std::string FailureOf(const std::function<void()>& call) {
    try {
        call();
    } catch (const Error& error) {
        return error.description;
    }
    return {};
}

std::string ReadBytes(const std::filesystem::path& path) {
    std::ifstream file{path, std::ios::binary};
    std::ostringstream bytes;
    bytes << file.rdbuf();
    return bytes.str();
}

void WriteBytes(const std::filesystem::path& path, std::string_view bytes) {
    std::ofstream file{path, std::ios::binary};
    file.write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
}

DataSetHandle MakeReport(DicomLibrary& library, int version) {
    auto report = library.NewDataSet();
    Write(*report, {{{0x0010, 0x0010}, "PN", "Doe^Jane"},
                    {{0x0010, 0x0020}, "LO", "PAT-17"},
                    {{0x0010, 0x0030}, "DA", DateTime{1961, 2, 28}},
                    {{0x0010, 0x0040}, "CS", "F"},
                    {{0x0008, 0x0020}, "DA", DateTime{2026, 11, 14}},
                    {{0x0008, 0x0030}, "TM", DateTime{0, 0, 0, 7, 30, 0}},
                    {{0x0008, 0x0090}, "PN", Value{}},
                    {{0x0008, 0x0050}, "SH", "ACC-1"},
                    {{0x0008, 0x1030}, "LO", "Abdomen CT"},
                    {{0x0020, 0x000D}, "UI", "1.2.826.0.1.3680043.9.1.7"},
                    {{0x0020, 0x0008}, "SH", "8"},
                    {{0x0008, 0x0060}, "CS", "SR"},
                    {{0x0020, 0x000E}, "UI", "1.2.826.0.1.3680043.9.1.2.2026.11.15.08.05.01"},
                    {{0x0020, 0x0011}, "IS", std::int16_t{8}},
                    {{0x0008, 0x0080}, "LO", "Orbenta General Hospital"},
                    {{0x0008, 0x1090}, "LO", "Orbenta/Refert"},
                    {{0x0018, 0x1020}, "LO", "1.4"},
                    {{0x0002, 0x0010}, "UI", "1.2.840.10008.1.2.1"},
                    {{0x0008, 0x0016}, "UI", BasicTextSr},
                    {{0x0008, 0x0018}, "UI", InstanceUid(version)},
                    {{0x0008, 0x103E}, "LO", "Abdomen"},
                    {{0x0020, 0x0013}, "IS", std::int16_t{1}},
                    {{0x0008, 0x0023}, "DA", Saved},
                    {{0x0008, 0x0033}, "TM", Saved},
                    {{0x0008, 0x0070}, "LO", "Mervanti"},
                    {{0x0008, 0x0005}, "CS", "ISO_IR 100"},
                    {{0x0040, 0xA040}, "CS", "CONTAINER"},
                    {{0x0040, 0xA050}, "CS", "SEPARATE"},
                    {{0x0040, 0xA491}, "CS", "PARTIAL"},
                    {{0x0040, 0xA493}, "CS", "UNVERIFIED"}});
    AppendConcept(library, *report, "99SS", "CT", "CT report");
    for (int observer = 1; observer <= version; ++observer)
        Write(*Append(library, *report, {0x0040, 0xA073}), {{{0x0040, 0xA075}, "PN", "Dr. Weber"},
                                                            {{0x0040, 0xA027}, "LO", "Orbenta General Hospital"},
                                                            {{0x0040, 0xA030}, "DT", Saved}});
    if (version > 1) {
        const auto study = Append(library, *report, {0x0040, 0xA360});
        study->SetValue({0x0020, 0x000D}, "UI", 0, report->GetValue({0x0020, 0x000D}, "UI"));
        const auto series = Append(library, *study, {0x0008, 0x1115});
        series->SetValue({0x0020, 0x000E}, "UI", 0, report->GetValue({0x0020, 0x000E}, "UI"));
        for (int earlier = 1; earlier < version; ++earlier)
            Write(*Append(library, *series, {0x0008, 0x1199}),
                  {{{0x0008, 0x1150}, "UI", BasicTextSr}, {{0x0008, 0x1155}, "UI", InstanceUid(earlier)}});
    }
    AppendText(library, *report, "99SS", "SR.TITLE", "Title", "Abdomen");
    AppendText(library, *report, "DCM", "121073", "Impression", "Liver: homogeneous.\r\nNo stones.");
    return report;
}

} // namespace tavrel::test
