#pragma once

#include <QString>

class QWidget;

namespace tavrel {

/// A caption without the sign that underlines a letter.
QString WithoutMnemonic(QString caption);

/// Gives the widgets of a window the keys that their layout names in the property "keys": a button is clicked as by
/// the mouse, anything else gets the focus. What a key does without a letter that is underlined, a tool tip says.
void AddShortcuts(const QWidget& window);

} // namespace tavrel
