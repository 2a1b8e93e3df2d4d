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
#include <QShortcut>
#include <QTextBrowser>
#include <QVBoxLayout>

#include <utility>

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
    line->addWidget(print_);
    line->addWidget(hide);
    auto* column = new QVBoxLayout(this);
    notice_->setWordWrap(true);
    notice_->setTextFormat(Qt::PlainText);
    notice_->setAccessibleName(tr("Other study"));
    QFont bold = notice_->font();
    bold.setBold(true);
    notice_->setFont(bold);
    column->addWidget(notice_);
    column->addLayout(line);
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
    Show(series, files, {}, {});
}

void ReportPane::ShowOther(const SeriesRow& series, const QStringList& files, const QString& notice,
                           const QString& patientId) {
    Show(series, files, notice, patientId);
}

void ReportPane::Show(const SeriesRow& series, const QStringList& files, const QString& notice,
                      const QString& patientId) {
    notice_->setText(notice);
    notice_->setHidden(notice.isEmpty());
    patientId_ = patientId;
    series_ = series;
    versions_ = VersionsOf(files);
    List({});
    show();
}

void ReportPane::Update(const QStringList& files) {
    auto now = VersionsOf(files);
    if (now == versions_)
        return;
    const int shown = versionBox_->currentIndex();
    const QString chosen = shown > 0 ? versions_[static_cast<std::size_t>(shown)].path : QString();
    versions_ = std::move(now);
    List(chosen);
}

void ReportPane::List(const QString& chosen) {
    int shown = 0;
    const QSignalBlocker quiet(versionBox_);
    versionBox_->clear();
    for (std::size_t index = 0; index < versions_.size(); ++index) {
        versionBox_->addItem(tr("%3  (%1 of %2)")
                                 .arg(QString::number(versions_.size() - index), QString::number(versions_.size()),
                                      versions_[index].written));
        if (versions_[index].path == chosen)
            shown = static_cast<int>(index);
    }
    versionBox_->setCurrentIndex(versions_.empty() ? -1 : shown);
    ShowVersion(versionBox_->currentIndex());
}

void ReportPane::ShowVersion(int index) {
    print_->setEnabled(false);
    if (index < 0) {
        text_->setPlainText(tr("The catalogue names no file of this report."));
        return;
    }
    const QString& path = versions_[static_cast<std::size_t>(index)].path;
    if (!patientId_.isEmpty()) {
        const auto patient = PatientIn(path);
        if (patient && patient->id != patientId_) {
            text_->setPlainText(tr("This version names another patient and is not shown."));
            return;
        }
    }
    print_->setEnabled(true);
    try {
        text_->setHtml(ReportAsHtml(path));
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
    versions_.clear();
    versionBox_->clear();
    text_->clear();
}

} // namespace tavrel
