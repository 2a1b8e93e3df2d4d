#include "editor/TextDifference.h"
#include "tests/editor/InterchangeStation.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <random>

namespace tavrel::test {
namespace {

/// "-removed-" and "+added+" within the text.
std::string Marked(std::string_view before, std::string_view after) {
    std::string marked;
    for (const auto& [kind, text] : Difference(before, after))
        marked += kind == TextPiece::Kind::Same    ? text
                  : kind == TextPiece::Kind::Added ? "+" + text + "+"
                                                   : "-" + text + "-";
    return marked;
}

TEST(Differences, AreThoseOfWords) {
    EXPECT_EQ(Marked("left lung clear", "right lung clear"), "-left-+right+ lung clear");
    EXPECT_EQ(Marked("No fracture.", "No old fracture."), "No +old +fracture.");
    EXPECT_EQ(Marked("a b c", "a x y c"), "a -b-+x y+ c");
    EXPECT_EQ(Marked("one two", "three four"), "-one two-+three four+");
}

TEST(Differences, OfTheSameTextAreNone) {
    EXPECT_EQ(Marked("é\r\nb", "é\r\nb"), "é\r\nb");
    EXPECT_EQ(Marked("", ""), "");
}

TEST(Differences, OfATextAndNoneAreAllOfIt) {
    EXPECT_EQ(Marked("", "a b"), "+a b+");
    EXPECT_EQ(Marked("a b", ""), "-a b-");
}

TEST(Differences, PartTextsWithoutBlanksByCharacters) {
    EXPECT_EQ(Marked("胸部正常", "胸部异常"), "胸部-正-+异+常");
}

TEST(Differences, YieldBothTextsAgain) {
    std::minstd_rand random;
    const auto text = [&] {
        std::string made;
        for (auto words = random() % 30; words > 0; --words)
            made += std::vector<std::string>{"a", "b ", "ccc", " ", "\r\n", "é", ".", "胸"}[random() % 8];
        return made;
    };
    for (int i = 0; i < 3000; ++i) {
        const std::string before = text(), after = text();
        std::string old, now;
        for (const auto& [kind, piece] : Difference(before, after)) {
            old += kind == TextPiece::Kind::Added ? "" : piece;
            now += kind == TextPiece::Kind::Removed ? "" : piece;
        }
        ASSERT_EQ(old, before);
        ASSERT_EQ(now, after);
    }
}

TEST(Differences, OfHugeTextsComeInTime) {
    std::minstd_rand random;
    std::string before, after;
    for (int i = 0; i < 200'000; ++i) {
        before += std::to_string(random()) + " ";
        after += std::to_string(random()) + " ";
    }
    const auto begin = std::chrono::steady_clock::now();
    EXPECT_FALSE(Difference(before, after).empty());
    EXPECT_LT(std::chrono::steady_clock::now() - begin, std::chrono::seconds(10));
}

class Comparisons : public testing::Test {
protected:
    /// A report of which each save adds a version.
    void Open(std::initializer_list<std::string> readings) {
        station.AddCode("StdTitles", "99SS", "T1", "Heading");
        station.OpenReport({.title = "Chest", .reading = *readings.begin()});
        station.StoreInto("report1");
        for (const auto& reading : std::vector<std::string>(std::next(readings.begin()), readings.end())) {
            ++station.clock.now.minute;
            editor.txtReportAnnotation.Typed(reading);
            editor.cmdSave.Press();
        }
    }
    /// What a person does in the window, which is closed at last.
    void InWindow(const std::function<void(frmCompare&)>& act) {
        station.windows.onModal = [act](Form& form) {
            auto& window = dynamic_cast<frmCompare&>(form);
            act(window);
            window.cmdDone.Press();
        };
        editor.cmdCompare.Press();
    }

    ReportingStation station;
    frmReport& editor = station.editor;
};

TEST_F(Comparisons, ShowTheLastVersionAgainstTheOneBefore) {
    Open({"Left lung clear.", "Right lung clear."});
    InWindow([&](frmCompare& window) {
        EXPECT_EQ(window.txtDifference.Text(), "Report heading (the same)\r\nHeading\r\n\r\nReport title (the same)\r\n"
                                               "Chest\r\n\r\nReading\r\n[removed: Left][added: Right] lung clear.");
        EXPECT_EQ(window.lblDifference.Text(), "1 word added, 1 word removed.");
        EXPECT_EQ(window.Caption(), "Compare versions - ROSSI, MARIA");
    });
}

TEST_F(Comparisons, NameTheWordsWithoutWhatPartsThem) {
    Open({"One.", "One. Two.\r\nThree."});
    InWindow([&](frmCompare& window) {
        EXPECT_TRUE(window.txtDifference.Text().ends_with("One. [added: Two.\r\nThree.]"));
        window.lstLater.ListIndex(0);
        window.lstEarlier.ListIndex(1);
        EXPECT_TRUE(window.txtDifference.Text().ends_with("One. [removed: Two.\r\nThree.]"));
    });
}

TEST_F(Comparisons, SayThatSignsAloneAreOthers) {
    Open({"Nodule < 5 mm.", "Nodule > 5 mm."});
    InWindow([&](frmCompare& window) {
        EXPECT_TRUE(window.txtDifference.Text().ends_with("Nodule [removed: <][added: >] 5 mm."));
        EXPECT_EQ(window.lblDifference.Text(), "The words are the same, but not the signs or blanks between them.");
    });
}

TEST_F(Comparisons, SetOffWhatIsAddedAndRemoved) {
    Open({"Left lung.", "Right lung."});
    InWindow([&](frmCompare& window) {
        Texts marked;
        for (const auto& [offset, length, kind] : window.txtDifference.Marks())
            marked.push_back((kind == TextMark::Kind::Added ? "+" : "-") +
                             window.txtDifference.Text().substr(offset, length));
        EXPECT_EQ(marked, (Texts{"-[removed: Left]", "+[added: Right]"}));
    });
}

TEST_F(Comparisons, AreOfAnyTwoVersions) {
    Open({"One.", "Two.", "Three."});
    InWindow([&](frmCompare& window) {
        window.lstEarlier.ListIndex(0);
        EXPECT_TRUE(window.txtDifference.Text().ends_with("[removed: One][added: Three]."));
        window.lstLater.ListIndex(0);
        EXPECT_EQ(window.lblDifference.Text(), "The two versions say the same.");
    });
}

TEST_F(Comparisons, LeaveTheReportAsItStands) {
    Open({"One.", "Two."});
    editor.txtReportAnnotation.Typed("Three, unsaved.");
    InWindow([](frmCompare& window) { window.lstLater.ListIndex(0); });
    EXPECT_EQ(editor.txtReportAnnotation.Text(), "Three, unsaved.");
    EXPECT_EQ(editor.lblState.Text(), "Unsaved changes");
    EXPECT_EQ(station.Document().VersionIndex(), 1);
    EXPECT_EQ(station.Document().Reading(), "Two.");
}

TEST_F(Comparisons, StartFromTheVersionThatIsShown) {
    Open({"One.", "Two.", "Three."});
    editor.lstHistory.ListIndex(1);
    InWindow([](frmCompare& window) {
        EXPECT_EQ(window.lstEarlier.ListIndex(), 0);
        EXPECT_EQ(window.lstLater.ListIndex(), 1);
    });
}

TEST_F(Comparisons, NeedTwoVersions) {
    Open({"One."});
    EXPECT_FALSE(editor.cmdCompare.Enabled());
    ++station.clock.now.minute;
    editor.cmdSave.Press();
    EXPECT_TRUE(editor.cmdCompare.Enabled());
}

TEST(ComparisonsOfCodes, TellAnotherCodeOfTheSameMeaning) {
    InterchangeStation station;
    frmReport& editor = station.editor;
    station.Open();
    station.SaveCodes("Chest", "F1", "D1");
    station.SaveCodes("Knee", "F1", "D1");
    station.Execute("UPDATE StdBodyPart SET CodeValue='T-D3001' WHERE CodeMeaning='Chest'");
    editor.cmbBodyPart.Typed("Chest");
    editor.lstFinding.Replace(0, {"F1", "99LOCAL", {"Meaning of F1", "note"}});
    ++station.clock.now.minute;
    editor.cmdSave.Press();
    station.windows.onModal = [](Form& form) {
        auto& window = dynamic_cast<frmCompare&>(form);
        window.lstEarlier.ListIndex(1);
        EXPECT_THAT(window.txtDifference.Text(),
                    testing::HasSubstr("\r\n\r\nBody part\r\nSRT T-[removed: D3000][added: D3001] Chest\r\n\r\n"
                                       "Finding\r\n[removed: SRT][added: 99LOCAL] F1 Meaning of F1 (note)\r\n\r\n"
                                       "Diagnosis (the same)\r\nD1 Meaning of D1 (note)\r\n\r\n"));
        EXPECT_EQ(window.lblDifference.Text(), "2 words added, 2 words removed.");
    };
    editor.cmdCompare.Press();
}

TEST_F(Comparisons, ShowNothingOfAVersionThatCannotBeRead) {
    Open({"One.", "Two.", "Three."});
    station.automation.LoadSRSeries("1.2.3.2.1");
    InWindow([&](frmCompare& window) {
        station.WriteFile("study\\report1\\img_000001.dcm", "damaged");
        window.lstEarlier.ListIndex(0);
        EXPECT_EQ(station.windows.messages.size(), 1U);
        EXPECT_EQ(window.txtDifference.Text() + window.lblDifference.Text(), "");
    });
}

TEST_F(Comparisons, EndWhenAnotherReportIsOpened) {
    Open({"One.", "Two."});
    station.windows.onModal = [&](Form& form) {
        station.OpenReport({.seriesUid = "1.2.3.2.2", .seriesDir = "report2", .patientName = "BIANCHI^ANNA"});
        EXPECT_FALSE(station.windows.IsShown(form));
        EXPECT_EQ(dynamic_cast<frmCompare&>(form).txtDifference.Text(), "");
    };
    editor.cmdCompare.Press();
}

} // namespace
} // namespace tavrel::test
