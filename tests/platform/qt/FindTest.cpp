#include "platform/qt/InputBlock.h"
#include "platform/qt/TextSearch.h"
#include "tests/platform/qt/OneOfEach.h"

#include <QTest>
#include <gmock/gmock.h>

namespace tavrel {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using testing::Pair;

TEST(Occurrences, AreFoundWhateverTheirCapitalsAndAccents) {
    EXPECT_THAT(Occurrences("Café, CAFE, cafe\u0301.", "cafe"), ElementsAre(Pair(0, 4), Pair(6, 4), Pair(12, 5)));
    EXPECT_THAT(Occurrences("Café, CAFE, cafe\u0301.", "CAFÉ"), ElementsAre(Pair(0, 4), Pair(6, 4), Pair(12, 5)));
}

TEST(Occurrences, AreThoseOfStrokesLigaturesAndPointsToo) {
    EXPECT_THAT(Occurrences("Øre Łódź", "ore"), ElementsAre(Pair(0, 3)));
    EXPECT_THAT(Occurrences("Øre Łódź", "lodz"), ElementsAre(Pair(4, 4)));
    EXPECT_THAT(Occurrences("Größe ﬁn", "grosse"), ElementsAre(Pair(0, 5)));
    EXPECT_THAT(Occurrences("Größe ﬁn", "fi"), ElementsAre(Pair(6, 1)));
    EXPECT_THAT(Occurrences("שָׁלוֹם", "שלום"), ElementsAre(Pair(0, 7)));
}

TEST(Occurrences, AreNotThoseOfAnotherLetterThatIsWrittenWithASign) {
    EXPECT_THAT(Occurrences("がん", "かん"), IsEmpty());
    EXPECT_THAT(Occurrences("がん", "がん"), ElementsAre(Pair(0, 2)));
}

TEST(Occurrences, OverlapNowhereAndAreNoneOfNothing) {
    EXPECT_THAT(Occurrences("aaaa", "aa"), ElementsAre(Pair(0, 2), Pair(2, 2)));
    EXPECT_THAT(Occurrences("aaaa", ""), IsEmpty());
    EXPECT_THAT(Occurrences("aaaa", "\u0301"), IsEmpty());
}

/// A reading, and the person who looks for a word in it.
class Finding : public OneOfEachShown {
protected:
    Finding() {
        form_.txtParagraphs.Text("A nodule.\r\nNo effusion.\r\nThe NODULE is unchanged.");
        window_.activateWindow();
        EXPECT_TRUE(QTest::qWaitForWindowActive(&window_));
        paragraphs_.setFocus();
    }
    void PressCtrlF() { QTest::keyClick(window_.windowHandle(), Qt::Key_F, Qt::ControlModifier); }
    void Type(const std::string& words) {
        for (const char letter : words)
            QTest::keyClick(window_.windowHandle(), letter);
    }
    void Press(Qt::Key key, Qt::KeyboardModifiers modifiers = {}) {
        QTest::keyClick(window_.windowHandle(), key, modifiers);
    }
    QWidget* Bar() { return window_.findChild<QWidget*>("paneFind"); }
    std::string Said() { return Bar()->findChild<QLabel*>()->text().toStdString(); }
    int Place() { return paragraphs_.textCursor().selectionStart(); }
    std::string Selected() { return paragraphs_.textCursor().selectedText().toStdString(); }

    static constexpr int First = 2, Second = 27;
};

TEST_F(Finding, SelectsWhatIsTypedLetterByLetter) {
    PressCtrlF();
    Type("nod");
    EXPECT_EQ(Selected(), "nod");
    Type("u");
    EXPECT_EQ(Selected(), "nodu");
    EXPECT_EQ(Said(), "1 of 2");
}

TEST_F(Finding, GoesOnByEnterAndFromTheLastToTheFirst) {
    PressCtrlF();
    Type("nodule");
    Press(Qt::Key_Return);
    EXPECT_EQ(Place(), Second);
    EXPECT_EQ(Said(), "2 of 2");
    Press(Qt::Key_Return);
    EXPECT_EQ(Place(), First);
    EXPECT_EQ(Said(), "1 of 2, from the beginning");
}

TEST_F(Finding, GoesBackByShiftAndEnterAndFromTheFirstToTheLast) {
    PressCtrlF();
    Type("nodule");
    Press(Qt::Key_Return, Qt::ShiftModifier);
    EXPECT_EQ(Place(), Second);
    EXPECT_EQ(Said(), "2 of 2, from the end");
    Press(Qt::Key_G, Qt::ControlModifier | Qt::ShiftModifier);
    EXPECT_EQ(Place(), First);
}

TEST_F(Finding, SaysWhatIsNotThereAndForgetsItWhenTheTextIsAnother) {
    PressCtrlF();
    Type("mass");
    EXPECT_EQ(Said(), "Not found");
    EXPECT_EQ(Bar()->findChild<QLineEdit*>()->accessibleDescription(), "Not found");
    form_.txtParagraphs.Revise("A mass.");
    EXPECT_EQ(Said(), "");
    Press(Qt::Key_Return);
    EXPECT_EQ(Said(), "1 of 1");
}

TEST_F(Finding, IsOverWithItsWordsWhenTheTextIsAnotherReports) {
    PressCtrlF();
    Type("nodule");
    form_.txtParagraphs.Text("No nodule here.");
    EXPECT_FALSE(Bar()->isVisible());
    EXPECT_TRUE(paragraphs_.hasFocus());
    PressCtrlF();
    Press(Qt::Key_Z, Qt::ControlModifier);
    EXPECT_EQ(Bar()->findChild<QLineEdit*>()->text(), "");
    EXPECT_EQ(Selected(), "");
}

TEST_F(Finding, EndsByEscapeInTheTextAndBeginsAnewWithWhatIsSelected) {
    PressCtrlF();
    Type("effusion");
    Press(Qt::Key_Escape);
    EXPECT_FALSE(Bar()->isVisible());
    EXPECT_TRUE(paragraphs_.hasFocus());
    EXPECT_EQ(Selected(), "effusion");
    paragraphs_.moveCursor(QTextCursor::Start);
    paragraphs_.moveCursor(QTextCursor::EndOfWord, QTextCursor::KeepAnchor);
    PressCtrlF();
    EXPECT_EQ(Bar()->findChild<QLineEdit*>()->text(), "A");
    Type("unch");
    EXPECT_EQ(Selected(), "unch");
}

TEST_F(Finding, WorksInATextThatIsOutOfReach) {
    form_.frmInside.Enabled(false);
    form_.txtParagraphs.Locked(true);
    PressCtrlF();
    Type("unchanged");
    EXPECT_EQ(Selected(), "unchanged");
    EXPECT_EQ(form_.txtParagraphs.Text(), "A nodule.\r\nNo effusion.\r\nThe NODULE is unchanged.");
}

TEST_F(Finding, ChangesNothingThatWasTyped) {
    QTest::keyClicks(&paragraphs_, "x");
    PressCtrlF();
    Type("nodule");
    Press(Qt::Key_Escape);
    paragraphs_.undo();
    EXPECT_EQ(form_.txtParagraphs.Text(), "A nodule.\r\nNo effusion.\r\nThe NODULE is unchanged.");
}

TEST_F(Finding, DoesNotBeginDuringAWait) {
    {
        const InputBlock block("Storing the version ...");
        PressCtrlF();
    }
    EXPECT_EQ(Bar(), nullptr);
}

} // namespace
} // namespace tavrel
