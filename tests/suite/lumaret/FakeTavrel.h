#pragma once

#include "platform/dbus/DbusOpenReport.h"

#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusVirtualObject>

#include <functional>
#include <optional>
#include <string>
#include <vector>

namespace tavrel::test {

/// A report program that answers, is busy or dies as it is told.
class FakeTavrel final : public QDBusVirtualObject {
public:
    explicit FakeTavrel(QDBusConnection bus);

    QString introspect(const QString&) const override { return {}; }
    bool handleMessage(const QDBusMessage& message, const QDBusConnection&) override;

    /// From now on it tells of which study its report is: of `willOpen` once a report was opened.
    void TellStudy();
    /// Answers the calls that were held, and holds none from now on.
    void AnswerHeld();
    /// As at the end of its process.
    void Die();
    void TakeName();
    void ReleaseName();

    std::vector<std::string> calls;
    QDBusMessage last;
    QString holding;  ///< the member whose calls wait
    QString refusing; ///< the member whose calls fail
    std::string willOpen;
    std::string openStudy;
    std::function<void()> onCloseReport = [this] { Die(); };

private:
    bool Answer(const QDBusMessage& message);

    QDBusConnection bus_;
    std::vector<QDBusMessage> held_;
    std::optional<DbusOpenReport> report_;
    int created_ = 0;
};

} // namespace tavrel::test
