#include "platform/qt/PrintPreview.h"

#include "platform/error.h"

#include <QAction>
#include <QFileDialog>
#include <QLabel>
#include <QMessageBox>
#include <QPdfWriter>
#include <QPrintDialog>
#include <QPrintPreviewWidget>
#include <QSaveFile>
#include <QStandardPaths>
#include <QToolBar>
#include <QVBoxLayout>

namespace tavrel {
namespace {

/// A4 without margins: the layout has its own.
template <typename Device> void SetPage(Device& device) {
    device.setPageSize(QPageSize(QPageSize::A4));
    device.setPageMargins(QMarginsF(0, 0, 0, 0));
}

} // namespace

PrintPreview::PrintPreview(const PrintPages& pages, QWidget* parent)
    : QDialog(parent), pages_(pages), printer_(QPrinter::HighResolution),
      preview_(new QPrintPreviewWidget(&printer_, this)), position_(new QLabel(this)) {
    const PrintLayout& layout = pages.Layout();
    setWindowTitle(QString::fromStdString(layout.caption));
    setWindowFlag(Qt::WindowMaximizeButtonHint);
    setWindowFlag(Qt::WindowStaysOnTopHint);
    setSizeGripEnabled(true);
    resize(900, 740);

    printer_.setFullPage(true);
    SetPage(printer_);
    printer_.setDocName(QString::fromStdString(layout.caption));

    auto* bar = new QToolBar(this);
    bar->setToolButtonStyle(Qt::ToolButtonTextOnly);
    AddActions(*bar);
    auto* column = new QVBoxLayout(this);
    column->setContentsMargins(0, 0, 0, 0);
    column->setSpacing(0);
    column->addWidget(bar);
    column->addWidget(preview_);

    connect(preview_, &QPrintPreviewWidget::paintRequested, this,
            [this](QPrinter* printer) { pages_.Paint(*printer); });
    connect(preview_, &QPrintPreviewWidget::previewChanged, this, &PrintPreview::ShowPosition);
    preview_->fitInView();
    ShowPosition();
}

void PrintPreview::AddActions(QToolBar& bar) {
    const auto add = [&](const QString& text, const QKeySequence& key, auto&& run) {
        QAction* action = bar.addAction(text);
        action->setShortcut(key);
        connect(action, &QAction::triggered, this, run);
        return action;
    };
    add(tr("&Print..."), QKeySequence::Print, [this] { Print(); });
    add(tr("Save as P&DF..."), QKeySequence::Save, [this] { AskAndSavePdf(); });
    bar.addSeparator();
    add(tr("Whole pa&ge"), Qt::CTRL | Qt::Key_0, [this] { preview_->fitInView(); });
    add(tr("Page &width"), Qt::CTRL | Qt::Key_1, [this] { preview_->fitToWidth(); });
    add(tr("Zoom &in"), QKeySequence::ZoomIn, [this] { preview_->zoomIn(); });
    add(tr("Zoom &out"), QKeySequence::ZoomOut, [this] { preview_->zoomOut(); });
    bar.addSeparator();
    previous_ = add(tr("Pre&vious"), QKeySequence::MoveToPreviousPage,
                    [this] { preview_->setCurrentPage(preview_->currentPage() - 1); });
    position_->setContentsMargins(6, 0, 6, 0);
    bar.addWidget(position_);
    next_ = add(tr("&Next"), QKeySequence::MoveToNextPage,
                [this] { preview_->setCurrentPage(preview_->currentPage() + 1); });
    bar.addSeparator();
    add(tr("&Close"), QKeySequence::Close, [this] { accept(); });
}

void PrintPreview::ShowPosition() {
    const int page = preview_->currentPage();
    position_->setText(tr("Page %1 of %2").arg(page).arg(pages_.Count()));
    previous_->setEnabled(page > 1);
    next_->setEnabled(page < pages_.Count());
}

void PrintPreview::Print() {
    QPrintDialog dialog(&printer_, this);
    if (dialog.exec() != QDialog::Accepted)
        return;
    try {
        pages_.Paint(printer_);
    } catch (const Error& error) {
        QMessageBox::warning(this, windowTitle(), QString::fromStdString(error.description));
    }
}

void PrintPreview::AskAndSavePdf() {
    QFileDialog dialog(this, tr("Save as PDF"), QStandardPaths::writableLocation(QStandardPaths::DocumentsLocation),
                       tr("PDF (*.pdf)"));
    dialog.setAcceptMode(QFileDialog::AcceptSave);
    dialog.setDefaultSuffix(QStringLiteral("pdf"));
    if (dialog.exec() != QDialog::Accepted)
        return;
    try {
        SavePdf(pages_, dialog.selectedFiles().constFirst());
    } catch (const Error& error) {
        QMessageBox::warning(this, windowTitle(), QString::fromStdString(error.description));
    }
}

void PrintPreview::SavePdf(const PrintPages& pages, const QString& path) {
    QSaveFile file(path);
    const auto fail = [&] {
        throw Error(483, "PrintReport",
                    "The PDF " + path.toStdString() + " cannot be written: " + file.errorString().toStdString());
    };
    if (!file.open(QIODevice::WriteOnly))
        fail();
    file.setPermissions(QFileDevice::ReadOwner | QFileDevice::WriteOwner);
    {
        QPdfWriter writer(&file);
        SetPage(writer);
        writer.setTitle(QString::fromStdString(pages.Layout().title));
        pages.Paint(writer);
    }
    if (!file.commit())
        fail();
}

} // namespace tavrel
