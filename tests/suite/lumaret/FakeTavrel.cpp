#include "tests/suite/lumaret/FakeTavrel.h"

#include "platform/dbus/BusNames.h"

#include <QDBusObjectPath>

#include <utility>

namespace tavrel::test {

FakeTavrel::FakeTavrel(QDBusConnection bus) : bus_(std::move(bus)) {
    bus_.registerVirtualObject(TavrelFactory.path, this, QDBusConnection::SubPath);
    bus_.registerService(TavrelFactory.service);
}

bool FakeTavrel::handleMessage(const QDBusMessage& message, const QDBusConnection&) {
    calls.push_back(message.member().toStdString());
    last = message;
    if (message.member() != holding)
        return Answer(message);
    held_.push_back(message);
    return true;
}

bool FakeTavrel::Answer(const QDBusMessage& message) const {
    if (message.member() == "CreateInstance")
        return bus_.send(message.createReply(QVariant::fromValue(QDBusObjectPath("/Tavrel/CTavrel/1"))));
    return bus_.send(message.createReply());
}

void FakeTavrel::AnswerHeld() {
    holding.clear();
    for (const auto& message : std::exchange(held_, {}))
        Answer(message);
}

void FakeTavrel::Die() {
    const auto name = std::exchange(bus_, QDBusConnection("none")).name();
    QDBusConnection::disconnectFromBus(name);
}

} // namespace tavrel::test
