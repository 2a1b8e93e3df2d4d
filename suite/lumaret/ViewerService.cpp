#include "suite/lumaret/ViewerService.h"

#include "platform/dbus/ViewParametersMap.h"

namespace tavrel {

bool ViewerService::Register(QDBusConnection bus) {
    return bus.registerObject("/Lumaret/Viewer", this,
                              QDBusConnection::ExportScriptableSlots | QDBusConnection::ExportAllProperties) &&
           bus.registerService("Lumaret.Viewer");
}

void ViewerService::ViewRefertImages() {
    if (!srFilename_.isEmpty())
        emit ImageHanded(srFilename_, ViewParametersOf(viewPars_), lutName_);
}

void ViewerService::ClearRefertList() {
    emit ListCleared();
}

} // namespace tavrel
