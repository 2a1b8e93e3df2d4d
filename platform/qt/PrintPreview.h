#pragma once

#include "platform/qt/PrintPages.h"

#include <QDialog>
#include <QPrinter>

class QLabel;
class QPrintPreviewWidget;
class QToolBar;

namespace tavrel {

/// The window in which a report is looked at before it is printed.
class PrintPreview : public QDialog {
    Q_OBJECT

public:
    explicit PrintPreview(const PrintPages& pages, QWidget* parent = nullptr);

    /// Writes the pages as an A4 PDF; whole or not at all. A failure is an `Error`.
    static void SavePdf(const PrintPages& pages, const QString& path);

private:
    void AddActions(QToolBar& bar);
    void Print();
    void AskAndSavePdf();
    void ShowPosition();

    const PrintPages& pages_;
    QPrinter printer_;
    QPrintPreviewWidget* preview_;
    QLabel* position_;
    QAction* previous_ = nullptr;
    QAction* next_ = nullptr;
};

} // namespace tavrel
