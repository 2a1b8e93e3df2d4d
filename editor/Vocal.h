#pragma once

#include "host/Global.h"
#include "platform/dictation.h"

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

namespace tavrel {

/// The button "Vocal": starts the dictation command of the site and hands in what it wrote, for the report that it was
/// spoken for and no other.
class Vocal {
public:
    struct Report {
        std::function<std::shared_ptr<OpenedReport>()> shown;
        std::function<bool()> editable;                ///< whether text can be put in now
        std::function<bool()> busy;                    ///< a save is going on, which fills the box anew
        std::function<void(const std::string&)> putIn; ///< at the cursor
        std::function<void(const std::string&)> say;   ///< in a sentence; empty when there is nothing to be said
    };
    Vocal(Global& global, Report report) : global_(global), report_(std::move(report)) {}
    ~Vocal();
    Vocal(const Vocal&) = delete;
    Vocal& operator=(const Vocal&) = delete;

    /// The site's; empty when it has none.
    void Command(std::string_view command) { command_ = command; }
    /// Starts the command, tells it that all is said, or drops what it is still writing.
    void Press();
    bool UnderWay() const { return state_ != State::Quiet; }
    /// The save is over: hands in what came meanwhile.
    void GoOn();
    /// The report is left, or cannot be edited any more: what is being spoken is dropped, and `why` is said when
    /// something was.
    void Drop(const std::string& why);
    /// The person writes on: what was said of a dictation that is over makes room for what there is to be done.
    void Settle();

private:
    enum class State { Quiet, Speaking, Writing };
    void Take(const Dictation::Outcome& outcome);
    void Enter(State state, const std::string& words);

    Global& global_;
    Report report_;
    std::string command_;
    State state_ = State::Quiet;
    std::weak_ptr<OpenedReport> spokenFor_;
    std::optional<Dictation::Outcome> held_; ///< came during a save
};

} // namespace tavrel
