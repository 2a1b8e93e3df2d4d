#include "platform/qt/Binding.h"

#include "platform/qt/InputBlock.h"

#include <QScopedValueRollback>
#include <QWidget>

namespace tavrel {

Binding::Binding(Control& control, QWidget& widget) : QObject(&widget), control_(&control), widget_(widget) {
    control.Watch([this](Change change) { Show(change); });
}

void Binding::Release() {
    if (control_)
        control_->Watch({});
    control_ = nullptr;
}

void Binding::Show(Change change) {
    if (!control_)
        return;
    Quietly([&] { Mirror(change); });
}

void Binding::Quietly(const std::function<void()>& change) {
    const QScopedValueRollback showing(showing_, true);
    change();
}

void Binding::Mirror(Change change) {
    switch (change) {
    case Change::State:
        if (widget_.isHidden() == control_->Visible()) // one not yet shown is dressed and laid out by it
            widget_.setVisible(control_->Visible());
        ShowState(InReach());
        return;
    case Change::Items:
        ShowItems();
        [[fallthrough]];
    case Change::Selection:
        ShowSelection();
        return;
    case Change::Text:
        ShowText();
        return;
    case Change::Revision:
        ShowRevision();
        return;
    case Change::Marks:
        ShowMarks();
        return;
    case Change::Focus:
        widget_.setFocus(Qt::ShortcutFocusReason);
        return;
    case Change::Words:
        ShowWords();
        return;
    case Change::Place:
        ShowPlace();
        return;
    case Change::Redraw:
        widget_.repaint();
        return;
    }
}

void Binding::ShowState(bool inReach) {
    widget_.setEnabled(inReach);
}

void Binding::Person(const std::function<void()>& act) {
    if (showing_ || !control_)
        return;
    if (!InputBlock::On() && InReach())
        return act();
    // An assistive technology asks neither.
    Show(Change::State);
    Show(Change::Selection);
}

bool Binding::InReach() const {
    bool inReach = control_->Enabled();
    for (const QWidget* around = widget_.parentWidget(); inReach && around && !around->isWindow();
         around = around->parentWidget())
        inReach = !around->property(OutOfReachProperty).toBool();
    return inReach;
}

} // namespace tavrel
