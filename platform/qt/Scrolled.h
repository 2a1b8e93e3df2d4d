#pragma once

#include <QScrollArea>
#include <QSplitter>

namespace tavrel {

/// Shows its widget whole where there is room, and never asks for the widget's whole height. Who comes to a part of it
/// by a key sees that part.
class Scrolled : public QScrollArea {
public:
    explicit Scrolled(QWidget* parent);

    QSize sizeHint() const override;
    QSize minimumSizeHint() const override;

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;
};

/// The rows of the `Scrolled` that is their parent. They go into it while they are empty: whatever moves is dressed
/// anew, which takes a third of what it takes to build the window.
class ScrolledRows : public QSplitter {
public:
    explicit ScrolledRows(QWidget* parent);
};

} // namespace tavrel
