#pragma once

#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusVirtualObject>

#include <string>
#include <vector>

namespace tavrel::test {

/// A report program that answers, is busy or dies as it is told.
class FakeTavrel final : public QDBusVirtualObject {
public:
    explicit FakeTavrel(QDBusConnection bus);

    QString introspect(const QString&) const override { return {}; }
    bool handleMessage(const QDBusMessage& message, const QDBusConnection&) override;

    /// Answers the calls that were held, and holds none from now on.
    void AnswerHeld();
    /// As at the end of its process.
    void Die();

    std::vector<std::string> calls;
    QDBusMessage last;
    QString holding; ///< the member whose calls wait

private:
    bool Answer(const QDBusMessage& message) const;

    QDBusConnection bus_;
    std::vector<QDBusMessage> held_;
};

} // namespace tavrel::test
