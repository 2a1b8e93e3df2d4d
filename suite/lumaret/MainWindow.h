#pragma once

#include "suite/lumaret/ImageView.h"
#include "suite/lumaret/ReportPane.h"
#include "suite/lumaret/StudyPanel.h"
#include "suite/lumaret/TavrelClient.h"
#include "suite/lumaret/ViewerService.h"

#include <QDBusMessage>
#include <QMainWindow>
#include <QPointer>

#include <map>
#include <optional>

class QAction;
class QLineEdit;
class QListWidget;
class QMessageBox;
class QSplitter;
class QToolBar;

namespace tavrel {

/// The viewer: studies, series and the open report's images at the left, the image at the right and, once
/// one was chosen, a report of the study beside it.
class MainWindow : public QMainWindow {
    Q_OBJECT

public:
    MainWindow(CatalogueQuestions& catalogue, TavrelClient& tavrel, ViewerService& service);

    /// Lists the studies, and says so when later programs have left a catalogue that this one does not know.
    void Start();

public slots:
    /// The storage service has stored a report: its event "OnStore".
    void ReportStored(const QDBusMessage& event = {});
    /// Words of one line, below everything.
    void Say(const QString& words);

signals:
    void NothingListed();

protected:
    void changeEvent(QEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;

private:
    void BuildSelection();
    QAction* AddAction(QToolBar& bar, const QString& caption, const QString& help, const QKeySequence& key,
                       const std::function<void()>& run);
    void AddImageAction(const QString& caption, const QString& help, const QKeySequence& key,
                        const std::function<void()>& run);
    void BuildActions();
    void ConnectStudies();
    void ConnectReport();

    void ShowImages(const SeriesRow& series, const QStringList& files, bool shown);
    void ShowDocument(const SeriesRow& document, const QStringList& files);
    void ShowOtherReport(const OtherReports::Report& other, const QStringList& files);
    /// Says so when later programs have left a catalogue that this one does not know.
    void AskForVersion();
    /// Gives the report beside the images its place.
    void MakeRoomForReport(bool hidden);
    /// As wide as the window is: two columns or three.
    void Arrange();
    /// Reads again what others may have changed.
    void Refresh();
    void ShowSlice(int file, int frame, bool keepView);
    void OpenReport();
    void AskToClose(const QString& openStudy, const QString& wantedStudy);
    void FollowReport();
    void ShowWhoseReport();
    /// Whose study it is, in words; its UID until the catalogue has told.
    QString Described(const QString& studyUid) const;
    /// Has the catalogue asked whose study it is.
    void LearnOf(const QString& studyUid);
    QString Question() const;
    void AddToReport();
    void ListReportImage(const ReportImage& image);
    void ShowReportImage(int index);
    void ClearReportImages();
    void KeepReportImagesOf(const QString& studyUid);
    /// The report's image on screen, or none.
    const ReportImage* ShownReportImage() const;

    /// Goes `steps` slices on; a file's frames count as slices.
    void Turn(int steps);
    void UpdateActions();
    /// Comes to the front, from the task bar too.
    void ShowItself();

    CatalogueQuestions& catalogue_;
    TavrelClient& tavrel_;
    ViewerService& service_;

    StudyPanel* studies_;
    ImageView* image_;
    ReportPane* pane_;
    QSplitter* splitter_;
    QSplitter* imageAndReport_;
    QListWidget* reportImageList_;
    QLineEdit* words_;
    QToolBar* reportTools_;
    QToolBar* imageTools_;
    QAction* report_;
    QAction* add_;
    QAction* clear_;
    QAction* lists_;
    QAction* smooth_;
    QList<QAction*> imageActions_;

    QPointer<QMessageBox> question_; ///< whether the open report may be closed
    QString asked_, wanted_;         ///< the studies of that report and of the one to be opened
    std::map<QString, StudyRow> known_;
    QString reportStudy_; ///< of the report in the title, or empty

    std::vector<ReportImage> reportImages_;
    StudyRow study_;    ///< of the series, and of the slices
    SeriesRow series_;  ///< of the slices
    QStringList files_; ///< its slices
    int file_ = 0;
    int frame_ = 0;
    int imageToolsWidth_ = 0;    ///< with all their words
    std::optional<bool> narrow_; ///< with no room for three columns; nothing before it has a size
    bool sliceShown_ = false;    ///< not an image of the report
};

} // namespace tavrel
