#include "suite/lumaret/TavrelClient.h"

#include "platform/dbus/BusNames.h"
#include "platform/dbus/ViewParametersMap.h"

#include <QDBusMessage>
#include <QDBusObjectPath>
#include <QDBusPendingCallWatcher>
#include <QDBusServiceWatcher>

#include <limits>
#include <utility>

namespace tavrel {
namespace {

// A person answers a chooser or a message in his own time, and an end of the program is seen.
constexpr int WithoutLimit = std::numeric_limits<int>::max();

} // namespace

TavrelClient::TavrelClient(QDBusConnection bus, QObject* parent) : QObject(parent), bus_(std::move(bus)) {
    auto* watcher =
        new QDBusServiceWatcher(TavrelFactory.service, bus_, QDBusServiceWatcher::WatchForOwnerChange, this);
    connect(watcher, &QDBusServiceWatcher::serviceOwnerChanged, this, &TavrelClient::OwnerChanged);
}

void TavrelClient::OwnerChanged(const QString&, const QString& former, const QString& now) {
    if (owner_.isEmpty() || former != owner_ || now == owner_)
        return;
    const bool early = opening_;
    Forget();
    emit Said(early ? tr("The report program ended before the report was open.") : tr("The report was closed."));
}

void TavrelClient::Forget() {
    owner_.clear();
    path_.clear();
    opening_ = open_ = false;
    emit StateChanged();
    emit Closed();
}

void TavrelClient::Call(const QString& path, const QString& interface, const QString& member,
                        const QVariantList& arguments, const Answered& answered) {
    // An object is called at the program that made it: no other one is ever started for the call.
    QDBusMessage message =
        QDBusMessage::createMethodCall(owner_.isEmpty() ? TavrelFactory.service : owner_, path, interface, member);
    message.setArguments(arguments);
    auto* watcher = new QDBusPendingCallWatcher(bus_.asyncCall(message, WithoutLimit), this);
    connect(watcher, &QDBusPendingCallWatcher::finished, this, [this, watcher, answered, owner = owner_] {
        watcher->deleteLater();
        if (owner == owner_) // else the program has ended meanwhile, and that has been said
            answered(*watcher);
    });
}

void TavrelClient::LoadForImgSeries(const QStringList& imageFiles) {
    OpenWith("LoadForImgSeries", imageFiles);
}

void TavrelClient::LoadSRSeries(const QString& seriesUid) {
    OpenWith("LoadSRSeries", seriesUid);
}

void TavrelClient::OpenWith(const QString& member, const QVariant& argument) {
    if (opening_) {
        emit Said(tr("The report program is still opening a report. Answer its window first."));
        return;
    }
    opening_ = true;
    emit StateChanged();
    emit Said(tr("Opening the report ... If Tavrel asks which one, answer there."));
    if (!path_.isEmpty()) {
        CallOpen(member, argument);
        return;
    }
    Call(TavrelFactory.path, TavrelFactory.interface, "CreateInstance", {},
         [this, member, argument](const QDBusPendingCall& call) {
             if (call.isError()) {
                 Forget();
                 emit Said(tr("The report program could not be started: %1").arg(call.error().message()));
                 return;
             }
             owner_ = call.reply().service();
             path_ = call.reply().arguments().value(0).value<QDBusObjectPath>().path();
             CallOpen(member, argument);
         });
}

void TavrelClient::CallOpen(const QString& member, const QVariant& argument) {
    Call(path_, TavrelObjectInterface, member, {argument}, [this](const QDBusPendingCall& call) {
        opening_ = false;
        if (call.isError()) {
            Forget();
            emit Said(tr("The report program ended: %1").arg(call.error().message()));
            return;
        }
        open_ = true;
        emit StateChanged();
        emit Said(tr("Ready."));
    });
}

void TavrelClient::CallImages(const QString& member, const QVariantList& arguments, const std::function<void()>& done) {
    if (opening_ || !open_) {
        emit Said(opening_ ? tr("The report program is still opening a report. Answer its window first.")
                           : tr("No report is open. Press Report first."));
        return;
    }
    emit Said(tr("Waiting for the report program ..."));
    Call(path_, TavrelObjectInterface, member, arguments, [this, done](const QDBusPendingCall& call) {
        if (call.isError())
            emit Said(tr("The report program failed: %1").arg(call.error().message()));
        else
            done();
    });
}

void TavrelClient::AddImage(const ReportImage& image) {
    CallImages("AddImageToSR", {image.filename, ViewParametersMap(image.view), image.lutName}, [this, image] {
        emit Said(tr("The image was added to the report. Save the report to keep it."));
        emit Added(image);
    });
}

void TavrelClient::RemoveImages() {
    CallImages("RemoveImagesFromSR", {}, [this] {
        emit Said(tr("The report's images were removed from its list. Others, added and saved, take their place."));
        emit Removed();
    });
}

} // namespace tavrel
