#pragma once

#include "platform/qt/WindowPlaces.h"

#include <QObject>

namespace tavrel {

/// The place of the viewer's window: where it was when it was closed on these screens, else where the editor has room
/// beside it.
class ViewerPlace : public QObject {
public:
    /// Puts a window that is not shown yet. `file` keeps the places; it need not exist.
    ViewerPlace(QWidget& window, const QString& file);

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    QWidget& window_;
    WindowPlaces places_;
};

} // namespace tavrel
