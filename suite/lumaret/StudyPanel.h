#pragma once

#include "suite/lumaret/StudyCatalogue.h"

#include <QWidget>

class QLineEdit;
class QTableWidget;

namespace tavrel {

/// A titled frame around a part of the window.
QWidget* Framed(const QString& title, QWidget* content);

/// The catalogue's studies, with boxes to search them, and the series and reports of the chosen one.
class StudyPanel : public QWidget {
    Q_OBJECT

public:
    explicit StudyPanel(StudyCatalogue& catalogue);

    /// Lists the studies that fit the boxes.
    void Search();
    /// Reads the series of the chosen study again; what is chosen and shown stays.
    void Refresh();

    /// The chosen report, or none.
    const SeriesRow* SelectedReport() const;

signals:
    /// Another study, and nothing of it yet.
    void StudyChosen(const tavrel::StudyRow& study);
    void ImagesChosen(const tavrel::SeriesRow& series, const QStringList& files);
    void DocumentChosen(const tavrel::SeriesRow& document, const QStringList& files);
    /// A series was activated (double click, Enter).
    void ReportActivated(const QString& seriesUid);
    void ImagesActivated();
    void Said(const QString& words);

private:
    void ChooseStudy();
    void ChooseSeries();
    void ActivateSeries();
    void FillSeries();
    void SayCount();
    const SeriesRow* SelectedSeries() const;
    /// Runs a catalogue query; a failure is said.
    template <typename Run> void Ask(Run&& run);

    StudyCatalogue& catalogue_;
    QLineEdit* name_;
    QLineEdit* id_;
    QLineEdit* date_;
    QTableWidget* studyTable_;
    QTableWidget* seriesTable_;
    std::vector<StudyRow> studies_;
    std::vector<SeriesRow> series_;
};

} // namespace tavrel
