#include "platform/qt/WindowRole.h"

#include <QAccessibleWidget>
#include <QWidget>

namespace tavrel {
namespace {

QAccessibleInterface* WindowInterface(const QString& kind, QObject* object) {
    auto* widget = qobject_cast<QWidget*>(object);
    if (kind != "QWidget" || !widget || !widget->isWindow())
        return nullptr; // the toolkit knows what it is
    return new QAccessibleWidget(widget, widget->isModal() ? QAccessible::Dialog : QAccessible::Window);
}

} // namespace

void TellWindowRoles() {
    static const bool told = [] {
        QAccessible::installFactory(WindowInterface);
        return true;
    }();
    static_cast<void>(told);
}

} // namespace tavrel
