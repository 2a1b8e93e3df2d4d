#include "suite/lumaret/MainWindow.h"

#include "platform/error.h"

#include <QAction>
#include <QFileInfo>
#include <QFormLayout>
#include <QGuiApplication>
#include <QHeaderView>
#include <QLabel>
#include <QLineEdit>
#include <QListWidget>
#include <QPushButton>
#include <QScreen>
#include <QSplitter>
#include <QStatusBar>
#include <QTableWidget>
#include <QToolBar>
#include <QVBoxLayout>

namespace tavrel {
namespace {

QTableWidget* Table(const QStringList& columns, const QString& accessibleName) {
    auto* table = new QTableWidget(0, static_cast<int>(columns.size()));
    table->setHorizontalHeaderLabels(columns);
    table->setAccessibleName(accessibleName);
    table->setSelectionBehavior(QAbstractItemView::SelectRows);
    table->setSelectionMode(QAbstractItemView::SingleSelection);
    table->setEditTriggers(QAbstractItemView::NoEditTriggers);
    table->setTabKeyNavigation(false);
    table->setShowGrid(false);
    table->setAlternatingRowColors(true);
    table->verticalHeader()->hide();
    table->horizontalHeader()->setHighlightSections(false);
    table->horizontalHeader()->setDefaultAlignment(Qt::AlignLeft | Qt::AlignVCenter);
    table->horizontalHeader()->setStretchLastSection(true);
    return table;
}

void AddRow(QTableWidget& table, const QStringList& cells) {
    const int row = table.rowCount();
    table.insertRow(row);
    for (int column = 0; column < cells.size(); ++column) {
        auto* item = new QTableWidgetItem(cells[column]);
        item->setToolTip(cells[column]);
        table.setItem(row, column, item);
    }
}

/// A DICOM date "yyyymmdd" as people here write it; any other text as it is.
QString DateOnScreen(const QString& date) {
    if (date.size() != 8)
        return date;
    return date.mid(6, 2) + '/' + date.mid(4, 2) + '/' + date.left(4);
}

/// A search text "dd/mm/yyyy", or a part of it, in the order of the catalogue.
QString DateInCatalogue(const QString& text) {
    const QStringList parts = text.trimmed().split('/');
    QString date;
    for (auto part = parts.rbegin(); part != parts.rend(); ++part)
        date += *part;
    return date;
}

QString NameOnScreen(QString name) {
    return name.section('=', 0, 0).replace('^', ' ').simplified();
}

} // namespace

MainWindow::MainWindow(StudyCatalogue& catalogue, TavrelClient& tavrel, ViewerService& service)
    : catalogue_(catalogue), tavrel_(tavrel), service_(service), image_(new ImageView) {
    setWindowTitle("Lumaret");
    auto* splitter = new QSplitter;
    splitter->addWidget(BuildSelection());
    splitter->addWidget(image_);
    splitter->setStretchFactor(0, 0);
    splitter->setStretchFactor(1, 1);
    splitter->setChildrenCollapsible(false);
    setCentralWidget(splitter);
    BuildActions();
    words_ = new QLabel;
    words_->setAccessibleName(tr("Message"));
    statusBar()->addWidget(words_, 1);
    ConnectReport();

    connect(image_, &ImageView::Turned, this, &MainWindow::Turn);
    connect(image_, &ImageView::Changed, this, &MainWindow::UpdateActions);
    const QSize screen = QGuiApplication::primaryScreen()->availableSize();
    resize(screen * 0.9);
    splitter->setSizes({std::max(400, screen.width() / 4), screen.width()});
    UpdateActions();
}

QWidget* MainWindow::BuildSelection() {
    auto* form = new QFormLayout;
    const auto box = [&](const QString& label, const QString& hint) {
        auto* edit = new QLineEdit;
        edit->setPlaceholderText(hint);
        edit->setClearButtonEnabled(true);
        connect(edit, &QLineEdit::returnPressed, this, &MainWindow::Search);
        form->addRow(label, edit);
        return edit;
    };
    name_ = box(tr("Patient &name"), tr("part of the name"));
    id_ = box(tr("Patient &ID"), tr("part of the identifier"));
    date_ = box(tr("Study &date"), tr("dd/mm/yyyy, mm/yyyy or yyyy"));
    auto* search = new QPushButton(tr("&Search"));
    connect(search, &QPushButton::clicked, this, &MainWindow::Search);
    form->addRow(QString(), search);

    studyTable_ = Table({tr("Patient"), tr("ID"), tr("Date"), tr("Study")}, tr("Studies"));
    seriesTable_ = Table({tr("No."), tr("Kind"), tr("Images"), tr("Status"), tr("Description")}, tr("Series"));
    reportImageList_ = new QListWidget;
    reportImageList_->setAccessibleName(tr("Report images"));
    reportImageList_->setMaximumHeight(140);
    connect(studyTable_, &QTableWidget::itemSelectionChanged, this, &MainWindow::ShowSeries);
    connect(seriesTable_, &QTableWidget::itemSelectionChanged, this, &MainWindow::ShowSelectedSeries);
    connect(seriesTable_, &QTableWidget::itemActivated, this, &MainWindow::OpenSelectedSeries);
    connect(reportImageList_, &QListWidget::currentRowChanged, this, &MainWindow::ShowReportImage);

    auto* panel = new QWidget;
    auto* column = new QVBoxLayout(panel);
    const auto titled = [&](const QString& title, QWidget* widget, int stretch) {
        auto* label = new QLabel(title);
        label->setBuddy(widget);
        column->addWidget(label);
        column->addWidget(widget, stretch);
    };
    column->addLayout(form);
    titled(tr("S&tudies"), studyTable_, 3);
    titled(tr("S&eries and reports"), seriesTable_, 2);
    titled(tr("I&mages of the open report"), reportImageList_, 0);
    return panel;
}

void MainWindow::BuildActions() {
    QToolBar* bar = addToolBar(tr("Tools"));
    bar->setMovable(false);
    bar->setToolButtonStyle(Qt::ToolButtonTextOnly);
    const auto add = [&](const QString& text, const QKeySequence& key, auto&& run) {
        QAction* action = bar->addAction(text);
        action->setShortcut(key);
        action->setToolTip(QString(text).remove('&') + "  " + key.toString(QKeySequence::NativeText));
        connect(action, &QAction::triggered, this, run);
        return action;
    };
    report_ = add(tr("&Report"), Qt::CTRL | Qt::Key_R, [this] { OpenReport(); });
    add_ = add(tr("&Add to report"), Qt::CTRL | Qt::Key_Plus, [this] { AddToReport(); });
    clear_ = add(tr("&Clear report images"), QKeySequence(), [this] { ClearReportImages(); });
    bar->addSeparator();
    imageActions_ = {
        add(tr("Flip horizontally"), Qt::Key_H, [this] { image_->FlipHorizontal(); }),
        add(tr("Flip vertically"), Qt::Key_V, [this] { image_->FlipVertical(); }),
        add(tr("Rotate left"), Qt::Key_L, [this] { image_->Rotate(-90); }),
        add(tr("Rotate right"), Qt::Key_O, [this] { image_->Rotate(90); }),
        add(tr("Invert"), Qt::Key_T, [this] { image_->Invert(); }),
        add(tr("Smooth"), Qt::Key_M, [this] { image_->Smooth(!image_->View().smoothed); }),
        add(tr("Fit"), Qt::Key_F, [this] { image_->Fit(); }),
        add(tr("Reset"), Qt::Key_R, [this] { image_->Reset(); }),
    };
}

void MainWindow::ConnectReport() {
    connect(&tavrel_, &TavrelClient::Said, this, &MainWindow::Say);
    connect(&tavrel_, &TavrelClient::StateChanged, this, &MainWindow::UpdateActions);
    connect(&service_, &ViewerService::ImageHanded, this, &MainWindow::AddReportImage);
    connect(&service_, &ViewerService::ListCleared, this, [this] {
        reportImages_.clear();
        reportImageList_->clear();
    });
}

template <typename Run> void MainWindow::Ask(Run&& run) {
    try {
        run();
    } catch (const Error& error) {
        Say(tr("The catalogue cannot be read: %1").arg(QString::fromStdString(error.description)));
    }
}

void MainWindow::Search() {
    Ask([this] {
        studies_ = catalogue_.Find(name_->text(), id_->text(), DateInCatalogue(date_->text()));
        studyTable_->setRowCount(0);
        seriesTable_->setRowCount(0);
        for (const StudyRow& study : studies_)
            AddRow(*studyTable_,
                   {NameOnScreen(study.patientName), study.patientId, DateOnScreen(study.date), study.description});
        studyTable_->resizeColumnsToContents();
        if (studies_.empty())
            Say(tr("No study was found."));
        else if (static_cast<int>(studies_.size()) == StudyCatalogue::Limit)
            Say(tr("The newest %1 studies are listed. Search for a name to narrow them.").arg(StudyCatalogue::Limit));
        else
            Say(tr("%n studies", nullptr, static_cast<int>(studies_.size())));
    });
}

void MainWindow::ShowSeries() {
    const int row = studyTable_->currentRow();
    if (row < 0 || row >= static_cast<int>(studies_.size()))
        return;
    Ask([&] {
        series_ = catalogue_.SeriesOf(studies_[static_cast<std::size_t>(row)].studyUid);
        const QSignalBlocker quiet(seriesTable_);
        seriesTable_->setRowCount(0);
        for (const SeriesRow& series : series_)
            AddRow(*seriesTable_, {QString::number(series.number), series.IsReport() ? tr("Report") : series.modality,
                                   QString::number(series.images), series.status, series.description});
        seriesTable_->resizeColumnsToContents();
    });
    for (int i = 0; i < static_cast<int>(series_.size()); ++i)
        if (!series_[static_cast<std::size_t>(i)].IsReport())
            return seriesTable_->selectRow(i);
}

const SeriesRow* MainWindow::SelectedSeries() const {
    const int row = seriesTable_->currentRow();
    return row < 0 || row >= static_cast<int>(series_.size()) ? nullptr : &series_[static_cast<std::size_t>(row)];
}

void MainWindow::ShowSelectedSeries() {
    const SeriesRow* series = SelectedSeries();
    if (!series || series->IsReport())
        return UpdateActions();
    Ask([&] {
        files_ = catalogue_.FilesOf(*series);
        shownSeries_ = *series;
        if (const int row = studyTable_->currentRow(); row >= 0)
            shownStudy_ = studies_[static_cast<std::size_t>(row)];
        reportImageList_->setCurrentRow(-1);
        file_ = frame_ = 0;
        if (files_.isEmpty())
            image_->Clear();
        else
            image_->Open(files_.first(), 0, false);
        UpdateCaption();
    });
    UpdateActions();
}

void MainWindow::OpenSelectedSeries() {
    const SeriesRow* series = SelectedSeries();
    if (!series)
        return;
    if (series->IsReport())
        tavrel_.LoadSRSeries(series->seriesUid);
    else
        image_->setFocus();
}

void MainWindow::OpenReport() {
    const SeriesRow* selected = SelectedSeries();
    if (selected && selected->IsReport())
        tavrel_.LoadSRSeries(selected->seriesUid);
    else if (!files_.isEmpty())
        tavrel_.LoadForImgSeries(files_);
}

void MainWindow::AddToReport() {
    if (image_->HasImage())
        tavrel_.AddImage(image_->Path(), std::make_shared<ViewParameters>(image_->View()), QString());
}

void MainWindow::ClearReportImages() {
    tavrel_.RemoveImages();
    reportImages_.clear();
    reportImageList_->clear();
}

void MainWindow::AddReportImage(const QString& filename, const ViewParametersHandle& view, const QString& lutName) {
    reportImages_.push_back({filename, view, lutName});
    reportImageList_->addItem(QFileInfo(filename).fileName());
    reportImageList_->setCurrentRow(reportImageList_->count() - 1);
}

void MainWindow::ShowReportImage(int index) {
    if (index < 0 || index >= static_cast<int>(reportImages_.size()))
        return;
    const ReportImage& handed = reportImages_[static_cast<std::size_t>(index)];
    image_->Caption({tr("Image %1 of %2 of the report").arg(index + 1).arg(reportImages_.size())});
    if (handed.view)
        image_->Open(handed.filename, *handed.view);
    else
        image_->Open(handed.filename, 0, false);
}

void MainWindow::Turn(int steps) {
    if (files_.isEmpty())
        return;
    const int direction = steps < 0 ? -1 : 1;
    const bool frames = image_->FrameCount() > 1;
    int file = file_, frame = frame_;
    if (frames && frame + steps >= 0 && frame + steps < image_->FrameCount()) {
        frame += steps;
    } else if (frames && files_.size() == 1) {
        frame = steps < 0 ? 0 : image_->FrameCount() - 1;
    } else {
        file = static_cast<int>(std::clamp<qsizetype>(file + (frames ? direction : steps), 0, files_.size() - 1));
        frame = 0;
    }
    if (file == file_ && frame == frame_ && image_->Path() == files_[file])
        return;
    file_ = file;
    frame_ = frame;
    image_->Open(files_[file_], frame_, true);
    UpdateCaption();
}

void MainWindow::UpdateCaption() {
    QStringList lines = {NameOnScreen(shownStudy_.patientName), shownStudy_.patientId,
                         QStringList{DateOnScreen(shownStudy_.date), shownStudy_.description}.join("  "),
                         QStringList{shownSeries_.modality, shownSeries_.description}.join("  ")};
    if (!files_.isEmpty())
        lines += tr("Image %1 of %2").arg(file_ + 1).arg(files_.size());
    if (image_->FrameCount() > 1)
        lines += tr("Frame %1 of %2").arg(frame_ + 1).arg(image_->FrameCount());
    image_->Caption(lines);
}

void MainWindow::UpdateActions() {
    const SeriesRow* selected = SelectedSeries();
    report_->setEnabled(!tavrel_.Opening() && (!files_.isEmpty() || (selected && selected->IsReport())));
    add_->setEnabled(tavrel_.Open() && !tavrel_.Opening() && image_->HasImage());
    clear_->setEnabled(tavrel_.Open() && !tavrel_.Opening());
    for (QAction* action : imageActions_)
        action->setEnabled(image_->HasImage());
}

void MainWindow::Say(const QString& words) {
    words_->setText(words);
    words_->setToolTip(words);
}

} // namespace tavrel
