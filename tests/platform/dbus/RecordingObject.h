#pragma once

#include "platform/automation.h"

#include <functional>
#include <string>
#include <vector>

namespace tavrel::test {

/// What was called, in order, and what shall happen inside the calls.
struct Record {
    std::vector<std::string> begun;
    std::vector<std::string> ended;
    std::vector<std::string> files; ///< of the last opening for an image series
    ViewParametersHandle viewPars;  ///< of the last image call
    std::function<void(const std::string& call)> during = [](const std::string&) {};

    void Run(const std::string& call) {
        begun.push_back(call);
        during(call);
        ended.push_back(call);
    }
};

class RecordingObject final : public AutomationObject {
public:
    explicit RecordingObject(Record& record) : record_(record) {}

    void LoadForImgSeries(std::span<const std::string> imageFiles) override {
        record_.files.assign(imageFiles.begin(), imageFiles.end());
        record_.Run("LoadForImgSeries");
    }
    void CloseReport() override { record_.Run("CloseReport"); }
    void LoadSRSeries(const std::string& seriesUid) override { record_.Run("LoadSRSeries " + seriesUid); }
    void AddImageToSR(const std::string& filename, const ViewParametersHandle& viewPars,
                      const std::string& lutName) override {
        record_.viewPars = viewPars;
        record_.Run("AddImageToSR " + filename + " " + lutName);
    }
    void RemoveImagesFromSR() override { record_.Run("RemoveImagesFromSR"); }
    void RemoveImagesFromRefertList() override { record_.Run("RemoveImagesFromRefertList"); }
    void SendFileInfo(const std::string& filename, const ViewParametersHandle& viewPars,
                      const std::string& lutName) override {
        record_.viewPars = viewPars;
        record_.Run("SendFileInfo " + filename + " " + lutName);
    }
    void Class_Terminate() override { record_.Run("Class_Terminate"); }

private:
    Record& record_;
};

class RecordingFactory final : public AutomationFactory {
public:
    explicit RecordingFactory(Record& record) : record_(record) {}
    std::unique_ptr<AutomationObject> CreateInstance() override {
        record_.Run("CreateInstance");
        return std::make_unique<RecordingObject>(record_);
    }

private:
    Record& record_;
};

} // namespace tavrel::test
