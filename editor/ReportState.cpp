#include "editor/ReportState.h"

#include "host/Text.h"

namespace tavrel {
namespace {

using Tone = Label::Tone;

std::string Approval(const ObservationContext& approver) {
    std::string text = "Approved";
    if (!approver.ObserverName.empty())
        text += " by " + approver.ObserverName;
    if (const auto when = DateTimeText(approver.ObservationDateTime); !when.empty())
        text += " on " + when;
    return text;
}

bool LastVersion(const DcmSRDocument& document) {
    return document.VersionIndex() == document.NumVersions() - 1;
}

/// Of a report that can be edited.
StateLine Editable(const DcmSRDocument& document, const ScreenState& screen) {
    if (!screen.unwritablePatient.empty())
        return {"No report can be saved for this patient: " + OneLine(screen.unwritablePatient), Tone::Failure};
    if (document.VersionCount() == 0)
        return {"New report, not yet saved", Tone::Attention};
    if (screen.unsavedChanges)
        return {"Unsaved changes", Tone::Attention};
    return {"Saved at " + document.Version(document.VersionCount()), Tone::Neutral};
}

StateLine OfTheVersion(const DcmSRDocument& document, const ScreenState& screen) {
    if (!document.Damage().empty())
        return {"Read-only: " + OneLine(document.Damage()), Tone::Failure};
    if (document.HoldsMore())
        return {"Read-only: this report holds contents that are not shown here", Tone::Attention};
    if (const auto* approver = document.Approver())
        return {Approval(*approver), Tone::Settled};
    if (document.NumVersions() > 0 && !LastVersion(document))
        return {"Older version, read-only", Tone::Attention};
    if (document.status() == DcmSRDocument::Approved)
        return {"Approved", Tone::Settled};
    return Editable(document, screen);
}

std::string Offer(const DcmSRDocument& document, const Draft& draft, std::size_t count) {
    std::string text = "Draft of " + FullDateTimeText(draft.written) + ", not saved";
    if (count > 1)
        text += " (the newest of " + std::to_string(count) + ")";
    if (document.HoldsMore() || !document.Damage().empty())
        return text + "; this report cannot be changed here";
    if (document.status() == DcmSRDocument::Approved)
        return text + "; the report is approved meanwhile";
    if (document.ReadOnly())
        return text + "; \"Last Version\" shows where it can be put back";
    if (LastLabel(document) != draft.version)
        return text + "; a newer version was saved meanwhile";
    return text;
}

} // namespace

std::string LastLabel(const DcmSRDocument& document) {
    return document.VersionCount() > 0 ? document.Version(document.VersionCount()) : "";
}

StateLine DescribeState(const DcmSRDocument& document, const ScreenState& screen) {
    if (!screen.notShown.empty())
        return {"NOT SHOWN: " + OneLine(screen.notShown), Tone::Failure};
    if (!screen.notStored.empty())
        return {"NOT STORED: " + OneLine(screen.notStored), Tone::Failure};
    StateLine line = OfTheVersion(document, screen);
    if (screen.waiting > 0) {
        const std::string waiting = "waiting for the storage service (" + std::to_string(screen.waiting) +
                                    (screen.waiting == 1 ? " version)" : " versions)");
        line.text += "; " + waiting;
    }
    if (screen.waitingImages > 0)
        line.text += "; images not yet kept with the report: " + std::to_string(screen.waitingImages);
    if ((screen.waiting > 0 || screen.waitingImages > 0) && line.tone != Tone::Failure)
        line.tone = Tone::Attention;
    return line;
}

StateLine DescribeDraft(const DcmSRDocument& document, const DraftState& state) {
    std::string offer = state.offer ? Offer(document, *state.offer, state.offers) : "";
    if (state.notKept.empty())
        return {std::move(offer), Tone::Attention};
    return {offer + (offer.empty() ? "" : ". ") +
                "What is typed now is safe only once it is saved: " + OneLine(state.notKept),
            Tone::Failure};
}

} // namespace tavrel
