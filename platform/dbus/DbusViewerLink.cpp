#include "platform/dbus/DbusViewerLink.h"

#include "platform/dbus/DbusViewer.h"
#include "platform/dbus/DbusViewerCalls.h"

namespace tavrel {

DbusViewerLink::DbusViewerLink(const QDBusConnection& bus, std::chrono::milliseconds bound)
    : calls_(std::make_shared<DbusViewerCalls>(bus, bound)) {}

std::unique_ptr<Viewer> DbusViewerLink::Create() {
    calls_->Start();
    return std::make_unique<DbusViewer>(calls_);
}

} // namespace tavrel
