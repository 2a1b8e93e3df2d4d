#pragma once

#include <QWidget>

class QLabel;
class QLineEdit;
class QPlainTextEdit;

namespace tavrel {

/// Finds words in a text, which may be read-only, as a browser does: a bar below the text that Ctrl+F opens and
/// Escape closes; Enter goes on, Shift+Enter back, and behind the last one comes the first.
class FindBar : public QWidget {
public:
    /// Gives the window of this text its Ctrl+F. The bar is made when it is first asked for; the text stands in a
    /// layout of lines.
    static void Offer(QPlainTextEdit& text);
    /// The text becomes another report's: what was looked for in the former one goes with it.
    static void Forget(const QPlainTextEdit& text);

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    enum class Way { Stay, Next, Previous };

    explicit FindBar(QPlainTextEdit& text);
    void Open();
    void Close();
    void Find(Way way);
    void Say(const QString& words, bool found);

    QPlainTextEdit& text_;
    QLineEdit* words_;
    QLabel* said_;
};

} // namespace tavrel
