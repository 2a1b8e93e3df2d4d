#include "platform/qt/PdfFile.h"

#include "platform/error.h"
#include "platform/qt/PrintPages.h"
#include "platform/qt/QtText.h"

#include <QFile>
#include <QFileInfo>
#include <QPdfWriter>
#include <QSaveFile>

namespace tavrel {
namespace {

/// Why what lies there must stay, a report's own file or a device above all; empty when it may go.
QString WhyToLeave(const QString& path) {
    constexpr auto mark = "%PDF-";
    const QFileInfo there(path);
    if (!there.exists() || there.isDir()) // which is refused anyway
        return {};
    if (!there.isFile())
        return "it is no ordinary file";
    QFile file(path);
    const bool pdf = there.size() == 0 || (file.open(QIODevice::ReadOnly) && file.peek(5) == mark);
    return pdf ? QString() : "another file, which is no PDF, has this name";
}

} // namespace

void SavePdf(const PrintPages& pages, const QString& path) {
    const auto refuse = [&](const QString& why) {
        throw Error(Fault::PdfUnsaved, "PrintReport",
                    "The PDF " + path.toStdString() + " cannot be written: " + why.toStdString());
    };
    if (const QString why = WhyToLeave(path); !why.isEmpty())
        refuse(why);
    QSaveFile file(path);
    const auto require = [&](bool done) {
        if (!done)
            refuse(file.errorString());
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
