#include "suite/lumaret/StudyPanel.h"

#include "platform/error.h"
#include "suite/lumaret/ScreenText.h"

#include <QFormLayout>
#include <QGroupBox>
#include <QHeaderView>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QTableWidget>
#include <QVBoxLayout>

#include <algorithm>

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
    table->setWordWrap(false);
    table->verticalHeader()->hide();
    table->horizontalHeader()->setHighlightSections(false);
    table->verticalHeader()->setDefaultSectionSize(table->fontMetrics().height() + 8);
    table->horizontalHeader()->setDefaultAlignment(Qt::AlignLeft | Qt::AlignVCenter);
    // The last column takes what the others leave; a long name leaves it something.
    table->horizontalHeader()->setSectionResizeMode(QHeaderView::ResizeToContents);
    table->horizontalHeader()->setSectionResizeMode(static_cast<int>(columns.size()) - 1, QHeaderView::Stretch);
    table->horizontalHeader()->setMaximumSectionSize(table->fontMetrics().averageCharWidth() * 26);
    return table;
}

QLineEdit* SearchBox(const QString& hint) {
    auto* box = new QLineEdit;
    box->setPlaceholderText(hint);
    box->setToolTip(hint);
    box->setClearButtonEnabled(true);
    return box;
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

QString KindOnScreen(const SeriesRow& series) {
    if (series.IsReport())
        return StudyPanel::tr("Report");
    if (series.IsPresentation())
        return StudyPanel::tr("Image views");
    return series.modality == "SR-OTHER" ? StudyPanel::tr("Other report") : series.modality;
}

/// The row of a table in the list that it shows, or none.
template <typename Row> const Row* SelectedOf(const std::vector<Row>& rows, const QTableWidget& table) {
    const auto selected = table.selectionModel()->selectedRows();
    if (selected.isEmpty() || selected.first().row() >= static_cast<int>(rows.size()))
        return nullptr;
    return &rows[static_cast<std::size_t>(selected.first().row())];
}

} // namespace

QWidget* Framed(const QString& title, QWidget* content) {
    auto* frame = new QGroupBox(title);
    auto* inside = new QVBoxLayout(frame);
    inside->addWidget(content);
    return frame;
}

StudyPanel::StudyPanel(StudyCatalogue& catalogue)
    : catalogue_(catalogue), name_(SearchBox(tr("parts of the name"))), id_(SearchBox(tr("part of the identifier"))),
      date_(SearchBox(tr("dd/mm/yyyy, mm/yyyy or yyyy"))),
      studyTable_(Table({tr("Patient"), tr("ID"), tr("Date"), tr("Study")}, tr("Studies"))),
      seriesTable_(Table({tr("No."), tr("Kind"), tr("Files"), tr("Status"), tr("Description")}, tr("Series"))) {
    auto* form = new QFormLayout;
    form->addRow(tr("Patient &name"), name_);
    form->addRow(tr("Patient &ID"), id_);
    auto* search = new QPushButton(tr("&Search"));
    auto* dateAndSearch = new QHBoxLayout;
    dateAndSearch->addWidget(date_, 1);
    dateAndSearch->addWidget(search);
    auto* dateLabel = new QLabel(tr("Study &date"));
    dateLabel->setBuddy(date_);
    form->addRow(dateLabel, dateAndSearch);

    auto* column = new QVBoxLayout(this);
    column->setContentsMargins(0, 0, 0, 0);
    auto* frame = new QGroupBox;
    frame->setProperty("untitled", true); // for the look
    frame->setLayout(form);
    column->addWidget(frame);
    column->addWidget(Framed(tr("S&tudies"), studyTable_), 3);
    column->addWidget(Framed(tr("S&eries and reports"), seriesTable_), 2);

    for (const QLineEdit* box : {name_, id_, date_})
        connect(box, &QLineEdit::returnPressed, this, &StudyPanel::Search);
    connect(search, &QPushButton::clicked, this, &StudyPanel::Search);
    connect(studyTable_, &QTableWidget::itemSelectionChanged, this, &StudyPanel::ChooseStudy);
    connect(seriesTable_, &QTableWidget::itemSelectionChanged, this, &StudyPanel::ChooseSeries);
    connect(seriesTable_, &QTableWidget::itemActivated, this, &StudyPanel::ActivateSeries);
}

template <typename Run> void StudyPanel::Ask(Run&& run) {
    try {
        run();
    } catch (const Error& error) {
        emit Said(tr("The catalogue cannot be read: %1").arg(QString::fromStdString(error.description)));
    }
}

void StudyPanel::Search() {
    Ask([this] {
        studies_ = catalogue_.Find(name_->text(), id_->text(), date_->text());
        series_.clear();
        seriesTable_->setRowCount(0);
        studyTable_->setRowCount(0);
        for (const StudyRow& study : studies_)
            AddRow(*studyTable_,
                   {NameOnScreen(study.patientName), study.patientId, DateOnScreen(study.date), study.description});
        SayCount();
        if (studies_.size() == 1)
            studyTable_->selectRow(0);
    });
}

void StudyPanel::SayCount() {
    const int count = static_cast<int>(studies_.size());
    if (count == 0)
        emit Said(tr("No study was found."));
    else if (count == 1)
        emit Said(tr("One study."));
    else if (count < StudyCatalogue::Limit)
        emit Said(tr("%1 studies.").arg(count));
    else
        emit Said(tr("The newest %1 studies are listed. Search for a name to narrow them.").arg(count));
}

void StudyPanel::ChooseStudy() {
    const StudyRow* selected = SelectedOf(studies_, *studyTable_);
    if (!selected)
        return;
    const StudyRow study = *selected; // the lists may change while the catalogue is waited for
    series_.clear();
    emit StudyChosen(study);
    Ask([&] { series_ = catalogue_.SeriesOf(study.studyUid); });
    FillSeries();
    const auto images = std::ranges::find_if(
        series_, [](const SeriesRow& series) { return !series.IsDocument() && !series.IsPresentation(); });
    if (images != series_.end())
        seriesTable_->selectRow(static_cast<int>(images - series_.begin()));
}

void StudyPanel::FillSeries() {
    const QSignalBlocker quiet(seriesTable_);
    seriesTable_->setRowCount(0);
    for (const SeriesRow& series : series_)
        AddRow(*seriesTable_, {QString::number(series.number), KindOnScreen(series), QString::number(series.images),
                               series.status, series.description});
}

void StudyPanel::Refresh() {
    const StudyRow* study = SelectedOf(studies_, *studyTable_);
    if (!study)
        return;
    Ask([&] {
        auto now = catalogue_.SeriesOf(study->studyUid);
        if (now == series_)
            return;
        const SeriesRow* selected = SelectedSeries();
        const QString chosen = selected ? selected->seriesUid : QString();
        series_ = std::move(now);
        FillSeries();
        const QSignalBlocker quiet(seriesTable_);
        for (std::size_t row = 0; row < series_.size(); ++row)
            if (series_[row].seriesUid == chosen)
                seriesTable_->selectRow(static_cast<int>(row));
    });
}

const SeriesRow* StudyPanel::SelectedSeries() const {
    return SelectedOf(series_, *seriesTable_);
}

const SeriesRow* StudyPanel::SelectedReport() const {
    const SeriesRow* series = SelectedSeries();
    return series && series->IsReport() ? series : nullptr;
}

void StudyPanel::ChooseSeries() {
    const SeriesRow* selected = SelectedSeries();
    if (!selected)
        return;
    const SeriesRow series = *selected; // the list may change while the catalogue is waited for
    if (series.IsPresentation()) {
        emit Said(tr("This series holds views of the report's images, which stand with the report, and no image."));
        return;
    }
    Ask([&] {
        const QStringList files = catalogue_.FilesOf(series);
        if (series.IsDocument())
            emit DocumentChosen(series, files);
        else
            emit ImagesChosen(series, files);
    });
}

void StudyPanel::ActivateSeries() {
    const SeriesRow* series = SelectedSeries();
    if (!series)
        return;
    if (series->IsReport())
        emit ReportActivated(series->seriesUid);
    else if (series->IsDocument())
        ChooseSeries(); // it may have been hidden
    else if (!series->IsPresentation())
        emit ImagesActivated();
}

} // namespace tavrel
