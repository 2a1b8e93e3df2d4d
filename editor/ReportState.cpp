#include "editor/ReportState.h"

#include "host/Text.h"

#include <algorithm>

namespace tavrel {
namespace {

using Tone = Label::Tone;

/// An error's words on one line.
std::string OneLine(std::string text) {
    std::erase(text, '\r');
    std::ranges::replace(text, '\n', ' ');
    return text;
}

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

} // namespace

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
        if (line.tone != Tone::Failure)
            line.tone = Tone::Attention;
    }
    return line;
}

} // namespace tavrel
