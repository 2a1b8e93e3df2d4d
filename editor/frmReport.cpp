#include "editor/frmReport.h"

#include "codes/frmBase.h"
#include "host/Catalogue.h"
#include "host/ErrorReport.h"
#include "host/Log.h"
#include "host/Text.h"
#include "platform/uid.h"
#include "sr/DcmSRDocument.h"
#include "sr/forms/VersionForm.h"

#include <array>
#include <utility>

namespace tavrel {
namespace {

constexpr std::string_view NotYetApproved = "Not yet approved";

/// The plain difference of the first calendar unit that differs. The days are counted from the birth
/// date's month, as they have always been.
std::string AgeText(const DateTime& birth, const DateTime& today) {
    int n = today.year - birth.year;
    std::string_view unit = "y";
    if (n == 0) {
        n = today.month - birth.month;
        unit = "m";
    }
    if (n == 0) {
        n = today.day - birth.month;
        unit = "d";
    }
    return std::to_string(n) + " " + std::string(unit);
}

} // namespace

frmReport::frmReport(Global& global, ServiceEvents& serviceEvents, frmSRSeriesChoice& chooser, frmBase& codeTables,
                     ReportPrinter& printer, Timer& draftTimer, ReportWatch& watch)
    : Form("frmReport"), global_(global), serviceEvents_(serviceEvents), chooser_(chooser), printer_(printer),
      codedEntries_(
          global, codeTables, *this, [this]() -> DcmSRDocument& { return ShownDocument(); },
          {lstFinding, cmdFnAdd, cmdFnModify, cmdFnDelete}, {lstDiagnosis, cmdDxAdd, cmdDxModify, cmdDxDelete},
          cmdTitle, cmdBaseBody),
      writingHelp_(global, {cmbReportTitle, txtReportTitle, txtReportAnnotation, frmReading, lblUnwritable,
                            cmdWritePlainly, lblPrintedLength, lblAdvice}),
      vocal_(global, {.shown = [this] { return shown_; },
                      .editable = [this] { return frmReading.Enabled(); },
                      .busy = [this] { return saving_ || filling_ > 0; },
                      .putIn = [this](const std::string& text) { writingHelp_.Insert(text); },
                      .say = [this](const std::string& words) { writingHelp_.Say(words); }}),
      images_(global), drafts_(
                           global.ports, draftTimer, [this] { return Typed(); }, [this] { ShowDraft(); }),
      compare_(global), watch_(watch) {
    lstHistory.Click = [this] { lstHistory_Click(); };
    cmdSave.Click = [this] { cmdSave_Click(); };
    cmdApprove.Click = [this] { cmdApprove_Click(); };
    cmdNew.Click = [this] { cmdNew_Click(); };
    cmdLastVersion.Click = [this] { cmdLastVersion_Click(); };
    cmdVocal.Click = [this] { vocal_.Press(); };
    cmdCompare.Click = [this] { cmdCompare_Click(); };
    cmdOthers.Click = [this] { cmdOthers_Click(); };
    cmdPrint.Click = [this] { cmdPrint_Click(); };
    cmdClose.Click = [this] { cmdClose_Click(); };
    cmdPutBack.Click = [this] { cmdPutBack_Click(); };
    cmdDiscard.Click = [this] { cmdDiscard_Click(); };
    cmbReportTitle.Edited = [this] { cmbReportTitle_Change(); };
    txtReportTitle.Edited = txtReportAnnotation.Edited = [this] {
        vocal_.Settle();
        TakeEdit();
    };
    cmbBodyPart.Edited = lstFinding.Changed = lstDiagnosis.Changed = [this] {
        if (WritesCodes())
            TakeEdit();
    };
    for (Control* control : std::to_array<Control*>({&lblDraft, &cmdPutBack, &cmdDiscard}))
        control->Visible(false);
    for (TextBox* box : {&txtReportTitle, &txtReportAnnotation})
        box->Filter = [this](std::string_view typed) { return FormOf(global_)->Typed(typed); };
}

frmReport::~frmReport() = default;

void frmReport::Open(ReportOwner& owner) {
    owner_ = &owner;
    if (!std::exchange(choosing_, false))
        Form_Load();
    global_.ports.windows.Show(*this);
}

DcmSRDocument& frmReport::ShownDocument() {
    MakeShownCurrent();
    return CurrentDocument(global_);
}

void frmReport::MakeShownCurrent() {
    if (shown_)
        global_.report = shown_;
}

ReportOwner& frmReport::Owner() const {
    if (!owner_)
        throw Error(Fault::Missing, "Tavrel", "The report has no automation object");
    return *owner_;
}

void frmReport::Form_Load() {
    TrapNumbered(global_.ports.windows, "frmReport.Form_Load:", [&] {
        global_.ports.windows.MakeTopMost(*this);
        ShowSiteCaption();
        LoadDocs();
        service_.reset(); // first, so that no event comes twice
        service_ = serviceEvents_.Attach(*this);
    });
}

void frmReport::Leave() {
    watch_.Stop();
    vocal_.Drop({}); // before what is typed is kept
    drafts_.Leave();
    compare_.Dismiss();
    ForgetPrinted();
}

void frmReport::ForgetPrinted() {
    if (const auto row = std::exchange(printed_, std::nullopt))
        Trap([&] { EmptyPrintTable(global_, *row); },
             [&](const Error& error) {
                 global_.ports.process.LogToDesktop("The printed report stays in the print table: " +
                                                    error.description);
             });
}

void frmReport::Form_Unload() {
    Leave();
    Trap([&] { Owner().CloseReport(); }, [](const Error&) {});
    global_.ports.windows.Unload(*this);
}

void frmReport::ShowSiteCaption() {
    TrapNumbered(global_.ports.windows, "frmReport.ShowSiteCaption:", [&] {
        const auto site = Catalogue(global_).OpenResultSet("SELECT * FROM SiteData ");
        if (!site->AtEnd())
            Caption(site->Text("Organization"));
        // Before the screen is filled, which goes by it.
        global_.reportForm = site->AtEnd() ? ReportForm::Classic : ReportFormOf(*site);
        site->Close();
    });
}

void frmReport::LoadDocs() {
    TrapNumbered(global_.ports.windows, "frmReport.LoadDocs:", [&] {
        const auto& document = CurrentDocument(global_);
        drafts_.Leave();
        compare_.Dismiss();
        if (shown_ != global_.report)
            vocal_.Drop("Dictation ended: another report was opened");
        if (shown_ && shown_->studyUid != global_.report->studyUid)
            StartClean();
        const auto opened = shown_ = global_.report;
        screen_ = {.unwritablePatient = document.UnwritablePatient()};
        cmdNew.Enabled(shown_->imageSeries != nullptr);
        FillHistory();
        WriteLog(global_, "History initialized");
        if (document.VersionCount() > 0)
            SelectLastVersion();
        else
            FillScreen();
        WriteLog(global_, "LoadDocs: Document loaded");
        global_.currentUserName = global_.userInformation->UserName();
        LookUpUserAndSite();
        writingHelp_.ReadSite();
        vocal_.Command(writingHelp_.Settings().dictation);
        if (opened != shown_)
            return; // another was opened while the viewer was waited for
        if (document.VersionCount() > 0)
            WatchReport();
        else
            watch_.Stop(); // nobody can know of this one before its first version is sent
    });
}

void frmReport::WatchReport() {
    watch_.Watch(shown_->document->SeriesUid(), [this, report = shown_](const WatchedReport& found) {
        if (report == shown_)
            Trap([&] { TakeNews(found); }, [](const Error&) {});
    });
}

void frmReport::StartClean() {
    ForgetPrinted();
    for (Label* label : {&txtPtName, &txtPtPatientID, &txtPtSex, &txtPtBirthDate, &txtPtAge, &txtPhysician,
                         &txtStDescription, &txtStDate})
        label->Text(NotFilled);
    for (Label* label : {&txtReferringPhysician, &txtUpdateDate, &txtApprovingPhysician, &txtApprovalDate})
        label->Text("");
    cmbReportTitle.Text("");
    txtReportTitle.Text("");
    txtReportAnnotation.Text("");
    ShowCodes({});
    if (shown_->pendingImages && !shown_->pendingImages->empty())
        Owner().RemoveImagesFromRefertList();
}

void frmReport::FillHistory() {
    TrapNumbered(global_.ports.windows, "frmReport.FillHistory:", [&] {
        lstHistory.Clear();
        const auto& document = CurrentDocument(global_);
        for (std::int16_t i = 1; i <= document.VersionCount(); ++i)
            lstHistory.AddItem(document.Version(i));
        cmdCompare.Enabled(document.VersionCount() > 1);
    });
}

void frmReport::SelectLastVersion() {
    if (lstHistory.ListCount() > 0)
        lstHistory.ListIndex(lstHistory.ListCount() - 1);
}

void frmReport::lstHistory_Click() {
    TrapNumbered(global_.ports.windows, "frmReport.lstHistory_Click:", [&] {
        auto& document = ShownDocument();
        const int chosen = lstHistory.ListIndex();
        if (TakeInOthers())
            return lstHistory.ListIndex(chosen); // which comes here again
        document.GotoVersion(static_cast<std::int16_t>(chosen));
        FillScreen();
    });
}

bool frmReport::TakeInOthers() {
    auto& document = ShownDocument();
    if (document.Others().empty())
        return false;
    document.TakeInOthers();
    FillHistory();
    return true;
}

void frmReport::TakeNews(const WatchedReport& found) {
    if (saving_) { // which looks by itself, and may be sending what is told
        missedNews_ = found;
        return;
    }
    screen_.inCatalogue = found;
    auto& document = *shown_->document;
    if (bool readOnly = true; !document.LookForOthers(found.lastFile).empty() && !document.OthersBarrier().empty()) {
        Lock(readOnly);
        ShowDraft();
    }
    ShowState();
}

void frmReport::FillScreen() {
    drafts_.Leave();
    ForgetCodes();
    screen_.notShown.clear();
    screen_.notStored.clear();
    const int fill = ++fills_;
    ++filling_;
    Trap(
        [&] {
            const auto report = global_.report; // the viewer may be waited for below
            const auto& document = CurrentDocument(global_);
            FillPatientAndStudy(document);
            FillTitle(document);
            writingHelp_.Fill(txtReportAnnotation, document.Reading(), document);
            ShowReferring(document.Referring());
            ShowApprover(document);
            bool readOnly = document.ReadOnly();
            Lock(readOnly);
            screen_.waiting = WaitingVersions(global_.ports, document.SeriesUid(), stored_);
            images_.Recall();
            screen_.waitingImages = images_.Waiting();
            ShowState();
            frmDataReport.Refresh();
            images_.Load(owner_);
            if (fill != fills_)
                return; // another version or report was shown meanwhile
            FillCodes(document);
            drafts_.Show({.owner = DraftOwnerOf(document),
                          .lastVersion = LastLabel(document),
                          .lastShown = document.VersionIndex() == document.NumVersions() - 1,
                          .editable = !document.ReadOnly()});
        },
        [&](const Error& error) {
            ShowNumberedError(global_.ports.windows, "frmReport.FillScreen:", error);
            screen_.notShown = error.description;
            bool readOnly = true; // what is shown in part must not be saved over the whole
            Lock(readOnly);
            ShowState();
        });
    --filling_;
    vocal_.GoOn();
}

void frmReport::FillPatientAndStudy(const DcmSRDocument& document) {
    txtPtName.Text(document.PatientName());
    txtPtPatientID.Text(document.PatientID());
    txtPtSex.Text(document.PatientSex());
    txtPtBirthDate.Text(DateText(document.PatientBirthday()));
    FillAge();
    txtPhysician.Text(document.ReferringPhysician());
    txtStDate.Text(DateText(document.StudyDate()));
    txtStDescription.Text(document.StudyDescription());
}

void frmReport::FillAge() {
    if (const auto birth = ParseDate(txtPtBirthDate.Text()))
        txtPtAge.Text(AgeText(*birth, global_.ports.clock.Now()));
}

std::vector<std::string> frmReport::Meanings(std::string_view statement) const {
    const auto rows = Catalogue(global_).OpenResultSet(statement);
    std::vector<std::string> meanings;
    for (; !rows->AtEnd(); rows->MoveNext())
        meanings.emplace_back(rows->Field("CodeMeaning").value_or(""));
    rows->Close();
    return meanings;
}

void frmReport::FillTitle(const DcmSRDocument& document) {
    // The list is deliberately not cleared: each fill adds the whole table again.
    cmbReportTitle.AddItems(Meanings("SELECT * FROM StdTitles Order by CodeMeaning "));

    std::string scheme, code, meaning, annotation;
    document.GetTitle(scheme, code, meaning, annotation);
    writingHelp_.Fill(cmbReportTitle, meaning, document);
    writingHelp_.Fill(txtReportTitle, annotation, document);
}

void frmReport::ShowReferring(const ObservationContext* referring) {
    txtReferringPhysician.Text(referring ? referring->ObserverName : "");
    txtUpdateDate.Text(referring ? DateTimeText(referring->ObservationDateTime) : "");
    if (txtReferringPhysician.Text().empty())
        txtReferringPhysician.Text("Not yet referred");
}

void frmReport::ShowApprover(const DcmSRDocument& document) {
    const auto* approver = document.Approver();
    txtApprovingPhysician.Text(approver ? approver->ObserverName : "");
    txtApprovalDate.Text(approver ? DateTimeText(approver->ObservationDateTime) : "");
    cmdPrint.Enabled(approver && !document.HoldsMore()); // a page holds no more than the screen
    if (txtApprovingPhysician.Text().empty())
        txtApprovingPhysician.Text(NotYetApproved);
}

void frmReport::Lock(bool& readOnly) {
    readOnly = !readOnly;
    for (Control* control : std::to_array<Control*>({&frmDataReport, &frmReading, &frmDiagnosis, &frmFinding, &cmdSave,
                                                     &cmdApprove, &cmdTitle, &cmdBaseBody, &cmdFnAdd, &cmdFnModify,
                                                     &cmdFnDelete, &cmdDxAdd, &cmdDxModify, &cmdDxDelete}))
        control->Enabled(readOnly);
    writingHelp_.Look();
    if (!readOnly && vocal_.UnderWay())
        vocal_.Drop("Dictation ended: a version was shown that cannot be changed");
}

void frmReport::ShowState() {
    const auto* document = shown_ ? shown_->document.get() : nullptr;
    if (!document)
        return;
    screen_.unsavedChanges = drafts_.Unsaved();
    const auto [text, tone] = DescribeState(*document, screen_);
    lblState.Text(text);
    lblState.Emphasis(tone);
}

void frmReport::ShowDraft() {
    const auto* document = shown_ ? shown_->document.get() : nullptr;
    if (!document)
        return;
    const bool offered = drafts_.Offer();
    const auto [text, tone] = DescribeDraft(*document, {drafts_.Offer(), drafts_.OfferCount(), drafts_.Failure()});
    lblDraft.Text(text);
    lblDraft.Emphasis(tone);
    lblDraft.Visible(!text.empty());
    cmdPutBack.Visible(offered);
    cmdPutBack.Enabled(offered && !document->ReadOnly());
    cmdDiscard.Visible(offered);
}

void frmReport::TakeEdit() {
    global_.ports.dicom.GetReadyToStore();
    ShowState();
    drafts_.Edited();
}

void frmReport::cmbReportTitle_Change() {
    TakeEdit();
    writingHelp_.HeadingChosen();
}

TypedTexts frmReport::Typed() const {
    return {cmbReportTitle.Text(), txtReportTitle.Text(), txtReportAnnotation.Text(),
            WritesCodes() ? std::optional(Codes()) : std::nullopt};
}

DraftOwner frmReport::DraftOwnerOf(const DcmSRDocument& document) const {
    const bool saved = document.VersionCount() > 0;
    return {.kind = saved ? DraftOwner::Kind::Report : DraftOwner::Kind::NewReport,
            .uid = saved ? document.SeriesUid() : shown_->studyUid,
            .patientId = document.PatientID(),
            .patientName = document.PatientName()};
}

void frmReport::LookUpUserAndSite() {
    TrapNumbered(global_.ports.windows, "frmReport.LookUpUserAndSite:", [&] {
        const auto user = Catalogue(global_).OpenResultSet(" SELECT * FROM Users WHERE UserName='" +
                                                           InQuotes(global_.currentUserName) + "'");
        if (!user->AtEnd()) {
            global_.userSignature = user->Text("Signature");
            const auto site = Catalogue(global_).OpenResultSet("SELECT * FROM SiteData");
            global_.organization = site->AtEnd() ? "Unknown organization" : site->Text("Organization");
            site->Close();
        }
        user->Close();
    });
}

void frmReport::AddImage(const std::string& fileName, const ViewParametersHandle& viewPars,
                         const std::string& lutName) {
    TrapShort(global_.ports.windows, "frmReport ", [&] {
        MakeShownCurrent();
        images_.AddImage(fileName, viewPars, lutName);
    });
}

void frmReport::RemoveImage(const std::string& fileName) {
    TrapShort(global_.ports.windows, "frmReport ", [&] { images_.RemoveImage(fileName); });
}

void frmReport::Porvane_OnStore(const std::string& sopInstanceUid, const std::string& seriesUid,
                                const std::string& path) {
    Trap([&] { TakeStore(sopInstanceUid, seriesUid, path); },
         [&](const Error& error) { storeFailures_.push_back(error); });
    TellStoreFailures();
}

void frmReport::TakeStore(const std::string& sopInstanceUid, const std::string& seriesUid, const std::string& path) {
    stored_.insert(sopInstanceUid);
    MakeShownCurrent();
    if (OfAnotherStudy(seriesUid))
        return;
    if (global_.report->document)
        global_.report->document->StoredAs(sopInstanceUid, path);
    global_.report->filePath = path;
    handedOver_ = true;
    images_.Write();
    ShowWaiting();
}

void frmReport::OnOtherStore(const std::string& sopInstanceUid) {
    Trap(
        [&] {
            stored_.insert(sopInstanceUid);
            MakeShownCurrent();
            ShowWaiting();
        },
        [&](const Error& error) { storeFailures_.push_back(error); });
    TellStoreFailures();
}

void frmReport::ShowWaiting() {
    if (saving_ || !global_.report->document)
        return; // the save shows what came of it
    screen_.waiting = WaitingVersions(global_.ports, global_.report->document->SeriesUid(), stored_);
    screen_.waitingImages = images_.Waiting();
    ShowState();
}

void frmReport::TellStoreFailures() {
    if (tellingStoreFailures_)
        return;
    tellingStoreFailures_ = true;
    while (!storeFailures_.empty()) {
        const auto failures = std::exchange(storeFailures_, {});
        Error told = failures.front();
        if (failures.size() > 1)
            told.description +=
                "\r\n(" + std::to_string(failures.size() - 1) + " more of the storage service's events failed.)";
        ShowNumberedError(global_.ports.windows, "frmReport.Porvane_OnStore:", told);
    }
    tellingStoreFailures_ = false;
}

bool frmReport::OfAnotherStudy(const std::string& seriesUid) const {
    const auto& report = *global_.report;
    if (!report.document || !IsUid(seriesUid) || seriesUid == report.document->SeriesUid())
        return false;
    const auto series = Catalogue(global_).OpenResultSet(
        "SELECT StudyInstanceUID FROM Series WHERE SeriesInstanceUID='" + InQuotes(seriesUid) + "'");
    const bool another = !series->AtEnd() && series->Field("StudyInstanceUID") != report.studyUid;
    series->Close();
    return another;
}

} // namespace tavrel
