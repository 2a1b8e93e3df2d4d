#include "editor/PrintReport.h"

#include "editor/DicomDB.h"
#include "host/ErrorReport.h"
#include "host/Text.h"
#include "platform/person_name.h"

#include <algorithm>
#include <utility>

namespace tavrel {
namespace {

using Align = PrintControl::Align;

constexpr double PageWidth = 170; // millimetres between the margins of an A4 page

/// A caption in small grey with its value below it.
void AddField(PrintSection& section, std::string label, std::string caption, std::string box, std::string column,
              double left, double top, double width) {
    section.controls.push_back({.name = std::move(label),
                                .text = std::move(caption),
                                .left = left,
                                .top = top,
                                .width = width,
                                .height = 4.5,
                                .fontSize = 8.5,
                                .faint = true});
    section.controls.push_back({.name = std::move(box),
                                .kind = PrintControl::Kind::Field,
                                .text = std::move(column),
                                .left = left,
                                .top = top + 4.5,
                                .width = width,
                                .height = 6,
                                .fontSize = 11,
                                .canGrow = true});
}

PrintSection PageHeader() {
    PrintSection section{.name = "IntestazionePagina",
                         .kind = PrintSection::Kind::PageHeader,
                         .height = 26,
                         .ruled = true,
                         .controls = {}};
    section.controls = {
        {.name = "imgLogo", .kind = PrintControl::Kind::Image, .text = {}, .width = 80, .height = 22, .visible = false},
        {.name = "lblReport",
         .text = "Relazione clinica",
         .left = 85,
         .top = 12,
         .width = PageWidth - 85,
         .height = 10,
         .fontSize = 18,
         .bold = true,
         .align = Align::Right},
        {.name = "Label6", .text = "%i", .top = 14, .width = 80, .height = 8, .fontSize = 13},
    };
    return section;
}

/// One entry a line, its annotation behind it.
std::string Listed(const std::vector<ContentNode>& entries) {
    std::string lines;
    for (const ContentNode& entry : entries) {
        lines += (lines.empty() ? "" : "\n") + entry.CodeMeaning;
        if (!entry.Annotation.empty())
            lines += ": " + OneLine(entry.Annotation);
    }
    return lines;
}

/// What the version says in codes, block below block. Answers where the next one would begin.
double AddCodes(PrintSection& section, const ReportCodes& codes, double top) {
    struct CodeBlock {
        std::string name, caption, text;
    };
    for (const auto& [name, caption, text] : {CodeBlock{"BodyPart", "Distretto corporeo", OneLine(codes.bodyPart)},
                                              CodeBlock{"Findings", "Reperti", Listed(codes.findings)},
                                              CodeBlock{"Diagnoses", "Diagnosi", Listed(codes.diagnoses)}}) {
        if (text.empty())
            continue;
        AddField(section, "lbl" + name, caption, "txt" + name, text, 0, top, PageWidth);
        section.controls.back().kind = PrintControl::Kind::Text;
        top += 14;
    }
    return top;
}

PrintSection Detail(const ReportCodes& codes) {
    PrintSection section{.name = "DetailsCommand_Dettaglio", .kind = PrintSection::Kind::Detail, .controls = {}};
    AddField(section, "Label1", "Paziente", "TextBox1", "PATIENTNAME", 0, 2, 105);
    section.controls.back().bold = true;
    section.controls.back().personName = true;
    AddField(section, "Label2", "Identificativo paziente", "TextBox2", "PATIENTID", 115, 2, 55);
    AddField(section, "Label3", "Data di nascita", "TextBox5", "BIRTHDATE", 0, 16, 45);
    AddField(section, "Label4", "Età", "TextBox4", "AGE", 50, 16, 25);
    AddField(section, "Label5", "Sesso", "TextBox3", "SEX", 80, 16, 25);
    AddField(section, "Label7", "Data studio", "TextBox7", "STUDYDATE", 115, 16, 55);
    AddField(section, "Label12", "Referto", "TextBox18", "READING", 0, 34, PageWidth);
    const double signature = std::max(68.0, AddCodes(section, codes, 48) + 5);
    AddField(section, "Label8", "Il medico", "TextBox6", "APPROVINGPHYSICIAN", 0, signature, 105);
    section.controls.back().personName = true;
    AddField(section, "Label9", "Data referto", "TextBox8", "APPROVINGDATE", 115, signature, 55);
    section.height = signature + 12;
    return section;
}

PrintSection PageFooter() {
    PrintSection section{.name = "PièDiPaginaPagina",
                         .kind = PrintSection::Kind::PageFooter,
                         .height = 9,
                         .ruled = true,
                         .controls = {}};
    section.controls = {
        {.name = "Label24", .text = "Referto stampato il ", .top = 3, .width = 28, .height = 5, .fontSize = 9},
        {.name = "Label25", .text = "%d", .left = 28, .top = 3, .width = 40, .height = 5, .fontSize = 9},
    };
    return section;
}

/// The title stands in its place where there is none.
void ShowLogo(PrintLayout& layout, const std::string& file) {
    layout.Control("imgLogo").text = file;
    layout.Control("imgLogo").visible = !file.empty();
    layout.Control("Label6").visible = file.empty();
}

/// What the row says is of whom and when. The table's age of an unknown birth date is none.
void TellDocument(PrintLayout& layout, const PrintRow& row) {
    layout.Control("TextBox4").visible = ParseDate(row.at(printed::BirthDate)).has_value();
    layout.document = {.patient = WrittenName(row.at(printed::PatientName)),
                       .study = row.at(printed::StudyDescription),
                       .date = ParseDate(row.at(printed::StudyDate)).value_or(DateTime{})};
}

} // namespace

PrintLayout PrintReportLayout(const ReportCodes& codes) {
    PrintLayout layout{.name = "PrintReport",
                       .caption = "Printing report",
                       .title = "Printing report",
                       .fontFamily = "Arial",
                       .sections = {}};
    layout.sections.push_back({.name = "IntestazioneReport", .kind = PrintSection::Kind::ReportHeader, .controls = {}});
    layout.sections.push_back(PageHeader());
    layout.sections.push_back(Detail(codes));
    layout.sections.push_back(PageFooter());
    layout.sections.push_back({.name = "PièDiPaginaReport", .kind = PrintSection::Kind::ReportFooter, .controls = {}});
    return layout;
}

void DataReport_Initialize(PrintLayout& layout) {
    layout.topMost = true;
}

void ShowPrintReport(Global& global, ReportPrinter& printer, const PrintRow& row, const ReportCodes& codes) {
    DicomDB dicomDB(global.ports.database);
    PrintLayout layout = PrintReportLayout(codes);
    DataReport_Initialize(layout);
    TellDocument(layout, row);

    const std::string logo = global.ports.process.ApplicationFolder() + "\\Logo.bmp";
    ShowLogo(layout, global.ports.files.Exists(logo) ? logo : "");

    // Two workstations that filled the table at the same moment may have left a row each.
    for (const auto filled = dicomDB.Report(); !filled->AtEnd(); filled->MoveNext())
        RequirePrintRow(*filled, row);
    const auto rows = dicomDB.Report();
    RequirePrintRow(*rows, row);
    const auto show = [&] { printer.ShowModal(layout, *rows, global.ports.clock.Now()); };
    try {
        show();
    } catch (const Error& error) {
        if (error.number != static_cast<int>(Fault::PictureUnusable) || !layout.Control("imgLogo").visible)
            throw;
        ShowLogo(layout, "");
        ShowError(global.ports.windows,
                  "CmdPrint: ", {error.number, error.source, error.description + ". The title stands in its place."});
        show();
    }
}

} // namespace tavrel
