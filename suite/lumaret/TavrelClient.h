#pragma once

#include "suite/lumaret/ReportImage.h"

#include <QDBusConnection>
#include <QObject>
#include <QStringList>

#include <functional>

class QDBusPendingCall;

namespace tavrel {

/// The viewer's one `CTavrel` object, made with the first request and kept until the report program
/// ends. Nothing waits here: the program may be busy in a chooser for as long as a person likes.
class TavrelClient : public QObject {
    Q_OBJECT

public:
    explicit TavrelClient(QDBusConnection bus, QObject* parent = nullptr);

    /// An opening call runs; further ones, and image calls, are refused in words until it is done.
    bool Opening() const { return opening_; }
    /// An opening call has returned and its program lives.
    bool Open() const { return open_; }

    /// The image files of a series, in order, as absolute native paths.
    void LoadForImgSeries(const QStringList& imageFiles);
    void LoadSRSeries(const QString& seriesUid);
    void AddImage(const ReportImage& image);
    void RemoveImages();

signals:
    /// What the person should know, in plain words.
    void Said(const QString& words);
    void StateChanged();
    /// The report has taken the image.
    void Added(const tavrel::ReportImage& image);
    /// The report has emptied its list of images.
    void Removed();
    /// The report program has ended.
    void Closed();

private:
    using Answered = std::function<void(const QDBusPendingCall&)>;

    void OpenWith(const QString& member, const QVariant& argument);
    void CallOpen(const QString& member, const QVariant& argument);
    void CallImages(const QString& member, const QVariantList& arguments, const std::function<void()>& done);
    void Call(const QString& path, const QString& interface, const QString& member, const QVariantList& arguments,
              const Answered& answered);
    void OwnerChanged(const QString& name, const QString& former, const QString& now);
    void Forget();

    QDBusConnection bus_;
    QString owner_; ///< unique name of the program that made the object
    QString path_;
    bool opening_ = false;
    bool open_ = false;
};

} // namespace tavrel
