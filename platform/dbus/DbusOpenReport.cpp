#include "platform/dbus/DbusOpenReport.h"

#include "platform/dbus/BusNames.h"

#include <QAbstractEventDispatcher>
#include <QDBusMessage>
#include <QStringList>
#include <QVariantMap>

#include <utility>

namespace tavrel {

DbusOpenReport::DbusOpenReport(QDBusConnection bus, std::function<std::string()> openStudy)
    : bus_(std::move(bus)), openStudy_(std::move(openStudy)) {
    bus_.registerObject(TavrelReport.path, this, QDBusConnection::ExportAllProperties);
    connect(QAbstractEventDispatcher::instance(), &QAbstractEventDispatcher::aboutToBlock, this,
            &DbusOpenReport::TellChange);
}

DbusOpenReport::~DbusOpenReport() {
    bus_.unregisterObject(TavrelReport.path);
}

void DbusOpenReport::TellChange() {
    std::string now = openStudy_();
    if (now == told_)
        return;
    told_ = std::move(now);
    auto changed = QDBusMessage::createSignal(TavrelReport.path, PropertiesInterface, "PropertiesChanged");
    changed << TavrelReport.interface << QVariantMap{{StudyOfReport, StudyInstanceUid()}} << QStringList();
    bus_.send(changed);
}

} // namespace tavrel
