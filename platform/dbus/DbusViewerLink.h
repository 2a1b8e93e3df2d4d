#pragma once

#include "platform/viewer.h"

#include <QDBusConnection>

#include <chrono>

namespace tavrel {

class DbusViewerCalls;

/// The way to the viewer "Lumaret.Viewer" on the session bus. Every wait is bounded and keeps serving
/// what arrives, the viewer's own calls among it, but for keyboard and mouse.
class DbusViewerLink final : public ViewerLink {
public:
    explicit DbusViewerLink(const QDBusConnection& bus, std::chrono::milliseconds bound = std::chrono::seconds(5));

    std::unique_ptr<Viewer> Create() override;

private:
    std::shared_ptr<DbusViewerCalls> calls_; ///< shared: there is one viewer, however many objects stand for it
};

} // namespace tavrel
