#pragma once

#include "platform/dbus/BusNames.h"

#include <QDBusConnection>
#include <QObject>
#include <QStringList>
#include <QVariantMap>

namespace tavrel::test {

/// What clients are told, in order.
class ReportListener : public QObject {
    Q_OBJECT
public:
    explicit ReportListener(QDBusConnection bus) {
        bus.connect(QString(), TavrelReport.path, PropertiesInterface, "PropertiesChanged", this,
                    SLOT(Changed(QString, QVariantMap, QStringList)));
    }
    QStringList studies;

private slots:
    void Changed(const QString& interface, const QVariantMap& changed, const QStringList&) {
        studies += interface + " " + changed.value(StudyOfReport).toString();
    }
};

} // namespace tavrel::test
