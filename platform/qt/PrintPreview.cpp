#include "platform/qt/PrintPreview.h"

#include "platform/error.h"
#include "platform/qt/PdfFile.h"
#include "platform/qt/QtText.h"

#include <QFileDialog>
#include <QHBoxLayout>
#include <QLabel>
#include <QMessageBox>
#include <QPrintDialog>
#include <QPrintPreviewWidget>
#include <QPrinterInfo>
#include <QPushButton>
#include <QScreen>
#include <QShortcut>
#include <QStandardPaths>

namespace tavrel {
PrintPreview::PrintPreview(const PrintPages& pages, QWidget* parent)
    : QDialog(parent), pages_(pages), paper_(QPrinter::HighResolution),
      preview_(new QPrintPreviewWidget(&paper_, this)), position_(new QLabel(this)) {
    setWindowTitle(ToQt(pages.Layout().caption));
    setWindowFlags(windowFlags() | Qt::WindowMaximizeButtonHint);
    setWindowFlag(Qt::WindowStaysOnTopHint, pages.Layout().topMost);
    resize(QSize(940, 740).boundedTo(screen()->availableSize()));
    PrintPages::SetUp(paper_, pages.Layout());

    auto* bar = new QHBoxLayout;
    bar->setContentsMargins(8, 8, 8, 8);
    bar->setSpacing(6);
    AddButtons(*bar);
    auto* column = new QVBoxLayout(this);
    column->setContentsMargins({});
    column->setSpacing(0);
    column->addLayout(bar);
    column->addWidget(preview_);

    preview_->setAccessibleName(tr("Pages"));
    connect(preview_, &QPrintPreviewWidget::paintRequested, this,
            [this](QPrinter* printer) { pages_.Paint(*printer); });
    connect(preview_, &QPrintPreviewWidget::previewChanged, this, &PrintPreview::ShowPosition);
    preview_->fitInView();
    ShowPosition();
}

void PrintPreview::AddButtons(QHBoxLayout& bar) {
    const auto add = [&](const QString& text, const QKeySequence& key, auto&& run) {
        auto* button = new QPushButton(text, this);
        button->setAutoDefault(false);
        button->setToolTip(key.toString(QKeySequence::NativeText));
        connect(button, &QPushButton::clicked, this, run);
        connect(new QShortcut(key, this), &QShortcut::activated, button, &QPushButton::click);
        bar.addWidget(button);
        return button;
    };
    auto* print = add(tr("&Print..."), QKeySequence::Print, [this] { Print(); });
    print->setProperty("primary", true);
    print->setDefault(true);
    add(tr("&Save as PDF..."), QKeySequence::Save, [this] { AskAndSavePdf(); });
    bar.addStretch();
    previous_ = add(tr("Pre&vious"), QKeySequence::MoveToPreviousPage, [this] { Turn(-1); });
    bar.addWidget(position_);
    next_ = add(tr("&Next"), QKeySequence::MoveToNextPage, [this] { Turn(1); });
    bar.addStretch();
    add(tr("&Whole page"), Qt::CTRL | Qt::Key_0, [this] { preview_->fitInView(); });
    add(tr("Page wi&dth"), Qt::CTRL | Qt::Key_1, [this] { preview_->fitToWidth(); });
    add(tr("Zoom &in"), QKeySequence::ZoomIn, [this] { preview_->zoomIn(); });
    add(tr("Zoom &out"), QKeySequence::ZoomOut, [this] { preview_->zoomOut(); });
    bar.addStretch();
    add(tr("&Close"), QKeySequence::Close, [this] { accept(); });
}

void PrintPreview::ShowPosition() {
    const int page = preview_->currentPage();
    position_->setText(tr("Page %1 of %2").arg(page).arg(pages_.Count()));
    previous_->setEnabled(page > 1);
    next_->setEnabled(page < pages_.Count());
}

void PrintPreview::Turn(int pages) {
    preview_->setCurrentPage(preview_->currentPage() + pages);
    ShowPosition();
}

void PrintPreview::Print() {
    Attempt([this] {
        if (QPrinterInfo::availablePrinterNames().isEmpty())
            throw Error(Fault::NoPrinter, "PrintReport",
                        "This workstation has no printer. The report can be saved as a PDF.");
        QPrinter printer(QPrinter::HighResolution);
        PrintPages::SetUp(printer, pages_.Layout());
        QPrintDialog dialog(&printer, this);
        dialog.setOptions(QPrintDialog::PrintPageRange | QPrintDialog::PrintCollateCopies);
        dialog.setMinMax(1, pages_.Count());
        if (dialog.exec() == QDialog::Accepted)
            pages_.Print(printer);
    });
}

void PrintPreview::AskAndSavePdf() {
    QFileDialog dialog(this, tr("Save as PDF"), QStandardPaths::writableLocation(QStandardPaths::DocumentsLocation),
                       tr("PDF (*.pdf)"));
    dialog.setAcceptMode(QFileDialog::AcceptSave);
    dialog.setDefaultSuffix(QStringLiteral("pdf"));
    dialog.selectFile(ToQt(pages_.Layout().document.FileName()));
    if (dialog.exec() == QDialog::Accepted)
        Attempt([&] { SavePdf(pages_, dialog.selectedFiles().constFirst()); });
}

void PrintPreview::Attempt(const std::function<void()>& work) {
    try {
        work();
    } catch (const Error& error) {
        QMessageBox::warning(this, windowTitle(), QString::fromStdString(error.description));
    }
}

} // namespace tavrel
