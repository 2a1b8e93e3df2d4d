#include "Command.h"
#include "platform/dcmtk/DicomValues.h"
#include "tests/platform/dcmtk/SampleReport.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <charconv>
#include <optional>

namespace tavrel::test {
namespace {

std::string PydicomFile(const std::string& name) {
    return PYDICOM_DATA "/" + name;
}

struct Sample {
    const char* file;
    const char* patientName;
};

class ForeignNames : public testing::TestWithParam<Sample> {};

TEST_P(ForeignNames, ReadRight) {
    TestLibrary library;
    const auto list = library.Load(PydicomFile(std::string{"charset_files/"} + GetParam().file + ".dcm"));
    EXPECT_EQ(list->GetElementString(0, attribute::PatientName), GetParam().patientName);
}

INSTANTIATE_TEST_SUITE_P(
    TheirFiles, ForeignNames,
    testing::Values(Sample{"chrArab", "قباني^لنزار"}, Sample{"chrFren", "Buc^Jérôme"},
                    Sample{"chrFrenMulti", "Buc^Jérôme"}, Sample{"chrGerm", "Äneas^Rüdiger"},
                    Sample{"chrGreek", "Διονυσιος"}, Sample{"chrH31", "Yamada^Tarou=山田^太郎=やまだ^たろう"},
                    Sample{"chrH32", "ﾔﾏﾀﾞ^ﾀﾛｳ=山田^太郎=やまだ^たろう"}, Sample{"chrHbrw", "שרון^דבורה"},
                    Sample{"chrI2", "Hong^Gildong=洪^吉洞=홍^길동"}, Sample{"chrJapMulti", "やまだ^たろう"},
                    Sample{"chrJapMultiExplicitIR6", "やまだ^たろう"}, Sample{"chrKoreanMulti", "김희중"},
                    Sample{"chrRuss", "Люкceмбypг"}, Sample{"chrX1", "Wang^XiaoDong=王^小東="},
                    Sample{"chrX2", "Wang^XiaoDong=王^小东="}),
    [](const auto& sample) { return std::string{sample.param.file}; });

TEST(TheirFiles, AnItemUsesItsOwnCharacterSetOrTheDataSets) {
    TestLibrary library;
    for (const char* file : {"chrSQEncoding", "chrSQEncoding1"}) {
        const auto list = library.Load(PydicomFile(std::string{"charset_files/"} + file + ".dcm"));
        const auto item = list->Item(0)->GetSequenceItem({0x0032, 0x1064}, 0);
        EXPECT_EQ(Text(*item, attribute::PatientName), "ﾔﾏﾀﾞ^ﾀﾛｳ=山田^太郎=やまだ^たろう") << file;
    }
}

/// One line of dcmdump: "    (0008,0100) SH [121073]   #   6, 1 CodeValue".
struct DumpLine {
    std::size_t depth = 0;
    Tag tag{};
    std::string rest;
};

std::optional<DumpLine> Parse(const std::string& line) {
    DumpLine result;
    const auto start = line.find_first_not_of(' ');
    if (start == std::string::npos || line[start] != '(' || line.size() < start + 12)
        return std::nullopt;
    result.depth = start / 2;
    std::from_chars(&line[start + 1], &line[start + 5], result.tag.group, 16);
    std::from_chars(&line[start + 6], &line[start + 10], result.tag.element, 16);
    result.rest = line.substr(start + 12);
    return result;
}

/// Compares a data set with the dump of its file, sequence by sequence.
class DumpComparison {
public:
    DumpComparison(const std::vector<std::string>& lines) {
        for (const auto& line : lines) {
            const auto parsed = Parse(line);
            if (parsed && parsed->tag.element != 0)
                lines_.push_back(*parsed);
            else if (!parsed && !lines_.empty())
                lines_.back().rest += "\n" + line; // a text of several lines
        }
    }

    /// Answers how many values were compared.
    int Run(const DicomDataSet& dataSet) {
        while (at_ < lines_.size() && lines_[at_].tag.group == 2)
            ++at_;
        Compare(dataSet);
        EXPECT_EQ(at_, lines_.size());
        return compared_;
    }

private:
    static constexpr Tag ItemStart{0xFFFE, 0xE000};
    static constexpr Tag ItemEnd{0xFFFE, 0xE00D};
    static constexpr Tag SequenceEnd{0xFFFE, 0xE0DD};

    void Compare(const DicomDataSet& dataSet) {
        while (at_ < lines_.size() && lines_[at_].tag != ItemEnd) {
            const DumpLine& line = lines_[at_++];
            if (line.rest.starts_with("SQ"))
                CompareSequence(dataSet, line.tag);
            else if (const auto open = line.rest.find('['); open == 3)
                CompareText(dataSet, line);
        }
    }

    void CompareText(const DicomDataSet& dataSet, const DumpLine& line) {
        const Value value = dataSet.GetValue({line.tag, "LO"});
        ++compared_;
        if (std::holds_alternative<DateTime>(value) || line.tag == attribute::SpecificCharacterSet)
            return; // dates have another form, and the dump is converted to UTF-8
        const auto close = line.rest.rfind(']', line.rest.rfind('#'));
        auto shown = WithCrLf(line.rest.substr(4, close - 4));
        if (const auto vr = line.rest.substr(0, 2); vr == "CS" || vr == "DS" || vr == "IS" || vr == "UI")
            shown.erase(std::min(shown.find('\\'), shown.size()));
        EXPECT_EQ(Text(value), shown) << line.rest;
    }

    void CompareSequence(const DicomDataSet& dataSet, Tag sequence) {
        int index = 0;
        for (; lines_[at_].tag == ItemStart; ++index) {
            ++at_;
            const auto item = dataSet.GetSequenceItem(sequence, index);
            ASSERT_NE(item, nullptr);
            Compare(*item);
            ++at_;
        }
        EXPECT_EQ(dataSet.GetSequenceItemCount(sequence), index);
        EXPECT_EQ(lines_[at_++].tag, SequenceEnd);
    }

    std::vector<DumpLine> lines_;
    std::size_t at_ = 0;
    int compared_ = 0;
};

TEST(TheirFiles, AReportReadsAsDcmdumpReadsIt) {
    TestLibrary library;
    for (const char* name : {"test_files/test-SR.dcm", "test_files/reportsi.dcm"}) {
        const auto list = library.Load(PydicomFile(name));
        DumpComparison dump{RunCommand({"dcmdump", "-Un", "+U8", "+L", PydicomFile(name)}).lines};
        EXPECT_GT(dump.Run(*list->Item(0)), 50) << name;
    }
}

TEST(TheirFiles, AReportSurvivesBeingCopiedAndSaved) {
    TestLibrary library;
    for (const char* name : {"test_files/test-SR.dcm", "test_files/reportsi.dcm"}) {
        const auto list = library.Load(PydicomFile(name));
        list->AddDataSet(0);
        list->Item(1)->SaveToFile(library.File("copy.dcm"));
        const auto copy = library.Load(library.File("copy.dcm"));
        DumpComparison dump{RunCommand({"dcmdump", "-Un", "+U8", "+L", PydicomFile(name)}).lines};
        EXPECT_GT(dump.Run(*copy->Item(0)), 50) << name;
    }
}

} // namespace
} // namespace tavrel::test
