#pragma once

#include "codes/ReportCodes.h"
#include "editor/PrintTable.h"
#include "host/Global.h"
#include "platform/printer.h"

namespace tavrel {

/// The page that a hospital hands out: logo or title, patient, study, reading, who approved it and
/// when; after the reading the body part, the findings and the diagnoses, as far as there are such. Its labels are
/// Italian; the title stands in its header, no logo.
PrintLayout PrintReportLayout(const ReportCodes& codes = {});

/// The layout's start: its window goes above the others.
void DataReport_Initialize(PrintLayout& layout);

/// Shows the print table, which holds `row`, and `codes` of the same version: with "Logo.bmp" of the program's folder
/// in the page header where there is one, the title in its place otherwise, also when it is no usable picture, which is
/// said. A failure is the caller's.
void ShowPrintReport(Global& global, ReportPrinter& printer, const PrintRow& row, const ReportCodes& codes);

} // namespace tavrel
