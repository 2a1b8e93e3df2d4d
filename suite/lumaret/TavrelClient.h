#pragma once

#include "suite/lumaret/ReportImage.h"

#include <QDBusConnection>
#include <QDBusMessage>
#include <QObject>
#include <QStringList>
#include <QTimer>
#include <QVariant>

#include <functional>
#include <optional>

class QDBusPendingCall;
class QDBusServiceWatcher;

namespace tavrel {

/// The way to the report program. Nothing waits here: the program may be busy in a chooser for as long
/// as a person likes.
///
/// A report is opened over a `CTavrel` object of its own. While the report of another study is open,
/// `CloseFirst` asks for an answer, and only `CloseAndOpen` closes it. Of which study the open report is
/// the program tells, whoever opened it; of one that does not tell it is the study opened last.
class TavrelClient : public QObject {
    Q_OBJECT

public:
    explicit TavrelClient(QDBusConnection bus, QObject* parent = nullptr);

    /// A report is wanted and not open yet; further ones, and image calls, are refused in words.
    bool Opening() const { return wanted_.has_value(); }
    /// `CloseFirst` was asked and not answered yet.
    bool Asking() const { return !asked_.isEmpty(); }
    bool Open() const { return !openStudy_.isEmpty(); }
    /// The Study Instance UID of the open report, empty when none is open.
    const QString& OpenStudy() const { return openStudy_; }

    /// The image files of a series of that study, in order, as absolute native paths.
    void LoadForImgSeries(const QStringList& imageFiles, const QString& studyUid);
    void LoadSRSeries(const QString& seriesUid, const QString& studyUid);
    void AddImage(const ReportImage& image);
    void RemoveImages();
    /// Has the bus start the program a little later unless it runs by then, as a report may be wanted: it opens in less
    /// than half the time. Nothing is said of what fails, which whoever wants the report hears. Once a report was
    /// closed this goes by itself, as the program has ended with it.
    void StartAhead() { ahead_.start(); }

    /// The answers to `CloseFirst`: the open report goes with what was not saved, or it stays and the
    /// wanted one is not opened.
    void CloseAndOpen();
    void LeaveOpen();

signals:
    /// What the person should know, in plain words.
    void Said(const QString& words);
    /// What is open, wanted or asked.
    void StateChanged();
    /// The report of another study than the wanted one's is open.
    void CloseFirst(const QString& openStudy, const QString& wantedStudy);
    /// The report has taken the image.
    void Added(const tavrel::ReportImage& image);
    /// The report has emptied its list of images.
    void Removed();
    /// The report program has ended.
    void Closed();

private:
    struct WantedReport {
        QString member;
        QVariant argument;
        QString studyUid;
    };
    using Answered = std::function<void(const QDBusPendingCall&)>;

    void OpenWith(const WantedReport& report);
    void Create(const std::function<void()>& next);
    void OpenUnlessAnother();
    void Load();
    void Close();
    void Finish();
    void GiveUp(const QString& words);

    void Call(const QDBusMessage& message, const Answered& answered);
    /// A step towards the wanted report: what is answered after it was given up counts no more.
    void Step(const QDBusMessage& message, const Answered& answered);
    void CallImages(const QString& member, const QVariantList& arguments, const std::function<void()>& done);
    QDBusMessage ObjectCall(const QString& member, const QVariantList& arguments = {}) const;

    void AskRunningProgram();
    void Follow(const QString& owner);
    void Gone(const QString& owner);
    void TakeStudy(const QString& studyUid);

private slots:
    void ReportChanged(const QDBusMessage& signal);

private:
    QDBusConnection bus_;
    QDBusServiceWatcher* programs_; ///< of the end of the program
    QString owner_;                 ///< unique name of the program, whoever started it
    QString path_;                  ///< of the object that it made last for this viewer
    std::optional<WantedReport> wanted_;
    int attempt_ = 0;      ///< counts the wanted reports
    QString asked_;        ///< the study whose report may have to be closed first
    bool closing_ = false; ///< for the wanted report
    bool tells_ = false;   ///< the program tells of which study its report is
    QString openStudy_;
    QTimer ahead_;
};

} // namespace tavrel
