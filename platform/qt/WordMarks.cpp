#include "platform/qt/WordMarks.h"

#include "platform/qt/QtText.h"
#include "platform/word_check.h"

#include <QApplication>
#include <QContextMenuEvent>
#include <QElapsedTimer>
#include <QKeyEvent>
#include <QMenu>
#include <QPlainTextEdit>
#include <QScreen>
#include <QShortcut>
#include <QTextBlock>
#include <QTextDocument>
#include <QTextLayout>

#include <chrono>

namespace tavrel {
namespace {

using namespace std::chrono_literals;
constexpr auto Pause = 300ms;
/// So long a look may take before the next key is handled, in ms.
constexpr int Slice = 5;
/// A paragraph of more characters than this takes longer than a slice, at each key in it.
constexpr int LongestParagraph = 20'000;
constexpr int Judged = 1;
constexpr int NotJudged = -1; // as the toolkit has it of a new paragraph
constexpr std::size_t MostSuggestions = 8;

QTextCharFormat UnknownWord(const QWidget& widget) {
    QTextCharFormat format;
    format.setUnderlineStyle(QTextCharFormat::SpellCheckUnderline);
    format.setUnderlineColor(widget.palette().color(QPalette::BrightText));
    return format;
}

std::vector<std::pair<int, int>> UnknownOf(WordCheck& judge, const QTextBlock& block) {
    const std::string text = FromQt(block.text());
    return block.length() > LongestParagraph ? std::vector<std::pair<int, int>>()
                                             : Stretches(text, judge.Unknown(text));
}

} // namespace

WordMarks::WordMarks(TextBox& box, QPlainTextEdit& paragraphs, std::function<bool()> mayChange)
    : QObject(&paragraphs), box_(&box), paragraphs_(paragraphs), mayChange_(std::move(mayChange)) {
    pause_.setSingleShot(true);
    connect(&pause_, &QTimer::timeout, this, [this] { LookOn(); });
    connect(paragraphs.document(), &QTextDocument::contentsChange, this,
            [this](int position, int, int added) { Forget(position, added); });
    connect(&paragraphs, &QPlainTextEdit::cursorPositionChanged, this, [this] { CaretMoved(); });
    paragraphs.installEventFilter(this);
    paragraphs.viewport()->installEventFilter(this);
    const auto* next = new QShortcut(Qt::Key_F7, &paragraphs); // which owns it
    connect(next, &QShortcut::activated, this, [this] { Next(); });
}

WordCheck* WordMarks::Judge() const {
    return box_ && mayChange_() ? box_->Words() : nullptr;
}

void WordMarks::Renew() {
    if (!Judge() && !marked_)
        return;
    auto* document = paragraphs_.document();
    for (auto block = document->begin(); block.isValid(); block = block.next())
        block.setUserState(NotJudged);
    pause_.start(0);
}

void WordMarks::Forget(int position, int added) {
    if (!marked_ && !Judge())
        return;
    const auto* document = paragraphs_.document();
    const auto last = document->findBlock(position + added);
    for (auto block = document->findBlock(position); block.isValid(); block = block.next()) {
        block.setUserState(NotJudged);
        if (block == last)
            break;
    }
    pause_.start(Pause);
}

void WordMarks::LookOn() {
    QElapsedTimer spent;
    spent.start();
    for (auto block = paragraphs_.document()->begin(); block.isValid(); block = block.next()) {
        if (block.userState() == Judged)
            continue;
        if (spent.hasExpired(Slice))
            return pause_.start(0);
        Look(block);
        block.setUserState(Judged);
    }
    marked_ = Judge() != nullptr;
}

void WordMarks::Look(QTextBlock& block) {
    QList<QTextLayout::FormatRange> marks;
    if (auto* judge = Judge()) {
        const auto format = UnknownWord(paragraphs_);
        for (const auto& [position, length] : UnknownOf(*judge, block))
            if (!WrittenJustNow(block, block.position() + position + length))
                marks.append({position, length, format});
            else
                waitingFor_ = block.blockNumber();
    }
    marked_ = marked_ || !marks.isEmpty();
    if (marks == block.layout()->formats())
        return;
    block.layout()->setFormats(marks);
    paragraphs_.document()->markContentsDirty(block.position(), block.length());
}

/// A word is judged when it is left: half of one is always wrong.
bool WordMarks::WrittenJustNow(const QTextBlock& block, int end) const {
    return paragraphs_.hasFocus() && paragraphs_.textCursor().block() == block &&
           paragraphs_.textCursor().position() == end;
}

void WordMarks::CaretMoved() {
    if (waitingFor_ < 0 || pause_.isActive())
        return;
    auto block = paragraphs_.document()->findBlockByNumber(std::exchange(waitingFor_, -1));
    if (!block.isValid())
        return;
    block.setUserState(NotJudged);
    pause_.start(Pause);
}

bool WordMarks::eventFilter(QObject* watched, QEvent* event) {
    return (event->type() == QEvent::ContextMenu && Asked(static_cast<const QContextMenuEvent&>(*event))) ||
           (event->type() == QEvent::KeyPress && ChosenAhead(watched, static_cast<const QKeyEvent&>(*event))) ||
           QObject::eventFilter(watched, event);
}

/// The likeliest word may be chosen before it is there, by who types faster than it is found.
bool WordMarks::ChosenAhead(const QObject* watched, const QKeyEvent& key) {
    const auto* menu = qobject_cast<const QMenu*>(watched);
    if (!menu || !looking_ || menu->activeAction() != looking_ ||
        (key.key() != Qt::Key_Return && key.key() != Qt::Key_Enter))
        return false;
    looking_->setData(true);
    return true;
}

bool WordMarks::Asked(const QContextMenuEvent& event) {
    if (!Judge())
        return false;
    if (event.reason() == QContextMenuEvent::Keyboard)
        OfferAtCaret();
    else
        Offer(paragraphs_.cursorForPosition(event.pos()), event.globalPos());
    return true;
}

void WordMarks::OfferAtCaret() {
    auto cursor = paragraphs_.textCursor();
    cursor.setPosition(cursor.selectionStart());
    Offer(cursor, paragraphs_.viewport()->mapToGlobal(paragraphs_.cursorRect().bottomLeft()));
}

void WordMarks::Offer(QTextCursor cursor, const QPoint& place) {
    auto* menu = paragraphs_.createStandardContextMenu();
    menu->setAttribute(Qt::WA_DeleteOnClose);
    const int caret = cursor.positionInBlock(), start = cursor.block().position();
    for (const auto& [position, length] : UnknownOf(*Judge(), cursor.block()))
        if (caret >= position && caret <= position + length) {
            cursor.setPosition(start + position);
            cursor.setPosition(start + position + length, QTextCursor::KeepAnchor);
            AddSuggestions(*menu, cursor);
            break;
        }
    menu->popup(place);
}

void WordMarks::AddSuggestions(QMenu& menu, const QTextCursor& word) {
    auto* first = menu.actions().isEmpty() ? nullptr : menu.actions().front();
    const std::string text = FromQt(word.selectedText());
    auto* looking = new QAction("Looking for suggestions...", &menu);
    menu.insertAction(first, looking);
    menu.installEventFilter(this);
    looking_ = looking;
    Judge()->Suggest(text, [this, open = QPointer(&menu), looking, word, text](std::vector<std::string> found) {
        if (!open || !open->isVisible()) // where there is none, perhaps the box is gone, too
            return;
        // Another report may have been opened meanwhile.
        found.resize(Judge() && FromQt(word.selectedText()) == text ? std::min(found.size(), MostSuggestions) : 0);
        ShowSuggestions(*open, *looking, found, word);
    });
    auto* learn = new QAction("Add \"" + ToQt(text) + "\" to my words", &menu);
    connect(learn, &QAction::triggered, this, [this, text] {
        if (auto* judge = Judge())
            judge->Learn(text);
    });
    menu.insertAction(first, learn);
    menu.insertSeparator(first);
}

void WordMarks::ShowSuggestions(QMenu& menu, QAction& looking, const std::vector<std::string>& suggestions,
                                const QTextCursor& word) {
    auto* pointedAt = menu.activeAction();
    const int top = menu.actionGeometry(pointedAt).top();
    auto* behind = menu.actions().value(menu.actions().indexOf(&looking) + 1);
    if (looking_ == &looking)
        looking_ = nullptr;
    looking.setText("No suggestion");
    looking.setEnabled(!suggestions.empty());
    for (const std::string& suggestion : suggestions) {
        const bool likeliest = &suggestion == &suggestions.front(); // keeps the keys' place in the menu
        auto* action = likeliest ? &looking : new QAction(&menu);
        action->setText(ToQt(suggestion).replace('&', "&&"));
        connect(action, &QAction::triggered, this, [this, word, text = word.selectedText(), suggestion] {
            // Another report may have been opened while the menu stood there.
            if (auto cursor = word; Judge() && cursor.selectedText() == text)
                cursor.insertText(ToQt(suggestion));
        });
        if (!likeliest)
            menu.insertAction(behind, action);
    }
    const QRect screen = menu.screen()->availableGeometry();
    QPoint place = menu.pos();
    if (pointedAt) // stays under the mouse
        place.ry() -= menu.actionGeometry(pointedAt).top() - top;
    menu.move(place.x(), std::max(screen.top(), std::min(place.y(), screen.bottom() + 1 - menu.height())));
    if (looking.data().toBool() && looking.isEnabled()) {
        menu.close();
        looking.trigger();
    }
}

void WordMarks::Next() {
    auto* judge = Judge();
    if (!judge)
        return;
    const auto caret = paragraphs_.textCursor();
    const int from = caret.selectionEnd();
    auto block = paragraphs_.document()->findBlock(from);
    // Once around, the paragraph of the caret twice: behind the caret first, before it last.
    for (int looked = 0; looked <= paragraphs_.document()->blockCount(); ++looked) {
        for (const auto& [position, length] : UnknownOf(*judge, block)) {
            const int begin = block.position() + position;
            if (looked == 0 && begin < from)
                continue;
            auto cursor = caret;
            cursor.setPosition(begin);
            cursor.setPosition(begin + length, QTextCursor::KeepAnchor);
            paragraphs_.setTextCursor(cursor);
            paragraphs_.setFocus(Qt::ShortcutFocusReason);
            OfferAtCaret();
            return;
        }
        block = block.next().isValid() ? block.next() : paragraphs_.document()->begin();
    }
    QApplication::beep();
}

} // namespace tavrel
