#pragma once

#include "platform/datetime.h"
#include "platform/printer.h"

#include <string>

namespace tavrel {

/// The pages of a layout without fields, from a program that has no windows and needs no display. Each draws them with
/// a toolkit that it starts and ends, and answers their number. A failure is an `Error`, and so is a character that no
/// font has: nobody looks at the page before it goes out.
int SavePdfWithoutDisplay(const PrintLayout& layout, const DateTime& today, const std::string& file);
int PrintWithoutDisplay(const PrintLayout& layout, const DateTime& today, const std::string& printerName);

} // namespace tavrel
