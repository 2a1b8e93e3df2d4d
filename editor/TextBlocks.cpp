#include "editor/TextBlocks.h"

#include "platform/text.h"
#include "platform/text_blocks.h"

#include <algorithm>

namespace tavrel {
namespace {

constexpr std::size_t ShortestBlank = 3;

/// Readings end their lines with CR LF.
std::string WithLineEnds(std::string_view text) {
    std::string answer;
    for (std::size_t at = 0; at < text.size(); ++at) {
        if (text[at] == '\n' && (at == 0 || text[at - 1] != '\r'))
            answer += '\r';
        answer += text[at];
    }
    return answer;
}

/// How long the end of a word is at the end of `text`: a blank, a line end or punctuation; 0 when there is none.
std::size_t WordEnd(std::string_view text) {
    constexpr std::string_view ends = " \t\n.,;:!?)";
    if (text.empty() || ends.find(text.back()) == std::string_view::npos)
        return 0;
    return text.ends_with("\r\n") ? 2 : 1;
}

} // namespace

std::vector<Blank> BlanksOf(std::string_view text) {
    std::vector<Blank> blanks;
    for (auto at = text.find('_'); at != std::string_view::npos;) {
        const auto end = std::min(text.find_first_not_of('_', at), text.size());
        if (end - at >= ShortestBlank)
            blanks.push_back({at, end - at});
        at = text.find('_', end);
    }
    return blanks;
}

TextBlocks TextBlocks::Read(Connection& catalogue) {
    TextBlocks read;
    const auto rows = catalogue.OpenResultSet("SELECT * FROM TextBlock");
    for (; !rows->AtEnd(); rows->MoveNext()) {
        auto& texts = rows->Text("Kind") == text_block::Template ? read.templates_ : read.shortForms_;
        texts.insert_or_assign(rows->Text("Name"), WithLineEnds(rows->Text("Body")));
    }
    rows->Close();
    return read;
}

std::string TextBlocks::TemplateOf(std::string_view heading) const {
    const auto found = templates_.find(heading);
    return found == templates_.end() ? std::string() : found->second;
}

std::optional<TextBlocks::Expansion> TextBlocks::ExpansionAt(std::string_view text, std::size_t caret) const {
    text = text.substr(0, caret);
    const auto typed = WordEnd(text);
    if (typed == 0 || shortForms_.empty())
        return std::nullopt;
    const auto end = text.size() - typed;
    const auto word = text.substr(0, end);
    // A short form may begin with a sign ("/n"), but is no part of a longer word.
    for (auto begin = word.find_last_of(" \t\n") + 1; begin < end; ++begin) {
        const bool within = begin > 0 && OfWord(word[begin - 1]) && OfWord(word[begin]);
        const auto found = within ? shortForms_.end() : shortForms_.find(word.substr(begin));
        if (found == shortForms_.end())
            continue;
        std::string_view stands = found->second;
        if (typed == 1 && text.back() != ' ' && stands.ends_with(text.back()))
            stands.remove_suffix(1); // the sentence's own point is the one that was typed
        return Expansion{begin, end - begin, std::string(stands)};
    }
    return std::nullopt;
}

} // namespace tavrel
