#include "editor/PrintReport.h"

#include "platform/error.h"

#include <gtest/gtest.h>

#include <algorithm>

namespace tavrel::test {
namespace {

struct Named {
    std::string name;
    PrintControl::Kind kind;
    std::string text;
    bool operator==(const Named&) const = default;
};

constexpr auto Label = PrintControl::Kind::Label;
constexpr auto Field = PrintControl::Kind::Field;
constexpr auto Image = PrintControl::Kind::Image;

std::vector<Named> ControlsOf(const PrintLayout& layout, std::string_view section) {
    std::vector<Named> controls;
    for (const auto& control : std::ranges::find(layout.sections, section, &PrintSection::name)->controls)
        controls.push_back({control.name, control.kind, control.text});
    return controls;
}

TEST(PrintLayouts, TheSectionsStandInTheirOrder) {
    std::vector<std::pair<std::string, PrintSection::Kind>> sections;
    for (const auto& section : PrintReportLayout().sections)
        sections.emplace_back(section.name, section.kind);
    using enum PrintSection::Kind;
    EXPECT_EQ(sections, (std::vector<std::pair<std::string, PrintSection::Kind>>{
                            {"IntestazioneReport", ReportHeader},
                            {"IntestazionePagina", PageHeader},
                            {"DetailsCommand_Dettaglio", Detail},
                            {"PièDiPaginaPagina", PageFooter},
                            {"PièDiPaginaReport", ReportFooter},
                        }));
}

TEST(PrintLayouts, TheLabelsAreItalianAndTheFieldsAreBoundToTheTable) {
    EXPECT_EQ(ControlsOf(PrintReportLayout(), "DetailsCommand_Dettaglio"),
              (std::vector<Named>{{"Label1", Label, "Paziente"},
                                  {"TextBox1", Field, "PATIENTNAME"},
                                  {"Label2", Label, "Identificativo paziente"},
                                  {"TextBox2", Field, "PATIENTID"},
                                  {"Label3", Label, "Data di nascita"},
                                  {"TextBox5", Field, "BIRTHDATE"},
                                  {"Label4", Label, "Età"},
                                  {"TextBox4", Field, "AGE"},
                                  {"Label5", Label, "Sesso"},
                                  {"TextBox3", Field, "SEX"},
                                  {"Label7", Label, "Data studio"},
                                  {"TextBox7", Field, "STUDYDATE"},
                                  {"Label12", Label, "Referto"},
                                  {"TextBox18", Field, "READING"},
                                  {"Label8", Label, "Il medico"},
                                  {"TextBox6", Field, "APPROVINGPHYSICIAN"},
                                  {"Label9", Label, "Data referto"},
                                  {"TextBox8", Field, "APPROVINGDATE"}}));
}

TEST(PrintLayouts, ThePageHeaderHoldsLogoHeadingAndTitle) {
    EXPECT_EQ(ControlsOf(PrintReportLayout(), "IntestazionePagina"),
              (std::vector<Named>{
                  {"imgLogo", Image, ""}, {"lblReport", Label, "Relazione clinica"}, {"Label6", Label, "%i"}}));
}

TEST(PrintLayouts, ThePageFooterSaysWhenItWasPrinted) {
    EXPECT_EQ(ControlsOf(PrintReportLayout(), "PièDiPaginaPagina"),
              (std::vector<Named>{{"Label24", Label, "Referto stampato il "}, {"Label25", Label, "%d"}}));
}

TEST(PrintLayouts, ReportHeaderAndFooterAreEmpty) {
    EXPECT_EQ(ControlsOf(PrintReportLayout(), "IntestazioneReport"), std::vector<Named>{});
    EXPECT_EQ(ControlsOf(PrintReportLayout(), "PièDiPaginaReport"), std::vector<Named>{});
}

TEST(PrintLayouts, TheWindowAndTheTitleAreNamedAndEveryTextIsInArial) {
    const auto layout = PrintReportLayout();
    EXPECT_EQ(layout.name, "PrintReport");
    EXPECT_EQ(layout.caption, "Printing report");
    EXPECT_EQ(layout.title, "Printing report");
    EXPECT_EQ(layout.fontFamily, "Arial");
}

TEST(PrintLayouts, EveryControlStandsWithinItsSectionAndTheMargins) {
    const auto layout = PrintReportLayout();
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
