#pragma once

#include <functional>
#include <string>
#include <string_view>

namespace tavrel {

/// A command of the site's that writes what was spoken, as UTF-8 text on its standard output, and ends.
class Dictation {
public:
    /// What came of it.
    struct Outcome {
        std::string text{};    ///< what the command wrote
        std::string failure{}; ///< why there is no text, in words; empty as a rule
    };
    virtual ~Dictation() = default;

    /// Starts the command: a program and its arguments, with blanks between and double quotes around what holds some.
    /// No shell reads it. `ended` is called once, on the user-interface thread, unless `Stop` was called before. One at
    /// a time: a former one is stopped.
    virtual void Start(std::string_view command, std::function<void(const Outcome&)> ended) = 0;
    /// Tells the command that nothing more is spoken, as Ctrl+C at a terminal does: it writes and ends.
    virtual void Finish() = 0;
    /// Ends the command and all that it has started, at once. What it wrote is dropped. Without effect when none runs.
    virtual void Stop() = 0;
};

} // namespace tavrel
