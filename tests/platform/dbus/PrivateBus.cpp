#include "tests/platform/dbus/PrivateBus.h"

#include <QDBusConnectionInterface>
#include <QDBusMessage>
#include <QDBusPendingCall>
#include <QEventLoop>
#include <QFile>
#include <QTimer>

#include <sys/wait.h>

#include <csignal>
#include <limits>
#include <stdexcept>

namespace tavrel::test {

namespace {

void WriteFile(const QString& path, const QString& text) {
    QFile file(path);
    if (!file.open(QFile::WriteOnly) || file.write(text.toUtf8()) < 0)
        throw std::runtime_error("cannot write " + path.toStdString());
}

} // namespace

PrivateBus::PrivateBus() {
    const auto configuration = Folder() + "/bus.conf";
    WriteFile(configuration, QString(R"(<busconfig>
  <type>session</type>
  <listen>unix:path=%1/bus</listen>
  <servicedir>%1</servicedir>
  <limit name="max_replies_per_connection">50000</limit>
  <policy context="default"><allow send_destination="*" eavesdrop="true"/><allow eavesdrop="true"/><allow own="*"/></policy>
</busconfig>)")
                                 .arg(Folder()));
    daemon_.start("dbus-daemon", {"--config-file=" + configuration, "--print-address", "--nofork", "--nopidfile"});
    if (!daemon_.waitForReadyRead(10000))
        throw std::runtime_error("the bus does not start");
    address_ = QString::fromUtf8(daemon_.readLine()).trimmed();
    qputenv("DBUS_SESSION_BUS_ADDRESS", address_.toUtf8());
}

PrivateBus::~PrivateBus() {
    Kill();
}

QDBusConnection PrivateBus::Connect() {
    return QDBusConnection::connectToBus(address_, QString("%1 %2").arg(address_).arg(++connections_));
}

void PrivateBus::AddService(const QString& name, const QString& command) {
    WriteFile(Folder() + "/" + name + ".service", QString("[D-BUS Service]\nName=%1\nExec=%2\n").arg(name, command));
    auto bus = Connect();
    bus.call(MethodCall(MessageBus, "ReloadConfig"));
}

void PrivateBus::Kill() {
    if (daemon_.state() == QProcess::NotRunning)
        return;
    daemon_.kill();
    daemon_.waitForFinished();
}

bool PrivateBus::HasOwner(const QString& name) {
    return Connect().interface()->isServiceRegistered(name).value();
}

bool PrivateBus::WaitForOwner(const QString& name) {
    const auto bus = Connect();
    return WaitUntil([&] { return bus.interface()->isServiceRegistered(name).value(); });
}

bool WaitUntil(const std::function<bool()>& condition, std::chrono::milliseconds bound) {
    QEventLoop loop;
    QTimer look;
    look.callOnTimeout([&] {
        if (condition())
            loop.quit();
    });
    look.start(1);
    QTimer::singleShot(bound, &loop, &QEventLoop::quit);
    if (!condition())
        loop.exec();
    return condition();
}

void Idle(std::chrono::milliseconds time) {
    WaitUntil([] { return false; }, time);
}

void Stop(const QProcess& process) {
    const auto id = static_cast<pid_t>(process.processId());
    kill(id, SIGSTOP);
    waitid(P_PID, static_cast<id_t>(id), nullptr, WSTOPPED | WNOWAIT);
}

QDBusPendingCall Ask(const QDBusConnection& from, const QString& service, const QString& path, const QString& interface,
                     const QString& member, const QVariantList& arguments) {
    auto call = QDBusMessage::createMethodCall(service, path, interface, member);
    call.setArguments(arguments);
    return from.asyncCall(call, std::numeric_limits<int>::max());
}

QDBusPendingCall Ask(const QDBusConnection& from, const BusObject& object, const QString& member) {
    return Ask(from, object.service, object.path, object.interface, member);
}

bool WaitForAnswer(const QDBusPendingCall& call) {
    return WaitUntil([&] { return call.isFinished(); });
}

} // namespace tavrel::test
