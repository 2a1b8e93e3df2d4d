#include "platform/qt/Shortcuts.h"

#include <QAbstractButton>
#include <QShortcut>

namespace tavrel {
namespace {

void Use(QWidget& widget) {
    if (auto* button = qobject_cast<QAbstractButton*>(&widget))
        return button->click();
    widget.setFocus(Qt::ShortcutFocusReason);
}

void AddShortcut(QWidget& widget, const QKeySequence& keys) {
    auto* shortcut = new QShortcut(keys, &widget); // out of reach as the widget is
    shortcut->setAutoRepeat(false);                // a key that is held down saves once
    QObject::connect(shortcut, &QShortcut::activated, &widget, [&widget] { Use(widget); });
}

void TellKeys(QAbstractButton& button, const QKeySequence& keys) {
    const QString told = keys.toString(QKeySequence::NativeText);
    button.setToolTip(button.toolTip().isEmpty() ? told : QString("%1 (%2)").arg(button.toolTip(), told));
}

} // namespace

QString WithoutMnemonic(QString caption) {
    for (auto sign = caption.indexOf('&'); sign >= 0 && sign + 1 < caption.size();
         sign = caption.indexOf('&', sign + 1))
        caption.remove(sign, 1);
    return caption;
}

void AddShortcuts(const QWidget& window) {
    for (auto* widget : window.findChildren<QWidget*>()) {
        const QKeySequence keys(widget->property("keys").toString());
        if (!keys.isEmpty())
            AddShortcut(*widget, keys);
        if (auto* button = qobject_cast<QAbstractButton*>(widget)) {
            const bool underlined = button->shortcut() == QKeySequence::mnemonic(button->text());
            if (const auto unseen = underlined ? keys : button->shortcut(); !unseen.isEmpty())
                TellKeys(*button, unseen);
        }
    }
}

} // namespace tavrel
