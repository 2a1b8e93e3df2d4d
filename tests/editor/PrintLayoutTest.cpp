#include "editor/PrintReport.h"

#include "platform/error.h"

#include <gtest/gtest.h>

#include <sstream>

namespace tavrel::test {
namespace {

std::string NameOf(PrintSection::Kind kind) {
    switch (kind) {
    case PrintSection::Kind::ReportHeader:
        return "Report header";
    case PrintSection::Kind::PageHeader:
        return "Page header";
    case PrintSection::Kind::Detail:
        return "Detail";
    case PrintSection::Kind::PageFooter:
        return "Page footer";
    case PrintSection::Kind::ReportFooter:
        return "Report footer";
    }
    return {};
}

/// A label's text in quotes, a field's column in brackets, a text of its own in braces, a picture's path in angle
/// brackets.
std::string ContentOf(const PrintControl& control) {
    switch (control.kind) {
    case PrintControl::Kind::Label:
        return '"' + control.text + '"';
    case PrintControl::Kind::Field:
        return '[' + control.text + ']';
    case PrintControl::Kind::Text:
        return '{' + control.text + '}';
    case PrintControl::Kind::Image:
        return '<' + control.text + '>';
    }
    return {};
}

std::string LineOf(const PrintSection& section) {
    std::ostringstream line;
    line << NameOf(section.kind) << ' ' << section.name << ", " << section.height << " mm";
    if (section.ruled)
        line << ", ruled";
    return line.str();
}

std::string LineOf(const PrintControl& control) {
    std::ostringstream line;
    line << "  " << control.left << ' ' << control.top << ", " << control.width << " x " << control.height << ", "
         << control.fontSize << " pt: " << control.name << ' ' << ContentOf(control);
    for (const auto& [stated, word] : {std::pair{control.bold, ", bold"}, std::pair{control.faint, ", faint"},
                                       std::pair{control.align == PrintControl::Align::Right, ", right"},
                                       std::pair{control.canGrow, ", grows"}, std::pair{!control.visible, ", hidden"}})
        if (stated)
            line << word;
    return line.str();
}

std::string Described(const PrintLayout& layout) {
    std::string text;
    for (const auto& section : layout.sections) {
        text += LineOf(section) + '\n';
        for (const auto& control : section.controls)
            text += LineOf(control) + '\n';
    }
    return text;
}

/// Left and top in the section, width and height in millimetres, size of the letters, name, content.
constexpr std::string_view Page = R"(Report header IntestazioneReport, 0 mm
Page header IntestazionePagina, 26 mm, ruled
  0 0, 80 x 22, 10 pt: imgLogo <>, hidden
  85 12, 85 x 10, 18 pt: lblReport "Relazione clinica", bold, right
  0 14, 80 x 8, 13 pt: Label6 "%i"
Detail DetailsCommand_Dettaglio, 80 mm
  0 2, 105 x 4.5, 8.5 pt: Label1 "Paziente", faint
  0 6.5, 105 x 6, 11 pt: TextBox1 [PATIENTNAME], bold, grows
  115 2, 55 x 4.5, 8.5 pt: Label2 "Identificativo paziente", faint
  115 6.5, 55 x 6, 11 pt: TextBox2 [PATIENTID], grows
  0 16, 45 x 4.5, 8.5 pt: Label3 "Data di nascita", faint
  0 20.5, 45 x 6, 11 pt: TextBox5 [BIRTHDATE], grows
  50 16, 25 x 4.5, 8.5 pt: Label4 "Età", faint
  50 20.5, 25 x 6, 11 pt: TextBox4 [AGE], grows
  80 16, 25 x 4.5, 8.5 pt: Label5 "Sesso", faint
  80 20.5, 25 x 6, 11 pt: TextBox3 [SEX], grows
  115 16, 55 x 4.5, 8.5 pt: Label7 "Data studio", faint
  115 20.5, 55 x 6, 11 pt: TextBox7 [STUDYDATE], grows
  0 34, 170 x 4.5, 8.5 pt: Label12 "Referto", faint
  0 38.5, 170 x 6, 11 pt: TextBox18 [READING], grows
  0 68, 105 x 4.5, 8.5 pt: Label8 "Il medico", faint
  0 72.5, 105 x 6, 11 pt: TextBox6 [APPROVINGPHYSICIAN], grows
  115 68, 55 x 4.5, 8.5 pt: Label9 "Data referto", faint
  115 72.5, 55 x 6, 11 pt: TextBox8 [APPROVINGDATE], grows
Page footer PièDiPaginaPagina, 9 mm, ruled
  0 3, 28 x 5, 9 pt: Label24 "Referto stampato il "
  28 3, 40 x 5, 9 pt: Label25 "%d"
Report footer PièDiPaginaReport, 0 mm
)";

TEST(PrintLayouts, ThePageStandsAsItIsDrawn) {
    EXPECT_EQ(Described(PrintReportLayout()), Page);
}

ReportCodes SomeCodes() {
    return {
        "Knee", {{"SRT", "F1", "Nodule", "left\r\nand small"}, {"SRT", "F2", "Mass", ""}}, {{"SRT", "D1", "Cyst", ""}}};
}

/// What stands on the page below the reading.
constexpr std::string_view PageWithCodes = R"([READING], grows
  0 48, 170 x 4.5, 8.5 pt: lblBodyPart "Distretto corporeo", faint
  0 52.5, 170 x 6, 11 pt: txtBodyPart {Knee}, grows
  0 62, 170 x 4.5, 8.5 pt: lblFindings "Reperti", faint
  0 66.5, 170 x 6, 11 pt: txtFindings {Nodule: left and small
Mass}, grows
  0 76, 170 x 4.5, 8.5 pt: lblDiagnoses "Diagnosi", faint
  0 80.5, 170 x 6, 11 pt: txtDiagnoses {Cyst}, grows
  0 95, 105 x 4.5, 8.5 pt: Label8 "Il medico", faint
)";

TEST(PrintLayouts, TheCodesStandBetweenTheReadingAndTheSignature) {
    const auto page = Described(PrintReportLayout(SomeCodes()));
    const auto reading = page.find("[READING]");
    EXPECT_EQ(page.substr(reading, PageWithCodes.size()), PageWithCodes);
}

TEST(PrintLayouts, ACaptionWithoutAnEntryIsNone) {
    auto codes = SomeCodes();
    codes.findings.clear();
    codes.bodyPart.clear();
    const auto page = Described(PrintReportLayout(codes));
    EXPECT_EQ(page.find("Reperti"), std::string::npos);
    EXPECT_EQ(page.find("Distretto"), std::string::npos);
    EXPECT_NE(page.find("  0 48, 170 x 4.5, 8.5 pt: lblDiagnoses"), std::string::npos);
    EXPECT_NE(page.find("  0 68, 105 x 4.5, 8.5 pt: Label8"), std::string::npos);
}

TEST(PrintLayouts, TheWindowAndTheTitleAreNamedAndEveryTextIsInArial) {
    const auto layout = PrintReportLayout();
    EXPECT_EQ(layout.name, "PrintReport");
    EXPECT_EQ(layout.caption, "Printing report");
    EXPECT_EQ(layout.title, "Printing report");
    EXPECT_EQ(layout.fontFamily, "Arial");
}

TEST(PrintLayouts, EveryControlStandsWithinItsSectionAndTheMargins) {
    const auto layout = PrintReportLayout(SomeCodes());
    for (const auto& section : layout.sections)
        for (const auto& control : section.controls) {
            EXPECT_LE(control.left + control.width, 210 - layout.marginLeft - layout.marginRight) << control.name;
            EXPECT_LE(control.top + control.height, section.height) << control.name;
        }
}

TEST(PrintLayouts, AControlThatDoesNotExistIsAnError) {
    auto layout = PrintReportLayout();
    EXPECT_EQ(layout.Control("Label25").text, "%d");
    EXPECT_THROW(layout.Control("Label26"), Error);
}

} // namespace
} // namespace tavrel::test
