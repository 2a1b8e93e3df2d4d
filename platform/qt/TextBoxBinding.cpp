#include "platform/qt/TextBoxBinding.h"

#include "platform/qt/QtText.h"

#include <QCoreApplication>
#include <QKeyEvent>
#include <QLineEdit>
#include <QPlainTextEdit>
#include <QScopedValueRollback>
#include <QTextDocument>

#include <algorithm>

namespace tavrel {
namespace {

/// A pasted line break would stand in a single line unseen.
std::string OneLine(std::string text) {
    const auto breaks = [](char c) { return c == '\r' || c == '\n' || c == '\t'; };
    const auto end = std::unique(text.begin(), text.end(), [&](char a, char b) { return breaks(a) && breaks(b); });
    text.erase(end, text.end());
    std::ranges::replace_if(text, breaks, ' ');
    return text;
}

/// Replaces what differs and joins it to the edit that caused it, so that one undo takes back both.
void Rewrite(QPlainTextEdit& paragraphs, const QString& from, const QString& to) {
    const auto same = std::ranges::mismatch(from, to);
    const auto head = same.in1 - from.begin();
    const auto rest = std::min(from.size(), to.size()) - head;
    qsizetype tail = 0;
    while (tail < rest && from[from.size() - 1 - tail] == to[to.size() - 1 - tail])
        ++tail;
    QTextCursor cursor(paragraphs.document());
    cursor.joinPreviousEditBlock();
    cursor.setPosition(static_cast<int>(head));
    cursor.setPosition(static_cast<int>(from.size() - tail), QTextCursor::KeepAnchor);
    cursor.insertText(to.mid(head, to.size() - tail - head));
    cursor.endEditBlock();
}

quint32 PhysicalKey(const QKeyEvent& key) {
    // The key's own number: what it means may change between press and release, with Shift for one.
    return key.nativeScanCode() != 0 ? key.nativeScanCode() : static_cast<quint32>(key.key());
}

bool TypesText(const QKeyEvent& key) {
    const bool command = key.modifiers() & (Qt::ControlModifier | Qt::AltModifier | Qt::MetaModifier);
    return !command && !key.text().isEmpty() && key.text().front().isPrint();
}

} // namespace

TextBoxBinding::TextBoxBinding(TextBox& box, QWidget& widget, QWidget& ground)
    : Binding(box, widget), box_(box), ground_(ground) {
    widget.installEventFilter(this);
}

void TextBoxBinding::ShowState(bool inReach) {
    QPalette palette;
    if (box_.Locked() || !inReach || box_.ButtonFace())
        palette.setBrush(QPalette::Base, palette.brush(QPalette::Disabled, QPalette::Base));
    ground_.setPalette(palette);
    Lock(box_.Locked(), inReach);
    if (FromQt(Shown()) != box_.Text())
        Write(ToQt(box_.Text()));
}

void TextBoxBinding::Edited() {
    Person([this] {
        if (box_.Locked())
            return Show(Change::State);
        const QString shown = Shown();
        const std::string typed = FromQt(shown);
        const std::string filtered = Filtered(typed);
        box_.Typed(filtered);
        if (filtered == typed)
            return;
        const auto caret = ToQt(Filtered(FromQt(shown.left(Caret())))).size();
        Quietly([&] { Correct(ToQt(typed), ToQt(filtered)); });
        Caret(static_cast<int>(caret));
    });
}

std::string TextBoxBinding::Filtered(const std::string& text) const {
    return box_.Filter ? box_.Filter(text) : text;
}

bool TextBoxBinding::eventFilter(QObject* watched, QEvent* event) {
    if (event->type() == QEvent::FocusOut)
        pressed_.clear();
    // A window that becomes a dialog before it is shown and a desktop that changes its colours dress the
    // box anew, without its own palette.
    if (event->type() == QEvent::Show || event->type() == QEvent::StyleChange)
        Show(Change::State);
    if (event->type() == QEvent::KeyPress && KeyPressed(static_cast<const QKeyEvent&>(*event)))
        return true;
    if (event->type() == QEvent::InputMethod && Committed(static_cast<const QInputMethodEvent&>(*event)))
        return true;
    if (event->type() == QEvent::KeyRelease)
        KeyReleased(static_cast<const QKeyEvent&>(*event));
    return Binding::eventFilter(watched, event);
}

QString TextBoxBinding::Typed(const QString& text) const {
    QString answer;
    for (const QChar typed : text)
        if (const auto code = box_.KeyPress(static_cast<std::int16_t>(typed.unicode())); code != 0)
            answer += QChar(static_cast<char16_t>(code));
    return answer;
}

bool TextBoxBinding::KeyPressed(const QKeyEvent& key) {
    pressed_.insert(PhysicalKey(key));
    if (resending_ || !box_.KeyPress || !TypesText(key))
        return false;
    const QString typed = Typed(key.text());
    if (typed == key.text())
        return false;
    const QScopedValueRollback resending(resending_, true);
    QKeyEvent instead(QEvent::KeyPress, 0, key.modifiers(), typed, key.isAutoRepeat());
    if (!typed.isEmpty())
        QCoreApplication::sendEvent(parent(), &instead);
    return true;
}

bool TextBoxBinding::Committed(const QInputMethodEvent& input) {
    if (resending_ || !box_.KeyPress || input.commitString().isEmpty())
        return false;
    const QScopedValueRollback resending(resending_, true);
    QInputMethodEvent instead(input.preeditString(), input.attributes());
    instead.setCommitString(Typed(input.commitString()), input.replacementStart(), input.replacementLength());
    QCoreApplication::sendEvent(parent(), &instead);
    return true;
}

void TextBoxBinding::KeyReleased(const QKeyEvent& key) {
    if (key.isAutoRepeat() || pressed_.erase(PhysicalKey(key)) == 0 || !box_.KeyUp)
        return;
    Person(box_.KeyUp);
}

LineBinding::LineBinding(TextBox& box, QLineEdit& line) : TextBoxBinding(box, line, line), line_(line) {
    connect(&line, &QLineEdit::textChanged, this, [this] { Edited(); });
}

QString LineBinding::Shown() const {
    return line_.text();
}

void LineBinding::Write(const QString& text) {
    line_.setText(text);
    line_.setCursorPosition(0);
}

void LineBinding::Lock(bool locked, bool inReach) {
    line_.setReadOnly(locked);
    line_.setEnabled(inReach);
}

void LineBinding::Correct(const QString&, const QString& to) {
    line_.setText(to);
}

int LineBinding::Caret() const {
    return line_.cursorPosition();
}

void LineBinding::Caret(int position) {
    line_.setCursorPosition(position);
}

std::string LineBinding::Filtered(const std::string& text) const {
    return TextBoxBinding::Filtered(OneLine(text));
}

ParagraphsBinding::ParagraphsBinding(TextBox& box, QPlainTextEdit& paragraphs)
    : TextBoxBinding(box, paragraphs, *paragraphs.viewport()), paragraphs_(paragraphs) {
    paragraphs.document()->setDocumentMargin(8);
    connect(&paragraphs, &QPlainTextEdit::textChanged, this, [this] { Edited(); });
}

QString ParagraphsBinding::Shown() const {
    // The raw text keeps non-breaking blanks, which the plain one turns into blanks.
    return paragraphs_.document()->toRawText();
}

void ParagraphsBinding::Write(const QString& text) {
    paragraphs_.setPlainText(text);
}

void ParagraphsBinding::Lock(bool locked, bool inReach) {
    // A text that is out of reach can still be scrolled and copied.
    paragraphs_.setTextInteractionFlags(locked || !inReach ? Qt::TextSelectableByMouse | Qt::TextSelectableByKeyboard
                                                           : Qt::TextEditorInteraction);
}

void ParagraphsBinding::Correct(const QString& from, const QString& to) {
    Rewrite(paragraphs_, from, to);
}

int ParagraphsBinding::Caret() const {
    return paragraphs_.textCursor().position();
}

void ParagraphsBinding::Caret(int position) {
    auto cursor = paragraphs_.textCursor();
    cursor.setPosition(position);
    paragraphs_.setTextCursor(cursor);
}

} // namespace tavrel
