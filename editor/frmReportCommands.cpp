// The buttons of the report editor that commit the physician's work or change what is shown.

#include "editor/PrintReport.h"
#include "editor/frmReport.h"
#include "host/Catalogue.h"
#include "host/ErrorReport.h"
#include "host/Text.h"
#include "host/chooser/frmSRSeriesChoice.h"
#include "sr/DcmSRDocument.h"

#include <utility>

namespace tavrel {

namespace {

bool IsSafe(const Delivery& delivery) {
    return delivery.fate == Delivery::Fate::Stored || delivery.fate == Delivery::Fate::Kept;
}

} // namespace

void frmReport::cmdSave_Click() {
    Save("Save");
}

bool frmReport::Save(std::string_view deed) {
    Delivery delivery;
    saving_ = true;
    Trap(
        [&] {
            do {
                auto& document = ShownDocument();
                const int before = document.NumVersions();
                delivery = {};
                if (!MayWrite(deed))
                    return;
                // What goes on top of another's version is its writer's before it is anybody's to approve.
                const bool first = document.status() == DcmSRDocument::Approved && document.NumVersions() != before;
                if (first) {
                    document.status(DcmSRDocument::Pending);
                    WriteVersion(delivery);
                    document.status(DcmSRDocument::Approved);
                    if (!IsSafe(delivery))
                        continue;
                }
                WriteVersion(delivery);
                if (first && !IsSafe(delivery))
                    document.status(DcmSRDocument::Pending);
            } while (delivery.fate == Delivery::Fate::Overtaken);
        },
        [&](const Error& error) {
            ShowNumberedError(global_.ports.windows, "Save report - ", error);
            delivery.why = error.description;
        });
    saving_ = false;
    const bool saved = IsSafe(delivery);
    screen_.notStored = saved ? "" : delivery.why;
    ShowState();
    if (const auto news = std::exchange(missedNews_, std::nullopt))
        TakeNews(*news);
    vocal_.GoOn();
    return saved;
}

void frmReport::WriteVersion(Delivery& delivery) {
    auto& document = ShownDocument();
    const TypedTexts sent = Typed();
    global_.reportForm = form_; // of which the screen tells; the site may have been read again since
    PutTitleAndReading(document);
    const auto named = document.Images();
    images_.Name();
    handedOver_ = false;
    if (shown_ && document.VersionCount() == 0)
        WatchReport(); // the service may have it also where no answer comes
    delivery = document.Send();
    if (!IsSafe(delivery)) {
        document.Images(named); // those of the list stay there, and may be taken away before the next save
        return;                 // what was typed stays on the screen
    }
    if (!handedOver_)
        KeepImages(delivery);
    drafts_.Saved(DraftOwnerOf(document), sent);
    FillHistory();
    images_.KeepOnDisk();
    SelectLastVersion();
    images_.TellUnnamed();
}

bool frmReport::MayWrite(std::string_view deed) {
    auto& document = ShownDocument();
    while (!document.LookForOthers().empty()) {
        const auto told = document.Others().size();
        const Answer answer = AskAboutOthers(deed);
        if (answer == Answer::Cancel)
            return false;
        if (document.LookForOthers().size() != told)
            continue; // one more came while the question stood there
        TakeInOthers();
        if (answer == Answer::No)
            return true;
        SelectLastVersion();
        return false;
    }
    return true;
}

Answer frmReport::AskAboutOthers(std::string_view deed) {
    const auto& document = ShownDocument();
    if (!document.OthersBarrier().empty())
        return global_.ports.windows.Ask({.text = DescribeBarrier(document), .title = {}, .icon = Icon::Exclamation});
    const std::string onTop = std::string(deed) + " on top";
    return global_.ports.windows.Ask({.text = DescribeOthers(document, onTop),
                                      .title = {},
                                      .buttons = Buttons::YesNoCancel,
                                      .icon = Icon::Exclamation,
                                      .defaultAnswer = Answer::Yes,
                                      .yes = "Look at it first",
                                      .no = onTop});
}

bool frmReport::MayLeaveBlanks() {
    const auto left = writingHelp_.BlanksLeft();
    if (left == 0)
        return true;
    const auto answer = global_.ports.windows.Ask(
        {.text = (left == 1 ? "One blank of the reading is" : std::to_string(left) + " blanks of the reading are") +
                 std::string(" not filled in (\"___\")."),
         .title = {},
         .buttons = Buttons::YesNo,
         .icon = Icon::Exclamation,
         .defaultAnswer = Answer::No,
         .yes = "Approve as it is",
         .no = "Fill it in"});
    if (answer == Answer::No)
        writingHelp_.Step(false);
    return answer == Answer::Yes;
}

void frmReport::KeepImages(const Delivery& delivery) {
    images_.Keep();
    if (delivery.fate == Delivery::Fate::Stored && images_.Waiting() > 0)
        global_.ports.windows.Ask(
            {.text = "The version is stored, but its images are not kept with it yet: the storage service did not tell "
                     "where it stored the version. They wait for the next save.",
             .title = {}});
}

void frmReport::PutTitleAndReading(DcmSRDocument& document) {
    const auto coded = LookUp("SELECT * FROM StdTitles Where CodeMeaning='", cmbReportTitle.Text());
    const ContentNode heading = coded.value_or(ContentNode{{}, {}, cmbReportTitle.Text(), {}});
    const auto codes = WritesCodes() ? std::optional(CheckedCodes(document)) : std::nullopt;
    document.SetTitle(heading.CodeScheme, heading.Code, heading.CodeMeaning, txtReportTitle.Text());
    if (!coded)
        document.FreeHeading(heading.CodeMeaning);
    document.Reading(txtReportAnnotation.Text());
    if (codes)
        document.PutCodedEntries(codes->bodyPart, codes->findings, codes->diagnoses);
}

std::optional<ContentNode> frmReport::LookUp(std::string_view whereMeaning, const std::string& meaning) const {
    const auto row = Catalogue(global_).OpenResultSet(std::string(whereMeaning) + InQuotes(meaning) + "'");
    std::optional<ContentNode> found;
    if (!row->AtEnd())
        found = {row->Text("CodeScheme"), row->Text("CodeValue"), row->Text("CodeMeaning"), {}};
    row->Close();
    return found;
}

void frmReport::cmdApprove_Click() {
    TrapNumbered(global_.ports.windows, "Approve Report ", [&] {
        const int before = ShownDocument().NumVersions();
        if (vocal_.UnderWay()) {
            global_.ports.windows.Ask(
                {.text = "A dictation is under way. \"Vocal\" ends it; then approve.", .title = {}});
            return;
        }
        if (!MayLeaveBlanks())
            return;
        if (!MayWrite("Approve"))
            return ShowState();
        // What goes on top of another's version is its writer's before it is anybody's to approve.
        if (ShownDocument().NumVersions() != before && !Save("Save"))
            return;
        const auto answer = global_.ports.windows.Ask(
            {.text = "The approved document will not be editable anymore ... do you want to continue ?",
             .title = "Approving document ... ",
             .buttons = Buttons::YesNo,
             .icon = Icon::Exclamation,
             .defaultAnswer = Answer::No});
        if (answer != Answer::Yes)
            return;
        auto& document = CurrentDocument(global_);
        const std::string formerPhysician = txtApprovingPhysician.Text(), formerDate = txtApprovalDate.Text();
        document.status(DcmSRDocument::Approved);
        txtApprovingPhysician.Text(global_.userSignature);
        txtApprovalDate.Text(DateTimeText(global_.ports.clock.Now()));
        if (const int fill = fills_; !Save("Approve")) { // there is no approved version anywhere
            if (fill != fills_)
                return; // the screen shows another's version now, as it stands
            document.status(DcmSRDocument::Pending);
            txtApprovingPhysician.Text(formerPhysician);
            txtApprovalDate.Text(formerDate);
            return;
        }
        txtApprovingPhysician.Refresh();
        txtApprovalDate.Refresh();
        bool readOnly = true;
        Lock(readOnly);
        cmdPrint.Enabled(true);
        WriteHistory(global_, global_.report->seriesUid, "REFERT", "Validate Refert");
    });
}

void frmReport::cmdNew_Click() {
    TrapNumbered(global_.ports.windows, "frmReport.cmdNew_Click:", [&] {
        MakeShownCurrent();
        if (!global_.report->imageSeries) {
            global_.ports.windows.Ask({.text = "No referenced Series", .title = {}});
            return;
        }
        // Made apart: a report that could not be made leaves the shown one whole.
        const auto document = std::make_shared<DcmSRDocument>(global_);
        ReadReportForm(global_);
        document->CreateFromDDO(*global_.report->imageSeries, 0);
        StartReport(global_, global_.report->studyUid, document);
        Form_Load();
    });
}

void frmReport::cmdLastVersion_Click() {
    TrapNumbered(global_.ports.windows, "frmReport.cmdLastVersion_Click:", [&] {
        if (shown_ && shown_->document) {
            shown_->document->LookForOthers();
            TakeInOthers();
        }
        SelectLastVersion();
    });
}

void frmReport::cmdCompare_Click() {
    TrapNumbered(global_.ports.windows, "frmReport.cmdCompare_Click:", [&] {
        compare_.Compare(ShownDocument(), txtPtName.Text(), lstHistory.ListIndex(), *this);
    });
}

void frmReport::cmdOthers_Click() {
    TrapNumbered(global_.ports.windows, "frmReport.cmdOthers_Click:", [&] {
        MakeShownCurrent();
        if (!chooser_.ShowSRDocuments(global_.report->studyUid) || chooser_.cancelled() != 0)
            return;
        const auto seriesUid = chooser_.ChosenSeriesUid();
        if (seriesUid.empty())
            return;
        auto& owner = Owner();
        choosing_ = true;
        owner.LoadSRSeries(seriesUid);
        if (!std::exchange(choosing_, false)) // else it was not opened, which has been said
            Form_Load();
    });
}

void frmReport::cmdPrint_Click() {
    TrapShort(global_.ports.windows, "CmdPrint: ", [&] {
        MakeShownCurrent();
        const PrintRow row = PrintedRow();
        if (!FillPrintTable(global_, row))
            return;
        printed_ = row;
        ShowPrintReport(global_, printer_, row, PrintedCodes());
    });
}

PrintRow frmReport::PrintedRow() const {
    return {txtPtName.Text(),
            PrintedDate(txtPtBirthDate.Text()),
            txtPtAge.Text(),
            txtPtSex.Text(),
            txtPtPatientID.Text(),
            PrintedDate(txtStDate.Text()),
            txtStDescription.Text(),
            txtPhysician.Text(),
            cmbReportTitle.Text(),
            txtReportTitle.Text(),
            txtReferringPhysician.Text(),
            PrintedDate(txtUpdateDate.Text()),
            txtApprovingPhysician.Text(),
            PrintedDate(txtApprovalDate.Text()),
            txtReportAnnotation.Text()};
}

ReportCodes frmReport::PrintedCodes() const {
    return codesOfVersion_ ? Codes() : ReportCodes{};
}

void frmReport::cmdPutBack_Click() {
    TrapNumbered(global_.ports.windows, "frmReport.cmdPutBack_Click:", [&] {
        if (ShownDocument().ReadOnly())
            return;
        const auto texts = drafts_.PutBack();
        if (!texts)
            return;
        cmbReportTitle.Revise(texts->heading); // none that was chosen: the site's text for it stays away
        txtReportTitle.TypeIn(texts->title);
        txtReportAnnotation.TypeIn(texts->reading);
        if (texts->codes)
            ShowCodes(*texts->codes);
    });
}

void frmReport::cmdDiscard_Click() {
    TrapNumbered(global_.ports.windows, "frmReport.cmdDiscard_Click:", [&] { drafts_.Discard(); });
}

void frmReport::cmdClose_Click() {
    Leave();
    Trap([&] { global_.ports.process.End(); }, [](const Error&) {});
}

} // namespace tavrel
