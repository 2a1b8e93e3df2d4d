#include "Command.h"
#include "tests/support/NamesInScripts.h"
#include "tests/support/SampleVersions.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <map>
#include <string_view>

namespace tavrel::test {
namespace {

using testing::Contains;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsSupersetOf;
using testing::Not;
using testing::StartsWith;

const std::string AfterTheOther = "after one of the other form";

/// What a state makes the validator say, and nobody can help.
const std::map<std::string, std::vector<std::string>> Unavoidable = {
    // A scheme of the site's own is in no list of the validator's.
    {"with codes of the site's own", {"Unrecognized defined term <99SS>"}},
    {"approved at once, of an image that tells nothing, without texts",
     {"needed to build DICOMDIR - Patient ID", "needed to build DICOMDIR - Study Date",
      "needed to build DICOMDIR - Study Time", "needed to build DICOMDIR - Study ID"}},
    // It is a version of the same series, names its predecessor, and knows of the study what that one tells.
    {AfterTheOther,
     {"Leading zeroes in embedded numeric component(s)", "invalid data values for Value Representations",
      "needed to build DICOMDIR - Study ID"}},
};
constexpr std::string_view ClassicSeries = "SeriesInstanceUID (0020,000e) violates VR definition";
/// Of the toolkit, in every file of UTF-8.
constexpr std::string_view NoCheckOfUtf8 = "The VR checker does not support this Specific Character Set: ISO_IR 192";

auto Holding(std::string_view text) {
    return [text](const std::string& line) { return line.find(text) != std::string::npos; };
}

/// What other people's programs say of the reports that a site writes in the interchange form.
class InterchangeFiles : public testing::Test {
protected:
    /// What a program of the toolkit writes of a file. It must end well and complain of nothing.
    static std::vector<std::string> SaidOf(const SampleVersion& version, std::vector<std::string> command) {
        command.push_back(version.file.string());
        CommandResult said = RunCommand(command);
        EXPECT_EQ(said.status, 0) << version.state;
        std::erase_if(said.lines, Holding(NoCheckOfUtf8));
        if (version.state == AfterTheOther)
            std::erase_if(said.lines, Holding(ClassicSeries));
        for (const char* complaint : {"W: ", "E: "})
            EXPECT_THAT(said.lines, Not(Contains(StartsWith(complaint)))) << version.state;
        return said.lines;
    }
    static std::vector<std::string> ReadByPydicom(const SampleVersion& version) {
        std::vector<std::string> command{"/usr/bin/python3", SCRIPT_FOLDER "/read_report.py"};
        if (version.state == AfterTheOther)
            command.emplace_back("--padded-uids");
        return SaidOf(version, command);
    }

    Workstation station;
    SampleReports reports{station, ReportForm::Interchange};
};

class InEveryState : public InterchangeFiles {
protected:
    std::vector<SampleVersion> versions = reports.InEveryState();
};

TEST_F(InEveryState, AreNothingForTheValidatorToComplainOf) {
    for (const auto& version : versions) {
        auto said = RunCommand({"dciodvfy", version.file.string()}).lines;
        const auto unavoidable = Unavoidable.find(version.state);
        for (const auto& complaint :
             unavoidable == Unavoidable.end() ? std::vector<std::string>{} : unavoidable->second)
            EXPECT_GT(std::erase_if(said, Holding(complaint)), 0U) << complaint;
        EXPECT_THAT(said, ElementsAre("BasicTextSR")) << version.state;
    }
}

TEST_F(InEveryState, AreShownByDsrdumpWhichChecksTheirConstraints) {
    for (const auto& version : versions)
        EXPECT_THAT(SaidOf(version, {"dsrdump", "+Pl", "+U8"}), Contains("Basic Text SR Document")) << version.state;
}

TEST_F(InEveryState, BecomeHtml) {
    for (const auto& version : versions)
        EXPECT_THAT(SaidOf(version, {"dsr2html", "+U8"}), Contains(HasSubstr("Basic Text SR Document")))
            << version.state;
}

TEST_F(InEveryState, BecomeXml) {
    for (const auto& version : versions)
        EXPECT_THAT(SaidOf(version, {"dsr2xml", "+U8"}), Contains(HasSubstr("<report"))) << version.state;
}

TEST_F(InEveryState, AreReadByDcmdump) {
    for (const auto& version : versions)
        EXPECT_THAT(SaidOf(version, {"dcmdump", "+U8"}), Contains(HasSubstr("ISO_IR 192"))) << version.state;
}

TEST_F(InEveryState, AreReadByPydicom) {
    for (const auto& version : versions)
        EXPECT_THAT(ReadByPydicom(version), Contains("ISO_IR 192")) << version.state;
}

TEST_F(InEveryState, AreStoredInAnArchiveThatFindsEachOfThem) {
    std::vector<std::string> command{SCRIPT_FOLDER "/archive"};
    for (const auto& version : versions)
        command.push_back(version.file.string());
    const CommandResult said = RunCommand(command);
    EXPECT_EQ(said.status, 0);
    for (const auto& version : versions)
        EXPECT_THAT(said.lines, Contains("0008,0018 " + version.uid)) << version.state;
    EXPECT_THAT(said.lines, IsSupersetOf({"0010,0010 Rüdiger^Änne", "0040,a491 PARTIAL", "0040,a491 COMPLETE"}));
}

TEST_F(InterchangeFiles, HoldNamesAndReadingsOfEveryScript) {
    std::vector<std::string> pydicom{"/usr/bin/python3", SCRIPT_FOLDER "/read_report.py"};
    const auto names = NamesInScripts();
    ASSERT_GE(names.size(), 12U);
    for (const auto& [script, name, reading] : names) {
        const SampleVersion version = reports.Of(name, reading);
        EXPECT_THAT(RunCommand({"dciodvfy", version.file.string()}).lines, ElementsAre("BasicTextSR")) << script;
        EXPECT_THAT(SaidOf(version, {"dsrdump", "+Pl", "+U8"}), Contains(HasSubstr(reading))) << script;
        pydicom.push_back(version.file.string());
    }
    const auto read = RunCommand(pydicom);
    EXPECT_EQ(read.status, 0);
    for (const auto& [script, name, reading] : names)
        EXPECT_THAT(read.lines, IsSupersetOf({name, "CONTAINS TEXT 121073 '" + reading + "'"})) << script;
}

TEST_F(InterchangeFiles, SayToPydicomAllThatTheReportSays) {
    const auto version = reports.InEveryState().at(1);
    EXPECT_EQ(version.state, "with every entry");
    EXPECT_THAT(
        ReadByPydicom(version),
        IsSupersetOf({"CONTAINS TEXT 121144 'Thorax, 2 Ebenen'", "CONTAINS TEXT 121073 'Größe: 3 µm.\\r\\nKein Erguß.'",
                      "CONTAINS CODE 123014 51185008 Chest", "CONTAINS CODE 121071 60046008 Pleural effusion",
                      "HAS CONCEPT MOD TEXT 121106 'small'", "CONTAINS CODE 121077 233604007 Pneumonia",
                      "HAS CONCEPT MOD TEXT 121106 'on the left'"}));
}

} // namespace
} // namespace tavrel::test
