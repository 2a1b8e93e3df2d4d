#pragma once

#include "platform/controls.h"

#include <string>
#include <vector>

class QWidget;

namespace tavrel {

class Binding;

/// Pairs the controls of a form with the widgets of a window by name and kind, for as long as it
/// lives; the form must outlive it. A control without a fitting widget stays unseen.
class FormBinder {
public:
    FormBinder(Form& form, QWidget& window);
    ~FormBinder();
    FormBinder(const FormBinder&) = delete;
    FormBinder& operator=(const FormBinder&) = delete;

    /// Looks anew at the state of the controls within `frame`.
    void ShowWithin(const QWidget& frame) const;

private:
    std::vector<std::pair<QWidget*, Binding*>> bindings_;
};

/// What does not pair, one line for each: a control without a fitting widget and a widget without a
/// control, each by its name.
std::vector<std::string> MissingNames(const Form& form, const QWidget& window);

} // namespace tavrel
