#pragma once

#include "platform/controls.h"

#include <functional>
#include <string>
#include <string_view>
#include <vector>

namespace tavrel {

/// Judges the words of a text while it is typed. Asked on the user-interface thread, between two keys.
class WordCheck {
public:
    virtual ~WordCheck() = default;

    /// The words of a paragraph that it does not know, in their order.
    virtual std::vector<TextMark> Unknown(std::string_view paragraph) = 0;
    /// Looks aside for what may be meant by such a word. `found` is called on the user-interface thread with that, the
    /// likeliest first; never when the next word was asked for
    /// before this one's turn.
    virtual void Suggest(std::string_view word, std::function<void(std::vector<std::string>)> found) = 0;
    /// Takes a word among those that the account knows.
    virtual void Learn(std::string_view word) = 0;
};

} // namespace tavrel
