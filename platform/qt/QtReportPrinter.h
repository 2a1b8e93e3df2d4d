#pragma once

#include "platform/printer.h"

namespace tavrel {

class QtWindows;

/// Shows a print layout in a preview window, from which the person prints or saves a PDF.
class QtReportPrinter : public ReportPrinter {
public:
    /// The preview is one of `windows`.
    explicit QtReportPrinter(QtWindows& windows) : windows_(windows) {}

    void ShowModal(const PrintLayout& layout, ResultSet& rows, const DateTime& today) override;

private:
    QtWindows& windows_;
};

} // namespace tavrel
