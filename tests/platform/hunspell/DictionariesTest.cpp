#include "platform/hunspell/HunspellDictionaries.h"
#include "tests/support/TemporaryFolder.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <condition_variable>
#include <fstream>
#include <mutex>

namespace tavrel::test {
namespace {

class DictionariesOfAFolder : public testing::Test {
protected:
    void Write(const std::string& name, const std::string& characterSet, const std::string& words) {
        std::ofstream(folder.Path() / (name + ".aff")) << "SET " << characterSet << "\nTRY esianrtolcdugmphbyfvkwz\n";
        std::ofstream(folder.Path() / (name + ".dic")) << std::ranges::count(words, '\n') << "\n" << words;
    }
    /// The dictionary as the user-interface thread is given it.
    std::unique_ptr<Dictionary> Load(const std::string& language) {
        std::mutex mutex;
        std::condition_variable posted;
        std::function<void()> act;
        HunspellDictionaries dictionaries(
            [&](std::function<void()> what) {
                const std::lock_guard lock(mutex);
                act = std::move(what);
                posted.notify_one();
            },
            {folder.Path() / "missing", folder.Path()});
        std::unique_ptr<Dictionary> loaded;
        dictionaries.Load(language, [&](std::unique_ptr<Dictionary> dictionary) { loaded = std::move(dictionary); });
        std::unique_lock lock(mutex);
        posted.wait(lock, [&] { return static_cast<bool>(act); });
        act();
        return loaded;
    }

    TemporaryFolder folder;
};

TEST_F(DictionariesOfAFolder, KnowTheirWordsInAnyCharacterSet) {
    Write("de_DE", "ISO8859-1",
          "Gr\xF6\xDF"
          "e\nLunge\n");
    const auto dictionary = Load("de_DE");
    EXPECT_TRUE(dictionary->Knows("Größe"));
    EXPECT_FALSE(dictionary->Knows("Größen"));
    EXPECT_FALSE(dictionary->Knows("Größe≥"));
    EXPECT_EQ(dictionary->Suggestions("Grösse"), std::vector<std::string>{"Größe"});
}

TEST_F(DictionariesOfAFolder, AreFoundWithoutACountry) {
    Write("it_CH", "UTF-8", "svizzero\n");
    Write("it_IT", "UTF-8", "italiano\n");
    EXPECT_TRUE(Load("it")->Knows("italiano"));
    EXPECT_TRUE(Load("it-CH")->Knows("svizzero"));
}

TEST_F(DictionariesOfAFolder, OfNoLanguageAreNone) {
    Write("it_IT", "UTF-8", "italiano\n");
    EXPECT_EQ(Load("i"), nullptr);
    EXPECT_EQ(Load(""), nullptr);
    EXPECT_EQ(Load("de"), nullptr);
}

TEST_F(DictionariesOfAFolder, OfAnUnknownCharacterSetAreNone) {
    Write("xx", "NO-SUCH-SET", "word\n");
    EXPECT_EQ(Load("xx"), nullptr);
}

TEST_F(DictionariesOfAFolder, WithoutTheirRulesAreNone) {
    Write("xx", "UTF-8", "word\n");
    std::filesystem::remove(folder.Path() / "xx.aff");
    EXPECT_EQ(Load("xx"), nullptr);
}

TEST_F(DictionariesOfAFolder, WhoseListIsDamagedAreNone) {
    Write("xx", "UTF-8", "0th\nword\n");
    EXPECT_TRUE(Load("xx"));
    for (const std::string damaged : {"", "word\n1\n", "2\n", "x\0\1\2y", "99999999999\nword\n", "1\n0th\n"}) {
        std::ofstream(folder.Path() / "xx.dic") << damaged;
        EXPECT_FALSE(Load("xx")) << damaged;
    }
}

TEST_F(DictionariesOfAFolder, SearchNoLikelyWordsForAVeryLongOne) {
    const std::string word(30, 'a'), longWord(50, 'e'), twoBytesEach = "рентгенологическийснимок";
    Write("xx", "UTF-8", word + "n\n" + longWord + "n\n" + twoBytesEach + "\n");
    const auto dictionary = Load("xx");
    EXPECT_EQ(dictionary->Suggestions(twoBytesEach + "к"), std::vector<std::string>{twoBytesEach});
    EXPECT_EQ(dictionary->Suggestions(word + "m"), std::vector<std::string>{word + "n"});
    EXPECT_TRUE(dictionary->Suggestions(longWord + "m").empty());
}

} // namespace
} // namespace tavrel::test
