#pragma once

#include "platform/viewer.h"

#include <memory>

namespace tavrel {

class DbusViewerCalls;

/// A property that the viewer refuses is told by the method call that follows it.
class DbusViewer final : public Viewer {
public:
    explicit DbusViewer(std::shared_ptr<DbusViewerCalls> calls) : calls_(std::move(calls)) {}

    void SRFilename(std::string_view filename) override;
    void LUTName(std::string_view name) override;
    void ViewPars(const ViewParametersHandle& parameters) override;
    void ViewRefertImages() override;
    void ClearRefertList() override;

private:
    std::shared_ptr<DbusViewerCalls> calls_;
};

} // namespace tavrel
