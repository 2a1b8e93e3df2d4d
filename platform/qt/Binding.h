#pragma once

#include "platform/controls.h"

#include <QObject>

class QWidget;

namespace tavrel {

/// Ties a control to the widget that mirrors it and belongs to the widget. A kind of control says how
/// it looks; what all kinds share is done here.
class Binding : public QObject {
public:
    Binding(Control& control, QWidget& widget);

    /// Brings the widget to what the control says.
    void Show(Change change);
    /// Lets go of the control, which is not touched from now on; the widget may live a little longer.
    virtual void Release();

protected:
    /// Shows the control's own state; `inReach` is whether a person may use it.
    virtual void ShowState(bool inReach);
    /// Shows the control's text by an edit of the widget's, which a person can take back.
    virtual void ShowItems() {}
    virtual void ShowSelection() {}
    virtual void ShowText() {}
    virtual void ShowRevision() {}
    virtual void ShowMarks() {}
    virtual void ShowPlace() {}
    virtual void ShowWords() {}

    /// Hands in what a person did. Changes that the program itself shows are none. Nothing is taken
    /// while work is going on or the control is out of reach: the widget is put right again.
    void Person(const std::function<void()>& act);
    /// Changes the widget without taking that for a person's doing.
    void Quietly(const std::function<void()>& change);
    bool InReach() const;

private:
    void Mirror(Change change);

    Control* control_;
    QWidget& widget_;
    bool showing_ = false;
};

/// A widget with this property is out of reach, and so is everything in it. It is not disabled as a
/// whole: a long text within must still be scrolled and copied.
inline constexpr auto OutOfReachProperty = "outOfReach";

} // namespace tavrel
