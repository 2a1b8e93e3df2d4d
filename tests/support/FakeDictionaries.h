#pragma once

#include "platform/dictionaries.h"

#include <map>
#include <set>
#include <string>
#include <vector>

namespace tavrel::test {

/// The machine's dictionaries, by language. A test says when one has been read.
class FakeDictionaries : public Dictionaries {
public:
    std::map<std::string, std::set<std::string>> languages;
    std::map<std::string, std::vector<std::string>> suggestions; ///< by language, for whatever word
    std::vector<std::string> asked;

    void Load(std::string_view language, std::function<void(std::shared_ptr<Dictionary>)> done) override {
        asked.emplace_back(language);
        reading_.emplace_back(std::string(language), std::move(done));
    }
    void LookAside(std::function<std::vector<std::string>()> look,
                   std::function<void(std::vector<std::string>)> done) override {
        looking_ = [look = std::move(look), done = std::move(done)] { done(look()); };
    }
    /// What was looked for last is found.
    void Find() { std::exchange(looking_, nullptr)(); }
    /// All that is being read has been read.
    void Finish() {
        for (const auto& [language, done] : std::exchange(reading_, {}))
            done(languages.contains(language) ? std::make_shared<Words>(languages.at(language), suggestions[language])
                                              : nullptr);
    }

private:
    struct Words : Dictionary {
        Words(std::set<std::string> those, std::vector<std::string> suggestions)
            : words(std::move(those)), suggested(std::move(suggestions)) {}
        bool Knows(const std::string& word) override { return words.contains(word); }
        std::vector<std::string> Suggestions(const std::string&) override { return suggested; }
        std::set<std::string> words;
        std::vector<std::string> suggested;
    };
    std::vector<std::pair<std::string, std::function<void(std::shared_ptr<Dictionary>)>>> reading_;
    std::function<void()> looking_;
};

} // namespace tavrel::test
