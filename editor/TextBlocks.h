#pragma once

#include "platform/database.h"

#include <functional>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace tavrel {

/// A stretch of underscores, at least three of them: a place of a text block that is to be filled in.
struct Blank {
    std::size_t offset;
    std::size_t length;
};
std::vector<Blank> BlanksOf(std::string_view text);

/// The site's own texts: a template for each heading, and short forms with what they stand for.
class TextBlocks {
public:
    /// Reads the catalogue's table `TextBlock`. An error when it cannot be read.
    static TextBlocks Read(Connection& catalogue);

    bool Empty() const { return templates_.empty() && shortForms_.empty(); }
    /// The reading that a report of this heading begins with; empty when there is none.
    std::string TemplateOf(std::string_view heading) const;

    struct Expansion {
        std::size_t offset, length; ///< of the short form
        std::string text;           ///< what it stands for
    };
    /// What the short form right before `caret` stands for, once a blank, a line end or punctuation has been typed
    /// behind it.
    std::optional<Expansion> ExpansionAt(std::string_view text, std::size_t caret) const;

private:
    using Texts = std::map<std::string, std::string, std::less<>>;
    Texts templates_;
    Texts shortForms_;
};

} // namespace tavrel
