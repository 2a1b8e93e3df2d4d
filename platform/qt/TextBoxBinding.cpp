#include "platform/qt/TextBoxBinding.h"

#include "platform/qt/QtText.h"

#include <QCoreApplication>
#include <QKeyEvent>
#include <QLineEdit>
#include <QPlainTextEdit>
#include <QRegularExpression>
#include <QScopedValueRollback>
#include <QTextDocument>

#include <algorithm>

namespace tavrel {
namespace {

/// A pasted line break would stand in a single line unseen.
QString OneLine(QString text) {
    static const QRegularExpression breaks("[\\r\\n\\t\\x{2028}\\x{2029}]+");
    return text.replace(breaks, " ");
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

TextBoxBinding::TextBoxBinding(TextBox& box, QLineEdit& line) : TextBoxBinding(box, line, &line, nullptr) {
    connect(&line, &QLineEdit::textChanged, this, [this] { Person([this] { LineEdited(); }); });
}

TextBoxBinding::TextBoxBinding(TextBox& box, QPlainTextEdit& paragraphs)
    : TextBoxBinding(box, paragraphs, nullptr, &paragraphs) {
    paragraphs.document()->setDocumentMargin(8);
    connect(&paragraphs, &QPlainTextEdit::textChanged, this, [this] { Person([this] { ParagraphsEdited(); }); });
}

TextBoxBinding::TextBoxBinding(TextBox& box, QWidget& widget, QLineEdit* line, QPlainTextEdit* paragraphs)
    : Binding(box, widget), box_(box), line_(line), paragraphs_(paragraphs) {
    widget.installEventFilter(this);
}

QString TextBoxBinding::Shown() const {
    // The raw text keeps non-breaking blanks, which the plain one turns into blanks.
    return line_ ? line_->text() : paragraphs_->document()->toRawText();
}

void TextBoxBinding::ShowState(bool inReach) {
    const bool locked = box_.Locked() || !inReach;
    QWidget& ground = line_ ? static_cast<QWidget&>(*line_) : *paragraphs_->viewport();
    QPalette palette;
    if (locked || box_.ButtonFace())
        palette.setBrush(QPalette::Base, palette.brush(QPalette::Disabled, QPalette::Base));
    ground.setPalette(palette);

    const bool stale = FromQt(Shown()) != box_.Text();
    if (line_) {
        line_->setReadOnly(box_.Locked());
        line_->setEnabled(inReach);
        if (stale) {
            line_->setText(ToQt(box_.Text()));
            line_->setCursorPosition(0);
        }
        return;
    }
    paragraphs_->setTextInteractionFlags(locked ? Qt::TextSelectableByMouse | Qt::TextSelectableByKeyboard
                                                : Qt::TextEditorInteraction);
    if (stale)
        paragraphs_->setPlainText(ToQt(box_.Text()));
}

QString TextBoxBinding::Filtered(const QString& text) const {
    const QString kept = line_ ? OneLine(text) : text;
    return box_.Filter ? ToQt(box_.Filter(FromQt(kept))) : ToQt(FromQt(kept));
}

void TextBoxBinding::LineEdited() {
    if (box_.Locked())
        return Show(Change::State);
    const QString text = line_->text();
    const QString filtered = Filtered(text);
    box_.Typed(FromQt(filtered));
    if (filtered == text)
        return;
    const auto cursor = Filtered(text.left(line_->cursorPosition())).size();
    Show(Change::State);
    line_->setCursorPosition(static_cast<int>(cursor));
}

void TextBoxBinding::ParagraphsEdited() {
    if (box_.Locked())
        return Show(Change::State);
    const QString text = ToQt(FromQt(Shown()));
    const QString filtered = Filtered(text);
    box_.Typed(FromQt(filtered));
    if (filtered == text)
        return;
    const auto position = Filtered(text.left(paragraphs_->textCursor().position())).size();
    Quietly([&] { Rewrite(*paragraphs_, text, filtered); });
    auto cursor = paragraphs_->textCursor();
    cursor.setPosition(static_cast<int>(position));
    paragraphs_->setTextCursor(cursor);
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

} // namespace tavrel
