#pragma once

#include "suite/lumaret/ImageFile.h"
#include "suite/lumaret/ReportFile.h"
#include "suite/lumaret/StudyCatalogue.h"

#include <QWidget>

#include <optional>
#include <vector>

class QComboBox;
class QLabel;
class QPushButton;
class QTextBrowser;

namespace tavrel {

/// Shows a structured report of any kind, to be read only: the version chosen, at first the newest.
class ReportPane : public QWidget {
    Q_OBJECT

public:
    explicit ReportPane(QWidget* parent = nullptr);

    /// Shows itself and the newest of the series' files.
    void Show(const SeriesRow& series, const QStringList& files);
    /// The same of another study, which `notice` tells of; a version that names another patient is not shown.
    void ShowOther(const SeriesRow& series, const QStringList& files, const QString& notice,
                   const PatientIdentity& patient);
    /// The series' files as they are now: the version on screen stays, unless it was the newest and there
    /// is a newer one.
    void Update(const QStringList& files);
    /// Shows nothing, and hides.
    void Clear();

    /// The series on screen.
    const SeriesRow& Series() const { return series_; }

private:
    void List(const QString& chosen);
    void ShowVersion(int index);
    /// Shows the version's pages, from which a person prints or saves a PDF.
    void Print();

    void Show(const SeriesRow& series, const QStringList& files, const QString& notice,
              const std::optional<PatientIdentity>& patient);
    /// What stands over the report.
    void Notice();

    QLabel* notice_;
    QComboBox* versionBox_;
    QPushButton* print_;
    QTextBrowser* text_;
    SeriesRow series_;
    QString otherStudy_;                     ///< what is said of it, or empty
    std::optional<PatientIdentity> patient_; ///< whose report of another study it is
    QStringList files_;
    std::vector<ReportVersion> versions_;
};

} // namespace tavrel
