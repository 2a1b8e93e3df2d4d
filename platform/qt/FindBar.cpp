#include "platform/qt/FindBar.h"

#include "platform/qt/LineEdits.h"
#include "platform/qt/TextSearch.h"

#include <QBoxLayout>
#include <QKeyEvent>
#include <QLabel>
#include <QLineEdit>
#include <QPlainTextEdit>
#include <QPushButton>
#include <QShortcut>
#include <QStyle>

#include <algorithm>

namespace tavrel {
namespace {

constexpr const char* Name = "paneFind";

} // namespace

void FindBar::Offer(QPlainTextEdit& text) {
    FindBar* bar = nullptr;
    connect(new QShortcut(QKeySequence::Find, &text), &QShortcut::activated, &text, [&text, bar]() mutable {
        if (!bar)
            bar = new FindBar(text);
        bar->Open();
    });
}

void FindBar::Forget(const QPlainTextEdit& text) {
    auto* pane = text.parentWidget();
    auto* bar = pane ? dynamic_cast<FindBar*>(pane->findChild<QWidget*>(Name, Qt::FindDirectChildrenOnly)) : nullptr;
    if (!bar)
        return;
    bar->words_->setText({}); // which no undo takes back
    if (bar->isAncestorOf(bar->window()->focusWidget()))
        bar->Close();
    bar->hide();
}

FindBar::FindBar(QPlainTextEdit& text)
    : QWidget(text.parentWidget()), text_(text), words_(new QLineEdit(this)), said_(new QLabel(this)) {
    setObjectName(Name);
    words_->setAccessibleName(tr("Find"));
    words_->setPlaceholderText(tr("Find"));
    words_->installEventFilter(this);
    said_->setProperty("note", true);
    auto* line = new QHBoxLayout(this);
    line->setContentsMargins({});
    line->addWidget(words_, 1);
    line->addWidget(said_);
    const auto add = [&](const QString& caption, const QKeySequence& key, const QString& told, auto&& act) {
        auto* button = new QPushButton(caption, this);
        button->setAutoDefault(true);
        button->setToolTip(told);
        connect(new QShortcut(key, button), &QShortcut::activated, button, &QPushButton::click);
        connect(button, &QPushButton::clicked, this, act);
        line->addWidget(button);
    };
    add(tr("Previous"), tr("Ctrl+Shift+G"), tr("Shift+Enter, Ctrl+Shift+G"), [this] { Find(Way::Previous); });
    add(tr("Next"), tr("Ctrl+G"), tr("Enter, Ctrl+G"), [this] { Find(Way::Next); });
    add(tr("End find"), tr("Ctrl+Shift+F"), tr("Esc, Ctrl+Shift+F"), [this] { Close(); });
    auto& lines = dynamic_cast<QBoxLayout&>(*text.parentWidget()->layout());
    lines.insertWidget(lines.indexOf(&text) + 1, this);
    setTabOrder(&text, words_);
    for (auto* before = static_cast<QWidget*>(words_); auto* button : findChildren<QPushButton*>()) {
        setTabOrder(before, button);
        before = button;
    }
    connect(words_, &QLineEdit::textChanged, this, [this] { Find(Way::Stay); });
    connect(&text, &QPlainTextEdit::textChanged, this, [this] { Say({}, true); });
}

void FindBar::Open() {
    const QString selected = text_.textCursor().selectedText();
    show();
    if (!selected.isEmpty() && !selected.contains(QChar::ParagraphSeparator))
        words_->setText(selected);
    words_->setFocus(Qt::ShortcutFocusReason);
    words_->selectAll();
    Find(Way::Stay);
}

void FindBar::Close() {
    hide();
    text_.setFocus(Qt::ShortcutFocusReason);
}

void FindBar::Find(Way way) {
    const auto all = Occurrences(text_.toPlainText(), words_->text());
    if (all.empty())
        return Say(words_->text().isEmpty() ? QString() : tr("Not found"), words_->text().isEmpty());
    auto cursor = text_.textCursor();
    const int from = way == Way::Next ? cursor.selectionEnd() : cursor.selectionStart();
    auto found = std::ranges::lower_bound(all, from, {}, &std::pair<int, int>::first);
    const bool again = way == Way::Previous ? found == all.begin() : found == all.end();
    if (way == Way::Previous)
        found = again ? all.end() - 1 : found - 1;
    else if (again)
        found = all.begin();
    cursor.setPosition(found->first);
    cursor.setPosition(found->first + found->second, QTextCursor::KeepAnchor);
    text_.setTextCursor(cursor);
    const QString place = tr("%1 of %2").arg(found - all.begin() + 1).arg(all.size());
    const QString where = way == Way::Previous ? tr("%1, from the end") : tr("%1, from the beginning");
    Say(again ? where.arg(place) : place, true);
}

void FindBar::Say(const QString& words, bool found) {
    said_->setText(words);
    words_->setAccessibleDescription(words);
    said_->setProperty("tone", found ? "neutral" : "attention");
    said_->style()->unpolish(said_);
    said_->style()->polish(said_);
}

bool FindBar::eventFilter(QObject* watched, QEvent* event) {
    if (event->type() != QEvent::KeyPress)
        return QWidget::eventFilter(watched, event);
    const auto& key = static_cast<const QKeyEvent&>(*event);
    if (IsEnter(key))
        Find(key.modifiers().testFlag(Qt::ShiftModifier) ? Way::Previous : Way::Next);
    else if (key.key() == Qt::Key_Escape)
        Close();
    else
        return QWidget::eventFilter(watched, event);
    return true;
}

} // namespace tavrel
