#pragma once

#include "platform/qt/FormBinder.h"
#include "platform/qt/Layouts.h"

#include <QWidget>

#include <optional>

namespace tavrel {

/// The window of a form.
class FormWindow : public QWidget {
public:
    FormWindow(Form& form, const std::function<void(QWidget&)>& layOut);

    /// Lets go of the form for good and vanishes as soon as no event of the window is handled any more.
    void Dismiss();
    /// Keeps the window above others from now on, or from when it is shown.
    void StayOnTop();

protected:
    void closeEvent(QCloseEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;

private:
    Form* form_;
    std::optional<FormBinder> binder_;
};

} // namespace tavrel
