#include "platform/dbus/DbusAutomation.h"

#include "platform/dbus/BusNames.h"
#include "platform/dbus/ViewParametersMap.h"
#include "platform/error.h"
#include "platform/paths.h"

#include "Introspection.h"

#include <QAbstractEventDispatcher>
#include <QDBusArgument>
#include <QDBusConnectionInterface>
#include <QDBusError>
#include <QDBusObjectPath>
#include <QThread>

#include <algorithm>
#include <utility>

namespace tavrel {

namespace {

// A viewer that answers slowly and sends on could otherwise pile up calls without end, each waiting
// inside the one before.
constexpr std::size_t DeepestNesting = 32;

constexpr int LastWordsTimeLimit = 2000; // milliseconds

std::string Text(const QVariant& argument) {
    return argument.toString().toStdString();
}

ViewParametersHandle ViewPars(const QVariant& argument) {
    return ViewParametersOf(qdbus_cast<QVariantMap>(argument));
}

std::vector<std::string> Paths(const QVariant& argument) {
    std::vector<std::string> paths;
    for (const auto& path : argument.toStringList())
        paths.push_back(InsidePath(path.toStdString()));
    return paths;
}

bool InNestedEventLoop() {
    return QThread::currentThread()->loopLevel() > 1;
}

} // namespace

struct DbusAutomation::Member {
    QString name;
    QString signature;
    bool servedWhileWaiting;
    std::function<void(AutomationObject&, const QVariantList&)> run;
};

const std::vector<DbusAutomation::Member> DbusAutomation::Members = {
    {"LoadForImgSeries", "as", false,
     [](AutomationObject& object, const QVariantList& in) { object.LoadForImgSeries(Paths(in[0])); }},
    {"CloseReport", "", true, [](AutomationObject& object, const QVariantList&) { object.CloseReport(); }},
    {"LoadSRSeries", "s", false,
     [](AutomationObject& object, const QVariantList& in) { object.LoadSRSeries(Text(in[0])); }},
    {"AddImageToSR", "sa{sv}s", true,
     [](AutomationObject& object, const QVariantList& in) {
         object.AddImageToSR(Text(in[0]), ViewPars(in[1]), Text(in[2]));
     }},
    {"RemoveImagesFromSR", "", true,
     [](AutomationObject& object, const QVariantList&) { object.RemoveImagesFromSR(); }},
    {"RemoveImagesFromRefertList", "", true,
     [](AutomationObject& object, const QVariantList&) { object.RemoveImagesFromRefertList(); }},
    {"SendFileInfo", "sa{sv}s", true,
     [](AutomationObject& object, const QVariantList& in) {
         object.SendFileInfo(Text(in[0]), ViewPars(in[1]), Text(in[2]));
     }},
    {"Class_Terminate", "", false, [](AutomationObject& object, const QVariantList&) { object.Class_Terminate(); }},
};

bool DbusAutomation::Call::ServedWhileWaiting() const {
    return member && member->servedWhileWaiting;
}
bool DbusAutomation::Call::ClosesReport() const {
    return member && member->name == QLatin1String("CloseReport");
}

DbusAutomation::DbusAutomation(QDBusConnection bus, AutomationFactory& factory, Process& process, Program program)
    : bus_(std::move(bus)), viewers_(LumaretViewer.service, bus_, QDBusServiceWatcher::WatchForUnregistration),
      factory_(factory), process_(process), program_(std::move(program)) {
    if (!bus_.isConnected())
        throw Error(bus_.lastError().type(), TavrelFactory.service,
                    "There is no session bus to be called on: " + bus_.lastError().message().toStdString());
    connect(QAbstractEventDispatcher::instance(), &QAbstractEventDispatcher::aboutToBlock, this,
            &DbusAutomation::BeforeBlocking);
    bus_.connect(QString(), "/org/freedesktop/DBus/Local", "org.freedesktop.DBus.Local", "Disconnected", this,
                 SLOT(BusLost()));
    connect(&viewers_, &QDBusServiceWatcher::serviceUnregistered, this, &DbusAutomation::ViewerGone);
    // The objects come before the name: whoever waits for the name calls them at once.
    bus_.registerVirtualObject(TavrelFactory.path, this, QDBusConnection::SubPath);
    const auto reply =
        bus_.interface()->registerService(TavrelFactory.service, QDBusConnectionInterface::DontQueueService,
                                          QDBusConnectionInterface::DontAllowReplacement);
    if (reply.value() != QDBusConnectionInterface::ServiceRegistered)
        throw Error(QDBusError::AddressInUse, TavrelFactory.service,
                    "Another process has the name \"Tavrel.CTavrel\" on the session bus.");
}

DbusAutomation::~DbusAutomation() {
    bus_.unregisterObject(TavrelFactory.path, QDBusConnection::UnregisterTree);
    bus_.unregisterService(TavrelFactory.service);
}

void DbusAutomation::Leave() {
    auto release = MethodCall(MessageBus, "ReleaseName");
    release << TavrelFactory.service;
    bus_.call(release, QDBus::Block, LastWordsTimeLimit);
    for (const auto* call : served_)
        if (call->ClosesReport())
            bus_.send(call->message.createReply());
    // The bus answers in order, so everything sent before has reached it then.
    bus_.call(MethodCall(MessageBus, "GetId"), QDBus::Block, LastWordsTimeLimit);
}

QString DbusAutomation::introspect(const QString& path) const {
    if (path != TavrelFactory.path)
        return objects_.contains(path) ? introspection::AutomationObject : QString();
    QString description = introspection::ClassFactory;
    for (const auto& [child, object] : objects_)
        description += "  <node name=\"" + child.section('/', -1) + "\"/>\n";
    return description;
}

bool DbusAutomation::handleMessage(const QDBusMessage& message, const QDBusConnection&) {
    const bool known = message.path() == TavrelFactory.path || objects_.contains(message.path());
    const bool standard = message.interface().startsWith(QLatin1String("org.freedesktop.DBus."));
    if (!known || standard)
        return false; // the library answers these
    if (auto call = Understand(message)) {
        arrived_.push_back(std::move(*call));
        ServeSoon();
    } else {
        bus_.send(message.createErrorReply(QDBusError::UnknownMethod,
                                           "There is no " + message.member() + " with these arguments here."));
    }
    return true;
}

std::optional<DbusAutomation::Call> DbusAutomation::Understand(const QDBusMessage& message) const {
    const auto asksFor = [&](const char* interface) {
        return message.interface().isEmpty() || message.interface() == interface;
    };
    if (message.path() == TavrelFactory.path) {
        if (asksFor(TavrelFactory.interface) && message.member() == "CreateInstance" && message.signature().isEmpty())
            return Call{message, nullptr, nullptr};
        return {};
    }
    const auto object = objects_.find(message.path());
    const auto member = std::ranges::find_if(Members, [&](const Member& candidate) {
        return candidate.name == message.member() && candidate.signature == message.signature();
    });
    if (object == objects_.end() || member == Members.end() || !asksFor(TavrelObjectInterface))
        return {};
    return Call{message, &*member, object->second.get()};
}

std::deque<DbusAutomation::Call>::const_iterator DbusAutomation::NextToServe() const {
    if (arrived_.empty() || program_.storing())
        return arrived_.end();
    if (served_.empty() && !InNestedEventLoop())
        return arrived_.begin();
    const auto servable = served_.size() < DeepestNesting ? &Call::ServedWhileWaiting : &Call::ClosesReport;
    return std::find_if(arrived_.begin(), arrived_.end(), std::mem_fn(servable));
}

void DbusAutomation::ServeSoon() {
    if (!std::exchange(servingSoon_, true))
        QMetaObject::invokeMethod(this, &DbusAutomation::ServeNext, Qt::QueuedConnection);
}

void DbusAutomation::ServeNext() {
    servingSoon_ = false;
    const auto next = NextToServe();
    if (next == arrived_.end())
        return;
    const Call call = *next; // NOLINT(performance-unnecessary-copy-initialization): it leaves the queue
    arrived_.erase(next);
    served_.push_back(&call);
    ServeSoon(); // an event loop inside the operation goes on with the next one
    const auto answer = Run(call);
    served_.pop_back();
    if (call.message.isReplyRequired())
        bus_.send(call.message.createReply(answer));
    ServeSoon();
}

QVariantList DbusAutomation::Run(const Call& call) {
    if (!call.object)
        return {QVariant::fromValue(QDBusObjectPath(Create()))};
    call.member->run(*call.object, call.message.arguments());
    return {};
}

QString DbusAutomation::Create() {
    auto object = factory_.CreateInstance();
    QString path = QString("%1/%2").arg(TavrelFactory.path).arg(++created_);
    objects_.emplace(path, std::move(object));
    return path;
}

void DbusAutomation::BusLost() {
    busLost_ = true;
}

void DbusAutomation::ViewerGone() {
    if (created_ == 0 && arrived_.empty() && served_.empty())
        process_.End();
}

// What was put off (a store, a modal window, a full stack) is over by the time that the outer event
// loop runs again; nothing tells it but that loop itself.
void DbusAutomation::BeforeBlocking() {
    if (NextToServe() != arrived_.end())
        ServeSoon();
    if (busLost_ && served_.empty() && !InNestedEventLoop() && !program_.windowOpen()) {
        busLost_ = false;
        process_.End();
    }
}

} // namespace tavrel
