#include "Command.h"
#include "tests/support/Workstation.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <string_view>

namespace tavrel::test {
namespace {

/// What other people's programs say of the reports that the program writes.
class OurFiles : public testing::Test {
protected:
    OurFiles() { station.AddExampleStudy(); }

    /// The file of the newest version.
    std::string Report(int versions, const std::string& title, const std::string& reading) {
        ReportSeed seed;
        seed.patientName = "Rüdiger^Änne";
        seed.observer = "Rossi^Mario";
        seed.versions = versions;
        seed.title = title;
        seed.reading = reading;
        station.AddReport(seed);
        return station.NativePath("study/report1/img_00000" + std::to_string(versions) + ".dcm").string();
    }

    std::string Report(int versions = 3) { return Report(versions, "Thorax, 2 Ebenen", "Größe: 3 µm.\r\nKein Erguß."); }

    Workstation station;
};

bool Contains(const std::vector<std::string>& lines, std::string_view text) {
    return std::ranges::any_of(lines, [&](const auto& line) { return line.find(text) != std::string::npos; });
}

/// A complaint that the attribute set of a report causes; it cannot be avoided without changing it.
struct Pinned {
    std::string_view text;
    bool seen = false;
};

using Pins = std::vector<Pinned>;

Pins UsualPins() {
    return {
        {"Leading zeroes in embedded numeric component(s)"},                      // the UIDs end in a time stamp
        {"Dicom dataset contains invalid data values for Value Representations"}, // the same
        {"(0x0020,0x0008)"},                                                      // carried from the image as it stands
        {"Dicom dataset contains attributes not present in standard DICOM IOD"},  // the same
        {"needed to build DICOMDIR - Study ID"},
        {"Missing attribute Type 2 Required Element=<StudyID>"},
        {"Missing attribute Type 2 Required Element=<ReferencedPerformedProcedureStepSequence>"},
        {"Missing attribute Type 2 Required Element=<PerformedProcedureCodeSequence>"},
        {"Missing attribute Type 2 Required Element=<VerifyingObserverIdentificationCodeSequence>"},
        {"Attribute present when condition unsatisfied (which may not be present otherwise) Type 1C Conditional "
         "Element=<VerifyingObserverSequence>"}, // who saved a pending version
        {"Unrecognized defined term <99SS>"},
    };
}

/// The validator says what is pinned, all of it and nothing else.
void ExpectComplaints(const std::string& file, Pins pins) {
    const auto said = RunCommand({"dciodvfy", file});
    ASSERT_TRUE(Contains(said.lines, "BasicTextSR"));
    for (const auto& line : said.lines) {
        bool known = line == "BasicTextSR";
        for (auto& pin : pins) {
            const bool matches = line.find(pin.text) != std::string::npos;
            pin.seen = pin.seen || matches;
            known = known || matches;
        }
        EXPECT_TRUE(known) << line;
    }
    for (const auto& pin : pins)
        EXPECT_TRUE(pin.seen) << pin.text;
}

TEST_F(OurFiles, DcmdumpFindsEveryAttributeInItsVr) {
    const auto said = RunCommand({"dcmdump", "-Un", "+L", Report()});
    ASSERT_EQ(said.status, 0);
    constexpr std::array expected{
        "(0002,0010) UI [1.2.840.10008.1.2.1]",
        "(0002,0012) UI [2.25.212149006270406854485362438059227932363]",
        "(0002,0013) SH [TAVREL_1.4]",
        "(0008,0005) CS [ISO_IR 100]",
        "(0008,0016) UI [1.2.840.10008.5.1.4.1.1.88.11]",
        "(0008,0018) UI [1.2.999.1.2026.11.14.08.02.00]",
        "(0008,0020) DA [20261114]",
        "(0008,0023) DA [20261114]",
        "(0008,0030) TM [073000]",
        "(0008,0033) TM [080200]",
        "(0008,0050) SH [A1]",
        "(0008,0060) CS [SR]",
        "(0008,0070) LO [Mervanti]",
        "(0008,0080) LO [Orbenta General Hospital]",
        "(0008,0090) PN [BIANCHI^ANNA]",
        "(0008,1030) LO [Chest]",
        "(0008,103e) LO [Thorax, 2 Ebenen]",
        "(0008,1090) LO [Orbenta/Refert]",
        "(0010,0010) PN [R\xFC"
        "diger^\xC4"
        "nne]",
        "(0010,0020) LO [P1]",
        "(0010,0030) DA [19600520]",
        "(0010,0040) CS [F]",
        "(0018,1020) LO [1.4]",
        "(0020,0008) SH (no value available)",
        "(0020,000d) UI [1.2.3]",
        "(0020,000e) UI [1.2.3.2.1]",
        "(0020,0013) IS [1]",
        "(0040,a040) CS [CONTAINER]",
        "(0040,a050) CS [SEPARATE]",
        "(0040,a073) SQ (Sequence with explicit length #=3)",
        "(0040,a360) SQ (Sequence with explicit length #=1)",
        "(0008,1199) SQ (Sequence with explicit length #=2)",
        "(0040,a491) CS [PARTIAL]",
        "(0040,a493) CS [UNVERIFIED]",
        "(0040,a730) SQ (Sequence with explicit length #=2)",
        "(0040,a160) UT [Thorax, 2 Ebenen]",
    };
    for (const std::string_view line : expected)
        EXPECT_TRUE(Contains(said.lines, line)) << line;
}

TEST_F(OurFiles, DcmdumpHasNothingToComplainOf) {
    const auto said = RunCommand({"dcmdump", Report()});
    EXPECT_FALSE(Contains(said.lines, "W: "));
    EXPECT_FALSE(Contains(said.lines, "E: "));
}

TEST_F(OurFiles, DsrdumpShowsTheContentTree) {
    const auto said = RunCommand({"dsrdump", "+Pl", "+U8", Report()});
    ASSERT_EQ(said.status, 0);
    EXPECT_TRUE(Contains(said.lines, "Basic Text SR Document"));
    EXPECT_TRUE(Contains(said.lines, "Completion Flag     : PARTIAL"));
    EXPECT_TRUE(Contains(said.lines, "2026-11-14 08:02:00, Rossi^Mario, Orbenta General Hospital"));
    EXPECT_TRUE(Contains(said.lines, R"(<contains TEXT:(,,"Title")="Thorax, 2 Ebenen">)"));
    EXPECT_TRUE(Contains(said.lines, R"(<contains TEXT:(,,"Impression")="Größe: 3 µm.\r\nKein Erguß.">)"));
}

TEST_F(OurFiles, DsrdumpTakesAnEmptyReportWhenItIsToldTo) {
    const auto file = Report(1, "", "");
    EXPECT_NE(RunCommand({"dsrdump", file}).status, 0);
    EXPECT_EQ(RunCommand({"dsrdump", "-Ev", file}).status, 0);
}

TEST_F(OurFiles, PydicomReadsTheSameValues) {
    const auto said = RunCommand({"/usr/bin/python3", SCRIPT_FOLDER "/read_report.py", "--padded-uids", Report()});
    const std::vector<std::string> expected{
        "1.2.840.10008.1.2.1",
        "1.2.840.10008.5.1.4.1.1.88.11",
        "1.2.999.1.2026.11.14.08.02.00",
        "ISO_IR 100",
        "Rüdiger^Änne",
        "19600520",
        "PARTIAL UNVERIFIED",
        "Rossi^Mario 20261114080000",
        "Rossi^Mario 20261114080100",
        "Rossi^Mario 20261114080200",
        "1.2.999.1.2026.11.14.08.00.00",
        "1.2.999.1.2026.11.14.08.01.00",
        "CONTAINS TEXT SR.TITLE 'Thorax, 2 Ebenen'",
        R"(CONTAINS TEXT 121073 'Größe: 3 µm.\r\nKein Erguß.')",
    };
    EXPECT_EQ(said.lines, expected);
}

TEST_F(OurFiles, TheValidatorFindsOnlyWhatTheAttributeSetCauses) {
    ExpectComplaints(Report(), UsualPins());
}

TEST_F(OurFiles, AnEmptyReportAddsOnlyItsEmptyTexts) {
    auto pins = UsualPins();
    pins.push_back({"Empty attribute (no value) Type 1C Conditional Element=<TextValue>"});
    ExpectComplaints(Report(1, "", ""), pins);
}

} // namespace
} // namespace tavrel::test
