#include "platform/qt/TextBoxBinding.h"

#include "platform/qt/FindBar.h"
#include "platform/qt/LineEdits.h"
#include "platform/qt/QtText.h"
#include "platform/qt/WordMarks.h"

#include <QApplication>
#include <QKeyEvent>
#include <QLineEdit>
#include <QPlainTextEdit>
#include <QScopedValueRollback>
#include <QShortcut>
#include <QTextBlock>
#include <QTextDocument>

#include <algorithm>
#include <utility>

namespace tavrel {
namespace {

/// Whether the first paragraph that says something does.
bool RunsFromTheRight(const QTextDocument& document) {
    auto paragraph = document.begin();
    while (paragraph != document.lastBlock() && paragraph.text().trimmed().isEmpty())
        paragraph = paragraph.next();
    return paragraph.text().isRightToLeft();
}

/// A pasted line break would stand in a single line unseen.
std::string OneLine(std::string text) {
    const auto breaks = [](char c) { return c == '\r' || c == '\n' || c == '\t'; };
    const auto end = std::unique(text.begin(), text.end(), [&](char a, char b) { return breaks(a) && breaks(b); });
    text.erase(end, text.end());
    std::ranges::replace_if(text, breaks, ' ');
    return text;
}

/// Replaces what differs of a stretch that begins at `start`.
void Replace(QTextCursor& cursor, qsizetype start, QStringView from, QStringView to) {
    const auto same = std::ranges::mismatch(from, to);
    const auto head = same.in1 - from.begin();
    const auto rest = std::min(from.size(), to.size()) - head;
    qsizetype tail = 0;
    while (tail < rest && from[from.size() - 1 - tail] == to[to.size() - 1 - tail])
        ++tail;
    if (from.size() == head + tail && to.size() == head + tail)
        return;
    const auto first = static_cast<int>(start + head);
    const auto last = static_cast<int>(start + from.size() - tail);
    // The new before the old goes: what is typed next would join an insertion, and be undone with it.
    cursor.setPosition(last);
    cursor.insertText(to.mid(head, to.size() - tail - head).toString());
    cursor.setPosition(first);
    cursor.setPosition(last, QTextCursor::KeepAnchor);
    cursor.removeSelectedText();
}

/// As `Replace`, line by line where the lines are as many: a caret between two changes stays.
void ReplaceLines(QTextCursor& cursor, const QString& from, const QString& to) {
    const auto old = QStringView(from).split(u'\n');
    const auto now = QStringView(to).split(u'\n');
    if (old.size() != now.size())
        return Replace(cursor, 0, from, to);
    qsizetype start = from.size();
    for (qsizetype line = old.size(); line-- > 0; --start) {
        start -= old[line].size();
        Replace(cursor, start, old[line], now[line]);
    }
}

/// Beside its words, which are in the text: a change is told by its ground, and by a line under or through it.
QTextCharFormat FormatOf(TextMark::Kind kind, const QWidget& widget) {
    if (kind == TextMark::Kind::Wrong)
        return MarkFormat(widget);
    const bool added = kind == TextMark::Kind::Added;
    constexpr int middle = 128;
    const bool dark = widget.palette().color(QPalette::Base).lightness() < middle;
    QTextCharFormat format;
    format.setBackground(QColor(added ? (dark ? "#1d4029" : "#dcefe2") : (dark ? "#57262a" : "#fbdedb")));
    format.setFontUnderline(added);
    format.setFontStrikeOut(!added);
    return format;
}

quint32 PhysicalKey(const QKeyEvent& key) {
    // The key's own number: what it means may change between press and release, with Shift for one.
    return key.nativeScanCode() != 0 ? key.nativeScanCode() : static_cast<quint32>(key.key());
}

bool EndsLine(const QKeyEvent& key) {
    return key.key() == Qt::Key_Return || key.key() == Qt::Key_Enter;
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
    ShowMarks(); // their colour is the palette's
}

void TextBoxBinding::ShowText() {
    Write(ToQt(box_.Text()));
}

void TextBoxBinding::ShowRevision() {
    Revise(ToQt(box_.Text()));
}

void TextBoxBinding::Edited() {
    Person([this] {
        if (box_.Locked())
            return Show(Change::State);
        const QString shown = Shown();
        const std::string typed = FromQt(shown);
        const std::string filtered = Filtered(typed);
        if (filtered != typed) {
            const auto caret = ToQt(Filtered(FromQt(shown.left(Caret())))).size();
            Quietly([&] { Correct(ToQt(typed), ToQt(filtered)); });
            Caret(static_cast<int>(caret));
        }
        box_.Typed(filtered); // marks of the form stand under the text that is shown
        if (std::exchange(typing_, false) && box_.CharacterTyped)
            box_.CharacterTyped(FromQt(Shown().left(Caret())).size());
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
    typing_ = TypesText(key) || EndsLine(key);
    if (AsksForRedo(key)) {
        Redo();
        return true;
    }
    if (IsEnter(key) && box_.Enter) {
        if (!key.isAutoRepeat())
            Person(box_.Enter);
        return true;
    }
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
    typing_ = false; // what comes now is another's doing
    if (key.isAutoRepeat() || pressed_.erase(PhysicalKey(key)) == 0 || !box_.KeyUp)
        return;
    Person(box_.KeyUp);
    if (key.key() == Qt::Key_Down && box_.Down)
        Person(box_.Down);
}

LineBinding::LineBinding(TextBox& box, QLineEdit& line) : TextBoxBinding(box, line, line), line_(line) {
    connect(&line, &QLineEdit::textChanged, this, [this] { Edited(); });
}

QString LineBinding::Shown() const {
    return line_.text();
}

void LineBinding::ShowMarks() {
    Underline(line_, Box());
}

void LineBinding::Write(const QString& text) {
    Restart(line_, text);
}

void LineBinding::Revise(const QString& text) {
    tavrel::Revise(line_, text);
}

void LineBinding::Redo() {
    tavrel::Redo(line_);
}

void LineBinding::Lock(bool locked, bool inReach) {
    line_.setReadOnly(locked);
    line_.setEnabled(inReach);
}

void LineBinding::Correct(const QString&, const QString& to) {
    line_.undo(); // so that one undo takes back the edit and its correction
    tavrel::Revise(line_, to);
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
    connect(&paragraphs, &QPlainTextEdit::textChanged, this, [this] {
        Align();
        Edited();
    });
    box.SelectionFrom([this] { return Selected(); });
    StepWith(Qt::Key_F3, false);
    StepWith(Qt::SHIFT | Qt::Key_F3, true);
    ParagraphsBinding::ShowWords();
}

void ParagraphsBinding::Release() {
    Box().SelectionFrom({});
    if (wordMarks_)
        wordMarks_->Release();
    TextBoxBinding::Release();
}

/// From anywhere in the window: a template is chosen outside the box that it fills.
void ParagraphsBinding::StepWith(const QKeySequence& key, bool back) {
    const auto* shortcut = new QShortcut(key, &paragraphs_); // which owns it
    connect(shortcut, &QShortcut::activated, this, [this, back] {
        Person([&] {
            if (Box().Step)
                Box().Step(back);
        });
    });
}

TextMark ParagraphsBinding::Selected() const {
    const auto cursor = paragraphs_.textCursor();
    const auto text = Shown();
    const auto bytesTo = [&](int position) { return FromQt(text.left(position)).size(); };
    const auto begin = bytesTo(cursor.selectionStart());
    return {begin, cursor.hasSelection() ? bytesTo(cursor.selectionEnd()) - begin : 0};
}

void ParagraphsBinding::ShowPlace() {
    for (const auto& [position, length] : Stretches(Box().Text(), {Box().SelectedLast()})) {
        auto cursor = paragraphs_.textCursor();
        cursor.setPosition(position);
        cursor.setPosition(position + length, QTextCursor::KeepAnchor);
        paragraphs_.setTextCursor(cursor);
        paragraphs_.setFocus(Qt::ShortcutFocusReason);
    }
}

QString ParagraphsBinding::Shown() const {
    // The raw text keeps non-breaking blanks, which the plain one turns into blanks.
    return paragraphs_.document()->toRawText();
}

void ParagraphsBinding::Align() {
    auto& document = *paragraphs_.document();
    auto option = document.defaultTextOption();
    // Unlike a line, the toolkit's paragraphs begin on the left whatever their script.
    const auto side = RunsFromTheRight(document) ? Qt::AlignRight : Qt::AlignLeft;
    if (option.alignment() == side)
        return;
    option.setAlignment(side);
    document.setDefaultTextOption(option);
}

void ParagraphsBinding::ShowWords() {
    if (!wordMarks_ && Box().Words())
        wordMarks_ = new WordMarks(Box(), paragraphs_, [this] { return InReach() && !Box().Locked(); });
    if (wordMarks_)
        wordMarks_->Renew();
}

void ParagraphsBinding::ShowMarks() {
    QList<QTextEdit::ExtraSelection> marks;
    for (const auto kind : {TextMark::Kind::Wrong, TextMark::Kind::Added, TextMark::Kind::Removed}) {
        std::vector<TextMark> ofKind;
        std::ranges::copy_if(Box().Marks(), std::back_inserter(ofKind),
                             [kind](const TextMark& mark) { return mark.kind == kind; });
        for (const auto& [position, length] : Stretches(Box().Text(), ofKind)) {
            QTextCursor stretch(paragraphs_.document());
            stretch.setPosition(position);
            stretch.setPosition(position + length, QTextCursor::KeepAnchor);
            marks.append({stretch, FormatOf(kind, paragraphs_)});
        }
    }
    if (!marks.isEmpty() || !paragraphs_.extraSelections().isEmpty())
        paragraphs_.setExtraSelections(marks);
}

void ParagraphsBinding::Write(const QString& text) {
    FindBar::Forget(paragraphs_);
    if (auto* menu = QApplication::activePopupWidget())
        menu->close(); // it offers what may be done with the former text
    if (ToQt(FromQt(Shown())) == text)
        paragraphs_.document()->clearUndoRedoStacks();
    else
        paragraphs_.setPlainText(text);
}

void ParagraphsBinding::Revise(const QString& text) {
    auto cursor = paragraphs_.textCursor(); // where an undo puts the caret again
    cursor.beginEditBlock();
    ReplaceLines(cursor, ToQt(FromQt(Shown())), text);
    cursor.endEditBlock();
}

void ParagraphsBinding::Redo() {
    if (!paragraphs_.isReadOnly())
        paragraphs_.redo();
}

void ParagraphsBinding::Lock(bool locked, bool inReach) {
    if (const bool editable = !locked && inReach; std::exchange(editable_, editable) != editable)
        ShowWords();
    // A text that is out of reach can still be scrolled and copied.
    paragraphs_.setTextInteractionFlags(locked || !inReach ? Qt::TextSelectableByMouse | Qt::TextSelectableByKeyboard
                                                           : Qt::TextEditorInteraction);
}

void ParagraphsBinding::Correct(const QString& from, const QString& to) {
    // Joined to the edit that caused it, so that one undo takes back both.
    QTextCursor cursor(paragraphs_.document());
    cursor.joinPreviousEditBlock();
    Replace(cursor, 0, from, to);
    cursor.endEditBlock();
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
