#include "suite/lumaret/StudyPanel.h"

#include "platform/qt/WrappingLabel.h"
#include "suite/lumaret/ScreenText.h"

#include <QFormLayout>
#include <QGroupBox>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QVBoxLayout>

#include <algorithm>

namespace tavrel {
namespace {

QLineEdit* SearchBox(const QString& hint) {
    auto* box = new QLineEdit;
    box->setPlaceholderText(hint);
    box->setToolTip(hint);
    box->setClearButtonEnabled(true);
    box->setMinimumWidth(box->fontMetrics().averageCharWidth() * 14);
    return box;
}

QString KindOnScreen(const SeriesRow& series) {
    if (series.IsReport())
        return StudyPanel::tr("Report");
    if (series.IsPresentation())
        return StudyPanel::tr("Image views");
    return series.modality == "SR-OTHER" ? StudyPanel::tr("Other report") : series.modality;
}

// What the catalogue is asked about.
const QString Studies = "studies", Series = "series", SeriesAgain = "series again", Files = "files",
              Others = "other reports";

/// A study's series, and the files of the first that holds images.
struct OpenedStudy {
    std::vector<SeriesRow> series;
    std::optional<std::size_t> images;
    QStringList files;
    QString anyFile; ///< where there are no images, that of a report
};

OpenedStudy Opened(StudyCatalogue& catalogue, const QString& studyUid) {
    OpenedStudy study{catalogue.SeriesOf(studyUid), {}, {}, {}};
    const auto images = std::ranges::find_if(
        study.series, [](const SeriesRow& series) { return !series.IsDocument() && !series.IsPresentation(); });
    if (images != study.series.end()) {
        study.images = static_cast<std::size_t>(images - study.series.begin());
        study.files = catalogue.FilesOf(*images);
    }
    study.anyFile = study.files.value(0);
    for (const SeriesRow& series : study.series)
        if (study.anyFile.isEmpty())
            study.anyFile = catalogue.FilesOf(series).value(0);
    return study;
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
    inside->setContentsMargins(5, 5, 5, 5);
    inside->addWidget(content);
    return frame;
}

StudyPanel::StudyPanel(CatalogueQuestions& catalogue)
    : catalogue_(catalogue), name_(SearchBox(tr("parts of the name"))), id_(SearchBox(tr("part of the identifier"))),
      date_(SearchBox(tr("dd/mm/yyyy, mm/yyyy or yyyy"))),
      studyTable_(new FittedTable({{tr("Patient"), 6}, {tr("ID"), 3}, {tr("Date")}, {tr("Study"), 2}}, tr("Studies"))),
      seriesTable_(new FittedTable(
          {{tr("No.")}, {tr("Kind"), 3}, {tr("Files")}, {tr("Status"), 2}, {tr("Description"), 3}}, tr("Series"))),
      otherTable_(new FittedTable(
          {{tr("Date")}, {tr("Study"), 3}, {tr("Kind"), 2}, {tr("Status"), 2}, {tr("Named"), 3}}, tr("Other reports"))),
      leftOut_(new WrappingLabel), otherFrame_(new QGroupBox(tr("Other re&ports of the patient"))) {
    auto* form = new QFormLayout;
    form->setRowWrapPolicy(QFormLayout::WrapLongRows);
    form->addRow(tr("Patient &name"), name_);
    form->addRow(tr("Patient &ID"), id_);
    auto* search = new QPushButton(tr("&Search"));
    date_->setMinimumWidth(date_->fontMetrics().averageCharWidth() * 20); // a whole date and what clears it
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

    auto* others = new QVBoxLayout(otherFrame_);
    others->setContentsMargins(5, 5, 5, 5);
    others->addWidget(otherTable_);
    others->addWidget(leftOut_);
    column->addWidget(otherFrame_, 1);
    otherFrame_->hide();

    for (const QLineEdit* box : {name_, id_, date_})
        connect(box, &QLineEdit::returnPressed, this, &StudyPanel::Search);
    connect(search, &QPushButton::clicked, this, &StudyPanel::Search);
    connect(studyTable_, &QTableWidget::itemSelectionChanged, this, &StudyPanel::ChooseStudy);
    connect(seriesTable_, &QTableWidget::itemSelectionChanged, this, &StudyPanel::ChooseSeries);
    connect(otherTable_, &QTableWidget::itemSelectionChanged, this, &StudyPanel::ChooseOtherReport);
    connect(otherTable_, &QTableWidget::itemActivated, this, &StudyPanel::ChooseOtherReport);
    connect(seriesTable_, &QTableWidget::itemActivated, this, &StudyPanel::ActivateSeries);
}

void StudyPanel::SayFailure(const QString& words) {
    emit Said(tr("The catalogue cannot be read: %1").arg(words));
    emit NothingListed();
}

void StudyPanel::ForgetStudy() {
    for (const QString& subject : {Series, SeriesAgain, Files, Others})
        catalogue_.Forget(subject);
    ListOtherReports({});
}

void StudyPanel::Search() {
    imageLeft_ = false;
    emit Said(tr("Searching ..."));
    catalogue_.Ask(
        Studies,
        [name = name_->text(), id = id_->text(), date = date_->text()](StudyCatalogue& catalogue) {
            return catalogue.Find(name, id, date);
        },
        [this](const std::vector<StudyRow>& studies) { List(studies); },
        [this](const QString& words) { SayFailure(words); });
}

void StudyPanel::List(const std::vector<StudyRow>& studies) {
    ForgetStudy();
    studies_ = studies;
    series_.clear();
    FillSeries();
    QList<QStringList> rows;
    for (const StudyRow& study : studies_)
        rows += {NameOnScreen(study.patientName), study.patientId, DateOnScreen(study.date), study.description};
    studyTable_->Fill(rows);
    SayCount();
    if (studies_.size() == 1 && !imageLeft_)
        studyTable_->selectRow(0);
    emit Listed();
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
    if (count == 0)
        emit NothingListed();
}

void StudyPanel::ChooseStudy() {
    const StudyRow* selected = SelectedOf(studies_, *studyTable_);
    if (!selected)
        return;
    const StudyRow study = *selected;
    ForgetStudy();
    imageLeft_ = false;
    series_.clear();
    FillSeries();
    emit StudyChosen(study);
    catalogue_.Ask(
        Series, [uid = study.studyUid](StudyCatalogue& catalogue) { return Opened(catalogue, uid); },
        [this, study](const OpenedStudy& opened) {
            series_ = opened.series;
            FillSeries();
            if (opened.images) {
                const QSignalBlocker quiet(seriesTable_);
                seriesTable_->selectRow(static_cast<int>(*opened.images));
                emit ImagesChosen(series_[*opened.images], opened.files, !imageLeft_);
            }
            AskForOtherReports(study, opened.anyFile); // once the first image stands
        },
        [this](const QString& words) { SayFailure(words); });
}

void StudyPanel::FillSeries() {
    const QSignalBlocker quiet(seriesTable_);
    QList<QStringList> rows;
    for (const SeriesRow& series : series_)
        rows += {QString::number(series.number), KindOnScreen(series), QString::number(series.images), series.status,
                 series.description};
    seriesTable_->Fill(rows);
}

void StudyPanel::Refresh() {
    const StudyRow* study = SelectedOf(studies_, *studyTable_);
    if (!study || catalogue_.Waits(Series))
        return;
    if (catalogue_.Waits(Files))
        askForFiles_(); // what was asked may be older than what has changed
    catalogue_.Ask(
        SeriesAgain, [uid = study->studyUid](StudyCatalogue& catalogue) { return catalogue.SeriesOf(uid); },
        [this](const std::vector<SeriesRow>& now) {
            if (now == series_)
                return;
            const SeriesRow* selected = SelectedSeries();
            const QString chosen = selected ? selected->seriesUid : QString();
            series_ = now;
            FillSeries();
            const QSignalBlocker quiet(seriesTable_);
            for (std::size_t row = 0; row < series_.size(); ++row)
                if (series_[row].seriesUid == chosen)
                    seriesTable_->selectRow(static_cast<int>(row));
        },
        [this](const QString& words) { SayFailure(words); });
}

void StudyPanel::AskForOtherReports(const StudyRow& study, const QString& file) {
    catalogue_.Ask(
        Others, [study, file](StudyCatalogue& catalogue) { return FindOtherReports(catalogue, study, file); },
        [this](const OtherReports& found) { ListOtherReports(found); },
        [this](const QString& words) { SayFailure(words); });
}

void StudyPanel::ListOtherReports(const OtherReports& found) {
    const QSignalBlocker quiet(otherTable_);
    others_ = found.reports;
    QList<QStringList> rows;
    bool otherNames = false;
    for (const auto& [report, otherName, patient] : others_) {
        rows += {DateOnScreen(report.study.date), report.study.description, KindOnScreen(report.series),
                 report.series.status, NameOnScreen(otherName)};
        otherNames = otherNames || !otherName.isEmpty();
    }
    otherTable_->setColumnHidden(otherTable_->columnCount() - 1, !otherNames);
    otherTable_->Fill(rows);
    QStringList words;
    if (!found.ownName.isEmpty())
        words += tr("The files of this study name %1; the list of studies has another name for this ID.")
                     .arg(NameOnScreen(found.ownName));
    if (otherNames)
        words += tr("A report with this ID names another patient.");
    if (found.leftOut > 0)
        words += tr("Not listed: %1 whose files name another patient.").arg(found.leftOut);
    if (others_.size() == static_cast<std::size_t>(StudyCatalogue::MostOtherReports))
        words += tr("The newest %1 are listed.").arg(others_.size());
    leftOut_->setText(words.join(' '));
    leftOut_->setHidden(words.isEmpty());
    otherFrame_->setHidden(others_.empty() && words.isEmpty());
}

void StudyPanel::ChooseOtherReport() {
    const OtherReports::Report* selected = SelectedOf(others_, *otherTable_);
    if (!selected)
        return;
    if (const SeriesRow* series = SelectedSeries(); series && series->IsDocument()) {
        const QSignalBlocker quiet(seriesTable_);
        seriesTable_->clearSelection(); // to be chosen again
    }
    askForFiles_ = [this, chosen = *selected] {
        catalogue_.Ask(
            Files, [series = chosen.report.series](StudyCatalogue& catalogue) { return catalogue.FilesOf(series); },
            [this, chosen](const QStringList& files) { emit OtherReportChosen(chosen, files); },
            [this](const QString& words) { SayFailure(words); });
    };
    askForFiles_();
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
    const SeriesRow series = *selected;
    catalogue_.Forget(Files);
    if (series.IsPresentation()) {
        emit Said(tr("This series holds views of the report's images, which stand with the report, and no image."));
        return;
    }
    imageLeft_ = false;
    askForFiles_ = [this, series] {
        catalogue_.Ask(
            Files, [series](StudyCatalogue& catalogue) { return catalogue.FilesOf(series); },
            [this, series](const QStringList& files) {
                if (series.IsDocument()) {
                    const QSignalBlocker quiet(otherTable_);
                    otherTable_->clearSelection();
                    emit DocumentChosen(series, files);
                } else {
                    emit ImagesChosen(series, files, !imageLeft_);
                }
            },
            [this](const QString& words) { SayFailure(words); });
    };
    askForFiles_();
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
