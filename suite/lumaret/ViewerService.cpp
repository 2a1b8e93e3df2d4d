#include "suite/lumaret/ViewerService.h"

#include "platform/dbus/BusNames.h"
#include "platform/dbus/ViewParametersMap.h"
#include "platform/limits.h"

namespace tavrel {

bool ViewerService::Register(QDBusConnection bus) {
    return bus.registerObject(LumaretViewer.path, this,
                              QDBusConnection::ExportScriptableSlots | QDBusConnection::ExportAllProperties) &&
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

} // namespace tavrel
