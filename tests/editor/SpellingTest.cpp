#include "editor/Spelling.h"
#include "tests/editor/ReportingStation.h"
#include "tests/support/FakeDictionaries.h"

#include <gtest/gtest.h>

namespace tavrel::test {
namespace {

Texts Words(std::string_view text) {
    Texts words;
    for (const auto& [offset, length, kind] : JudgeableWords(text))
        words.emplace_back(text.substr(offset, length));
    return words;
}

TEST(JudgeableWords, ArePartedByBlanksAndPunctuation) {
    EXPECT_EQ(Words("Heart, lungs: (normal)."), (Texts{"Heart", "lungs", "normal"}));
    EXPECT_EQ(Words("“Größe” ≥ naïve–état…"), (Texts{"Größe", "naïve", "état"}));
    EXPECT_EQ(Words("patient's l’uomo 'quoted'"), (Texts{"patient's", "l’uomo", "quoted"}));
}

TEST(JudgeableWords, AreNotMeasuresOrBlanksToFillIn) {
    EXPECT_EQ(Words("5mm T1w L5 ___ is"), Texts{"is"});
}

TEST(JudgeableWords, AreNotOfScriptsThatDoNotPartThem) {
    EXPECT_EQ(Words("胸部 ไทย Ακτινογραφία"), Texts{"Ακτινογραφία"});
}

TEST(JudgeableWords, AreFoundBetweenBytesThatAreNoText) {
    EXPECT_EQ(Words("one\xFFtwo\xC3"), (Texts{"one", "two"}));
}

class SpellingHelp : public testing::Test {
protected:
    SpellingHelp() {
        dictionaries.languages["en"] = {"the", "lungs", "are"};
        dictionaries.languages["it"] = {"polmoni"};
        station.global.ports.dictionaries = &dictionaries;
    }

    void Open(const std::string& spelling) {
        station.Insert("Writing", {{"UserName", ""}, {"Spelling", spelling}});
        station.OpenReport({});
        dictionaries.Finish();
    }
    Texts Unknown(std::string_view text) {
        Texts words;
        for (const auto& [offset, length, kind] : box.Words()->Unknown(text))
            words.emplace_back(text.substr(offset, length));
        return words;
    }

    FakeDictionaries dictionaries;
    ReportingStation station;
    TextBox& box = station.editor.txtReportAnnotation;
};

TEST_F(SpellingHelp, IsOffUntilTheSiteHasSetIt) {
    station.OpenReport({});
    EXPECT_EQ(dictionaries.asked, Texts{});
    EXPECT_EQ(box.Words(), nullptr);
}

TEST_F(SpellingHelp, FindsTheWordsThatTheDictionaryLacks) {
    Open("en");
    EXPECT_EQ(Unknown("the lnugs are"), Texts{"lnugs"});
}

TEST_F(SpellingHelp, KnowsTheWordsOfSeveralLanguages) {
    Open("en, it");
    EXPECT_EQ(Unknown("the polmoni xyz"), Texts{"xyz"});
}

TEST_F(SpellingHelp, OffersWhatEachLanguageSuggestsOnce) {
    dictionaries.suggestions["en"] = {"lungs", "lunge", "long"};
    dictionaries.suggestions["it"] = {"lungo", "lungs"};
    Open("en, it");
    Texts offered;
    box.Words()->Suggest("lungx", [&](Texts found) { offered = std::move(found); });
    EXPECT_EQ(offered, Texts{}); // whose window waits for none of it
    dictionaries.Find();
    EXPECT_EQ(offered, (Texts{"lungs", "lungo", "lunge", "long"}));
}

TEST_F(SpellingHelp, SpeaksTheLanguageOfTheDesktop) {
    station.process.language = "it";
    Open("locale");
    EXPECT_EQ(dictionaries.asked, Texts{"it"});
}

TEST_F(SpellingHelp, IsThePhysiciansOwnBeforeTheSites) {
    station.Insert("Writing", {{"UserName", "mrossi"}, {"Spelling", "it"}});
    station.Insert("Writing", {{"UserName", "another"}, {"Spelling", "de"}});
    Open("en");
    EXPECT_EQ(dictionaries.asked, Texts{"it"});
}

TEST_F(SpellingHelp, MayBeOffForAPhysician) {
    station.Insert("Writing", {{"UserName", "mrossi"}, {"Spelling", "off"}});
    Open("en");
    EXPECT_EQ(dictionaries.asked, Texts{});
}

TEST_F(SpellingHelp, ReadsADictionaryOnceForAllReports) {
    Open("en");
    station.OpenReport({.seriesUid = "1.2.3.2.2", .seriesDir = "report2"});
    EXPECT_EQ(dictionaries.asked, Texts{"en"});
    EXPECT_NE(box.Words(), nullptr);
}

TEST_F(SpellingHelp, SaysOnceThatADictionaryIsMissing) {
    Open("de");
    EXPECT_EQ(station.editor.lblAdvice.Text(), "Spelling is off: no dictionary for \"de\"");
    EXPECT_EQ(box.Words(), nullptr);
    EXPECT_EQ(station.windows.Texts(), Texts{});
    station.OpenReport({.seriesUid = "1.2.3.2.2", .seriesDir = "report2"});
    EXPECT_EQ(station.editor.lblAdvice.Text(), "");
}

TEST_F(SpellingHelp, KnowsTheWordsOfTheCodeTables) {
    station.AddCode("StdFinding", "99SS", "F1", "PNEUMOTHORAX, left-sided");
    Open("en");
    EXPECT_EQ(Unknown("Pneumothorax sided xyz"), Texts{"xyz"});
}

TEST_F(SpellingHelp, LeavesAbbreviationsInCapitalsOfAnyScriptAlone) {
    Open("en");
    EXPECT_EQ(Unknown("MRI МРТ ΑΤ ÖGD A Мрт Mri"), (Texts{"Мрт", "Mri"}));
    EXPECT_EQ(Unknown("الرئة"), Texts{"الرئة"}); // has no small letters
}

TEST_F(SpellingHelp, LearnsAWordForEachReportAndProcessOfTheAccount) {
    Open("en");
    box.Words()->Learn("Größenordnung");
    EXPECT_EQ(Unknown("größenordnung xyz"), Texts{"xyz"});
    EXPECT_EQ(station.ReadFile("state/words.txt"), "Größenordnung\n");

    AnotherProcess another(station);
    another.global.ports.dictionaries = &dictionaries;
    another.automation.LoadSRSeries("1.2.3.2.1");
    dictionaries.Finish();
    EXPECT_TRUE(another.editor.txtReportAnnotation.Words()->Unknown("Größenordnung").empty());
}

TEST_F(SpellingHelp, SaysThatAWordCannotBeKept) {
    Open("en");
    station.WriteFile("state", "no folder");
    box.Words()->Learn("xyz");
    ASSERT_EQ(station.windows.messages.size(), 1U);
    EXPECT_EQ(Unknown("xyz"), Texts{});
}

} // namespace
} // namespace tavrel::test
