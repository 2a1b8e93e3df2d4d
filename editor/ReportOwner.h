#pragma once

#include "platform/viewer.h"

#include <string>

namespace tavrel {

/// What the editor asks of the automation object that showed it.
class ReportOwner {
public:
    virtual ~ReportOwner() = default;
    virtual void CloseReport() = 0;
    virtual void LoadSRSeries(const std::string& seriesUid) = 0;
    virtual void RemoveImagesFromRefertList() = 0;
    virtual void SendFileInfo(const std::string& filename, const ViewParametersHandle& viewPars,
                              const std::string& lutName) = 0;
};

} // namespace tavrel
