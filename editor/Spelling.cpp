#include "editor/Spelling.h"

#include "host/Catalogue.h"
#include "host/ErrorReport.h"
#include "platform/text.h"

#include <algorithm>
#include <array>

namespace tavrel {
namespace {

/// Words that are judged once a process; more are forgotten again.
constexpr std::size_t MostJudged = 50'000;
/// Of each code table so many rows; nobody's table of a million codes shall hold up a report.
constexpr std::array<std::string_view, 4> CodeMeanings = {
    "SELECT CodeMeaning FROM StdTitles LIMIT 10000",
    "SELECT CodeMeaning FROM StdBodyPart LIMIT 10000",
    "SELECT CodeMeaning FROM StdFinding LIMIT 10000",
    "SELECT CodeMeaning FROM StdDiagnosis LIMIT 10000",
};

char32_t CodePoint(std::string_view character) {
    const auto byte = [&](std::size_t at) { return static_cast<unsigned char>(character[at]); };
    char32_t point = character.size() == 1 ? byte(0) : byte(0) & (0x7FU >> character.size());
    for (std::size_t at = 1; at < character.size(); ++at)
        point = (point << 6U) | (byte(at) & 0x3FU);
    return point;
}

enum class Sign { Letter, Inner, Unjudged, Other };

/// What a character does to the word that it stands in.
Sign SignOf(char32_t point) {
    const auto within = [point](char32_t first, char32_t last) { return point >= first && point <= last; };
    if (point < 0x80) {
        const char c = static_cast<char>(point);
        return IsLower(c) || IsUpper(c) ? Sign::Letter
               : c == '\''              ? Sign::Inner
               : IsDigit(c) || c == '_' ? Sign::Unjudged
                                        : Sign::Other;
    }
    if (point == 0x2019 || point == 0xAD) // an apostrophe, a soft hyphen
        return Sign::Inner;
    const bool sign =
        point < 0xC0 || point == 0xD7 || point == 0xF7 || within(0x2000, 0x2BFF) || within(0x3000, 0x303F);
    const bool unparted = within(0x0E00, 0x0FFF) || within(0x1780, 0x17FF) || within(0x2E80, 0xABFF) ||
                          within(0xF900, 0xFAFF) || point >= 0x1F000;
    return sign ? Sign::Other : unparted ? Sign::Unjudged : Sign::Letter;
}

/// As dictionaries write it.
std::string DictionaryForm(std::string_view word) {
    std::string plain;
    for (std::size_t at = 0; at < word.size();) {
        const auto length = std::max<std::size_t>(CharacterLength(word.substr(at)), 1);
        const auto character = word.substr(at, length);
        plain += character == "\u2019" ? "'" : character == "\u00AD" ? "" : character;
        at += length;
    }
    return plain;
}

/// Whether all of its letters are of scripts that have small ones, too.
bool CouldBeSmall(std::string_view word) {
    while (!word.empty()) {
        const auto length = std::max<std::size_t>(CharacterLength(word), 1);
        const char32_t point = CodePoint(word.substr(0, length));
        if (point >= 0x590 && (point < 0x1E00 || point > 0x1FFF)) // beyond Armenian, but for more of Latin and Greek
            return false;
        word.remove_prefix(length);
    }
    return true;
}

/// Those of each language in turn, or the first one's would leave no room for the others'.
std::vector<std::string> SuggestionsOf(const std::vector<std::shared_ptr<Dictionary>>& dictionaries,
                                       const std::string& word) {
    std::vector<std::vector<std::string>> offers;
    std::size_t most = 0;
    for (const auto& dictionary : dictionaries)
        most = std::max(most, offers.emplace_back(dictionary->Suggestions(word)).size());
    std::vector<std::string> suggestions;
    for (std::size_t rank = 0; rank < most; ++rank)
        for (const auto& offer : offers)
            if (rank < offer.size() && std::ranges::find(suggestions, offer[rank]) == suggestions.end())
                suggestions.push_back(offer[rank]);
    return suggestions;
}

} // namespace

std::vector<TextMark> JudgeableWords(std::string_view text) {
    std::vector<TextMark> words;
    std::size_t begin = 0, end = 0; // of the word so far, up to its last letter
    bool open = false, judgeable = true;
    const auto close = [&] {
        if (open && judgeable && end > begin)
            words.push_back({begin, end - begin});
        open = false;
    };
    for (std::size_t at = 0; at < text.size();) {
        const auto length = CharacterLength(text.substr(at));
        const auto character = text.substr(at, std::max<std::size_t>(length, 1));
        const Sign sign = length == 0 ? Sign::Other : SignOf(CodePoint(character));
        const bool starts = !open && (sign == Sign::Letter || sign == Sign::Unjudged);
        if (sign == Sign::Other) {
            close();
        } else if (starts) {
            begin = end = at;
            open = judgeable = true;
        }
        if (open && sign == Sign::Unjudged)
            judgeable = false;
        if (open && sign == Sign::Letter)
            end = at + character.size();
        at += character.size();
    }
    close();
    return words;
}

Spelling::Spelling(Global& global, TextBox& box, std::function<void()> told)
    : global_(global), box_(box), told_(std::move(told)) {}

void Spelling::Set(std::string_view languages) {
    const auto& ports = global_.ports;
    if (languages == languages_ || !ports.dictionaries)
        return;
    languages_ = languages;
    dictionaries_.clear();
    judged_.clear();
    failure_.clear();
    awaited_ = 0;
    const int round = ++round_;
    box_.Words(nullptr);
    if (languages.empty())
        return;
    for (auto rest = languages; !rest.empty();) {
        const auto comma = std::min(rest.find(','), rest.size());
        std::string language(Trimmed(rest.substr(0, comma)));
        rest.remove_prefix(std::min(comma + 1, rest.size()));
        if (language == "locale")
            language = ports.process.Language();
        ++awaited_;
        ports.dictionaries->Load(language, [this, round, language](std::shared_ptr<Dictionary> dictionary) {
            if (round == round_)
                Take(language, std::move(dictionary));
        });
    }
}

void Spelling::Take(const std::string& language, std::shared_ptr<Dictionary> dictionary) {
    --awaited_;
    if (dictionary)
        dictionaries_.push_back(std::move(dictionary));
    else
        Fail(language.empty() ? "Spelling is off: the desktop names no language"
                              : "Spelling is off: no dictionary for \"" + language + "\"");
    // One language of two would call all words of the other wrong.
    if (awaited_ > 0 || !failure_.empty() || dictionaries_.empty())
        return;
    ReadOwnWords();
    ReadCodeWords();
    box_.Words(this);
}

void Spelling::Fail(const std::string& why) {
    global_.ports.process.LogToDesktop(why);
    failure_ = why;
    told_();
}

void Spelling::AnotherReport() {
    failure_.clear();
}

std::string Spelling::OwnWordsFile() const {
    return global_.ports.process.StateFolder() + "\\words.txt";
}

std::string Spelling::Folded(std::string_view word) const {
    return global_.ports.letters.UpperCase(DictionaryForm(word));
}

void Spelling::ReadOwnWords() {
    Trap(
        [&] {
            if (!global_.ports.files.Exists(OwnWordsFile()))
                return;
            const std::string text = global_.ports.files.ReadText(OwnWordsFile());
            for (std::string_view rest = text; !rest.empty();) {
                const auto end = std::min(rest.find('\n'), rest.size());
                ownWords_.insert(Folded(TrimmedRight(rest.substr(0, end), "\r ")));
                rest.remove_prefix(std::min(end + 1, rest.size()));
            }
        },
        [&](const Error& error) {
            global_.ports.process.LogToDesktop("The account's own words cannot be read: " + error.description);
        });
}

void Spelling::ReadCodeWords() {
    Trap(
        [&] {
            for (const std::string_view meanings : CodeMeanings) {
                const auto rows = Catalogue(global_).OpenResultSet(meanings);
                for (; !rows->AtEnd(); rows->MoveNext()) {
                    const std::string_view meaning = rows->Field(0).value_or("");
                    for (const auto& [offset, length, kind] : JudgeableWords(meaning))
                        codeWords_.insert(Folded(meaning.substr(offset, length)));
                }
                rows->Close();
            }
        },
        [](const Error&) {}); // the dictionaries' own words are known all the same
}

std::vector<TextMark> Spelling::Unknown(std::string_view paragraph) {
    auto words = JudgeableWords(paragraph);
    std::erase_if(words,
                  [&](const TextMark& word) { return Knows(std::string(paragraph.substr(word.offset, word.length))); });
    return words;
}

bool Spelling::Knows(const std::string& word) {
    if (const auto known = judged_.find(word); known != judged_.end())
        return known->second;
    if (judged_.size() > MostJudged)
        judged_.clear();
    const std::string plain = DictionaryForm(word), folded = Folded(word);
    const bool knows =
        (plain == folded && CouldBeSmall(plain)) || // an abbreviation
        ownWords_.contains(folded) || codeWords_.contains(folded) ||
        std::ranges::any_of(dictionaries_, [&](const auto& dictionary) { return dictionary->Knows(plain); });
    return judged_[word] = knows;
}

void Spelling::Suggest(std::string_view word, std::function<void(std::vector<std::string>)> found) {
    global_.ports.dictionaries->LookAside(
        [dictionaries = dictionaries_, plain = DictionaryForm(word)] { return SuggestionsOf(dictionaries, plain); },
        std::move(found));
}

void Spelling::Learn(std::string_view word) {
    ownWords_.insert(Folded(word));
    judged_.clear();
    TrapShort(global_.ports.windows, "The word is known until the editor closes, but could not be kept: ", [&] {
        auto& files = global_.ports.files;
        if (!files.Exists(OwnWordsFile())) // which makes the folder
            files.CreateNew(global_.ports.process.StateFolder(), "words", ".txt");
        files.AppendText(OwnWordsFile(), DictionaryForm(word) + "\n");
    });
    box_.Words(this);
}

} // namespace tavrel
