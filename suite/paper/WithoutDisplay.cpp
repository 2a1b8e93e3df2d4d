#include "suite/paper/WithoutDisplay.h"

#include "platform/error.h"
#include "platform/qt/PdfFile.h"
#include "platform/qt/PrintPages.h"

#include <QGuiApplication>
#include <QPrinter>
#include <QPrinterInfo>

#include <array>
#include <functional>

namespace tavrel {
namespace {

/// Its words are for programmers; what went wrong is told by an `Error`.
void SayNothing(QtMsgType, const QMessageLogContext&, const QString&) {}

int WithToolkit(const PrintLayout& layout, const DateTime& today, const std::function<void(const PrintPages&)>& work) {
    qputenv("QT_QPA_PLATFORM", "offscreen");
    qputenv("LC_ALL", "C.UTF-8"); // a job that the system starts may have none
    qInstallMessageHandler(SayNothing);
    std::array<char, 8> name{"report"};
    std::array<char*, 2> arguments{name.data(), nullptr};
    int count = 1;
    const QGuiApplication application(count, arguments.data());
    const PrintPages pages(layout, today);
    if (const QString missing = pages.Undrawable(); !missing.isEmpty())
        throw Error(
            Fault::NotPrinted, "Paper",
            "No font of this machine has these characters of the report, so that its page would not say them: " +
                missing.toStdString() + "; fonts-noto-core and fonts-noto-cjk have most");
    work(pages);
    return pages.Count();
}

} // namespace

int SavePdfWithoutDisplay(const PrintLayout& layout, const DateTime& today, const std::string& file) {
    return WithToolkit(layout, today, [&](const PrintPages& pages) { SavePdf(pages, QString::fromStdString(file)); });
}

int PrintWithoutDisplay(const PrintLayout& layout, const DateTime& today, const std::string& printerName) {
    return WithToolkit(layout, today, [&](const PrintPages& pages) {
        const QString wanted = QString::fromStdString(printerName);
        const QStringList known = QPrinterInfo::availablePrinterNames();
        if (!known.contains(wanted))
            throw Error(Fault::NoPrinter, "Paper",
                        "There is no printer " + printerName +
                            (known.isEmpty() ? "; this machine has none"
                                             : "; this machine has " + known.join(", ").toStdString()));
        QPrinter printer(QPrinter::HighResolution);
        printer.setPrinterName(wanted);
        PrintPages::SetUp(printer, pages.Layout());
        pages.Print(printer);
    });
}

} // namespace tavrel
