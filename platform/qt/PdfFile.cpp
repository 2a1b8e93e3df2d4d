#include "platform/qt/PdfFile.h"

#include "platform/error.h"
#include "platform/qt/PrintPages.h"
#include "platform/qt/QtText.h"

#include <QPdfWriter>
#include <QSaveFile>

namespace tavrel {

void SavePdf(const PrintPages& pages, const QString& path) {
    QSaveFile file(path);
    const auto require = [&](bool done) {
        if (!done)
            throw Error(Fault::PdfUnsaved, "PrintReport",
                        "The PDF " + path.toStdString() + " cannot be written: " + file.errorString().toStdString());
    };
    require(file.open(QIODevice::WriteOnly) && file.setPermissions(QFileDevice::ReadOwner | QFileDevice::WriteOwner));
    {
        QPdfWriter writer(&file);
        writer.setPdfVersion(QPagedPaintDevice::PdfVersion_A1b);
        writer.setTitle(ToQt(pages.Layout().document.Title()));
        PrintPages::SetSheet(writer);
        pages.Paint(writer);
    }
    require(file.commit());
}

} // namespace tavrel
