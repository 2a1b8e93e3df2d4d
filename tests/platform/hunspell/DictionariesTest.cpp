#include "platform/hunspell/HunspellDictionaries.h"
#include "tests/support/TemporaryFolder.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <condition_variable>
#include <fstream>
#include <future>
#include <mutex>
#include <optional>
#include <thread>

namespace tavrel::test {
namespace {

class DictionariesOfAFolder : public testing::Test {
protected:
    void Write(const std::string& name, const std::string& characterSet, const std::string& words) {
        std::ofstream(folder.Path() / (name + ".aff")) << "SET " << characterSet << "\nTRY esianrtolcdugmphbyfvkwz\n";
        std::ofstream(folder.Path() / (name + ".dic")) << std::ranges::count(words, '\n') << "\n" << words;
    }
    /// The dictionary as the user-interface thread is given it.
    std::shared_ptr<Dictionary> Load(const std::string& language) {
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
        std::shared_ptr<Dictionary> loaded;
        dictionaries.Load(language, [&](std::shared_ptr<Dictionary> dictionary) { loaded = std::move(dictionary); });
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

TEST_F(DictionariesOfAFolder, SuggestWhileTheyJudge) {
    std::string words;
    for (int i = 0; i < 2000; ++i)
        words += "lunge" + std::string(1, char('a' + i % 26)) + std::string(1, char('a' + i / 26 % 26)) + "\n";
    Write("xx", "UTF-8", words + "lunge\n");
    const auto dictionary = Load("xx");
    std::thread suggesting([&] {
        for (int i = 0; i < 10; ++i)
            EXPECT_EQ(dictionary->Suggestions("lumge").front(), "lunge");
    });
    for (int i = 0; i < 2000; ++i)
        EXPECT_TRUE(dictionary->Knows("lunge") && !dictionary->Knows("lumge"));
    suggesting.join();
}

TEST_F(DictionariesOfAFolder, LackNothingThoughTheyAreReadAtOnce) {
    Write("xx", "UTF-8", "rechtsÖdem\n");
    std::atomic knowing = 0;
    const auto read = [&] { knowing += Load("xx")->Knows("RECHTSÖDEM") ? 1 : 0; };
    for (int i = 0; i < 100; ++i) {
        std::thread beside(read);
        read();
        beside.join();
    }
    EXPECT_EQ(knowing, 200);
}

/// A look that tells when it begins and ends when it may.
struct HeldLook {
    std::promise<void> begun, mayEnd;
    std::vector<std::string> operator()(const std::string& found) {
        begun.set_value();
        mayEnd.get_future().wait();
        return {found};
    }
};

class LooksForSuggestions : public testing::Test {
protected:
    void Look(std::function<std::vector<std::string>()> look) {
        dictionaries->LookAside(std::move(look), [this](std::vector<std::string> found) {
            told.insert(told.end(), found.begin(), found.end());
        });
    }
    /// What the thread of the windows is told in the end.
    std::vector<std::string> Told() {
        dictionaries.reset();
        for (const auto& each : posted)
            each();
        return told;
    }

    std::vector<std::string> told;
    std::vector<std::function<void()>> posted;
    std::optional<HunspellDictionaries> dictionaries{
        std::in_place, [this](std::function<void()> what) { posted.push_back(std::move(what)); },
        std::vector<std::filesystem::path>{}};
    HeldLook first, last;
};

TEST_F(LooksForSuggestions, BlockNobodyAndLeaveOutWhatIsWantedNoMore) {
    Look([&] { return first("first"); });
    first.begun.get_future().wait();
    Look([] { return std::vector<std::string>{"second"}; });
    Look([&] { return last("third"); });
    first.mayEnd.set_value();
    last.begun.get_future().wait();
    last.mayEnd.set_value();
    EXPECT_EQ(Told(), (std::vector<std::string>{"first", "third"}));
}

TEST_F(LooksForSuggestions, GoOnAfterAPause) {
    for (HeldLook* look : {&first, &last}) {
        Look([=] { return (*look)("one"); });
        look->begun.get_future().wait();
        look->mayEnd.set_value();
        std::this_thread::sleep_for(std::chrono::milliseconds(20)); // most likely it has nothing to do by then
    }
    EXPECT_EQ(Told(), (std::vector<std::string>{"one", "one"}));
}

TEST_F(LooksForSuggestions, EndWithTheOneThatIsUnderWay) {
    Look([&] { return first("first"); });
    first.begun.get_future().wait();
    Look([] { return std::vector<std::string>{"second"}; });
    std::thread releasing([&] {
        std::this_thread::sleep_for(std::chrono::milliseconds(50));
        first.mayEnd.set_value();
    });
    const auto all = Told();
    releasing.join();
    EXPECT_EQ(all, std::vector<std::string>{"first"});
}

/// What is told holds on to parts of a window, which no other thread may take leave of.
TEST_F(LooksForSuggestions, AreForgottenWhereTheyAreTold) {
    std::thread::id windows, forgotten;
    dictionaries.emplace(
        [&](std::function<void()> what) {
            std::thread([&, what = std::move(what)]() mutable {
                windows = std::this_thread::get_id();
                what();
                what = nullptr;
            }).join();
        },
        std::vector<std::filesystem::path>{});
    const auto forget = [&](int*) { forgotten = std::this_thread::get_id(); };
    first.mayEnd.set_value();
    dictionaries->LookAside([&] { return first("word"); },
                            [part = std::shared_ptr<int>(nullptr, forget)](const std::vector<std::string>&) {});
    first.begun.get_future().wait();
    dictionaries.reset();
    EXPECT_EQ(forgotten, windows);
}

TEST_F(LooksForSuggestions, ThatFailFindNothing) {
    bool empty = false;
    dictionaries->LookAside(
        [&]() -> std::vector<std::string> {
            first.begun.set_value();
            throw std::bad_alloc();
        },
        [&](const std::vector<std::string>& found) { empty = found.empty(); });
    first.begun.get_future().wait();
    Told();
    EXPECT_TRUE(empty);
}

} // namespace
} // namespace tavrel::test
