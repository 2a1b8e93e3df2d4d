#include "tests/suite/lumaret/FakeTavrel.h"

#include "platform/dbus/BusNames.h"

#include <QDBusObjectPath>
#include <QTimer>

#include <utility>

namespace tavrel::test {

FakeTavrel::FakeTavrel(QDBusConnection bus) : bus_(std::move(bus)) {
    bus_.registerVirtualObject(TavrelFactory.path, this, QDBusConnection::SubPath);
    TakeName();
}

bool FakeTavrel::handleMessage(const QDBusMessage& message, const QDBusConnection&) {
    calls.push_back(message.member().toStdString());
    last = message;
    if (message.member() != holding)
        return Answer(message);
    held_.push_back(message);
    return true;
}

bool FakeTavrel::Answer(const QDBusMessage& message) {
    if (message.member() == refusing)
        return bus_.send(message.createErrorReply(QDBusError::Failed, "no"));
    if (message.member() == "CreateInstance") {
        const QDBusObjectPath object(QString("/Tavrel/CTavrel/%1").arg(++created_));
        return bus_.send(message.createReply(QVariant::fromValue(object)));
    }
    if (message.member().startsWith("Load"))
        openStudy = willOpen;
    const bool sent = bus_.send(message.createReply());
    if (message.member() == "CloseReport")
        QTimer::singleShot(0, this, onCloseReport);
    return sent;
}

void FakeTavrel::TellStudy() {
    report_.emplace(bus_, [this] { return openStudy; });
}

void FakeTavrel::TakeName() {
    bus_.registerService(TavrelFactory.service);
}

void FakeTavrel::ReleaseName() {
    bus_.unregisterService(TavrelFactory.service);
}

void FakeTavrel::AnswerHeld() {
    holding.clear();
    for (const auto& message : std::exchange(held_, {}))
        Answer(message);
}

void FakeTavrel::Die() {
    report_.reset();
    const auto name = std::exchange(bus_, QDBusConnection("none")).name();
    QDBusConnection::disconnectFromBus(name);
}

} // namespace tavrel::test
