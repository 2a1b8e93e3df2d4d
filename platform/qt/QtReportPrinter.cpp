#include "platform/qt/QtReportPrinter.h"

#include "platform/qt/PrintPreview.h"
#include "platform/qt/QtWindows.h"

namespace tavrel {

void QtReportPrinter::ShowModal(const PrintLayout& layout, ResultSet& rows, const DateTime& today) {
    const PrintPages pages(layout, rows, today);
    PrintPreview preview(pages);
    windows_.RunDialog(preview);
}

} // namespace tavrel
