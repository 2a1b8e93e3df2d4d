#include "suite/lumaret/TavrelClient.h"

#include "platform/dbus/ViewParametersMap.h"

#include <QDBusConnectionInterface>
#include <QDBusMessage>
#include <QDBusObjectPath>
#include <QDBusPendingCallWatcher>
#include <QDBusServiceWatcher>

#include <limits>

namespace tavrel {
namespace {

const QString ServiceName = QStringLiteral("Tavrel.CTavrel");
constexpr int WithoutLimit = std::numeric_limits<int>::max();
constexpr int CreationLimit = 60000, ImageCallLimit = 10000; // milliseconds

} // namespace

TavrelClient::TavrelClient(const QDBusConnection& bus, QObject* parent) : QObject(parent), bus_(bus) {
    auto* watcher = new QDBusServiceWatcher(ServiceName, bus_, QDBusServiceWatcher::WatchForOwnerChange, this);
    connect(watcher, &QDBusServiceWatcher::serviceOwnerChanged, this, &TavrelClient::OwnerChanged);
}

void TavrelClient::OwnerChanged(const QString&, const QString& former, const QString& now) {
    if (!owner_.isEmpty() && former == owner_ && now != owner_) {
        Forget();
        emit Said(tr("The report was closed."));
    }
}

void TavrelClient::Forget() {
    owner_.clear();
    path_.clear();
    opening_ = open_ = false;
    emit StateChanged();
}

void TavrelClient::WhenFinished(const QDBusPendingCall& call, std::function<void(const QDBusPendingCall&)> then) {
    auto* watcher = new QDBusPendingCallWatcher(call, this);
    connect(watcher, &QDBusPendingCallWatcher::finished, this, [watcher, then = std::move(then)] {
        watcher->deleteLater();
        then(*watcher);
    });
}

QDBusPendingCall TavrelClient::Call(const QString& member, const QVariantList& arguments, int timeout) {
    QDBusMessage message = QDBusMessage::createMethodCall(owner_, path_, ServiceName, member);
    message.setArguments(arguments);
    return bus_.asyncCall(message, timeout);
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
    emit Said(tr("Opening the report ..."));
    if (!path_.isEmpty()) {
        CallOpen(member, argument);
        return;
    }
    const QDBusMessage create =
        QDBusMessage::createMethodCall(ServiceName, "/Tavrel/CTavrel", "Tavrel.ClassFactory", "CreateInstance");
    WhenFinished(bus_.asyncCall(create, CreationLimit), [this, member, argument](const QDBusPendingCall& call) {
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
    WhenFinished(Call(member, {argument}, WithoutLimit), [this, owner = owner_](const QDBusPendingCall& call) {
        if (owner != owner_)
            return; // it ended meanwhile, and that has been said
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

void TavrelClient::CallImages(const QString& member, const QVariantList& arguments, const QString& done) {
    if (opening_ || !open_) {
        emit Said(opening_ ? tr("The report program is still opening a report. Answer its window first.")
                           : tr("No report is open. Press Report first."));
        return;
    }
    WhenFinished(Call(member, arguments, ImageCallLimit), [this, done](const QDBusPendingCall& call) {
        if (call.isError())
            emit Said(tr("The report program did not answer: %1").arg(call.error().message()));
        else
            emit Said(done);
    });
}

void TavrelClient::AddImage(const QString& filename, const ViewParametersHandle& view, const QString& lutName) {
    CallImages("AddImageToSR", {filename, ViewParametersMap(view), lutName},
               tr("The image was added to the report. It is kept with the next saved version."));
}

void TavrelClient::RemoveImages() {
    CallImages("RemoveImagesFromSR", {}, tr("The report's images were removed. Added ones count from now on."));
}

} // namespace tavrel
