#pragma once

#include "platform/controls.h"

#include <string>

namespace tavrel {

enum class Buttons { Ok, OkCancel, YesNo, YesNoCancel };
enum class Icon { None, CriticalStop, Exclamation };
enum class Answer { Ok, Cancel, Yes, No };

/// A message box. `defaultAnswer` is the button that Enter presses; closing the box by its frame
/// answers Cancel, No or, where there is nothing else, Ok.
struct MessageBox {
    std::string text;
    std::string title;
    Buttons buttons = Buttons::Ok;
    Icon icon = Icon::None;
    Answer defaultAnswer = Answer::Ok;
    std::string yes{}, no{}; ///< what stands on these two buttons, where it is not "Yes" and "No"
};

/// Windows on the screen. A form's window is made when it is first shown, at the latest, and
/// gone when it is unloaded. A form must be unloaded before it is destroyed.
class Windows {
public:
    virtual ~Windows() = default;

    /// Shows `form` without waiting; one that is shown already comes to the front.
    virtual void Show(Form& form) = 0;
    /// Shows `form` over `owner` (may be none) and returns when it is hidden or unloaded.
    virtual void ShowModal(Form& form, Form* owner) = 0;
    virtual void Hide(Form& form) = 0;
    virtual void Unload(Form& form) = 0;
    /// Keeps the window above the others without moving, resizing or hiding it, from now on or, when
    /// it is not shown yet, from the moment it is.
    virtual void MakeTopMost(Form& form) = 0;

    virtual Answer Ask(const MessageBox& message) = 0;
};

} // namespace tavrel
