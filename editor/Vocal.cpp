#include "editor/Vocal.h"

#include "host/ErrorReport.h"

#include <utility>

namespace tavrel {

Vocal::~Vocal() {
    if (global_.ports.dictation)
        global_.ports.dictation->Stop();
}

void Vocal::Enter(State state, const std::string& words) {
    state_ = state;
    report_.say(words);
}

void Vocal::Press() {
    auto* dictation = global_.ports.dictation;
    if (!dictation || command_.empty()) {
        global_.ports.windows.Ask({.text = "No dictation command is set. \"orbenta-catalogue writing --dictation "
                                           "COMMAND\" sets the site's or a physician's.",
                                   .title = {}});
        return;
    }
    switch (state_) {
    case State::Quiet:
        spokenFor_ = report_.shown();
        Enter(State::Speaking, "Dictating: \"Vocal\" ends it");
        dictation->Start(command_, [this](const Dictation::Outcome& outcome) {
            held_ = outcome;
            GoOn();
        });
        return;
    case State::Speaking:
        Enter(State::Writing, "The dictation is being written: \"Vocal\" drops it");
        dictation->Finish();
        return;
    case State::Writing:
        Drop("Dictation dropped");
        return;
    }
}

void Vocal::GoOn() {
    if (!held_ || report_.busy())
        return;
    const auto outcome = *std::exchange(held_, std::nullopt);
    const bool same = spokenFor_.lock() == report_.shown();
    if (!same || !report_.editable())
        return Drop("Dictation ended: its report cannot be changed any more");
    Take(outcome);
}

void Vocal::Take(const Dictation::Outcome& outcome) {
    const bool empty = outcome.failure.empty() && outcome.text.empty();
    Enter(State::Quiet, empty ? "The dictation command wrote nothing" : "");
    if (!outcome.failure.empty())
        ShowError(global_.ports.windows,
                  "The dictation command gave no text: ", Error(Fault::Missing, "Dictation", outcome.failure));
    else if (!empty)
        report_.putIn(outcome.text);
}

void Vocal::Drop(const std::string& why) {
    held_.reset();
    if (!UnderWay())
        return report_.say({});
    global_.ports.dictation->Stop();
    Enter(State::Quiet, why);
}

void Vocal::Settle() {
    if (!UnderWay())
        report_.say({});
}

} // namespace tavrel
