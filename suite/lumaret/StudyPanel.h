#pragma once

#include "suite/lumaret/CatalogueQuestions.h"
#include "suite/lumaret/FittedTable.h"
#include "suite/lumaret/OtherReports.h"

#include <QWidget>

#include <functional>

class QLabel;
class QLineEdit;

namespace tavrel {

/// A titled frame around a part of the window.
QWidget* Framed(const QString& title, QWidget* content);

/// The catalogue's studies, with boxes to search them, the series and reports of the chosen one, and the reports in the
/// other studies of its patient.
class StudyPanel : public QWidget {
    Q_OBJECT

public:
    explicit StudyPanel(CatalogueQuestions& catalogue);

    /// Has the studies listed that fit the boxes; what is listed stays until they are found.
    void Search();
    /// Reads the series of the chosen study again; what is chosen and shown stays.
    void Refresh();
    /// Another image has come onto the screen: what was chosen before is listed and takes not its place.
    void LeaveImage() { imageLeft_ = true; }

    /// The chosen report, or none.
    const SeriesRow* SelectedReport() const;

signals:
    /// Another study, and nothing of it yet.
    void StudyChosen(const tavrel::StudyRow& study);
    /// `shown`: no other image has come onto the screen since then.
    void ImagesChosen(const tavrel::SeriesRow& series, const QStringList& files, bool shown);
    void DocumentChosen(const tavrel::SeriesRow& document, const QStringList& files);
    /// A report of another study of the same patient, to be read.
    void OtherReportChosen(const tavrel::OtherReports::Report& report, const QStringList& files);
    /// A series was activated (double click, Enter).
    void ReportActivated(const QString& seriesUid);
    void ImagesActivated();
    void Said(const QString& words);
    /// The studies that a search found.
    void Listed();
    /// No study was found, or the catalogue cannot be read.
    void NothingListed();

private:
    void ChooseStudy();
    void ChooseSeries();
    void ActivateSeries();
    void FillSeries();
    void AskForOtherReports(const StudyRow& study, const QString& file);
    void ListOtherReports(const OtherReports& found);
    void ChooseOtherReport();
    void List(const std::vector<StudyRow>& studies);
    void SayCount();
    void SayFailure(const QString& words);
    /// Nothing that was asked of the study on the list, or of one of its series, is wanted any more.
    void ForgetStudy();
    const SeriesRow* SelectedSeries() const;

    CatalogueQuestions& catalogue_;
    QLineEdit* name_;
    QLineEdit* id_;
    QLineEdit* date_;
    FittedTable* studyTable_;
    FittedTable* seriesTable_;
    FittedTable* otherTable_;
    QLabel* leftOut_;
    QWidget* otherFrame_;
    std::vector<OtherReports::Report> others_;
    std::vector<StudyRow> studies_;
    std::vector<SeriesRow> series_;
    std::function<void()> askForFiles_; ///< of the series chosen last
    bool imageLeft_ = false;
};

} // namespace tavrel
