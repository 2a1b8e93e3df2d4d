#pragma once

#include "InterfaceTexts.h"

#include <QDBusConnection>
#include <QObject>

#include <functional>
#include <string>

namespace tavrel {

/// Tells clients on the session bus of which study a report is open: the object "/Tavrel/Report", whose
/// property changes as the window before the person does, whoever opened or closed it.
///
/// Needs the application object; lives on its thread.
class DbusOpenReport : public QObject {
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "Tavrel.Report")
    Q_CLASSINFO("D-Bus Introspection", TAVREL_REPORT_INTERFACE)
    Q_PROPERTY(QString StudyInstanceUID READ StudyInstanceUid)

public:
    /// `openStudy` answers the Study Instance UID of the open report, empty when none is open.
    DbusOpenReport(QDBusConnection bus, std::function<std::string()> openStudy);
    ~DbusOpenReport() override;

private:
    QString StudyInstanceUid() const { return QString::fromStdString(openStudy_()); }
    void TellChange();

    QDBusConnection bus_;
    std::function<std::string()> openStudy_;
    std::string told_;
};

} // namespace tavrel
