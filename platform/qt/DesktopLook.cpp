#include "platform/qt/DesktopLook.h"

#include <QApplication>
#include <QDBusMessage>
#include <QDBusPendingCallWatcher>
#include <QDBusPendingReply>
#include <QPalette>

namespace tavrel {
namespace {

const QString Service = "org.freedesktop.portal.Desktop";
const QString Path = "/org/freedesktop/portal/desktop";
const QString Interface = "org.freedesktop.portal.Settings";
const QString Space = "org.freedesktop.appearance";
const QString Key = "color-scheme";

Scheme PlatformScheme() {
    return QApplication::palette().color(QPalette::Window).lightness() < 128 ? Scheme::Dark : Scheme::Light;
}

} // namespace

DesktopLook::DesktopLook(QDBusConnection bus) : platformScheme_(PlatformScheme()) {
    Dress(platformScheme_);
    qRegisterMetaType<QDBusVariant>(); // the library knows its own type only after a first use
    bus.connect(Service, Path, Interface, "SettingChanged", this, SLOT(SettingChanged(QString, QString, QDBusVariant)));
    auto read = QDBusMessage::createMethodCall(Service, Path, Interface, "Read");
    read << Space << Key;
    // Not waited for: a desktop that is slow to answer must not keep a report from opening.
    auto* answer = new QDBusPendingCallWatcher(bus.asyncCall(read), this);
    connect(answer, &QDBusPendingCallWatcher::finished, this, [this, answer] {
        if (const QDBusPendingReply<QDBusVariant> reply = *answer; reply.isValid())
            Follow(reply.value().variant());
        answer->deleteLater();
    });
}

void DesktopLook::SettingChanged(const QString& changedSpace, const QString& changedKey, const QDBusVariant& value) {
    if (changedSpace == Space && changedKey == Key)
        Follow(value.variant());
}

void DesktopLook::Follow(const QVariant& colourScheme) {
    // Some portals wrap the value twice.
    const bool wrapped = colourScheme.canConvert<QDBusVariant>();
    const QVariant value = wrapped ? colourScheme.value<QDBusVariant>().variant() : colourScheme;
    switch (value.toUInt()) {
    case 1:
        return Dress(Scheme::Dark);
    case 2:
        return Dress(Scheme::Light);
    default:
        return Dress(platformScheme_);
    }
}

} // namespace tavrel
