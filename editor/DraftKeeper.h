#pragma once

#include "editor/Drafts.h"
#include "platform/timer.h"

#include <functional>
#include <optional>
#include <string>
#include <vector>

namespace tavrel {

/// Keeps what is typed into the report on the screen and not saved, and offers what was left of an earlier time:
/// after a crash, a closing, or when another report was shown. Nothing here fails.
class DraftKeeper {
public:
    /// A report that the screen was filled from.
    struct Report {
        DraftOwner owner{};
        std::string lastVersion{}; ///< the label of its last version; empty when it has none
        bool lastShown = true;     ///< the screen shows the last version
        bool editable = true;
    };

    /// `screen` answers what the boxes hold. `changed` is called when there is another offer or failure to show.
    DraftKeeper(const Ports& ports, Timer& timer, std::function<TypedTexts()> screen, std::function<void()> changed);

    /// The screen was filled: looks for drafts of the report. What the boxes hold now is what the version holds.
    void Show(Report report);
    /// A person has typed. What was typed is on disk within `Delay`, and again so while typing goes on.
    void Edited();
    /// Whether the boxes hold another thing than the version that they were filled from.
    bool Unsaved() const;
    /// To be called before the boxes are filled anew and before the process ends: keeps what is typed, and lets go of
    /// the report. Without effect when there is none.
    void Leave();
    /// These texts are stored, or kept as a version; `owner` is what the report is known by from now on.
    void Saved(const DraftOwner& owner, const TypedTexts& texts);

    /// The newest draft on offer; none, or the report's drafts are all dealt with.
    const Draft* Offer() const { return offers_.empty() ? nullptr : &offers_.front().draft; }
    std::size_t OfferCount() const { return offers_.size(); }
    /// Why what is typed cannot be kept; empty as a rule.
    const std::string& Failure() const { return failure_; }

    /// The texts of the draft on offer, which are to be put into the boxes now; the next one is offered then. What
    /// stood in the boxes unsaved becomes a draft that is offered. Nothing when the report cannot be edited.
    std::optional<TypedTexts> PutBack();
    /// Removes the draft on offer. One that another process of the account has changed meanwhile is offered anew.
    void Discard();

private:
    struct Unwritten {
        DraftOwner owner;
        Draft draft;
    };

    void Keep();
    /// The draft of the boxes becomes one among others.
    std::optional<KeptDraft> SetAside();
    void DropOwn();
    void OfferAgain();
    void DropPutBackFile();
    void Drop(KeptDraft& draft);
    void WriteUnwritten();
    void MoveOffers(const DraftOwner& owner);
    void DropKnown();
    void Fail(const std::string& why);
    void Tick();

    const Ports& ports_;
    Timer& timer_;
    std::function<TypedTexts()> screen_;
    std::function<void()> changed_;
    Drafts drafts_;

    std::optional<Report> report_; ///< none while the boxes hold no report's texts
    TypedTexts saved_;             ///< what the version on the screen holds
    bool waiting_ = false;         ///< the timer runs
    std::optional<KeptDraft> own_; ///< the draft of what the boxes hold, once there is one
    /// Where the boxes' texts come from, which can be taken back. It has no file once the boxes' own draft is written.
    std::optional<KeptDraft> putBack_;
    std::vector<KeptDraft> offers_;
    std::vector<Unwritten> unwritten_; ///< of reports that were left while nothing could be written
    std::string failure_;
};

} // namespace tavrel
