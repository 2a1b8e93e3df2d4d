#pragma once

#include "platform/windows.h"

#include <deque>
#include <functional>
#include <set>
#include <string>
#include <vector>

namespace tavrel::test {

/// A screen without pixels and the person in front of it.
class FakeWindows : public Windows {
public:
    std::vector<MessageBox> messages; ///< every message box, in order
    std::deque<Answer> answers;       ///< the person's answers; when there is none left, the default button
    std::vector<std::string> calls;   ///< "Show frmReport", "ShowModal frmBase", "Hide ...", "Unload ...", in order
    /// What the person does in a modal window; it must leave the window hidden or unloaded, as nobody
    /// could work on otherwise.
    std::function<void(Form&)> onModal;
    /// Runs before a message box is answered.
    std::function<void(const MessageBox&)> onMessage;

    /// The texts of the message boxes.
    std::vector<std::string> Texts() const;
    bool IsShown(const Form& form) const { return shown_.contains(&form); }
    bool IsTopMost(const Form& form) const { return topMost_.contains(&form); }

    void Show(Form& form) override;
    void ShowModal(Form& form, Form* owner) override;
    void Hide(Form& form) override;
    void Unload(Form& form) override;
    void MakeTopMost(Form& form) override;
    Answer Ask(const MessageBox& message) override;

private:
    std::set<const Form*> shown_;
    std::set<const Form*> topMost_;
};

} // namespace tavrel::test
