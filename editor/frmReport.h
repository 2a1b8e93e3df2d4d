#pragma once

#include "codes/CodedEntries.h"
#include "editor/DraftKeeper.h"
#include "editor/ImageHandOver.h"
#include "editor/PrintTable.h"
#include "editor/ReportOwner.h"
#include "editor/ReportState.h"
#include "editor/Vocal.h"
#include "editor/WritingHelp.h"
#include "editor/frmCompare.h"
#include "host/Global.h"
#include "platform/error.h"
#include "platform/person_name.h"
#include "platform/printer.h"
#include "platform/report_watch.h"
#include "platform/service_events.h"
#include "platform/timer.h"

#include <memory>
#include <optional>
#include <set>
#include <string>
#include <vector>

namespace tavrel {

class frmBase;
class frmSRSeriesChoice;
class ObservationContext;

/// The report editor. Every handler traps its own failures and shows them; the screen stays as far as
/// it got.
class frmReport : public Form, private ServiceEventHandler {
public:
    /// `codeTables` writes coded findings and diagnoses into this form's lists. `draftTimer` is this form's alone.
    frmReport(Global& global, ServiceEvents& serviceEvents, frmSRSeriesChoice& chooser, frmBase& codeTables,
              ReportPrinter& printer, Timer& draftTimer, ReportWatch& watch);
    ~frmReport() override;

    /// Shows the current document for `owner`, in a window made now or already there. The owner outlives
    /// the editor's use: automation objects end with the process.
    void Open(ReportOwner& owner);
    /// Makes the report on the screen the current one again. An opening that was cancelled or failed may have left
    /// another in its place, which nobody sees.
    void MakeShownCurrent();
    /// The study of the report on the screen; empty before the first.
    std::string ShownStudyUid() const { return shown_ ? shown_->studyUid : std::string(); }
    /// The process is about to end: keeps what is typed and not saved, and leaves no patient in the print table.
    void Leave();

    void Form_Load();
    /// Closes the report at its owner, which ends the process, and unloads.
    void Form_Unload();
    void FrameClosed() override { Form_Unload(); }

    /// Fills the screen from the current document, its last version first.
    void LoadDocs();
    void SaveIOD() {}

    /// Adds an image to the pending list, which the next store writes beside the stored file.
    void AddImage(const std::string& fileName, const ViewParametersHandle& viewPars, const std::string& lutName);
    /// Without effect on the list.
    void RemoveImage(const std::string& fileName);
    /// Whether a sender is connected to the storage service.
    bool Connected() const { return connected_; }

    void Porvane_OnConnection() { connected_ = true; }
    void Porvane_OnEndConnection() { connected_ = false; }
    /// A version was stored: the pending images are written beside it, unless it is another study's.
    void Porvane_OnStore(const std::string& sopInstanceUid, const std::string& seriesUid, const std::string& path);

    void lstHistory_Click();
    void cmdSave_Click();
    void cmdApprove_Click();
    void cmdNew_Click();
    void cmdLastVersion_Click();
    void cmdCompare_Click();
    void cmdOthers_Click();
    void cmdPrint_Click();
    void cmdClose_Click();
    void cmdPutBack_Click();
    void cmdDiscard_Click();
    void cmbReportTitle_Change();

    Label lblState{*this, "lblState"}; ///< where the report stands, in one line

    Label lblDraft{*this, "lblDraft"}; ///< what was typed and not saved, in one line
    Button cmdPutBack{*this, "cmdPutBack"}, cmdDiscard{*this, "cmdDiscard"};

    Button cmdOthers{*this, "cmdOthers"}, cmdNew{*this, "cmdNew"}, cmdLastVersion{*this, "cmdLastVersion"};
    Button cmdCompare{*this, "cmdCompare"};
    ListBox lstHistory{*this, "lstHistory"};

    Frame frmReading{*this, "frmReading"};
    Button cmdVocal{*this, "cmdVocal"};
    TextBox txtReportAnnotation{*this, "txtReportAnnotation"};
    Label lblUnwritable{*this, "lblUnwritable"}; ///< what the file cannot hold
    Button cmdWritePlainly{*this, "cmdWritePlainly"};
    Label lblPrintedLength{*this, "lblPrintedLength"};
    Label lblAdvice{*this, "lblAdvice"}; ///< what there is to be done with the reading

    Frame frmPatient{*this, "frmPatient"};
    Label txtPtName{*this, "txtPtName", NotFilled, WrittenName}, txtPtPatientID{*this, "txtPtPatientID", NotFilled};
    Label txtPtSex{*this, "txtPtSex", NotFilled}, txtPtBirthDate{*this, "txtPtBirthDate", NotFilled};
    Label txtPtAge{*this, "txtPtAge", NotFilled};

    Frame frmStudy{*this, "frmStudy"};
    Label txtPhysician{*this, "txtPhysician", NotFilled, WrittenName},
        txtStDescription{*this, "txtStDescription", NotFilled};
    Label txtStDate{*this, "txtStDate", NotFilled};

    Frame frmDataReport{*this, "frmDataReport"};
    ComboBox cmbReportTitle{*this, "cmbReportTitle"};
    TextBox txtReportTitle{*this, "txtReportTitle"};
    ComboBox cmbBodyPart{*this, "cmbBodyPart"};
    Label txtReferringPhysician{*this, "txtReferringPhysician", {}, WrittenName}, txtUpdateDate{*this, "txtUpdateDate"};
    Label txtApprovingPhysician{*this, "txtApprovingPhysician", {}, WrittenName},
        txtApprovalDate{*this, "txtApprovalDate"};
    Button cmdApprove{*this, "cmdApprove"}, cmdBaseBody{*this, "cmdBaseBody"}, cmdTitle{*this, "cmdTitle"};

    Label lblBodyPartNote{*this, "lblBodyPartNote", NotStored}; ///< these three as long as it is so

    Frame frmFinding{*this, "frmFinding"};
    Label lblFindingNote{*this, "lblFindingNote", NotStored};
    ListView lstFinding{*this, "lstFinding", {"Code", "Description", "Annotation"}};
    Button cmdFnAdd{*this, "cmdFnAdd"}, cmdFnModify{*this, "cmdFnModify"}, cmdFnDelete{*this, "cmdFnDelete"};

    Frame frmDiagnosis{*this, "frmDiagnosis"};
    Label lblDiagnosisNote{*this, "lblDiagnosisNote", NotStored};
    ListView lstDiagnosis{*this, "lstDiagnosis", {"Code", "Description", "Annotation"}};
    Button cmdDxAdd{*this, "cmdDxAdd"}, cmdDxModify{*this, "cmdDxModify"}, cmdDxDelete{*this, "cmdDxDelete"};

    Button cmdClose{*this, "cmdClose"}, cmdPrint{*this, "cmdPrint"}, cmdSave{*this, "cmdSave"};

private:
    static constexpr std::string_view NotFilled = "....";
    static constexpr std::string_view NotStored = "not stored with the report";

    ReportOwner& Owner() const;
    DcmSRDocument& ShownDocument();
    void ShowSiteCaption();
    void FillHistory();
    void FillScreen();
    void FillPatientAndStudy(const DcmSRDocument& document);
    void FillAge();
    void FillTitle(const DcmSRDocument& document);
    /// The meanings of a code table, in the order of `statement`.
    std::vector<std::string> Meanings(std::string_view statement) const;
    /// The body part, the findings and the diagnoses of a version that holds such; no other version's stay.
    void FillCodes(const DcmSRDocument& document);
    /// Takes those away that belong to the version shown until now, and follows the site's form.
    void ForgetCodes();
    ReportCodes Codes() const;
    void ShowCodes(const ReportCodes& codes);
    void TellWhetherStored(bool stored);
    /// Whether a save puts the codes of the screen into the report.
    bool WritesCodes() const { return form_ == ReportForm::Interchange; }
    void ShowReferring(const ObservationContext* referring);
    void ShowApprover(const DcmSRDocument& document);
    void LookUpUserAndSite();
    /// Inverts its argument: the caller's flag then says whether the screen can be edited.
    void Lock(bool& readOnly);
    /// No text, code or image of the former study's report stays on the screen.
    void StartClean();
    void ShowState();
    void ShowDraft();
    void ForgetPrinted();
    void TakeEdit();
    TypedTexts Typed() const;
    DraftOwner DraftOwnerOf(const DcmSRDocument& document) const;
    void TakeStore(const std::string& sopInstanceUid, const std::string& seriesUid, const std::string& path);
    void ShowWaiting();
    /// In one message: store events go on arriving while one is read.
    void TellStoreFailures();
    bool OfAnotherStudy(const std::string& seriesUid) const;
    void SelectLastVersion();
    /// Whether the version is stored or kept. `deed` is what the person is about to do, on a button: "Save".
    bool Save(std::string_view deed);
    /// Puts the screen into the report and sends it. What came of that is told even when the rest fails.
    void WriteVersion(Delivery& delivery);
    /// Whether a version may be written now: when others have saved versions meanwhile, the person decides.
    bool MayWrite(std::string_view deed);
    /// "Yes" to look at them, "No" to write after them.
    Answer AskAboutOthers(std::string_view deed);
    void WatchReport();
    /// The catalogue has other versions of the report on the screen than before, or more of them are archived.
    void TakeNews(const WatchedReport& found);
    /// The versions of others become lines of the list. False when there is none.
    bool TakeInOthers();
    /// Whether the report may be approved with what is left to fill in: the person decides.
    bool MayLeaveBlanks();
    /// The images of a version that was stored without its store event.
    void KeepImages(const Delivery& delivery);
    void PutTitleAndReading(DcmSRDocument& document);
    /// The entry of a code table that has this meaning; `whereMeaning` is the statement up to the meaning's quote.
    std::optional<ContentNode> LookUp(std::string_view whereMeaning, const std::string& meaning) const;
    struct CodesToPut {
        ContentNode bodyPart;
        std::vector<ContentNode> findings, diagnoses;
    };
    /// The codes of the screen. An error when a file cannot hold one of them.
    CodesToPut CheckedCodes(const DcmSRDocument& document) const;
    ContentNode CodedBodyPart(const DcmSRDocument& document) const;
    PrintRow PrintedRow() const;
    ReportCodes PrintedCodes() const;

    void OnConnection(const std::string&, const std::string&, const std::string&) override { Porvane_OnConnection(); }
    void OnEndConnection(const std::string&, const std::string&, const std::string&) override {
        Porvane_OnEndConnection();
    }
    void OnStore(const std::string&, const std::string&, const std::string&, const std::string& sopInstanceUid,
                 const std::string& seriesUid, const std::string& path) override {
        Porvane_OnStore(sopInstanceUid, seriesUid, path);
    }
    void OnOtherStore(const std::string& sopInstanceUid) override;

    Global& global_;
    ServiceEvents& serviceEvents_;
    frmSRSeriesChoice& chooser_;
    ReportPrinter& printer_;
    CodedEntries codedEntries_;
    WritingHelp writingHelp_;
    Vocal vocal_;
    ImageHandOver images_;
    DraftKeeper drafts_;
    frmCompare compare_;
    ReportOwner* owner_ = nullptr;
    std::shared_ptr<OpenedReport> shown_; ///< the report that the screen was filled from; none before the first
    ScreenState screen_;
    int fills_ = 0;                         ///< of the screen, up to now
    ReportForm form_ = ReportForm::Classic; ///< the site's, when the screen was filled
    bool codesOfVersion_ = false;           ///< the coded lists hold what the version shown holds
    std::set<std::string>
        stored_; ///< versions that the storage service has told of; their files may wait a moment longer
    std::unique_ptr<ServiceObject> service_;
    bool connected_ = false;
    std::optional<PrintRow> printed_; ///< what this program has left in the print table
    ReportWatch& watch_;
    bool saving_ = false;
    int filling_ = 0;                         ///< screen fills under way; the viewer may be waited for in one
    std::optional<WatchedReport> missedNews_; ///< told by the watch during a save
    bool handedOver_ = false;                 ///< a store event of this report came since the last save began
    std::vector<Error> storeFailures_;        ///< of store events, not yet told
    bool tellingStoreFailures_ = false;
    bool choosing_ = false; ///< inside "Other reports", which loads the form itself
};

} // namespace tavrel
