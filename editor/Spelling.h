#pragma once

#include "host/Global.h"
#include "platform/dictionaries.h"
#include "platform/word_check.h"

#include <map>
#include <memory>
#include <set>
#include <string>
#include <string_view>
#include <vector>

namespace tavrel {

/// The words of a text (UTF-8) that a dictionary can judge. What holds digits or belongs to a script that does not part
/// its words is none.
std::vector<TextMark> JudgeableWords(std::string_view text);

/// Judges the words of a box by the dictionaries of the languages that are set, the words of the code tables and the
/// account's own, which lie in the state folder, one a line.
class Spelling : public WordCheck {
public:
    /// `told` is called when there is another thing to say.
    Spelling(Global& global, TextBox& box, std::function<void()> told);

    /// The languages, with commas between; "locale" is the desktop's, and none ends the judging. The same as before
    /// cost nothing. The dictionaries are read aside.
    void Set(std::string_view languages);
    /// Why words are not judged although they should be, in a sentence. Said for one report.
    const std::string& Failure() const { return failure_; }
    void AnotherReport();

    std::vector<TextMark> Unknown(std::string_view paragraph) override;
    void Suggest(std::string_view word, std::function<void(std::vector<std::string>)> found) override;
    void Learn(std::string_view word) override;

private:
    void Take(const std::string& language, std::shared_ptr<Dictionary> dictionary);
    bool Knows(const std::string& word);
    void ReadOwnWords();
    void ReadCodeWords();
    std::string OwnWordsFile() const;
    std::string Folded(std::string_view word) const;
    void Fail(const std::string& why);

    Global& global_;
    TextBox& box_;
    std::function<void()> told_;
    std::string languages_;
    std::vector<std::shared_ptr<Dictionary>> dictionaries_;
    std::size_t awaited_ = 0;                                 ///< dictionaries that are being read
    int round_ = 0;                                           ///< of settings
    std::set<std::string, std::less<>> ownWords_, codeWords_; ///< in capitals
    std::map<std::string, bool, std::less<>> judged_;
    std::string failure_;
};

} // namespace tavrel
