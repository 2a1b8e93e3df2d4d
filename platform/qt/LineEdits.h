#pragma once

#include "platform/controls.h"

#include <QString>

class QKeyEvent;
class QLineEdit;
class QTextCharFormat;
class QWidget;

namespace tavrel {

/// How what a text field marks is underlined in this widget.
QTextCharFormat MarkFormat(const QWidget& widget);

/// Whether this is Ctrl+Y, which the toolkit takes for "Redo" on other desktops only.
bool AsksForRedo(const QKeyEvent& key);

/// Whether this is Enter, of either block of keys.
bool IsEnter(const QKeyEvent& key);

/// Takes the last undo back, in a line that is in reach.
void Redo(QLineEdit& line);

/// Shows the text of a model and forgets every edit before it. The caret stays in a text that is the same.
void Restart(QLineEdit& line, const QString& text);

/// Changes the text by one edit that can be undone.
void Revise(QLineEdit& line, const QString& text);

/// Underlines what the model marks, and nothing else.
void Underline(QLineEdit& line, const TextField& field);

} // namespace tavrel
