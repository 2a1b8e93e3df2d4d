#include "suite/lumaret/ViewerService.h"

#include "platform/dbus/BusNames.h"
#include "platform/dbus/ViewParametersMap.h"
#include "platform/limits.h"

namespace tavrel {
namespace {

constexpr auto ActivationToken = "activation-token"; // of the platform data
constexpr int LongestWait = 5000;                    // in milliseconds, for a viewer that hangs

} // namespace

ViewerService::ViewerService(QObject* parent) : QObject(parent) {
    new ApplicationInterface(*this);
}

bool ViewerService::Register(QDBusConnection bus) {
    return bus.registerObject(LumaretViewer.path, this,
                              QDBusConnection::ExportScriptableSlots | QDBusConnection::ExportAllProperties |
                                  QDBusConnection::ExportAdaptors) &&
           bus.registerService(LumaretViewer.service);
}

QVariantMap ViewerService::ViewPars() const {
    return ViewParametersMap(viewPars_);
}

void ViewerService::ViewPars(const QVariantMap& parameters) {
    viewPars_ = ViewParametersOf(parameters);
}

void ViewerService::ViewRefertImages() {
    constexpr qsizetype longest = longest::Path;
    if (srFilename_.size() > longest || lutName_.size() > longest)
        emit Refused(tr("Not shown: the report handed over a file name of more than %1 characters.").arg(longest));
    else if (!srFilename_.isEmpty())
        emit ImageHanded({srFilename_, viewPars_, lutName_});
}

void ViewerService::ClearRefertList() {
    emit ListCleared();
}

bool ApplicationInterface::AskToShow(const QDBusConnection& bus, const QString& token) {
    auto request = MethodCall(LumaretApplication, "Activate");
    request << (token.isEmpty() ? QVariantMap() : QVariantMap{{ActivationToken, token}});
    request.setAutoStartService(false);
    return bus.call(request, QDBus::Block, LongestWait).type() == QDBusMessage::ReplyMessage;
}

void ApplicationInterface::Activate(const QVariantMap& platformData) {
    if (const QString token = platformData.value(ActivationToken).toString(); !token.isEmpty())
        qputenv("XDG_ACTIVATION_TOKEN", token.toUtf8()); // where the toolkit looks for it
    emit service_.Activated();
}

void ApplicationInterface::Open(const QStringList&, const QVariantMap& platformData) {
    Activate(platformData);
}

void ApplicationInterface::ActivateAction(const QString&, const QVariantList&, const QVariantMap& platformData) {
    Activate(platformData);
}

} // namespace tavrel
