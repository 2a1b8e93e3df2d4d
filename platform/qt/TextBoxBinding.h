#pragma once

#include "platform/qt/Binding.h"

#include <QString>

#include <set>

class QInputMethodEvent;
class QKeyEvent;
class QLineEdit;
class QPlainTextEdit;

namespace tavrel {

/// A text box: a line or, for a reading, paragraphs. What is typed or pasted passes through the box's
/// filters before the box has it.
class TextBoxBinding : public Binding {
public:
    TextBoxBinding(TextBox& box, QLineEdit& line);
    TextBoxBinding(TextBox& box, QPlainTextEdit& paragraphs);

protected:
    void ShowState(bool inReach) override;
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    TextBoxBinding(TextBox& box, QWidget& widget, QLineEdit* line, QPlainTextEdit* paragraphs);

    QString Shown() const;
    void LineEdited();
    void ParagraphsEdited();
    /// What the text of the widget becomes on its way into the box.
    QString Filtered(const QString& text) const;

    QString Typed(const QString& text) const;
    bool KeyPressed(const QKeyEvent& key);
    void KeyReleased(const QKeyEvent& key);
    bool Committed(const QInputMethodEvent& input);

    TextBox& box_;
    QLineEdit* line_;
    QPlainTextEdit* paragraphs_;
    bool resending_ = false;
    std::set<quint32> pressed_; ///< keys that went down here and are not up yet
};

} // namespace tavrel
