#pragma once

#include <string>
#include <string_view>

namespace tavrel {

/// What is known of letters beyond ASCII.
class Letters {
public:
    virtual ~Letters() = default;

    /// Writes `text` (UTF-8), with each small letter as its capital, to `upper`, whose memory is used
    /// again; `text` must not be part of it. A letter whose capital is no single letter (the German
    /// sharp s), the micro sign of units and bytes that are no UTF-8 stay as they are.
    virtual void UpperCase(std::string_view text, std::string& upper) const = 0;

    std::string UpperCase(std::string_view text) const {
        std::string upper;
        UpperCase(text, upper);
        return upper;
    }
};

} // namespace tavrel
