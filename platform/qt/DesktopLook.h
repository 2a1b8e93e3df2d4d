#pragma once

#include "platform/qt/Look.h"

#include <QDBusConnection>
#include <QDBusVariant>
#include <QObject>

namespace tavrel {

/// Dresses the program light or dark as the desktop is, and anew when the desktop changes. The
/// desktop's setting is the one that its portal publishes on the session bus
/// (`org.freedesktop.appearance`, `color-scheme`); where there is none, the palette that the platform
/// came with decides.
class DesktopLook : public QObject {
    Q_OBJECT
public:
    explicit DesktopLook(QDBusConnection bus = QDBusConnection::sessionBus());

private slots:
    void SettingChanged(const QString& space, const QString& key, const QDBusVariant& value);

private:
    void Follow(const QVariant& colourScheme);

    Scheme platformScheme_;
};

} // namespace tavrel
