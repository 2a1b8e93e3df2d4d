#pragma once

#include "suite/lumaret/ReportFile.h"
#include "suite/lumaret/StudyCatalogue.h"

#include <QWidget>

class QComboBox;
class QTextBrowser;

namespace tavrel {

/// Shows a structured report of any kind, to be read only: the version chosen, at first the newest.
class ReportPane : public QWidget {
    Q_OBJECT

public:
    explicit ReportPane(QWidget* parent = nullptr);

    /// Shows itself and the newest of the series' files.
    void Show(const SeriesRow& series, const QStringList& files);
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

    QComboBox* versionBox_;
    QTextBrowser* text_;
    SeriesRow series_;
    std::vector<ReportVersion> versions_;
};

} // namespace tavrel
