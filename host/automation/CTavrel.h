#pragma once

#include "editor/ReportOwner.h"
#include "host/Global.h"
#include "platform/automation.h"
#include "platform/viewer.h"

#include <memory>

namespace tavrel {

class frmReport;
class frmSRSeriesChoice;

/// The one public, creatable class. Its making runs start-up and connects the viewer. No member
/// fails: what goes wrong is shown to the person at the screen.
class CTavrel : public AutomationObject, public ReportOwner {
public:
    CTavrel(Global& global, ViewerLink& viewers, frmSRSeriesChoice& chooser, frmReport& editor);

    /// Opens the study's report for an image series, chosen by the physician or new.
    void LoadForImgSeries(const std::shared_ptr<DataSetList>& series);
    void LoadForImgSeries(std::span<const std::string> imageFiles) override;
    void CloseReport() override;
    void LoadSRSeries(const std::string& seriesUid) override;
    void AddImageToSR(const std::string& filename, const ViewParametersHandle& viewPars,
                      const std::string& lutName) override;
    void RemoveImagesFromSR() override;
    void RemoveImagesFromRefertList() override;
    void SendFileInfo(const std::string& filename, const ViewParametersHandle& viewPars,
                      const std::string& lutName) override;
    void ShowImage(const std::string& filename, const ViewParametersHandle& viewPars,
                   const std::string& lutName) override;
    void Class_Terminate() override {}

    /// Set by `CloseReport` just before the process ends.
    bool Closing() const { return closing_; }

private:
    void ConnectViewer();
    Viewer& ConnectedViewer() const;
    void OpenForImgSeries(const std::shared_ptr<DataSetList>& series);
    void MarkViewed(const std::string& seriesUid);

    Global& global_;
    ViewerLink& viewers_;
    frmSRSeriesChoice& chooser_;
    frmReport& editor_;
    bool closing_ = false;
    std::unique_ptr<Viewer> viewer_; ///< none when there was no viewer at creation
};

/// Makes one `CTavrel` a creation; all share the state, the chooser and the editor.
class CTavrelFactory : public AutomationFactory {
public:
    CTavrelFactory(Global& global, ViewerLink& viewers, frmSRSeriesChoice& chooser, frmReport& editor)
        : global_(global), viewers_(viewers), chooser_(chooser), editor_(editor) {}
    std::unique_ptr<AutomationObject> CreateInstance() override;

private:
    Global& global_;
    ViewerLink& viewers_;
    frmSRSeriesChoice& chooser_;
    frmReport& editor_;
};

} // namespace tavrel
