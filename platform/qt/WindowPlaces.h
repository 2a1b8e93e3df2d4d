#pragma once

#include <QRect>
#include <QString>

#include <functional>
#include <optional>

class QWidget;

namespace tavrel {

/// A window's place.
struct WindowPlace {
    QRect frame;            ///< the window with what goes around it
    QSize around;           ///< what of that size goes around the window
    bool maximised = false; ///< it fills its screen for now

    bool operator==(const WindowPlace&) const = default;
};

/// Where windows open: where the person has put them on these very screens, else beside the images.
class WindowPlaces {
public:
    /// `file` keeps the places, none if it is empty; it need not exist. `images` tells where the window with the
    /// images lies, an empty place if that is not known.
    explicit WindowPlaces(QString file = {}, std::function<QRect()> images = {});

    /// The place for a window that is not shown yet, of the wanted size if there is room, else at least of the other,
    /// which is asked for then.
    WindowPlace For(const QWidget& window, QSize wanted, const std::function<QSize()>& least) const;
    /// Where the person has put the window on the present screens.
    std::optional<WindowPlace> Remembered(const QWidget& window) const;
    /// To be called for a window that the person has moved.
    void Remember(const QWidget& window) const;

private:
    QRect Images() const;

    QString file_;
    std::function<QRect()> images_;
};

WindowPlace PlaceOf(const QWidget& window);
/// Gives a window that place, or the part of it that its screen has.
void Put(QWidget& window, const WindowPlace& place);
/// Brings a window that is shown back where no part of it is off the screens.
void BringBack(QWidget& window);

} // namespace tavrel
