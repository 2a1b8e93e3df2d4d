#include "editor/ReportState.h"

#include "host/Text.h"
#include "platform/person_name.h"

namespace tavrel {
namespace {

using Tone = Label::Tone;

std::string Approval(const ObservationContext& approver) {
    std::string text = "Approved";
    if (!approver.ObserverName.empty())
        text += " by " + WrittenName(approver.ObserverName);
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

std::string Saver(const OtherVersion& other) {
    return other.saver.empty() ? "Somebody" : WrittenName(other.saver);
}

/// The band tells of the last one, which is what counts.
StateLine OfOthers(const DcmSRDocument& document, const ScreenState& screen) {
    const OtherVersion& last = document.Others().back();
    std::string text;
    if (last.label.empty())
        text = "A further version of this report cannot be read: " + OneLine(last.barrier);
    else if (last.approved)
        text = Saver(last) + " approved this report at " + last.label;
    else
        text = Saver(last) + " saved a version at " + last.label;
    if (document.Others().size() > 1)
        text += " (the last of " + std::to_string(document.Others().size()) + ")";
    text += "; \"Last Version\" shows it";
    if (screen.unsavedChanges)
        text += document.OthersBarrier().empty() ? "; unsaved changes" : "; what is typed is kept as a draft";
    return {std::move(text), Tone::Attention};
}

StateLine OfTheVersion(const DcmSRDocument& document, const ScreenState& screen) {
    if (!document.Damage().empty())
        return {"Read-only: " + OneLine(document.Damage()), Tone::Failure};
    if (document.HoldsMore())
        return {"Read-only: this report holds contents that are not shown here", Tone::Attention};
    if (!document.Others().empty())
        return OfOthers(document, screen);
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
    const auto& others = document.Others();
    if (document.status() == DcmSRDocument::Approved || (!others.empty() && others.back().approved))
        return text + "; the report is approved meanwhile";
    if (document.ReadOnly())
        return text + "; \"Last Version\" shows where it can be put back";
    if (LastLabel(document) != draft.version)
        return text + "; a newer version was saved meanwhile";
    return text;
}

/// A line for each.
std::string List(const std::vector<OtherVersion>& others) {
    std::string text;
    for (const OtherVersion& other : others) {
        if (other.label.empty())
            text += "A further version of this report, " + other.file + ", cannot be read.";
        else
            text += Saver(other) +
                    (other.approved ? " approved this report at " : " saved a version of this report at ") +
                    other.label + ".";
        text += "\r\n";
    }
    return text;
}

/// Of the versions that are on the screen's list, neither more nor fewer.
std::string Archived(const DcmSRDocument& document, const WatchedReport& report) {
    if (!report.archived || report.versions != document.NumVersions())
        return {};
    if (*report.archived >= report.versions)
        return "; in the archive";
    if (*report.archived == 0)
        return "; not yet in the archive";
    return "; " + std::to_string(*report.archived) + " of " + std::to_string(report.versions) +
           " versions are in the archive";
}

} // namespace

std::string DescribeOthers(const DcmSRDocument& document, std::string_view onTop) {
    return List(document.Others()) +
           "It is not what your screen shows.\r\n\r\n"
           "\"Look at it first\" shows it. What you have typed is kept as a draft, which \"Put back\" offers; images "
           "that "
           "were added since the last save have to be added again.\r\n\"" +
           std::string(onTop) +
           "\" makes what your screen shows the newest version. Every version stays in the list, and yours names "
           "them all.\r\n\"Cancel\" leaves everything as it is.";
}

std::string DescribeBarrier(const DcmSRDocument& document) {
    return List(document.Others()) + document.OthersBarrier() +
           "\r\n\r\nNothing was saved. The screen shows the last version now; what you have typed is kept as a draft, "
           "images that were "
           "added since the last save are not.";
}

std::string LastLabel(const DcmSRDocument& document) {
    return document.VersionCount() > 0 ? document.Version(document.VersionCount()) : "";
}

StateLine DescribeState(const DcmSRDocument& document, const ScreenState& screen) {
    if (!screen.notShown.empty())
        return {"NOT SHOWN: " + OneLine(screen.notShown), Tone::Failure};
    if (!screen.notStored.empty())
        return {"NOT STORED: " + OneLine(screen.notStored), Tone::Failure};
    StateLine line = OfTheVersion(document, screen);
    if (line.tone == Tone::Neutral || line.tone == Tone::Settled)
        line.text += Archived(document, screen.inCatalogue);
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
