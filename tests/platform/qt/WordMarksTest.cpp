#include "platform/word_check.h"
#include "tests/platform/qt/OneOfEach.h"

#include <QAction>
#include <QApplication>
#include <QDeadlineTimer>
#include <QElapsedTimer>
#include <QMenu>
#include <QTest>
#include <QTextBlock>
#include <QTextLayout>

#include <algorithm>
#include <chrono>
#include <thread>

namespace tavrel {
namespace {

/// Knows every word but "lnug".
class Judge : public WordCheck {
public:
    std::vector<std::string> judged, learnt;
    std::chrono::milliseconds taking{0}; ///< for each paragraph

    std::vector<TextMark> Unknown(std::string_view paragraph) override {
        judged.emplace_back(paragraph);
        std::this_thread::sleep_for(taking);
        std::vector<TextMark> unknown;
        if (learnt.empty())
            for (auto at = paragraph.find("lnug"); at != std::string_view::npos; at = paragraph.find("lnug", at + 1))
                unknown.push_back({at, 4});
        return unknown;
    }
    std::function<void(std::vector<std::string>)> suggest; ///< to who asked last
    void Suggest(std::string_view, std::function<void(std::vector<std::string>)> found) override {
        suggest = std::move(found);
    }
    void Learn(std::string_view word) override { learnt.emplace_back(word); }
};

class WordMarking : public OneOfEachShown {
protected:
    WordMarking() {
        form_.txtParagraphs.Words(&judge);
        paragraphs_.setFocus();
    }
    ~WordMarking() override { form_.txtParagraphs.Words(nullptr); }

    /// Start and length of what is underlined, in the whole text.
    std::vector<std::pair<int, int>> Underlined() const {
        std::vector<std::pair<int, int>> marks;
        for (auto block = paragraphs_.document()->begin(); block.isValid(); block = block.next())
            for (const auto& format : block.layout()->formats())
                marks.emplace_back(block.position() + format.start, format.length);
        return marks;
    }
    bool Becomes(const std::vector<std::pair<int, int>>& marks) {
        return QTest::qWaitFor([&] { return Underlined() == marks; }, 3000);
    }
    /// Opens the context menu by the keyboard, chooses an entry (none: leaves it) and answers what it offered.
    QStringList Choose(const QString& entry, Qt::Key key) {
        if (key == Qt::Key_Menu) {
            QContextMenuEvent asked(QContextMenuEvent::Keyboard, {}, {});
            QApplication::sendEvent(&paragraphs_, &asked);
        } else {
            QTest::keyClick(&paragraphs_, key);
        }
        return ChooseOffered(entry);
    }
    /// In the menu that stands there, once what may be meant is found.
    QStringList ChooseOffered(const QString& entry) {
        if (judge.suggest)
            judge.suggest({"lung", "R&D"});
        return ChooseNow(entry);
    }
    static QMenu* Menu() { return qobject_cast<QMenu*>(QApplication::activePopupWidget()); }
    static QStringList ChooseNow(const QString& entry) {
        auto* menu = Menu();
        QStringList offered;
        for (auto* action : menu ? menu->actions() : QList<QAction*>()) {
            offered << action->text();
            if (action->text() == entry)
                action->trigger();
        }
        if (menu)
            menu->close();
        return offered;
    }
    /// Clicks with the other button amid a word.
    void AskAt(int position) {
        CaretTo(position);
        const QPoint place = paragraphs_.cursorRect().center();
        CaretTo(0);
        QContextMenuEvent asked(QContextMenuEvent::Mouse, place, paragraphs_.viewport()->mapToGlobal(place));
        QApplication::sendEvent(paragraphs_.viewport(), &asked);
    }
    void CaretTo(int position) {
        auto cursor = paragraphs_.textCursor();
        cursor.setPosition(position);
        paragraphs_.setTextCursor(cursor);
    }

    Judge judge;
};

TEST_F(WordMarking, UnderlinesUnknownWordsOnceTheTypingPauses) {
    QTest::keyClicks(&paragraphs_, "my lnug clear");
    EXPECT_TRUE(Underlined().empty());
    EXPECT_TRUE(Becomes({{3, 4}}));
}

TEST_F(WordMarking, LeavesTheWordAloneThatIsBeingWritten) {
    QTest::keyClicks(&paragraphs_, "lnug");
    QTest::qWait(500);
    EXPECT_TRUE(Underlined().empty());
    CaretTo(0);
    EXPECT_TRUE(Becomes({{0, 4}}));
}

TEST_F(WordMarking, JudgesTheParagraphAloneThatHasChanged) {
    form_.txtParagraphs.Text("one\r\nlnug two\r\nthree");
    ASSERT_TRUE(Becomes({{4, 4}}));
    judge.judged.clear();
    CaretTo(0);
    QTest::keyClicks(&paragraphs_, "x");
    QTest::qWait(500);
    EXPECT_EQ(judge.judged, std::vector<std::string>{"xone"});
}

TEST_F(WordMarking, IsNoEditOfTheText) {
    form_.txtParagraphs.Text("lnug two");
    ASSERT_TRUE(Becomes({{0, 4}}));
    EXPECT_EQ(form_.txtParagraphs.Text(), "lnug two");
    EXPECT_FALSE(paragraphs_.document()->isUndoAvailable());
}

TEST_F(WordMarking, OffersWhatMayBeMeant) {
    form_.txtParagraphs.Text("é lnug two");
    CaretTo(3);
    const auto offered = Choose("lung", Qt::Key_Menu);
    EXPECT_EQ(offered.mid(0, 3), (QStringList{"lung", "R&&D", "Add \"lnug\" to my words"}));
    EXPECT_EQ(form_.txtParagraphs.Text(), "é lung two");
    QTest::keyClick(&paragraphs_, Qt::Key_Z, Qt::ControlModifier);
    EXPECT_EQ(form_.txtParagraphs.Text(), "é lnug two");
}

TEST_F(WordMarking, OpensTheMenuWhileItIsLookedForWhatMayBeMeant) {
    form_.txtParagraphs.Text("é lnug two");
    AskAt(4);
    EXPECT_EQ(ChooseNow("Looking for suggestions...").mid(0, 2),
              (QStringList{"Looking for suggestions...", "Add \"lnug\" to my words"}));
    EXPECT_EQ(form_.txtParagraphs.Text(), "é lnug two");
}

TEST_F(WordMarking, SaysThatNothingElseMayBeMeant) {
    form_.txtParagraphs.Text("é lnug two");
    AskAt(4);
    judge.suggest({});
    EXPECT_EQ(ChooseNow("No suggestion").mid(0, 2), (QStringList{"No suggestion", "Add \"lnug\" to my words"}));
    EXPECT_EQ(form_.txtParagraphs.Text(), "é lnug two");
}

TEST_F(WordMarking, LeavesUnderTheMouseWhatItPointsAtWhenSuggestionsCome) {
    form_.txtParagraphs.Text("é lnug two");
    AskAt(4);
    auto* learn = Menu()->actions().at(1);
    Menu()->move(Menu()->screen()->availableGeometry().center());
    Menu()->setActiveAction(learn);
    const auto place = [&] { return Menu()->mapToGlobal(Menu()->actionGeometry(learn).topLeft()); };
    const QPoint before = place();
    judge.suggest({"lung", "R&D"});
    EXPECT_EQ(place(), before);
    EXPECT_EQ(ChooseNow({}).at(2), learn->text());
}

TEST_F(WordMarking, LeavesTheKeysOnTheLikeliestWhenSuggestionsCome) {
    form_.txtParagraphs.Text("é lnug two");
    CaretTo(3);
    QTest::keyClick(&paragraphs_, Qt::Key_F7);
    QTest::keyClick(Menu(), Qt::Key_Down);
    judge.suggest({"lung", "R&D"});
    QTest::keyClick(Menu(), Qt::Key_Return);
    EXPECT_EQ(form_.txtParagraphs.Text(), "é lung two");
}

TEST_F(WordMarking, TakesTheLikeliestWhenItWasChosenBeforeItWasFound) {
    for (const Qt::Key key : {Qt::Key_Return, Qt::Key_Enter}) {
        form_.txtParagraphs.Text("é lnug two");
        CaretTo(3);
        QTest::keyClick(&paragraphs_, Qt::Key_F7);
        QTest::keyClick(Menu(), Qt::Key_Down);
        QTest::keyClick(Menu(), key);
        ASSERT_TRUE(Menu());
        judge.suggest({"lung", "R&D"});
        EXPECT_FALSE(Menu());
        EXPECT_EQ(form_.txtParagraphs.Text(), "é lung two");
    }
}

TEST_F(WordMarking, KeepsTheGrowingMenuOnTheScreen) {
    form_.txtParagraphs.Text("é lnug two");
    AskAt(4);
    const QRect screen = Menu()->screen()->availableGeometry();
    Menu()->move(0, screen.bottom() + 1 - Menu()->height());
    judge.suggest({"one", "two", "three", "four", "five", "six", "seven", "eight", "nine"});
    EXPECT_EQ(Menu()->geometry().bottom(), screen.bottom());
    EXPECT_EQ(ChooseNow({}).mid(7, 2), (QStringList{"eight", "Add \"lnug\" to my words"}));
}

TEST_F(WordMarking, KeepsTheTopOfTheGrowingMenuOnTheScreen) {
    form_.txtParagraphs.Text("é lnug two");
    AskAt(4);
    const QRect screen = Menu()->screen()->availableGeometry();
    Menu()->move(screen.topLeft());
    Menu()->setActiveAction(Menu()->actions().at(1));
    judge.suggest({"lung", "R&D"});
    EXPECT_EQ(Menu()->geometry().top(), screen.top());
    ChooseNow({});
}

TEST_F(WordMarking, DropsWhatIsFoundForAMenuThatIsGone) {
    form_.txtParagraphs.Text("é lnug two");
    AskAt(4);
    const auto late = judge.suggest;
    ChooseNow({});
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    AskAt(4);
    late({"late"});
    EXPECT_EQ(ChooseNow({}).front(), "Looking for suggestions...");
}

TEST_F(WordMarking, TakesNothingAnyMoreOnceTheMenuIsLeft) {
    form_.txtParagraphs.Text("é lnug two");
    CaretTo(3);
    QTest::keyClick(&paragraphs_, Qt::Key_F7);
    QTest::keyClick(Menu(), Qt::Key_Down);
    QTest::keyClick(Menu(), Qt::Key_Return);
    QTest::keyClick(Menu(), Qt::Key_Escape);
    judge.suggest({"lung"});
    EXPECT_EQ(form_.txtParagraphs.Text(), "é lnug two");
}

TEST(SuggestionsForABox, AreForgottenWhenItHasGone) {
    Judge judge;
    {
        OneOfEach form;
        form.txtParagraphs.Words(&judge);
        form.txtParagraphs.Text("lnug");
        FormWindow window(form, LayOutOneOfEach);
        window.show();
        QContextMenuEvent asked(QContextMenuEvent::Keyboard, {}, {});
        QApplication::sendEvent(window.findChild<QPlainTextEdit*>("txtParagraphs"), &asked);
        ASSERT_TRUE(QApplication::activePopupWidget());
    }
    judge.suggest({"lung"});
    EXPECT_FALSE(QApplication::activePopupWidget());
}

TEST_F(WordMarking, OffersNothingForATextThatHasGoneMeanwhile) {
    form_.txtParagraphs.Text("é lnug two");
    AskAt(4);
    form_.txtParagraphs.Revise("a lnug of another");
    judge.suggest({"lung"});
    EXPECT_EQ(ChooseNow({}).front(), "No suggestion");
}

TEST_F(WordMarking, OffersNothingForATextThatCannotBeChangedMeanwhile) {
    form_.txtParagraphs.Text("é lnug two");
    AskAt(4);
    form_.frmInside.Enabled(false);
    judge.suggest({"lung"});
    EXPECT_EQ(ChooseNow({}).front(), "No suggestion");
}

TEST_F(WordMarking, OffersWhatMayBeMeantByTheWordUnderTheMouse) {
    form_.txtParagraphs.Text("é lnug two");
    AskAt(4);
    EXPECT_EQ(ChooseOffered("lung").front(), "lung");
    EXPECT_EQ(form_.txtParagraphs.Text(), "é lung two");
}

TEST_F(WordMarking, NeverMendsAnotherText) {
    form_.txtParagraphs.Text("é lnug two");
    AskAt(4);
    judge.suggest({"lung"});
    form_.txtParagraphs.Revise("a lnug of another");
    ChooseNow("lung");
    EXPECT_EQ(form_.txtParagraphs.Text(), "a lnug of another");
}

TEST_F(WordMarking, TakesItsMenuAwayWhenTheTextIsAnotherReports) {
    form_.txtParagraphs.Text("é lnug two");
    AskAt(4);
    ASSERT_TRUE(Menu());
    form_.txtParagraphs.Text("a lnug of another");
    EXPECT_FALSE(Menu());
}

TEST_F(WordMarking, OffersNothingAnyMoreOnceTheTextCannotBeChanged) {
    form_.txtParagraphs.Text("é lnug two");
    AskAt(4);
    judge.suggest({"lung"});
    form_.frmInside.Enabled(false);
    ChooseNow("lung");
    EXPECT_EQ(form_.txtParagraphs.Text(), "é lnug two");
}

TEST_F(WordMarking, LearnsAWord) {
    form_.txtParagraphs.Text("é lnug two");
    CaretTo(3);
    Choose("Add \"lnug\" to my words", Qt::Key_Menu);
    EXPECT_EQ(judge.learnt, std::vector<std::string>{"lnug"});
}

TEST_F(WordMarking, OffersNothingOfAWordThatIsKnown) {
    form_.txtParagraphs.Text("é lnug two");
    CaretTo(8);
    EXPECT_FALSE(Choose({}, Qt::Key_Menu).contains("lung"));
}

TEST_F(WordMarking, GoesFromWordToWordByAKey) {
    form_.txtParagraphs.Text("lnug one\r\ntwo lnug");
    CaretTo(1);
    EXPECT_TRUE(Choose({}, Qt::Key_F7).contains("lung"));
    EXPECT_EQ(paragraphs_.textCursor().selectionStart(), 13);
}

TEST_F(WordMarking, BeginsAnewBehindTheLastWord) {
    form_.txtParagraphs.Text("lnug one\r\ntwo lnug");
    CaretTo(17);
    Choose("lung", Qt::Key_F7);
    EXPECT_EQ(form_.txtParagraphs.Text(), "lung one\r\ntwo lnug");
}

TEST_F(WordMarking, JudgesNothingThatCannotBeChanged) {
    form_.txtParagraphs.Text("lnug two");
    ASSERT_TRUE(Becomes({{0, 4}}));
    form_.frmInside.Enabled(false);
    EXPECT_TRUE(Becomes({}));
    form_.frmInside.Enabled(true);
    EXPECT_TRUE(Becomes({{0, 4}}));
}

TEST_F(WordMarking, IsGoneWithItsJudge) {
    form_.txtParagraphs.Text("lnug two");
    ASSERT_TRUE(Becomes({{0, 4}}));
    form_.txtParagraphs.Words(nullptr);
    EXPECT_TRUE(Becomes({}));
}

TEST_F(WordMarking, NeverHoldsUpAKey) {
    std::string text;
    judge.taking = std::chrono::milliseconds(1);
    for (int line = 0; line < 1000; ++line)
        text += "the lnug is clear and the heart is of the usual size\r\n";
    form_.txtParagraphs.Text(text);
    qint64 longest = 0;
    for (QDeadlineTimer over(1000); !over.hasExpired();) { // beyond the pause that the judging waits for
        QElapsedTimer spent;
        spent.start();
        QTest::qWait(1);
        longest = std::max(longest, spent.elapsed());
    }
    EXPECT_LT(longest, 200);
}

} // namespace
} // namespace tavrel
