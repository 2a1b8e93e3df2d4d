#pragma once

#include "platform/qt/Layouts.h"
#include "platform/qt/WindowPlaces.h"
#include "platform/windows.h"

#include <QTimer>

#include <map>
#include <set>

class QDialog;
class QEventLoop;
class QScreen;

namespace tavrel {

class FormWindow;

/// The windows on a Qt desktop. Needs a QApplication; keeps it alive when no window is open.
class QtWindows : public Windows {
public:
    explicit QtWindows(const Layouts& layouts = DesignedLayouts(), WindowPlaces places = WindowPlaces());
    ~QtWindows() override;
    QtWindows(const QtWindows&) = delete;
    QtWindows& operator=(const QtWindows&) = delete;

    void Show(Form& form) override;
    void ShowModal(Form& form, Form* owner) override;
    void Hide(Form& form) override;
    void Unload(Form& form) override;
    void MakeTopMost(Form& form) override;
    Answer Ask(const MessageBox& message) override;

    /// Shows a dialog that is no form over the window that the person works in and answers its result
    /// when it is closed.
    int RunDialog(QDialog& dialog);

    /// A form, a message box or another dialog stands on the screen.
    bool AnyWindowOpen() const;

    /// The form's window, which is made ahead where there is none yet.
    FormWindow& Make(Form& form);

    /// The form's window, or none before it is made.
    FormWindow* WindowOf(const Form& form) const;

private:
    void Present(FormWindow& window);
    void Follow(const QScreen& screen);
    void BringAllBack();
    bool AnyTopMost() const;

    const Layouts& layouts_;
    const WindowPlaces places_;
    std::map<const Form*, FormWindow*> windows_;
    std::set<const Form*> topMost_;                   ///< the forms whose windows will be, when they are made
    std::multimap<const Form*, QEventLoop*> waiting_; ///< the modal shows that wait for a form to go
    int dialogs_ = 0;                                 ///< dialogs on the screen
    QTimer screensChanged_;                           ///< since the screens changed
};

} // namespace tavrel
