#include "tests/support/FakeWindows.h"

#include <stdexcept>

namespace tavrel::test {

std::vector<std::string> FakeWindows::Texts() const {
    std::vector<std::string> texts;
    for (const MessageBox& message : messages)
        texts.push_back(message.text);
    return texts;
}

void FakeWindows::Show(Form& form) {
    calls.push_back("Show " + form.Name());
    shown_.insert(&form);
}

void FakeWindows::ShowModal(Form& form, Form*) {
    calls.push_back("ShowModal " + form.Name());
    shown_.insert(&form);
    if (onModal)
        onModal(form);
    if (shown_.erase(&form) != 0)
        throw std::logic_error(form.Name() + " is modal and nobody closed it");
}

void FakeWindows::Hide(Form& form) {
    calls.push_back("Hide " + form.Name());
    shown_.erase(&form);
}

void FakeWindows::Unload(Form& form) {
    calls.push_back("Unload " + form.Name());
    shown_.erase(&form);
    topMost_.erase(&form);
}

void FakeWindows::MakeTopMost(Form& form) {
    calls.push_back("MakeTopMost " + form.Name());
    topMost_.insert(&form);
}

Answer FakeWindows::Ask(const MessageBox& message) {
    messages.push_back(message);
    if (onMessage)
        onMessage(message);
    if (answers.empty())
        return message.defaultAnswer;
    const Answer answer = answers.front();
    answers.pop_front();
    return answer;
}

} // namespace tavrel::test
