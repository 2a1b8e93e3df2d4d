#include "platform/dbus/DbusViewerCalls.h"

#include "platform/dbus/AwaitAnswer.h"
#include "platform/dbus/BusNames.h"
#include "platform/error.h"

#include <QDBusMessage>
#include <QDBusPendingReply>
#include <QDBusVariant>
#include <QScopeGuard>

#include <limits>
#include <utility>

namespace tavrel {

namespace {

// The wait bounds the time; the call itself stays open to tell when a hung viewer answers after all.
constexpr int NoTimeLimit = std::numeric_limits<int>::max();

[[noreturn]] void Fail(QDBusError::ErrorType type, const QString& description) {
    throw Error(type, LumaretViewer.service, description.toStdString());
}

void RaiseFailureOf(const QDBusPendingCall& call, const QString& name) {
    if (!call.isFinished() || !call.isError())
        return;
    const auto error = call.error();
    if (error.type() == QDBusError::ServiceUnknown ||
        error.name() == QLatin1String("org.freedesktop.DBus.Error.NameHasNoOwner"))
        Fail(error.type(), "There is no viewer: nobody has the name \"Lumaret.Viewer\" on the session bus.");
    if (error.type() == QDBusError::NoReply)
        Fail(error.type(), "The viewer ended before it had answered " + name + ".");
    if (error.type() == QDBusError::Disconnected)
        Fail(error.type(), "The viewer is out of reach: the session bus is gone.");
    Fail(error.type(), "The viewer failed in " + name + ": " + error.message() + " (" + error.name() + ")");
}

} // namespace

void DbusViewerCalls::Start() {
    // The bus starts only what is registered, and says so even of a viewer that runs unregistered.
    const QDBusPendingReply<bool> running = AskBus(MethodCall(MessageBus, "NameHasOwner") << LumaretViewer.service);
    if (running.value())
        return;
    AskBus(MethodCall(MessageBus, "StartServiceByName") << LumaretViewer.service << 0U);
}

QDBusPendingCall DbusViewerCalls::AskBus(const QDBusMessage& question) {
    const auto call = bus_.asyncCall(question, NoTimeLimit);
    if (!AwaitAnswer(call, bound_))
        Fail(QDBusError::Timeout, "The viewer \"Lumaret.Viewer\" was started and has not come up in time.");
    RaiseFailureOf(call, "its start");
    return call;
}

void DbusViewerCalls::SetProperty(const QString& name, const QVariant& value) {
    properties_.insert_or_assign(name, Property{value, Set(name, value)});
}

QDBusPendingCall DbusViewerCalls::Set(const QString& name, const QVariant& value) {
    auto set = QDBusMessage::createMethodCall(LumaretViewer.service, LumaretViewer.path, PropertiesInterface, "Set");
    set << LumaretViewer.interface << name << QVariant::fromValue(QDBusVariant(value));
    set.setAutoStartService(false);
    ++sets_;
    return bus_.asyncCall(set, NoTimeLimit);
}

void DbusViewerCalls::CallMethod(const QString& name) {
    auto properties = std::exchange(properties_, {});
    if (overdue_ && !overdue_->isFinished())
        Fail(QDBusError::Timeout, "The viewer still does not answer; " + name + " was not sent.");
    overdue_.reset();
    // A call inside another one's wait ends with it: a hung viewer costs the bound once.
    const bool outermost = !deadline_;
    if (outermost)
        deadline_ = QDeadlineTimer(bound_);
    const auto ended = qScopeGuard([&] {
        if (outermost)
            deadline_.reset();
    });
    AwaitProperties(properties, name);
    auto method = MethodCall(LumaretViewer, name);
    method.setAutoStartService(false);
    const auto call = bus_.asyncCall(method, NoTimeLimit);
    Await(call, name);
    RaiseFailureOf(call, name);
}

void DbusViewerCalls::AwaitProperties(std::map<QString, Property>& properties, const QString& method) {
    for (;;) {
        const unsigned sets = sets_;
        for (const auto& [name, property] : properties) {
            Await(property.set, method);
            RaiseFailureOf(property.set, name);
        }
        if (sets == sets_)
            return;
        for (auto& [name, property] : properties)
            property.set = Set(name, property.value);
    }
}

void DbusViewerCalls::Await(const QDBusPendingCall& call, const QString& name) {
    if (AwaitAnswer(call, std::chrono::milliseconds(deadline_->remainingTime())))
        return;
    overdue_ = call;
    Fail(QDBusError::Timeout, "The viewer did not answer " + name + " within " +
                                  QString::number(static_cast<double>(bound_.count()) / 1000) + " s.");
}

} // namespace tavrel
