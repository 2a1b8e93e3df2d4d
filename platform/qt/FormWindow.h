#pragma once

#include "platform/qt/Folding.h"
#include "platform/qt/FormBinder.h"
#include "platform/qt/Layouts.h"
#include "platform/qt/WindowPlaces.h"

#include <QTimer>
#include <QWidget>

#include <optional>

namespace tavrel {

/// The window of a form.
class FormWindow : public QWidget {
public:
    FormWindow(Form& form, const std::function<void(QWidget&)>& layOut);

    /// Lets go of the form for good and vanishes as soon as no event of the window is handled any more.
    void Dismiss();
    /// Before it is shown: stands where `places` has it, which learns where the person moves it from there.
    void StandAt(const WindowPlaces& places);
    /// Before it is shown: stands over the middle of another window.
    void StandOver(const QRect& other);
    /// When the screens have changed: stands where the person has put it on these ones, in any case on none in part.
    void ComeBack();
    /// What the window has become by itself is no place that the person has chosen.
    void Settle();
    /// Keeps the window above others from now on, or from when it is shown.
    void StayOnTop();

protected:
    void closeEvent(QCloseEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;
    void moveEvent(QMoveEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;
    void showEvent(QShowEvent* event) override;
    void hideEvent(QHideEvent* event) override;

private:
    void LookAtPlace();
    void Remember();

    Form* form_;
    std::optional<FormBinder> binder_;
    std::optional<Folding> folding_;
    const WindowPlaces* places_ = nullptr;
    std::optional<WindowPlace> settled_; ///< where the window stands by itself
    std::optional<WindowPlace> seen_;    ///< where it stood at the look before
    int looks_ = 0;                      ///< since it was shown
    QTimer shown_;                       ///< runs until the window stands still
    QTimer moved_;                       ///< since it was moved last
};

} // namespace tavrel
