#include "suite/lumaret/ReportPane.h"

#include "platform/dcmtk/DcmtkLibrary.h"
#include "platform/error.h"
#include "platform/posix/SystemClock.h"
#include "platform/qt/PrintPreview.h"
#include "suite/lumaret/ImageFile.h"
#include "suite/paper/ReportVersions.h"

#include <QComboBox>
#include <QHBoxLayout>
#include <QLabel>
#include <QMessageBox>
#include <QPushButton>
#include <QScrollBar>
#include <QShortcut>
#include <QTextBrowser>
#include <QVBoxLayout>

#include <algorithm>

namespace tavrel {
namespace {

/// Shows what it is given and fetches nothing.
class Paper : public QTextBrowser {
public:
    Paper() {
        setOpenLinks(false);
        setTextInteractionFlags(Qt::TextSelectableByMouse | Qt::TextSelectableByKeyboard);
        setAccessibleName(tr("Report text"));
        document()->setDocumentMargin(10);
    }
    // Empty but there: for nothing at all the toolkit would look for a file.
    QVariant loadResource(int, const QUrl&) override { return QByteArray(""); }
    QSize sizeHint() const override { return {420, 600}; }

protected:
    // The toolkit scrolls when it is shown and when lines break anew: the patient stands in the first ones.
    void resizeEvent(QResizeEvent* event) override {
        KeepingTheTop([&] { QTextBrowser::resizeEvent(event); });
    }
    void showEvent(QShowEvent* event) override {
        KeepingTheTop([&] { QTextBrowser::showEvent(event); });
    }

private:
    template <typename Work> void KeepingTheTop(Work&& work) {
        const bool atTop = verticalScrollBar()->value() == 0;
        work();
        if (atTop)
            verticalScrollBar()->setValue(0);
    }
};

} // namespace

ReportPane::ReportPane(QWidget* parent)
    : QWidget(parent), notice_(new QLabel), versionBox_(new QComboBox), print_(new QPushButton(tr("&Print..."))),
      text_(new Paper) {
    auto* label = new QLabel(tr("&Version"));
    label->setBuddy(versionBox_);
    auto* hide = new QPushButton(tr("Hi&de"));
    hide->setToolTip(tr("Give the images the whole place"));
    versionBox_->setSizeAdjustPolicy(QComboBox::AdjustToMinimumContentsLengthWithIcon);
    versionBox_->setMinimumContentsLength(12);
    auto* line = new QHBoxLayout;
    line->addWidget(label);
    line->addWidget(versionBox_, 1);
    auto* buttons = new QHBoxLayout; // of their own: a narrow pane must tell which version it is
    buttons->addWidget(print_);
    buttons->addWidget(hide);
    buttons->addStretch();
    auto* column = new QVBoxLayout(this);
    notice_->setWordWrap(true);
    notice_->setTextFormat(Qt::PlainText);
    notice_->setAccessibleName(tr("Notice"));
    QFont bold = notice_->font();
    bold.setBold(true);
    notice_->setFont(bold);
    column->addWidget(notice_);
    column->addLayout(line);
    column->addLayout(buttons);
    column->addWidget(text_, 1);
    print_->setToolTip(tr("Print this version or save it as a PDF (%1)")
                           .arg(QKeySequence(QKeySequence::Print).toString(QKeySequence::NativeText)));
    connect(print_, &QPushButton::clicked, this, &ReportPane::Print);
    connect(new QShortcut(QKeySequence::Print, this), &QShortcut::activated, print_, &QPushButton::click);
    connect(hide, &QPushButton::clicked, this, &ReportPane::Clear);
    connect(versionBox_, &QComboBox::currentIndexChanged, this, &ReportPane::ShowVersion);
    QWidget::hide();
}

void ReportPane::Show(const SeriesRow& series, const QStringList& files) {
    Show(series, files, {}, std::nullopt);
}

void ReportPane::ShowOther(const SeriesRow& series, const QStringList& files, const QString& notice,
                           const PatientIdentity& patient) {
    Show(series, files, notice, patient);
}

void ReportPane::Show(const SeriesRow& series, const QStringList& files, const QString& notice,
                      const std::optional<PatientIdentity>& patient) {
    otherStudy_ = notice;
    patient_ = patient;
    series_ = series;
    files_ = files;
    versions_ = VersionsOf(files);
    List({});
    show();
}

void ReportPane::Update(const QStringList& files) {
    if (files == files_)
        return; // a file never changes
    const int shown = versionBox_->currentIndex();
    const QString chosen = shown > 0 ? versions_[static_cast<std::size_t>(shown)].path : QString();
    files_ = files;
    versions_ = VersionsOf(files);
    List(chosen);
}

void ReportPane::List(const QString& chosen) {
    const auto readable = std::ranges::count_if(versions_, [](const ReportVersion& each) { return each.number > 0; });
    int shown = 0;
    const QSignalBlocker quiet(versionBox_);
    versionBox_->clear();
    for (std::size_t index = 0; index < versions_.size(); ++index) {
        const auto& [path, written, number] = versions_[index];
        versionBox_->addItem(number > 0
                                 ? tr("%3  (%1 of %2)").arg(QString::number(number), QString::number(readable), written)
                                 : tr("%1  (cannot be read)").arg(written));
        if (path == chosen)
            shown = static_cast<int>(index);
    }
    Notice();
    versionBox_->setCurrentIndex(versions_.empty() ? -1 : shown);
    ShowVersion(versionBox_->currentIndex());
}

void ReportPane::Notice() {
    QStringList lines = {otherStudy_};
    const auto unreadable = std::ranges::count(versions_, 0, &ReportVersion::number);
    if (unreadable == 1 && versions_.size() > 1)
        lines += tr("There may be a newer version: 1 file of this report cannot be read.");
    else if (unreadable > 1)
        lines += tr("There may be a newer version: %1 files of this report cannot be read.").arg(unreadable);
    lines.removeAll(QString());
    notice_->setText(lines.join('\n'));
    notice_->setHidden(lines.isEmpty());
}

void ReportPane::ShowVersion(int index) {
    print_->setEnabled(false);
    if (index < 0) {
        text_->setPlainText(tr("The catalogue names no file of this report."));
        return;
    }
    const QString& path = versions_[static_cast<std::size_t>(index)].path;
    const auto named = patient_ ? PatientIn(path) : std::nullopt;
    if (named && !SamePatient(*named, *patient_)) {
        text_->setPlainText(tr("This version names another patient and is not shown."));
        return;
    }
    print_->setEnabled(!patient_ || named);
    try {
        const QString html = ReportAsHtml(path);
        if (patient_ && !named)
            text_->setPlainText(tr("This version does not tell whose it is and is not shown."));
        else
            text_->setHtml(html);
    } catch (const Error& error) {
        text_->setPlainText(QString::fromStdString(error.description));
    }
}

void ReportPane::Print() {
    const int shown = versionBox_->currentIndex();
    if (shown < 0)
        return;
    try {
        std::vector<std::string> files;
        for (const ReportVersion& version : versions_)
            files.push_back(version.path.toStdString());
        DcmtkLibrary library;
        const ReportVersions versions(library, files);
        const int number = versions.NumberOf(files[static_cast<std::size_t>(shown)]);
        const PrintPages pages(versions.Page(number), SystemClock().Now());
        PrintPreview(pages, window()).exec();
    } catch (const Error& error) {
        QMessageBox::warning(this, tr("Printing report"), QString::fromStdString(error.description));
    }
}

void ReportPane::Clear() {
    hide();
    series_ = {};
    files_.clear();
    versions_.clear();
    versionBox_->clear();
    text_->clear();
}

} // namespace tavrel
