#pragma once

#include "platform/qt/Binding.h"

#include <QString>

#include <set>

class QInputMethodEvent;
class QKeyEvent;
class QKeySequence;
class QLineEdit;
class QPlainTextEdit;

namespace tavrel {

class WordMarks;

/// A text box. What is typed or pasted passes through the box's filters before the box has it.
class TextBoxBinding : public Binding {
protected:
    /// `ground`: the part of the widget that the text stands on.
    TextBoxBinding(TextBox& box, QWidget& widget, QWidget& ground);

    /// To be called when the widget's text has changed.
    void Edited();
    void ShowState(bool inReach) override;
    void ShowText() override;
    void ShowRevision() override;
    bool eventFilter(QObject* watched, QEvent* event) override;

    virtual QString Shown() const = 0;
    /// Shows another text, or the same, and forgets all edits.
    virtual void Write(const QString& text) = 0;
    /// Changes the text by an edit that can be undone.
    virtual void Revise(const QString& text) = 0;
    virtual void Redo() = 0;
    virtual void Lock(bool locked, bool inReach) = 0;
    /// Writes what the filters have made of an edit.
    virtual void Correct(const QString& from, const QString& to) = 0;
    virtual int Caret() const = 0;
    virtual void Caret(int position) = 0;
    /// What the widget's text becomes on its way into the box.
    virtual std::string Filtered(const std::string& text) const;
    TextBox& Box() const { return box_; }

private:
    QString Typed(const QString& text) const;
    bool KeyPressed(const QKeyEvent& key);
    void KeyReleased(const QKeyEvent& key);
    bool Committed(const QInputMethodEvent& input);

    TextBox& box_;
    QWidget& ground_;
    bool resending_ = false;
    bool typing_ = false;       ///< a key that types a character is being pressed
    std::set<quint32> pressed_; ///< keys that went down here and are not up yet
};

class LineBinding : public TextBoxBinding {
public:
    LineBinding(TextBox& box, QLineEdit& line);

protected:
    QString Shown() const override;
    void ShowMarks() override;
    void Write(const QString& text) override;
    void Revise(const QString& text) override;
    void Redo() override;
    void Lock(bool locked, bool inReach) override;
    void Correct(const QString& from, const QString& to) override;
    int Caret() const override;
    void Caret(int position) override;
    std::string Filtered(const std::string& text) const override;

private:
    QLineEdit& line_;
};

/// A box for a reading.
class ParagraphsBinding : public TextBoxBinding {
public:
    ParagraphsBinding(TextBox& box, QPlainTextEdit& paragraphs);
    void Release() override;

protected:
    QString Shown() const override;
    void ShowMarks() override;
    void ShowPlace() override;
    void ShowWords() override;
    void Write(const QString& text) override;
    void Revise(const QString& text) override;
    void Redo() override;
    void Lock(bool locked, bool inReach) override;
    void Correct(const QString& from, const QString& to) override;
    int Caret() const override;
    void Caret(int position) override;

private:
    void Align();
    void StepWith(const QKeySequence& key, bool back);
    TextMark Selected() const;

    QPlainTextEdit& paragraphs_;
    WordMarks* wordMarks_ = nullptr; ///< none while nobody has judged a word
    bool editable_ = false;
};

} // namespace tavrel
