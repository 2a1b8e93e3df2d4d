#pragma once

#include <QList>
#include <QObject>
#include <QSize>

class QSplitter;

namespace tavrel {

/// Makes a window of several columns work where there is room for few of them. As soon as the window is too narrow
/// for its columns, the one with the property "foldsBelow" goes from its splitter into the one around that, the box
/// layouts with the property "folds" turn from rows to columns or back, a widget goes where its "foldsInto" says (a
/// layout and the cell or the place there), and one with "foldedWidth" may become that narrow. Nothing is taken away.
/// A window without such a column stays as it is.
class Folding : public QObject {
public:
    explicit Folding(QWidget& window);

    /// The least size that the window may have, which it tries before it is shown.
    QSize Least();

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    void Follow();
    void Fold(bool fold);
    void KeepSizes();
    void TurnBoxes();
    void MoveWidgets();
    void NarrowWidgets();
    QSize Needed() const;
    void AskAllAgain() const;

    QWidget& window_;
    QWidget* column_ = nullptr;    ///< what folds; nothing else is set without it
    QSplitter* columns_ = nullptr; ///< where it stands beside others
    QSplitter* rows_ = nullptr;    ///< where it stands below them
    QList<int> widths_, heights_;  ///< of columns and rows, as the person has left them
    bool folded_ = false;
    int unfoldedWidth_ = 0; ///< what the window needs for its columns
};

} // namespace tavrel
