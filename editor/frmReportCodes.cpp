// The body part, the findings and the diagnoses of the report editor: part of a report in the interchange form.

#include "editor/frmReport.h"
#include "host/Catalogue.h"
#include "platform/text.h"
#include "sr/DcmSRDocument.h"

#include <utility>

namespace tavrel {
namespace {

[[noreturn]] void Refuse(const std::string& place, const std::string& why) {
    throw Error(Fault::TypeMismatch, "frmReport", "The report cannot be stored. " + place + ": " + why);
}

/// With the scheme that every code must name: one without a scheme is the site's own.
std::vector<ContentNode> Writable(std::vector<ContentNode> entries, std::string_view kind) {
    for (std::size_t i = 0; i < entries.size(); ++i) {
        auto& [scheme, code, meaning, annotation] = entries[i];
        const std::string place = std::string(kind) + " " + std::to_string(i + 1);
        if (Trimmed(code).empty() || Trimmed(meaning).empty())
            Refuse(place, "It has no " + std::string(Trimmed(code).empty() ? "code" : "description: " + code));
        if (const auto fault = CodeFault(code, scheme, meaning); !fault.empty())
            Refuse(place, fault);
        if (Trimmed(scheme).empty())
            scheme = PrivateScheme;
    }
    return entries;
}

} // namespace

void frmReport::ForgetCodes() {
    if (codesOfVersion_ || WritesCodes())
        ShowCodes({});
    codesOfVersion_ = false;
    form_ = global_.reportForm;
    TellWhetherStored(WritesCodes());
}

void frmReport::TellWhetherStored(bool stored) {
    for (Label* note : {&lblBodyPartNote, &lblFindingNote, &lblDiagnosisNote})
        note->Visible(!stored);
}

void frmReport::FillCodes(const DcmSRDocument& document) {
    if (cmbBodyPart.ListCount() > 0)
        cmbBodyPart.Clear();
    if (WritesCodes())
        cmbBodyPart.AddItems(Meanings("SELECT * FROM StdBodyPart Order by CodeMeaning "));
    codesOfVersion_ = document.HoldsCodedEntries();
    if (!codesOfVersion_ && !WritesCodes())
        return;
    ShowCodes(CodesOf(document));
    TellWhetherStored(WritesCodes() || document.ReadOnly());
}

ReportCodes frmReport::Codes() const {
    return {cmbBodyPart.Text(), EntriesOf(lstFinding), EntriesOf(lstDiagnosis)};
}

void frmReport::ShowCodes(const ReportCodes& codes) {
    cmbBodyPart.Text(codes.bodyPart);
    ShowEntries(lstFinding, codes.findings);
    ShowEntries(lstDiagnosis, codes.diagnoses);
}

frmReport::CodesToPut frmReport::CheckedCodes(const DcmSRDocument& document) const {
    return {CodedBodyPart(document), Writable(EntriesOf(lstFinding), "Finding"),
            Writable(EntriesOf(lstDiagnosis), "Diagnosis")};
}

ContentNode frmReport::CodedBodyPart(const DcmSRDocument& document) const {
    const std::string& meaning = cmbBodyPart.Text();
    if (Trimmed(meaning).empty())
        return {};
    // What another site has coded keeps its code, though the tables here may not know it.
    if (const auto& held = document.BodyPartNode();
        document.HoldsCodedEntries() && !held.Code.empty() && held.CodeMeaning == meaning)
        return held;
    auto node =
        LookUp("SELECT * FROM StdBodyPart Where CodeMeaning='", meaning).value_or(ContentNode{{}, {}, meaning, {}});
    if (node.Code.empty())
        return node;
    if (const auto fault = CodeFault(node.Code, node.CodeScheme, node.CodeMeaning); !fault.empty())
        Refuse("Body part", fault);
    return node;
}

} // namespace tavrel
