#pragma once

#include "platform/controls.h"

#include <QAction>
#include <QObject>
#include <QPointer>
#include <QTimer>

class QContextMenuEvent;
class QKeyEvent;
class QMenu;
class QPoint;
class QPlainTextEdit;
class QTextBlock;
class QTextCursor;

namespace tavrel {

/// Underlines the words of a box that its judge does not know, once the typing pauses, and offers what may be meant in
/// the context menu. A paragraph is judged when it has changed, a few at a time, so that nobody waits for it.
class WordMarks : public QObject {
public:
    /// `mayChange`: whether a person can edit the text now; nothing is judged otherwise.
    WordMarks(TextBox& box, QPlainTextEdit& paragraphs, std::function<bool()> mayChange);

    /// Judges all paragraphs anew.
    void Renew();
    /// The box is not touched from now on.
    void Release() { box_ = nullptr; }

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    WordCheck* Judge() const;
    void Forget(int position, int added);
    void LookOn();
    void Look(QTextBlock& block);
    bool WrittenJustNow(const QTextBlock& block, int end) const;
    void CaretMoved();
    bool Asked(const QContextMenuEvent& event);
    bool ChosenAhead(const QObject* watched, const QKeyEvent& key);
    /// Opens the context menu at a place of the screen, with what may be meant by the word at `cursor`.
    void Offer(QTextCursor cursor, const QPoint& place);
    void OfferAtCaret();
    /// Selects the next unknown word and offers what may be meant.
    void Next();
    void AddSuggestions(QMenu& menu, const QTextCursor& word);
    /// `looking` stands in the menu until now, and becomes the likeliest of them.
    void ShowSuggestions(QMenu& menu, QAction& looking, const std::vector<std::string>& suggestions,
                         const QTextCursor& word);

    TextBox* box_;
    QPlainTextEdit& paragraphs_;
    std::function<bool()> mayChange_;
    QTimer pause_;
    bool marked_ = false;       ///< something is underlined, or may be
    int waitingFor_ = -1;       ///< the paragraph of the word that is being written
    QPointer<QAction> looking_; ///< in the menu, in the place of suggestions that have not come yet
};

} // namespace tavrel
