#pragma once

#include "platform/viewer.h"

#include <QDBusConnection>
#include <QObject>
#include <QStringList>

#include <functional>

class QDBusPendingCall;

namespace tavrel {

/// The viewer's one `CTavrel` object, made with the first request and kept until the report program
/// ends. No call waits here: the program may be busy in a chooser for as long as a person likes.
class TavrelClient : public QObject {
    Q_OBJECT

public:
    explicit TavrelClient(const QDBusConnection& bus, QObject* parent = nullptr);

    /// The report program runs an opening call; further ones are refused until it is done.
    bool Opening() const { return opening_; }
    /// A report has been opened and its program lives.
    bool Open() const { return open_; }

    void LoadForImgSeries(const QStringList& imageFiles);
    void LoadSRSeries(const QString& seriesUid);
    void AddImage(const QString& filename, const ViewParametersHandle& view, const QString& lutName);
    void RemoveImages();

signals:
    /// What the person should know, in plain words.
    void Said(const QString& words);
    void StateChanged();

private:
    void OpenWith(const QString& member, const QVariant& argument);
    void CallOpen(const QString& member, const QVariant& argument);
    void CallImages(const QString& member, const QVariantList& arguments, const QString& done);
    QDBusPendingCall Call(const QString& member, const QVariantList& arguments, int timeout);
    void WhenFinished(const QDBusPendingCall& call, std::function<void(const QDBusPendingCall&)> then);
    void OwnerChanged(const QString& name, const QString& former, const QString& now);
    void Forget();

    QDBusConnection bus_;
    QString owner_; ///< unique name of the program that made the object
    QString path_;
    bool opening_ = false;
    bool open_ = false;
};

} // namespace tavrel
