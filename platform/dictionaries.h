#pragma once

#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace tavrel {

/// The words of a language.
class Dictionary {
public:
    virtual ~Dictionary() = default;
    /// `word`: UTF-8, without blanks and punctuation at its ends.
    virtual bool Knows(const std::string& word) = 0;
    /// The words that may be meant, the likeliest first. For a long word this takes a second: another thread than that
    /// which asks `Knows` may ask it, at the same time.
    virtual std::vector<std::string> Suggestions(const std::string& word) = 0;
};

/// The dictionaries of the machine.
class Dictionaries {
public:
    virtual ~Dictionaries() = default;

    /// Reads the dictionary of a language ("en_US"; "en": of whichever country), which takes its time and blocks
    /// nobody. `done` is called once, on the user-interface thread, with none where the machine has no such dictionary
    /// or it cannot be read.
    virtual void Load(std::string_view language, std::function<void(std::shared_ptr<Dictionary>)> done) = 0;

    /// Has `look` ask dictionaries for suggestions, one look at a time, on a thread where it blocks nobody. `done` is
    /// called with what it answered, and forgotten, on the user-interface thread; never when the next look came before
    /// this one began.
    virtual void LookAside(std::function<std::vector<std::string>()> look,
                           std::function<void(std::vector<std::string>)> done) = 0;
};

} // namespace tavrel
