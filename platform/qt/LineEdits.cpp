#include "platform/qt/LineEdits.h"

#include "platform/qt/QtText.h"

#include <QCoreApplication>
#include <QInputMethodEvent>
#include <QKeyEvent>
#include <QLineEdit>
#include <QPalette>
#include <QTextCharFormat>

namespace tavrel {

QTextCharFormat MarkFormat(const QWidget& widget) {
    QColor colour = widget.palette().color(QPalette::BrightText);
    QTextCharFormat format;
    format.setUnderlineStyle(QTextCharFormat::WaveUnderline);
    format.setUnderlineColor(colour);
    constexpr int tint = 48; // the line alone is a hair's breadth
    colour.setAlpha(tint);
    format.setBackground(colour);
    return format;
}

bool AsksForRedo(const QKeyEvent& key) {
    return key.key() == Qt::Key_Y && key.modifiers() == Qt::ControlModifier;
}

bool IsEnter(const QKeyEvent& key) {
    return key.key() == Qt::Key_Return || key.key() == Qt::Key_Enter;
}

void Redo(QLineEdit& line) {
    // An event filter is asked before the line looks whether it is in reach.
    if (line.isEnabled())
        line.redo();
}

void Restart(QLineEdit& line, const QString& text) {
    const int caret = line.text() == text ? line.cursorPosition() : 0;
    line.setText(text);
    line.setCursorPosition(caret);
}

void Revise(QLineEdit& line, const QString& text) {
    const QString behind = line.text().mid(line.cursorPosition());
    const auto caret = text.endsWith(behind) ? text.size() - behind.size() : line.cursorPosition();
    line.selectAll();
    line.insert(text);
    line.home(false); // a step of the caret keeps what is typed next an edit of its own
    line.setCursorPosition(static_cast<int>(caret));
}

void Underline(QLineEdit& line, const TextField& field) {
    constexpr auto underlined = "underlined";
    if (field.Marks().empty() && !line.property(underlined).toBool())
        return; // an input method may be at work
    QList<QInputMethodEvent::Attribute> attributes;
    const auto format = MarkFormat(line);
    for (const auto& [position, length] : Stretches(field.Text(), field.Marks()))
        attributes.emplace_back(QInputMethodEvent::TextFormat, position - line.cursorPosition(), length, format);
    line.setProperty(underlined, !attributes.isEmpty());
    // A line has no formats of its own but those that an input method gives it.
    QInputMethodEvent formats({}, attributes);
    QCoreApplication::sendEvent(&line, &formats);
}

} // namespace tavrel
