#include "suite/lumaret/MainWindow.h"

#include "platform/qt/Scrolled.h"
#include "suite/lumaret/Orientation.h"
#include "suite/lumaret/ScreenText.h"

#include <QAction>
#include <QEvent>
#include <QFileInfo>
#include <QLabel>
#include <QLineEdit>
#include <QListWidget>
#include <QMessageBox>
#include <QPushButton>
#include <QSplitter>
#include <QStatusBar>
#include <QStyledItemDelegate>
#include <QToolBar>
#include <QVBoxLayout>

#include <algorithm>
#include <utility>

namespace tavrel {

// Other programs' words are shown too, and no line of the window takes more.
constexpr qsizetype LongestWords = 2000;

constexpr int LeastForThreeColumns = 900;

namespace {

/// How an image of the report is shown, where that tells it from another view of the same file.
QString ViewInWords(const ViewParameters& view) {
    QStringList words = {TurnInWords(view)};
    if (view.inverted)
        words += MainWindow::tr("Inverted");
    if (view.frame > 0)
        words += MainWindow::tr("Frame %1").arg(view.frame + 1);
    words.removeAll(QString());
    return words.join(". ");
}

/// An image of the report on a line that is as wide as the list: its number, the view, the file.
class ReportImageLine : public QStyledItemDelegate {
public:
    static constexpr int Drawn = Qt::UserRole;

    using QStyledItemDelegate::QStyledItemDelegate;
    QSize sizeHint(const QStyleOptionViewItem& option, const QModelIndex& index) const override {
        return {0, QStyledItemDelegate::sizeHint(option, index).height()};
    }

protected:
    void initStyleOption(QStyleOptionViewItem* option, const QModelIndex& index) const override {
        QStyledItemDelegate::initStyleOption(option, index);
        option->text = index.data(Drawn).toString();
    }
};

} // namespace

MainWindow::MainWindow(CatalogueQuestions& catalogue, TavrelClient& tavrel, ViewerService& service)
    : catalogue_(catalogue), tavrel_(tavrel), service_(service), studies_(new StudyPanel(catalogue)),
      image_(new ImageView), pane_(new ReportPane), splitter_(new QSplitter), imageAndReport_(new QSplitter),
      reportImageList_(new QListWidget), words_(new QLineEdit) {
    BuildSelection();
    BuildActions();
    // A box that only reads: screen readers find it, and its words can be copied.
    words_->setAccessibleName(tr("Message"));
    words_->setReadOnly(true);
    words_->setFrame(false);
    words_->setFocusPolicy(Qt::ClickFocus);
    QPalette plain;
    plain.setColor(QPalette::Base, Qt::transparent);
    words_->setPalette(plain);
    statusBar()->addWidget(words_, 1);
    ConnectStudies();
    ConnectReport();
    connect(image_, &ImageView::Turned, this, &MainWindow::Turn);
    connect(image_, &ImageView::Changed, this, &MainWindow::UpdateActions);
    ShowWhoseReport();
    UpdateActions();
}

void MainWindow::Start() {
    connect(studies_, &StudyPanel::Listed, this, &MainWindow::AskForVersion, Qt::SingleShotConnection);
    studies_->Search();
}

void MainWindow::AskForVersion() {
    const auto ask = [](StudyCatalogue& catalogue) { return catalogue.Version(); };
    catalogue_.Ask("version", ask, [this](const std::optional<CatalogueVersion>& version) {
        if (!version || !version->IsNewer())
            return;
        const QString words = tr("The programs of this workstation are older than the catalogue: what is new there may "
                                 "not be shown. Please have them updated.");
        Say(version->LetsWrite() ? words : words + tr(" Reports that are saved here are kept until then."));
    });
}

void MainWindow::BuildSelection() {
    auto* panel = new QWidget;
    auto* column = new QVBoxLayout(panel);
    column->setContentsMargins(4, 6, 0, 6); // the lists need what there is
    reportImageList_->setAccessibleName(tr("Report images"));
    reportImageList_->setMaximumHeight(90);
    reportImageList_->setSpacing(1);
    reportImageList_->setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    reportImageList_->setTextElideMode(Qt::ElideMiddle);
    reportImageList_->setItemDelegate(new ReportImageLine(reportImageList_));
    column->addWidget(studies_, 1);
    column->addWidget(Framed(tr("I&mages of the open report"), reportImageList_));

    auto* scrolled = new Scrolled(splitter_); // in a low window
    scrolled->setWidget(panel);
    splitter_->addWidget(scrolled);
    splitter_->addWidget(imageAndReport_);
    splitter_->setStretchFactor(1, 1);
    imageAndReport_->addWidget(image_);
    imageAndReport_->addWidget(pane_);
    imageAndReport_->setStretchFactor(0, 1);
    imageAndReport_->setMinimumWidth(image_->minimumWidth()); // it turns before both need more
    for (QSplitter* splitter : {splitter_, imageAndReport_})
        splitter->setChildrenCollapsible(false);
    setCentralWidget(splitter_);
    setObjectName("viewer"); // by which its place is kept
}

QAction* MainWindow::AddAction(QToolBar& bar, const QString& caption, const QString& help, const QKeySequence& key,
                               const std::function<void()>& run) {
    QAction* action = bar.addAction(caption);
    bar.widgetForAction(action)->setAccessibleName(caption); // whatever short word it bears
    action->setShortcut(key);
    action->setToolTip(key.isEmpty() ? help : help + " (" + key.toString(QKeySequence::NativeText) + ")");
    connect(action, &QAction::triggered, this, run);
    return action;
}

/// Its key, a letter alone, acts while the image has the focus.
void MainWindow::AddImageAction(const QString& caption, const QString& help, const QKeySequence& key,
                                const std::function<void()>& run) {
    QAction* action = AddAction(*imageTools_, caption, help, key, run);
    action->setShortcutContext(Qt::WidgetShortcut);
    image_->addAction(action);
    imageActions_ += action;
}

void MainWindow::BuildActions() {
    reportTools_ = addToolBar(tr("Report tools"));
    imageTools_ = addToolBar(tr("Image tools"));
    for (QToolBar* bar : {reportTools_, imageTools_}) {
        bar->setMovable(false);
        bar->setContextMenuPolicy(Qt::PreventContextMenu);
    }
    report_ = AddAction(*reportTools_, tr("Report"), tr("Open the report of the series on screen"),
                        Qt::CTRL | Qt::Key_R, [this] { OpenReport(); });
    add_ = AddAction(*reportTools_, tr("Add to report"), tr("Add the image as it is on screen to the open report"),
                     Qt::CTRL | Qt::Key_I, [this] { AddToReport(); });
    clear_ = AddAction(*reportTools_, tr("Clear report images"), tr("Empty the open report's list of images"), {},
                       [this] { tavrel_.RemoveImages(); });
    lists_ = AddAction(*reportTools_, tr("Lists"), tr("Show the lists beside the image"), Qt::Key_F9,
                       [this] { splitter_->widget(0)->setVisible(lists_->isChecked()); });
    lists_->setCheckable(true);
    lists_->setChecked(true);
    reportTools_->addSeparator();
    AddImageAction(tr("Flip horizontally"), tr("Left becomes right"), Qt::Key_H, [this] { image_->FlipHorizontal(); });
    imageActions_.last()->setData(tr("Flip H"));
    AddImageAction(tr("Flip vertically"), tr("Up becomes down"), Qt::Key_V, [this] { image_->FlipVertical(); });
    imageActions_.last()->setData(tr("Flip V"));
    AddImageAction(tr("Rotate left"), tr("A quarter turn to the left"), Qt::Key_L, [this] { image_->Rotate(-90); });
    AddImageAction(tr("Rotate right"), tr("A quarter turn to the right"), Qt::Key_R, [this] { image_->Rotate(90); });
    AddImageAction(tr("Invert"), tr("Black becomes white"), Qt::Key_I, [this] { image_->Invert(); });
    AddImageAction(tr("Smooth"), tr("Smooth the zoomed image"), Qt::Key_S,
                   [this] { image_->Smooth(smooth_->isChecked()); });
    smooth_ = imageActions_.last();
    smooth_->setCheckable(true);
    imageTools_->addSeparator();
    AddImageAction(tr("1:1"), tr("A pixel of the image is one of the screen"), Qt::Key_1,
                   [this] { image_->ActualSize(); });
    AddImageAction(tr("Fit"), tr("Show the whole image"), Qt::Key_F, [this] { image_->Fit(); });
    AddImageAction(tr("Reset"), tr("Show the image as it was at first"), Qt::Key_0, [this] { image_->Reset(); });
}

void MainWindow::ConnectStudies() {
    connect(studies_, &StudyPanel::Said, this, &MainWindow::Say);
    connect(studies_, &StudyPanel::NothingListed, this, &MainWindow::NothingListed);
    connect(studies_, &StudyPanel::StudyChosen, this, [this](const StudyRow& study) {
        study_ = study;
        known_.emplace(study.studyUid, study); // unless its own files have been asked
        ShowImages({}, {}, true);
        pane_->Clear();
        tavrel_.StartAhead();
    });
    connect(studies_, &StudyPanel::ImagesChosen, this, &MainWindow::ShowImages);
    connect(studies_, &StudyPanel::DocumentChosen, this, &MainWindow::ShowDocument);
    connect(studies_, &StudyPanel::OtherReportChosen, this, &MainWindow::ShowOtherReport);
    connect(studies_, &StudyPanel::ReportActivated, this, [this](const QString& seriesUid) {
        pane_->Clear(); // the editor shows it
        tavrel_.LoadSRSeries(seriesUid, study_.studyUid);
    });
    connect(studies_, &StudyPanel::ImagesActivated, image_, qOverload<>(&QWidget::setFocus));
}

void MainWindow::ConnectReport() {
    connect(&tavrel_, &TavrelClient::Said, this, &MainWindow::Say);
    connect(&tavrel_, &TavrelClient::StateChanged, this, &MainWindow::FollowReport);
    connect(&tavrel_, &TavrelClient::CloseFirst, this, &MainWindow::AskToClose);
    connect(&tavrel_, &TavrelClient::Added, this, &MainWindow::ListReportImage);
    connect(&tavrel_, &TavrelClient::Removed, this, &MainWindow::ClearReportImages);
    connect(&tavrel_, &TavrelClient::Closed, this, [this] {
        ClearReportImages();
        Refresh();
    });
    connect(&service_, &ViewerService::Refused, this, &MainWindow::Say);
    connect(&service_, &ViewerService::Activated, this, &MainWindow::ShowItself);
    connect(&service_, &ViewerService::ListCleared, this, &MainWindow::ClearReportImages);
    connect(&service_, &ViewerService::ImageHanded, this, [this](const ReportImage& image) {
        studies_->LeaveImage();
        ListReportImage(image);
        reportImageList_->setCurrentRow(reportImageList_->count() - 1);
    });
    connect(reportImageList_, &QListWidget::currentRowChanged, this, &MainWindow::ShowReportImage);
}

void MainWindow::ShowImages(const SeriesRow& series, const QStringList& files, bool shown) {
    series_ = series;
    files_ = files;
    if (files_.isEmpty()) {
        reportImageList_->setCurrentRow(-1);
        image_->Clear();
    } else if (shown) {
        ShowSlice(0, 0, false);
    } else {
        file_ = frame_ = 0;
        UpdateActions();
    }
}

void MainWindow::ShowDocument(const SeriesRow& document, const QStringList& files) {
    const bool hidden = pane_->isHidden();
    pane_->Show(document, files);
    MakeRoomForReport(hidden);
}

void MainWindow::ShowOtherReport(const OtherReports::Report& other, const QStringList& files) {
    const StudyRow& study = other.report.study;
    QString notice = tr("Of another study: %1").arg((DateOnScreen(study.date) + "  " + study.description).trimmed());
    if (!other.otherName.isEmpty())
        notice += '\n' + tr("It names %1, with the same ID.").arg(NameOnScreen(other.otherName));
    const bool hidden = pane_->isHidden();
    pane_->ShowOther(other.report.series, files, notice, other.patient);
    MakeRoomForReport(hidden);
}

void MainWindow::MakeRoomForReport(bool hidden) {
    if (hidden) {
        const QSize size = imageAndReport_->size();
        const int all = imageAndReport_->orientation() == Qt::Horizontal ? size.width() : size.height();
        imageAndReport_->setSizes({all - all * 2 / 5, all * 2 / 5});
    }
    UpdateActions();
}

void MainWindow::Refresh() {
    studies_->Refresh();
    if (pane_->Series().seriesUid.isEmpty())
        return;
    // It stays as it is when that fails: the series' list has said what is wrong.
    catalogue_.Ask(
        "versions", [series = pane_->Series()](StudyCatalogue& catalogue) { return catalogue.FilesOf(series); },
        [this, uid = pane_->Series().seriesUid](const QStringList& files) {
            if (uid == pane_->Series().seriesUid)
                pane_->Update(files);
        });
}

void MainWindow::ShowSlice(int file, int frame, bool keepView) {
    reportImageList_->setCurrentRow(-1);
    sliceShown_ = true;
    file_ = file;
    frame_ = frame;
    image_->Open(files_[file_], frame_, keepView);
    QStringList lines = {tr("Image %1 of %2").arg(file_ + 1).arg(files_.size())};
    if (image_->FrameCount() > 1)
        lines += tr("Frame %1 of %2").arg(frame_ + 1).arg(image_->FrameCount());
    image_->Caption(lines);
}

void MainWindow::Turn(int steps) {
    if (files_.isEmpty())
        return;
    if (!sliceShown_) { // back from the report's images
        ShowSlice(file_, frame_, false);
        return;
    }
    const int frames = std::max(1, image_->FrameCount()), last = static_cast<int>(files_.size()) - 1;
    const int frame = std::clamp(frame_ + steps, 0, frames - 1);
    const bool stays = frame != frame_ && (last == 0 || frame == frame_ + steps);
    const int file = frames > 1 ? file_ + std::clamp(steps, -1, 1) : file_ + steps;
    if (stays) {
        ShowSlice(file_, frame, true);
    } else if (const int next = std::clamp(file, 0, last); next != file_) {
        ShowSlice(next, 0, true);
        if (steps < 0 && image_->FrameCount() > 1)
            ShowSlice(next, image_->FrameCount() - 1, true);
    }
}

void MainWindow::OpenReport() {
    if (!files_.isEmpty()) {
        // The report will be of the study that the images themselves name.
        const QString study = StudyUidOf(files_.first());
        tavrel_.LoadForImgSeries(files_, study.isEmpty() ? study_.studyUid : study);
    } else if (const SeriesRow* report = studies_->SelectedReport()) {
        tavrel_.LoadSRSeries(report->seriesUid, study_.studyUid);
    }
}

QString MainWindow::Question() const {
    return tr("The open report is of %1. What is typed in it and not saved stays as a draft; images added since its "
              "last save do not.\n\nClose it and open the report of %2?")
        .arg(Described(asked_), Described(wanted_));
}

void MainWindow::AskToClose(const QString& openStudy, const QString& wantedStudy) {
    asked_ = openStudy;
    wanted_ = wantedStudy;
    LearnOf(asked_);
    LearnOf(wanted_);
    question_ =
        new QMessageBox(QMessageBox::Warning, tr("Another report is open"), Question(), QMessageBox::Cancel, this);
    question_->setTextFormat(Qt::PlainText);
    question_->setAttribute(Qt::WA_DeleteOnClose);
    const QAbstractButton* agree = question_->addButton(tr("Close and open"), QMessageBox::AcceptRole);
    question_->setDefaultButton(QMessageBox::Cancel);
    question_->setEscapeButton(QMessageBox::Cancel);
    connect(question_, &QMessageBox::finished, this, [this, box = question_.data(), agree] {
        question_.clear();
        box->clickedButton() == agree ? tavrel_.CloseAndOpen() : tavrel_.LeaveOpen();
    });
    question_->setWindowFlag(Qt::WindowStaysOnTopHint); // as the report itself does
    question_->open();
    question_->raise();
    question_->activateWindow();
}

void MainWindow::FollowReport() {
    if (question_ && !tavrel_.Asking()) // the report has been closed by itself
        question_->close();
    if (tavrel_.OpenStudy() != reportStudy_) {
        if (tavrel_.Open() && !reportStudy_.isEmpty())
            KeepReportImagesOf(tavrel_.OpenStudy());
        reportStudy_ = tavrel_.OpenStudy();
        ShowWhoseReport();
        LearnOf(reportStudy_);
    }
    UpdateActions();
}

void MainWindow::ShowWhoseReport() {
    if (reportStudy_.isEmpty()) {
        setWindowTitle("Lumaret");
        return;
    }
    const auto study = known_.find(reportStudy_);
    setWindowTitle(tr("Lumaret - Report of %1")
                       .arg(study == known_.end()
                                ? Described(reportStudy_)
                                : PatientOnScreen(study->second.patientName, study->second.patientId)));
}

void MainWindow::LearnOf(const QString& studyUid) {
    if (studyUid.isEmpty())
        return;
    catalogue_.Ask(
        "the study " + studyUid,
        [studyUid](StudyCatalogue& catalogue) { return StudyAsItsFilesSay(catalogue, studyUid); },
        [this](const std::optional<StudyRow>& study) {
            if (!study)
                return;
            known_[study->studyUid] = *study;
            ShowWhoseReport();
            if (question_)
                question_->setText(Question());
        });
}

QString MainWindow::Described(const QString& studyUid) const {
    const auto found = known_.find(studyUid);
    if (found == known_.end())
        return tr("the study %1").arg(studyUid);
    const StudyRow& study = found->second;
    return tr("%1, study of %2")
        .arg(PatientOnScreen(study.patientName, study.patientId),
             study.date.isEmpty() ? tr("an unknown date") : DateOnScreen(study.date));
}

void MainWindow::AddToReport() {
    if (tavrel_.Open() && image_->StudyUid() != tavrel_.OpenStudy()) {
        Say(tr("Not added: the image is of %1, the open report of %2.")
                .arg(image_->Patient(), Described(tavrel_.OpenStudy())));
        return;
    }
    const ReportImage* shown = ShownReportImage();
    tavrel_.AddImage(
        {image_->Path(), std::make_shared<ViewParameters>(image_->View()), shown ? shown->lutName : QString()});
}

void MainWindow::ListReportImage(const ReportImage& image) {
    reportImages_.push_back(image);
    const QString number = QString::number(reportImageList_->count() + 1);
    const QString file = QFileInfo(image.filename).fileName(), view = image.view ? ViewInWords(*image.view) : QString();
    auto* line = new QListWidgetItem(tr("%1   %2").arg(number, file), reportImageList_);
    line->setData(ReportImageLine::Drawn, view.isEmpty() ? line->text() : QStringList{number, view, file}.join("   "));
    line->setData(Qt::AccessibleDescriptionRole, view);
    line->setToolTip(Qt::convertFromPlainText(QStringList{file, view}.join('\n').trimmed()));
}

void MainWindow::ShowReportImage(int index) {
    if (index < 0 || index >= static_cast<int>(reportImages_.size()))
        return;
    const ReportImage& image = reportImages_[static_cast<std::size_t>(index)];
    sliceShown_ = false;
    if (image.view)
        image_->Open(image.filename, *image.view);
    else
        image_->Open(image.filename, 0, false);
    image_->Caption({tr("Image %1 of the report").arg(index + 1)});
}

const ReportImage* MainWindow::ShownReportImage() const {
    const int row = reportImageList_->currentRow();
    return row < 0 ? nullptr : &reportImages_[static_cast<std::size_t>(row)];
}

void MainWindow::ClearReportImages() {
    reportImages_.clear();
    reportImageList_->clear();
    if (!sliceShown_)
        image_->Caption({}); // of no report any more
}

void MainWindow::KeepReportImagesOf(const QString& studyUid) {
    auto images = std::exchange(reportImages_, {});
    std::erase_if(images, [&](const ReportImage& image) { return StudyUidOf(image.filename) != studyUid; });
    ClearReportImages();
    for (const ReportImage& image : images)
        ListReportImage(image);
}

void MainWindow::UpdateActions() {
    report_->setEnabled(!tavrel_.Opening() && (!files_.isEmpty() || studies_->SelectedReport()));
    add_->setEnabled(tavrel_.Open() && !tavrel_.Opening() && image_->HasImage());
    clear_->setEnabled(tavrel_.Open() && !tavrel_.Opening());
    for (QAction* action : imageActions_)
        action->setEnabled(image_->HasImage());
    smooth_->setChecked(image_->View().smoothed);
}

void MainWindow::Say(const QString& words) {
    const QString shown = words.size() > LongestWords ? words.left(LongestWords) + "..." : words;
    words_->setText(shown);
    words_->setCursorPosition(0);
    words_->setToolTip(shown);
}

void MainWindow::ShowItself() {
    setWindowState(windowState() & ~Qt::WindowMinimized);
    show();
    raise();
    activateWindow();
}

void MainWindow::ReportStored(const QDBusMessage& event) {
    Refresh();
    constexpr qsizetype path = 5;
    // What was kept as a file is stored some time, while another report may be open.
    if (tavrel_.Open() && StudyUidOf(event.arguments().value(path).toString()) == tavrel_.OpenStudy())
        Say(tr("The report was saved."));
}

void MainWindow::resizeEvent(QResizeEvent* event) {
    // Beside a report there may be little room: the tools stand in two lines then, and bear shorter words.
    if (imageToolsWidth_ == 0)
        imageToolsWidth_ = imageTools_->sizeHint().width();
    const bool narrow = reportTools_->sizeHint().width() + imageToolsWidth_ > width();
    if (narrow && !toolBarBreak(imageTools_))
        insertToolBarBreak(imageTools_);
    else if (!narrow && toolBarBreak(imageTools_))
        removeToolBarBreak(imageTools_);
    for (QAction* action : imageActions_)
        action->setIconText(imageToolsWidth_ > width() ? action->data().toString() : QString());
    if (std::exchange(narrow_, width() < LeastForThreeColumns) != narrow_)
        Arrange();
    QMainWindow::resizeEvent(event);
}

void MainWindow::Arrange() {
    imageAndReport_->setOrientation(*narrow_ ? Qt::Vertical : Qt::Horizontal);
    const int panel = *narrow_ ? width() / 2 : std::clamp(width() / 3, 330, 560);
    splitter_->setSizes({panel, width() - panel});
}

void MainWindow::changeEvent(QEvent* event) {
    // Whoever comes back from the report sees the series as they are now.
    if (event->type() == QEvent::ActivationChange && isActiveWindow())
        Refresh();
    QMainWindow::changeEvent(event);
}

} // namespace tavrel
