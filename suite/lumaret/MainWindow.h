#pragma once

#include "suite/lumaret/ImageView.h"
#include "suite/lumaret/StudyCatalogue.h"
#include "suite/lumaret/TavrelClient.h"
#include "suite/lumaret/ViewerService.h"

#include <QMainWindow>

class QAction;
class QLabel;
class QLineEdit;
class QListWidget;
class QTableWidget;

namespace tavrel {

/// The viewer: studies and series at the left, the image at the right.
class MainWindow : public QMainWindow {
    Q_OBJECT

public:
    MainWindow(StudyCatalogue& catalogue, TavrelClient& tavrel, ViewerService& service);

    /// Searches with what the boxes hold.
    void Search();

private:
    struct ReportImage {
        QString filename;
        ViewParametersHandle view;
        QString lutName;
    };

    QWidget* BuildSelection();
    void BuildActions();
    void ConnectReport();

    void ShowSeries();
    void ShowSelectedSeries();
    void OpenSelectedSeries();
    void OpenReport();
    void AddToReport();
    void ClearReportImages();
    void ShowReportImage(int index);
    void AddReportImage(const QString& filename, const ViewParametersHandle& view, const QString& lutName);

    /// Goes `steps` slices on; a file's frames count as slices.
    void Turn(int steps);
    void UpdateCaption();
    void UpdateActions();
    void Say(const QString& words);
    /// Runs a catalogue query; a failure is said.
    template <typename Run> void Ask(Run&& run);
    const SeriesRow* SelectedSeries() const;

    StudyCatalogue& catalogue_;
    TavrelClient& tavrel_;
    ViewerService& service_;

    QLineEdit* name_;
    QLineEdit* id_;
    QLineEdit* date_;
    QTableWidget* studyTable_;
    QTableWidget* seriesTable_;
    QListWidget* reportImageList_;
    ImageView* image_;
    QLabel* words_;
    QAction* report_;
    QAction* add_;
    QAction* clear_;
    QList<QAction*> imageActions_;

    std::vector<StudyRow> studies_;
    std::vector<SeriesRow> series_;
    std::vector<ReportImage> reportImages_;
    QStringList files_; ///< of the series on screen
    SeriesRow shownSeries_;
    StudyRow shownStudy_;
    int file_ = 0;
    int frame_ = 0;
};

} // namespace tavrel
