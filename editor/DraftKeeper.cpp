#include "editor/DraftKeeper.h"

#include "host/ErrorReport.h"
#include "platform/text.h"

#include <algorithm>
#include <chrono>
#include <utility>

namespace tavrel {
namespace {

constexpr std::chrono::seconds Delay{2};

/// Blanks at the end of a text are not kept by every version.
bool Same(std::string_view left, std::string_view right) {
    return TrimmedRight(left, " \r\n") == TrimmedRight(right, " \r\n");
}

bool SameEntry(const ContentNode& left, const ContentNode& right) {
    return Same(left.CodeScheme, right.CodeScheme) && Same(left.Code, right.Code) &&
           Same(left.CodeMeaning, right.CodeMeaning) && Same(left.Annotation, right.Annotation);
}

bool SameCodes(const ReportCodes& left, const ReportCodes& right) {
    return Same(left.bodyPart, right.bodyPart) && std::ranges::equal(left.findings, right.findings, SameEntry) &&
           std::ranges::equal(left.diagnoses, right.diagnoses, SameEntry);
}

/// Whether the version holds the draft's words. A draft of a time when codes were no part of a report says nothing
/// of them.
bool Holds(const TypedTexts& version, const TypedTexts& draft) {
    return Same(version.heading, draft.heading) && Same(version.title, draft.title) &&
           Same(version.reading, draft.reading) &&
           (!draft.codes || (version.codes && SameCodes(*version.codes, *draft.codes)));
}

bool SameOwner(const DraftOwner& left, const DraftOwner& right) {
    return left.kind == right.kind && left.uid == right.uid && left.patientId == right.patientId &&
           left.patientName == right.patientName;
}

} // namespace

DraftKeeper::DraftKeeper(const Ports& ports, Timer& timer, std::function<TypedTexts()> screen,
                         std::function<void()> changed)
    : ports_(ports), timer_(timer), screen_(std::move(screen)), changed_(std::move(changed)), drafts_(ports) {}

void DraftKeeper::Show(Report report) {
    Leave();
    WriteUnwritten();
    saved_ = screen_();
    offers_ = drafts_.Of(report.owner);
    for (const auto& [owner, draft] : unwritten_)
        if (SameOwner(owner, report.owner))
            offers_.push_back({{}, draft});
    SortDrafts(offers_);
    report_ = std::move(report);
    DropKnown();
    changed_();
}

/// What the version or a newer draft holds word for word is not offered.
void DraftKeeper::DropKnown() {
    std::vector<KeptDraft> worthwhile;
    for (KeptDraft& each : offers_) {
        const bool ofTheVersion = Holds(saved_, each.draft.texts);
        const bool twice = std::ranges::any_of(worthwhile, [&](const KeptDraft& newer) {
            return !newer.file.empty() && newer.draft.texts == each.draft.texts;
        });
        if (!ofTheVersion && !twice)
            worthwhile.push_back(std::move(each));
        else if (!each.file.empty() && (twice || report_->lastShown))
            drafts_.Remove(each.file);
    }
    offers_ = std::move(worthwhile);
}

void DraftKeeper::Edited() {
    if (report_ && !std::exchange(waiting_, true))
        timer_.Start(Delay, [this] { Tick(); });
}

bool DraftKeeper::Unsaved() const {
    return report_ && screen_() != saved_;
}

void DraftKeeper::Tick() {
    waiting_ = false;
    Keep();
    // Looked at again while there is something unsaved: another process may have removed the file, or the state
    // folder can be written again.
    if (Unsaved())
        Edited();
}

void DraftKeeper::Keep() {
    if (!report_)
        return;
    const TypedTexts now = screen_();
    if (now == saved_)
        return DropOwn();
    if (own_ && own_->draft.texts == now && drafts_.There(own_->file))
        return;
    const Draft draft{now, ports_.clock.Now(), report_->lastVersion};
    Trap(
        [&] {
            if (own_)
                drafts_.Rewrite(own_->file, report_->owner, draft);
            else
                own_ = KeptDraft{drafts_.Add(report_->owner, draft), {}};
            own_->draft = draft;
            DropPutBackFile(); // the new draft stands for it
            Fail({});
        },
        [&](const Error& error) { Fail(error.description); });
}

void DraftKeeper::Fail(const std::string& why) {
    if (why == failure_)
        return;
    if (failure_.empty())
        ports_.process.LogToDesktop("What is typed cannot be kept as a draft: " + why);
    failure_ = why;
    changed_();
}

void DraftKeeper::DropOwn() {
    if (putBack_)
        OfferAgain();
    if (own_)
        drafts_.Remove(own_->file);
    own_.reset();
}

/// What was put back has been taken back.
void DraftKeeper::OfferAgain() {
    KeptDraft draft = *std::exchange(putBack_, std::nullopt);
    if (draft.file.empty()) {
        Drop(draft);
        Trap([&] { draft.file = drafts_.Add(report_->owner, draft.draft); },
             [&](const Error& error) {
                 unwritten_.push_back({report_->owner, draft.draft});
                 Fail(error.description);
             });
    }
    offers_.push_back(std::move(draft));
    SortDrafts(offers_);
    changed_();
}

void DraftKeeper::DropPutBackFile() {
    if (putBack_)
        Drop(*putBack_);
}

/// Its words stay in `draft`.
void DraftKeeper::Drop(KeptDraft& draft) {
    if (!draft.file.empty())
        return drafts_.Remove(std::exchange(draft.file, {}));
    std::erase_if(unwritten_, [&](const Unwritten& each) {
        return SameOwner(each.owner, report_->owner) && each.draft.texts == draft.draft.texts;
    });
}

std::optional<KeptDraft> DraftKeeper::SetAside() {
    Keep();
    const TypedTexts now = screen_();
    if (now == saved_)
        return std::nullopt;
    if (!own_ || own_->draft.texts != now) { // it could not be written
        own_ = KeptDraft{{}, {now, ports_.clock.Now(), report_->lastVersion}};
        unwritten_.push_back({report_->owner, own_->draft});
    } else {
        putBack_.reset();
    }
    return std::exchange(own_, std::nullopt);
}

void DraftKeeper::Leave() {
    timer_.Stop();
    waiting_ = false;
    if (!report_)
        return;
    SetAside();
    report_.reset();
    own_.reset();
    putBack_.reset();
    offers_.clear();
    changed_();
}

void DraftKeeper::WriteUnwritten() {
    std::erase_if(unwritten_, [&](const Unwritten& each) {
        return Trap([&] { drafts_.Add(each.owner, each.draft); }, [](const Error&) {});
    });
}

void DraftKeeper::Saved(const DraftOwner& owner, const TypedTexts& texts) {
    if (!report_)
        return;
    saved_ = texts;
    DropPutBackFile();
    putBack_.reset();
    DropOwn();
    if (!SameOwner(owner, report_->owner))
        MoveOffers(owner);
    report_->owner = owner;
}

void DraftKeeper::MoveOffers(const DraftOwner& owner) {
    for (Unwritten& each : unwritten_)
        if (SameOwner(each.owner, report_->owner))
            each.owner = owner;
    const auto move = [&](KeptDraft& each) {
        if (!each.file.empty())
            drafts_.Remove(std::exchange(each.file, drafts_.Add(owner, each.draft)));
    };
    for (KeptDraft& each : offers_)
        Trap([&] { move(each); }, [&](const Error& error) { Fail(error.description); });
}

std::optional<TypedTexts> DraftKeeper::PutBack() {
    if (!report_ || !report_->editable || offers_.empty())
        return std::nullopt;
    KeptDraft chosen = offers_.front();
    offers_.erase(offers_.begin());
    auto instead = SetAside();
    if (instead)
        offers_.push_back(*std::move(instead));
    if (putBack_ && !putBack_->file.empty()) // nothing could be written that stands for it
        offers_.push_back(*std::move(putBack_));
    SortDrafts(offers_);
    putBack_ = std::move(chosen);
    changed_();
    return putBack_->draft.texts;
}

void DraftKeeper::Discard() {
    if (!report_ || offers_.empty())
        return;
    KeptDraft shown = offers_.front();
    const auto now = shown.file.empty() ? std::nullopt : drafts_.Read(shown.file, report_->owner);
    if (now && now->texts != shown.draft.texts) {
        offers_.front().draft = *now;
    } else {
        offers_.erase(offers_.begin());
        Drop(shown);
    }
    SortDrafts(offers_);
    changed_();
}

} // namespace tavrel
