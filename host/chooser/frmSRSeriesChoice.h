#pragma once

#include "host/Global.h"

#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace tavrel {

/// The chooser among the reports of a study. Decides without showing itself when there is none or one.
class frmSRSeriesChoice : public Form {
public:
    /// `runNew` is the editor's New.
    frmSRSeriesChoice(Global& global, std::function<void()> runNew);

    /// Collects the study's report series and, when there are two or more, shows them and returns
    /// when the person has chosen. One statement for each report series, one file read for each as a rule.
    /// False when they could not be collected, which was told: nobody knows then whether there are reports.
    bool ShowSRDocuments(std::string_view studyUid);
    /// The folder of the chosen report; empty when a new one is to be made.
    std::string DDO() const;
    /// -1 after Cancel, which sticks until the form is unloaded and loaded again; 0 otherwise.
    std::int16_t cancelled() const { return cancelled_; }
    /// The Series Instance UID of the report chosen with OK in the last `ShowSRDocuments`.
    const std::string& ChosenSeriesUid() const { return chosenSeriesUid_; }

    void Form_Load();
    void lstSRSeries_ItemClick();
    void cmdOk_Click();
    void cmdNew_Click();
    void cmdCancel_Click();
    /// Cancels and unloads: the next `ShowSRDocuments` loads the form anew.
    void FrameClosed() override;

    ListView lstSRSeries;
    Button cmdOk, cmdNew, cmdCancel;

private:
    struct Report {
        std::string folder;
        std::shared_ptr<const DcmSRDocument> newestVersion;
    };
    void CollectReports(std::string_view studyPath, std::string_view studyUid);
    /// The image rows of a series.
    struct Filed {
        std::size_t count = 0;
        std::string newestFile; ///< that of the last row; empty when there is none
    };
    Filed FiledVersions(std::string_view seriesUid) const;
    /// Its newest version. A report of which files cannot be read is there with what can.
    std::shared_ptr<const DcmSRDocument> Preview(const std::string& folder, const Filed& filed) const;
    /// An incomplete row is no reason to hide the other reports.
    void LeaveOut(const std::string& seriesUid, const std::string& why) const;
    void ListInit();

    Global& global_;
    std::function<void()> runNew_;
    bool loaded_ = false;
    std::int16_t cancelled_ = 0;
    std::int16_t selectedIndex_ = 1; ///< from 1; -1 when a new report is asked for
    std::string studyUid_;           ///< whose reports they are
    std::vector<Report> reports_;
    std::string chosenSeriesUid_;
};

} // namespace tavrel
