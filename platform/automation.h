#pragma once

#include "platform/viewer.h"

#include <memory>
#include <span>
#include <string>

namespace tavrel {

/// What an automation client may ask of one object that it created. No call fails: whatever goes
/// wrong is told to the person at the screen.
class AutomationObject {
public:
    virtual ~AutomationObject() = default;
    /// `imageFiles`: the image files of the series in order.
    virtual void LoadForImgSeries(std::span<const std::string> imageFiles) = 0;
    virtual void CloseReport() = 0;
    virtual void LoadSRSeries(const std::string& seriesUid) = 0;
    virtual void AddImageToSR(const std::string& filename, const ViewParametersHandle& viewPars,
                              const std::string& lutName) = 0;
    virtual void RemoveImagesFromSR() = 0;
    virtual void RemoveImagesFromRefertList() = 0;
    virtual void SendFileInfo(const std::string& filename, const ViewParametersHandle& viewPars,
                              const std::string& lutName) = 0;
    virtual void Class_Terminate() = 0;
};

class AutomationFactory {
public:
    virtual ~AutomationFactory() = default;
    /// One creation: start-up runs and the viewer is connected.
    virtual std::unique_ptr<AutomationObject> CreateInstance() = 0;
};

} // namespace tavrel
