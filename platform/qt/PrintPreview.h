#pragma once

#include "platform/qt/PrintPages.h"

#include <QDialog>
#include <QPrinter>

#include <functional>

class QHBoxLayout;
class QKeySequence;
class QLabel;
class QPrintPreviewWidget;
class QPushButton;

namespace tavrel {

/// The window, top-most where the layout asks for it, in which a report is looked at before it is printed or saved as a
/// PDF.
class PrintPreview : public QDialog {
public:
    explicit PrintPreview(const PrintPages& pages, QWidget* parent = nullptr);

    const PrintPages& Pages() const { return pages_; }

private:
    void AddButtons(QHBoxLayout& bar);
    void ShowPosition();
    void Turn(int pages);
    void Print();
    void AskAndSavePdf();
    /// Runs `work`; its failure is shown.
    void Attempt(const std::function<void()>& work);

    const PrintPages& pages_;
    QPrinter paper_; ///< what the preview is drawn for
    QPrintPreviewWidget* preview_;
    QLabel* position_;
    QPushButton* previous_ = nullptr;
    QPushButton* next_ = nullptr;
};

} // namespace tavrel
