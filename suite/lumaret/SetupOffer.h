#pragma once

#include <QObject>
#include <QString>
#include <QStringList>

class QLabel;
class QLineEdit;
class QMainWindow;
class QPushButton;
class QStackedWidget;

namespace tavrel {

/// On an account that is no workstation yet, or not a whole one: says what is missing in the place of the images and
/// offers to set it up, as "orbenta-catalogue setup" does with its defaults. The viewer works right after.
class SetupOffer : public QObject {
    Q_OBJECT

public:
    /// `tool` is that program.
    SetupOffer(QMainWindow& window, QString tool);

    /// Asks the tool, which changes nothing; the window stays as it is unless it says that something is missing.
    void Look();

signals:
    /// All is there now.
    void Done();
    /// Nothing is missing, or the tool does not say what.
    void NothingToOffer();
    /// Why the tool cannot tell.
    void Said(const QString& words);

private:
    void Offer(const QString& said);
    QWidget* Page(const QStringList& missing);
    QLineEdit* Field(QWidget* page, const QString& caption, const QString& option, const QString& said);
    void SetUp();
    void Fail(const QString& words);

    QMainWindow& window_;
    QString tool_;
    QStackedWidget* views_ = nullptr; ///< the images, and the offer
    QLineEdit* hospital_ = nullptr;
    QLineEdit* name_ = nullptr;
    QPushButton* button_ = nullptr;
    QLabel* outcome_ = nullptr;
};

} // namespace tavrel
