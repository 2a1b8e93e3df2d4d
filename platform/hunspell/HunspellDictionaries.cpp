#include "platform/hunspell/HunspellDictionaries.h"

#include <hunspell.hxx>
#include <iconv.h>

#include <algorithm>
#include <cctype>
#include <cstdlib>
#include <fstream>
#include <optional>
#include <sstream>
#include <system_error>
#include <utility>

namespace tavrel {
namespace {

namespace fs = std::filesystem;

std::ptrdiff_t LettersOf(const std::string& word) {
    return std::ranges::count_if(word, [](unsigned char byte) { return (byte & 0xC0) != 0x80; });
}

/// Converts words between two character sets.
class Converter {
public:
    Converter(const std::string& to, const std::string& from) : handle_(iconv_open(to.c_str(), from.c_str())) {}
    ~Converter() {
        if (Works())
            iconv_close(handle_);
    }
    Converter(const Converter&) = delete;
    Converter& operator=(const Converter&) = delete;

    bool Works() const { return handle_ != iconv_t(-1); } // NOLINT(performance-no-int-to-ptr): POSIX has it so
    /// Nothing when the other set lacks a character.
    std::optional<std::string> Convert(std::string word) const {
        constexpr std::size_t mostBytes = 4; // of a character, in any set
        std::string converted(word.size() * mostBytes, '\0');
        char *in = word.data(), *out = converted.data();
        std::size_t left = word.size(), room = converted.size();
        iconv(handle_, nullptr, nullptr, nullptr, nullptr);
        if (iconv(handle_, &in, &left, &out, &room) != 0)
            return std::nullopt;
        converted.resize(converted.size() - room);
        return converted;
    }

private:
    iconv_t handle_;
};

/// A dictionary of the library's. All share a table, which the first makes and the last removes, without a lock: one
/// that is read meanwhile would miss words.
class LibraryDictionary {
public:
    explicit LibraryDictionary(const fs::path& stem) {
        const std::lock_guard lock(ComingAndGoing);
        words_.emplace((fs::path(stem) += ".aff").c_str(), (fs::path(stem) += ".dic").c_str());
    }
    ~LibraryDictionary() {
        const std::lock_guard lock(ComingAndGoing);
        words_.reset();
    }
    LibraryDictionary(const LibraryDictionary&) = delete;
    LibraryDictionary& operator=(const LibraryDictionary&) = delete;

    Hunspell* operator->() { return &*words_; }

private:
    inline static std::mutex ComingAndGoing;
    std::optional<Hunspell> words_;
};

/// A dictionary's two files, for one thread at a time.
class WordList {
public:
    /// `stem`: the files without their endings.
    explicit WordList(const fs::path& stem)
        : words_(stem), to_(words_->get_dict_encoding(), "UTF-8"), from_("UTF-8", words_->get_dict_encoding()),
          whole_(to_.Works() && from_.Works() && KnowsOneOf(fs::path(stem) += ".dic")) {}

    bool Whole() const { return whole_; }

    bool Knows(const std::string& word) {
        const auto converted = to_.Convert(word);
        return converted && words_->spell(*converted);
    }
    std::vector<std::string> Suggestions(const std::string& word) {
        constexpr std::ptrdiff_t longest = 40; // the search for likely words grows with the word
        const auto converted = LettersOf(word) > longest ? std::nullopt : to_.Convert(word);
        std::vector<std::string> suggestions;
        if (converted)
            for (const std::string& each : words_->suggest(*converted))
                if (auto suggestion = from_.Convert(each))
                    suggestions.push_back(*std::move(suggestion));
        return suggestions;
    }

private:
    /// The library takes a damaged list for an empty one, by which every word would be wrong.
    bool KnowsOneOf(const fs::path& list) {
        constexpr int tried = 1000;
        std::ifstream lines(list);
        std::string line;
        std::getline(lines, line); // how many there are
        for (int i = 0; i < tried && std::getline(lines, line);) {
            const auto word = line.substr(0, line.find_first_of("/ \t\r"));
            if (word.empty() || word.find_first_of("0123456789") != std::string::npos)
                continue; // a number is known without any list
            if (words_->spell(word))
                return true;
            ++i;
        }
        return false;
    }

    LibraryDictionary words_;
    Converter to_;
    Converter from_;
    bool whole_;
};

class HunspellDictionary : public Dictionary {
public:
    explicit HunspellDictionary(fs::path stem) : stem_(std::move(stem)), judging_(stem_) {}

    bool Whole() const { return judging_.Whole(); }
    bool Knows(const std::string& word) override { return judging_.Knows(word); }
    std::vector<std::string> Suggestions(const std::string& word) override {
        if (!suggesting_)
            suggesting_.emplace(stem_);
        return suggesting_->Suggestions(word);
    }

private:
    fs::path stem_;
    WordList judging_;
    std::optional<WordList> suggesting_; ///< of a thread of its own, from the first question on: some 10 MB
};

/// The dictionary's two files without their endings; empty when there are none.
fs::path Find(const std::vector<fs::path>& folders, const std::string& language) {
    for (const fs::path& folder : folders) {
        std::vector<fs::path> found;
        std::error_code failure;
        for (const auto& entry : fs::directory_iterator(folder, failure)) {
            const fs::path stem = entry.path().parent_path() / entry.path().stem();
            const std::string name = stem.filename();
            const bool ofLanguage = name == language || name.starts_with(language + "_");
            if (ofLanguage && entry.path().extension() == ".dic" && fs::exists(fs::path(stem) += ".aff", failure))
                found.push_back(stem);
        }
        if (found.empty())
            continue;
        // "it" is best served by "it", then by "it_IT", then by any other country's; English by its largest.
        std::string country = "_" + language;
        std::ranges::transform(country, country.begin(), [](unsigned char c) { return std::toupper(c); });
        const auto fitness = [&](const fs::path& stem) {
            const std::string name = stem.filename();
            return name == language ? 0 : name == language + country || name == "en_US" ? 1 : 2;
        };
        return *std::ranges::min_element(found, [&](const fs::path& a, const fs::path& b) {
            return std::pair(fitness(a), a) < std::pair(fitness(b), b);
        });
    }
    return {};
}

std::shared_ptr<Dictionary> Read(const std::vector<fs::path>& folders, std::string language) {
    std::ranges::replace(language, '-', '_');
    const fs::path stem = language.empty() ? fs::path() : Find(folders, language);
    if (stem.empty())
        return nullptr;
    auto dictionary = std::make_shared<HunspellDictionary>(stem);
    return dictionary->Whole() ? std::move(dictionary) : nullptr;
}

} // namespace

std::vector<fs::path> DictionaryFolders() {
    std::vector<fs::path> folders;
    if (const char* path = std::getenv("DICPATH"))
        for (std::istringstream list(path); list;) {
            std::string folder;
            if (std::getline(list, folder, ':') && !folder.empty())
                folders.emplace_back(folder);
        }
    folders.insert(folders.end(), {"/usr/share/hunspell", "/usr/share/myspell", "/usr/share/myspell/dicts"});
    return folders;
}

HunspellDictionaries::HunspellDictionaries(std::function<void(std::function<void()>)> post,
                                           std::vector<fs::path> folders)
    : post_(std::move(post)), folders_(std::move(folders)) {}

HunspellDictionaries::~HunspellDictionaries() {
    for (std::thread& thread : reading_)
        thread.join();
    {
        const std::lock_guard lock(mutex_);
        nextLook_ = nullptr;
    }
    if (looking_.joinable())
        looking_.join();
}

void HunspellDictionaries::Load(std::string_view language, std::function<void(std::shared_ptr<Dictionary>)> done) {
    reading_.emplace_back([this, language = std::string(language), done = std::move(done)] {
        std::shared_ptr<Dictionary> read;
        try {
            read = Read(folders_, language);
        } catch (const std::exception&) { // a damaged one is none
        }
        post_([done, read = std::move(read)] { done(read); });
    });
}

void HunspellDictionaries::LookAside(std::function<std::vector<std::string>()> look,
                                     std::function<void(std::vector<std::string>)> done) {
    const std::lock_guard lock(mutex_);
    // What is told goes where it is told: this thread may hold it last.
    auto tell = std::make_shared<decltype(done)>(std::move(done));
    nextLook_ = [this, look = std::move(look), tell = std::move(tell)] {
        std::vector<std::string> found;
        try {
            found = look();
        } catch (const std::exception&) { // a dictionary that has gone offers nothing
        }
        post_([tell, found = std::move(found)] { std::exchange(*tell, nullptr)(found); });
    };
    if (std::exchange(atIt_, true))
        return;
    if (looking_.joinable())
        looking_.join(); // has left its last look
    looking_ = std::thread([this] { LookOn(); });
}

void HunspellDictionaries::LookOn() {
    std::unique_lock lock(mutex_);
    while (const auto look = std::exchange(nextLook_, nullptr)) {
        lock.unlock();
        look();
        lock.lock();
    }
    atIt_ = false;
}

} // namespace tavrel
