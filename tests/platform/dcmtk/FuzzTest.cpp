#include "RawDicom.h"
#include "SampleReport.h"
#include "fuzz/DicomFileFuzz.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <random>

namespace tavrel::test {
namespace {

RawDicom Sample(Encoding encoding) {
    RawDicom item{encoding};
    item.Text(attribute::TextValue, "reading\r\n");
    RawDicom raw{encoding};
    raw.Text(attribute::SpecificCharacterSet, "ISO 2022 IR 6\\ISO 2022 IR 87").Text(attribute::ContentDate, "20261115");
    return raw.Text(attribute::PatientName, "Y=\x1B$B;3ED\x1B(B").Items(attribute::ContentSequence, {item, item});
}

std::vector<std::string> Seeds() {
    TestLibrary library;
    MakeReport(library.dicom, 3)->SaveToFile(library.File("report.dcm"));
    std::vector<std::string> seeds{ReadBytes(library.folder.Path() / "report.dcm")};
    for (const Encoding encoding : {ExplicitLittle, ImplicitLittle, ExplicitBig}) {
        seeds.push_back(Sample(encoding).File());
        seeds.push_back(Sample(encoding).Bytes());
        seeds.push_back(
            Sample(encoding).OpenSequence(attribute::ContentSequence).OpenSequence(attribute::ContentSequence).File());
    }
    return seeds;
}

/// Lengths, delimiters and VRs that parsers stumble over.
std::string Mutated(std::string bytes, std::mt19937& random) {
    static const std::vector<std::string> pieces{"\xFF\xFF\xFF\xFF",
                                                 std::string(4, '\0'),
                                                 "\xFE\xFF\xDD\xE0",
                                                 "\xFE\xFF\x0D\xE0",
                                                 std::string{"\xFE\xFF\0\xE0", 4},
                                                 "SQ",
                                                 std::string{"UN\0\0", 4},
                                                 "OB",
                                                 "\xE0\x7F\x10",
                                                 "\x1B$)C",
                                                 "\x7F\xFF",
                                                 std::string{"\0\0\0\x80", 4}};
    const auto below = [&](std::size_t limit) {
        return static_cast<std::size_t>(random() % std::max<std::size_t>(limit, 1));
    };
    for (std::size_t change = below(4) + 1; change > 0; --change) {
        const std::size_t at = below(bytes.size());
        switch (below(5)) {
        case 0:
            bytes[at] = static_cast<char>(random());
            break;
        case 1:
            bytes.replace(at, 4, pieces[below(pieces.size())]);
            break;
        case 2:
            bytes.insert(at, pieces[below(pieces.size())]);
            break;
        case 3:
            bytes.erase(at, below(40));
            break;
        default:
            bytes.insert(at, bytes.substr(below(bytes.size()), below(200)));
        }
        if (bytes.empty())
            return "x";
    }
    return bytes;
}

/// Ends in a crash, a hang or a foreign exception when a file can upset the reader.
TEST(DamagedFiles, AreReadOrRefusedButUpsetNothing) {
    std::mt19937 random{20261115};
    for (const auto& seed : Seeds()) {
        for (int round = 0; round < 1000; ++round) {
            const auto bytes = Mutated(seed, random);
            EXPECT_EQ(LLVMFuzzerTestOneInput(reinterpret_cast<const std::uint8_t*>(bytes.data()), bytes.size()), 0);
        }
    }
}

} // namespace
} // namespace tavrel::test
