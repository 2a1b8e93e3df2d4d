#include "suite/lumaret/SetupOffer.h"

#include <QFormLayout>
#include <QLabel>
#include <QLineEdit>
#include <QMainWindow>
#include <QProcess>
#include <QPushButton>
#include <QScrollArea>
#include <QStackedWidget>
#include <QVBoxLayout>

#include <algorithm>
#include <utility>

namespace tavrel {
namespace {

constexpr int WidthOfThePage = 560;

/// Of the lines that begin with a word the rest.
QStringList LinesOf(const QString& said, const QString& word) {
    QStringList found;
    for (const QString& line : said.split('\n'))
        if (line.startsWith(word + ' '))
            found += line.mid(word.size()).trimmed();
    return found;
}

/// What the tool says, without what is of use at a terminal alone.
QString WithoutTheTerminals(QString words) {
    for (const auto& [typed, read] :
         {std::pair("orbenta-catalogue: ", ""), std::pair("Run with --help for more information.", ""),
          std::pair("--organization: ", "Hospital: "), std::pair("--signature: ", "You sign as: ")})
        words.replace(typed, read);
    return words.trimmed();
}

QLabel* Words(const QString& text) {
    auto* label = new QLabel(text);
    label->setTextFormat(Qt::PlainText);
    label->setWordWrap(true);
    label->setTextInteractionFlags(Qt::TextSelectableByMouse | Qt::TextSelectableByKeyboard);
    label->setFocusPolicy(Qt::NoFocus);
    return label;
}

} // namespace

SetupOffer::SetupOffer(QMainWindow& window, QString tool) : window_(window), tool_(std::move(tool)) {}

void SetupOffer::Look() {
    auto* asked = new QProcess(this);
    connect(asked, &QProcess::errorOccurred, this, [this, asked] {
        if (asked->error() == QProcess::FailedToStart)
            emit NothingToOffer();
    });
    connect(asked, &QProcess::finished, this, [this, asked] {
        Offer(QString::fromUtf8(asked->readAllStandardOutput()));
        if (const QString words = WithoutTheTerminals(QString::fromUtf8(asked->readAllStandardError()));
            !words.isEmpty())
            emit Said(words);
        asked->deleteLater();
    });
    asked->start(tool_, {"setup", "--dry-run"});
}

void SetupOffer::Offer(const QString& said) {
    QStringList missing = LinesOf(said, "missing");
    // A service that runs was started in another way than by the session.
    if (said.contains("there    the storage service runs"))
        missing.removeAll("the storage service's start with each session");
    if (missing.isEmpty() || views_) {
        emit NothingToOffer();
        return;
    }
    QWidget* page = Page(missing);
    hospital_ = Field(page, tr("&Hospital"), "--organization", said);
    name_ = Field(page, tr("&You sign as"), "--signature", said);
    views_ = new QStackedWidget;
    views_->addWidget(window_.takeCentralWidget());
    views_->addWidget(page);
    views_->setCurrentWidget(page);
    window_.setCentralWidget(views_);
    (hospital_ ? static_cast<QWidget*>(hospital_) : button_)->setFocus();
}

QWidget* SetupOffer::Page(const QStringList& missing) {
    auto* page = new QScrollArea;
    page->setWidgetResizable(true);
    page->setFrameShape(QFrame::NoFrame);
    page->setFocusPolicy(Qt::NoFocus);
    auto* middle = new QWidget;
    middle->setMaximumWidth(WidthOfThePage);
    auto* column = new QVBoxLayout(middle);
    auto* title = Words(tr("This account is not ready yet"));
    QFont large = title->font();
    large.setPointSizeF(large.pointSizeF() * 1.5);
    large.setBold(true);
    title->setFont(large);
    column->addWidget(title);
    column->addWidget(Words(tr("Studies and reports need a catalogue, a storage service and a physician's signature on "
                               "this account. Missing: %1.")
                                .arg(missing.join(", "))));
    auto* form = new QFormLayout;
    form->setObjectName("fields");
    column->addLayout(form);
    button_ = new QPushButton(tr("&Set up this account"));
    button_->setDefault(true);
    auto* later = new QPushButton(tr("&Not now"));
    auto* buttons = new QHBoxLayout;
    buttons->addWidget(button_);
    buttons->addWidget(later);
    buttons->addStretch();
    column->addLayout(buttons);
    outcome_ = Words(tr("In a terminal \"orbenta-catalogue setup\" does the same, and asks for more."));
    outcome_->setObjectName("outcome"); // a name for the ear would be heard in the place of the words
    column->addWidget(outcome_);

    auto* whole = new QWidget;
    auto* around = new QVBoxLayout(whole);
    auto* line = new QHBoxLayout;
    line->addStretch();
    line->addWidget(middle, 1000); // as wide as it may be
    line->addStretch();
    around->addStretch();
    around->addLayout(line);
    around->addStretch();
    page->setWidget(whole);
    connect(button_, &QPushButton::clicked, this, &SetupOffer::SetUp);
    connect(later, &QPushButton::clicked, this, [this] { views_->setCurrentIndex(0); });
    return page;
}

/// A box with what the tool would take; none where it is set already.
QLineEdit* SetupOffer::Field(QWidget* page, const QString& caption, const QString& option, const QString& said) {
    const QStringList presets = LinesOf(said, "default  " + option);
    if (presets.isEmpty())
        return nullptr;
    auto* field = new QLineEdit(presets.first());
    connect(field, &QLineEdit::returnPressed, button_, &QPushButton::click);
    page->findChild<QFormLayout*>("fields")->addRow(caption, field);
    return field;
}

void SetupOffer::SetUp() {
    QStringList command = {"setup", "--yes"};
    for (const auto& [option, field] : {std::pair("--organization=", hospital_), std::pair("--signature=", name_)}) {
        if (!field)
            continue;
        if (field->text().trimmed().isEmpty()) {
            field->setFocus();
            return Fail(tr("A name is missing."));
        }
        command += option + field->text().trimmed();
    }
    button_->setEnabled(false);
    outcome_->setText(tr("Setting up ..."));
    auto* setup = new QProcess(this);
    connect(setup, &QProcess::errorOccurred, this, [this, setup] {
        if (setup->error() == QProcess::FailedToStart)
            Fail(tr("%1 cannot be started.").arg(tool_));
    });
    connect(setup, &QProcess::finished, this, [this, setup](int status) {
        const QString words = WithoutTheTerminals(QString::fromUtf8(setup->readAllStandardError()));
        const QString missing = LinesOf(QString::fromUtf8(setup->readAllStandardOutput()), "MISSING").join("\n");
        setup->deleteLater();
        if (status != 0)
            return Fail(words.isEmpty() ? missing : words);
        views_->setCurrentIndex(0);
        emit Done();
    });
    setup->start(tool_, command);
}

void SetupOffer::Fail(const QString& words) {
    button_->setEnabled(true);
    outcome_->setText(words.isEmpty() ? tr("It failed, and does not say why.") : words);
}

} // namespace tavrel
