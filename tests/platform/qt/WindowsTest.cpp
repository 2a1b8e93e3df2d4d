#include "platform/qt/QtWindows.h"

#include "platform/error.h"
#include "tests/platform/qt/OneOfEach.h"

#include <QAccessible>
#include <QApplication>
#include <QLabel>
#include <QMessageBox>
#include <QTest>
#include <QTimer>
#include <QWindow>

namespace tavrel {
namespace {

class WindowsOnScreen : public testing::Test {
protected:
    ~WindowsOnScreen() override {
        windows_.Unload(form_);
        windows_.Unload(other_);
    }
    /// Asks, and does `act` on the box as soon as it stands there.
    Answer AskAndThen(const MessageBox& message, const std::function<void(QMessageBox&)>& act) {
        QTimer::singleShot(0, [&] { act(dynamic_cast<QMessageBox&>(*QApplication::activeModalWidget())); });
        return windows_.Ask(message);
    }

    Layouts layouts_{{"frmOneOfEach", LayOutOneOfEach}};
    OneOfEach form_;
    OneOfEach other_;
    QtWindows windows_{layouts_};
};

const MessageBox Approval{"Do you want to continue ?", "Approving document ... ", Buttons::YesNo, Icon::Exclamation,
                          Answer::No};

TEST_F(WindowsOnScreen, AShownFormHasAWindowWithItsCaption) {
    windows_.Show(form_);

    ASSERT_NE(windows_.WindowOf(form_), nullptr);
    EXPECT_TRUE(windows_.WindowOf(form_)->isVisible());
    EXPECT_EQ(windows_.WindowOf(form_)->windowTitle(), "One of each");
}

TEST_F(WindowsOnScreen, AChangedCaptionShows) {
    windows_.Show(form_);

    form_.Caption("Orbenta General Hospital");

    EXPECT_EQ(windows_.WindowOf(form_)->windowTitle(), "Orbenta General Hospital");
}

TEST_F(WindowsOnScreen, ANewWindowShowsWhatTheFormHeldBefore) {
    form_.txtLine.Text("Chest CT");
    form_.lstLines.AddItem("08:05");

    windows_.Show(form_);

    EXPECT_EQ(windows_.WindowOf(form_)->findChild<QLineEdit*>("txtLine")->text(), "Chest CT");
    EXPECT_EQ(windows_.WindowOf(form_)->findChild<QListView*>("lstLines")->model()->rowCount(), 1);
}

TEST_F(WindowsOnScreen, AWindowThatIsMadeAheadIsNotOpenAndShowsWhatTheFormHoldsByThen) {
    const auto& made = windows_.Make(form_);
    EXPECT_FALSE(made.isVisible());
    EXPECT_FALSE(windows_.AnyWindowOpen());
    form_.Caption("Orbenta General Hospital");
    form_.txtLine.Text("Chest CT");
    form_.lstLines.AddItem("08:05");

    windows_.Show(form_);

    EXPECT_EQ(windows_.WindowOf(form_), &made);
    EXPECT_EQ(made.windowTitle(), "Orbenta General Hospital");
    EXPECT_EQ(made.findChild<QLineEdit*>("txtLine")->text(), "Chest CT");
    EXPECT_EQ(made.findChild<QListView*>("lstLines")->model()->rowCount(), 1);
}

TEST_F(WindowsOnScreen, AFormWithoutALayoutIsAnError) {
    struct Unknown : Form {
        Unknown() : Form("frmUnknown") {}
        void FrameClosed() override {}
    } unknown;

    EXPECT_THROW(windows_.Show(unknown), Error);
}

TEST_F(WindowsOnScreen, ClosingTheFrameIsLeftToTheForm) {
    windows_.Show(form_);

    windows_.WindowOf(form_)->close();

    EXPECT_EQ(form_.frameClosed, 1);
    EXPECT_TRUE(windows_.WindowOf(form_)->isVisible());
}

TEST_F(WindowsOnScreen, AnUnloadedFormCanBeChangedAndShownAgain) {
    windows_.Show(form_);
    windows_.Unload(form_);

    form_.txtLine.Text("again");
    windows_.Show(form_);

    EXPECT_EQ(windows_.WindowOf(form_)->findChild<QLineEdit*>("txtLine")->text(), "again");
}

TEST_F(WindowsOnScreen, AFormMayUnloadItselfFromItsOwnButton) {
    form_.cmdPress.Click = [this] { windows_.Unload(form_); };
    windows_.Show(form_);

    windows_.WindowOf(form_)->findChild<QPushButton*>("cmdPress")->click();
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);

    EXPECT_EQ(windows_.WindowOf(form_), nullptr);
}

TEST_F(WindowsOnScreen, AModalShowEndsWhenTheFormIsHidden) {
    form_.cmdPress.Click = [this] { windows_.Hide(form_); };
    QTimer::singleShot(0, [this] { windows_.WindowOf(form_)->findChild<QPushButton*>("cmdPress")->click(); });

    windows_.ShowModal(form_, nullptr);

    EXPECT_FALSE(windows_.WindowOf(form_)->isVisible());
}

TEST_F(WindowsOnScreen, AModalShowEndsWhenTheFormIsUnloaded) {
    QTimer::singleShot(0, [this] { windows_.Unload(form_); });

    windows_.ShowModal(form_, nullptr);

    EXPECT_EQ(windows_.WindowOf(form_), nullptr);
}

TEST_F(WindowsOnScreen, AModalFormStandsOverItsOwner) {
    windows_.Show(form_);
    const QWindow* over = nullptr;
    bool dialog = false;
    QTimer::singleShot(0, [&] {
        const auto* window = windows_.WindowOf(other_)->windowHandle();
        over = window->transientParent();
        dialog = window->type() == Qt::Dialog; // A window manager keeps only those above their owner.
        windows_.Hide(other_);
    });

    windows_.ShowModal(other_, &form_);

    EXPECT_EQ(over, windows_.WindowOf(form_)->windowHandle());
    EXPECT_TRUE(dialog);
}

TEST_F(WindowsOnScreen, AModalFormKeepsTheOthersOutOfReach) {
    windows_.Show(form_);
    QTimer::singleShot(0, [this] {
        QTest::keyClick(windows_.WindowOf(form_)->windowHandle(), 'x');
        windows_.Hide(other_);
    });
    windows_.WindowOf(form_)->findChild<QLineEdit*>("txtLine")->setFocus();

    windows_.ShowModal(other_, &form_);

    EXPECT_EQ(form_.txtLine.Text(), "");
}

TEST_F(WindowsOnScreen, ANestedModalShowReturnsFirst) {
    std::vector<std::string> returned;
    QTimer::singleShot(0, [&] {
        QTimer::singleShot(0, [&] {
            windows_.Hide(other_);
            windows_.Hide(form_);
        });
        windows_.ShowModal(other_, &form_);
        returned.emplace_back("other");
    });

    windows_.ShowModal(form_, nullptr);
    returned.emplace_back("form");

    EXPECT_EQ(returned, (std::vector<std::string>{"other", "form"}));
}

TEST_F(WindowsOnScreen, AShownWindowBecomesTopMostWhereItIs) {
    windows_.Show(form_);
    const auto* window = windows_.WindowOf(form_);
    const QRect before = window->geometry();

    windows_.MakeTopMost(form_);

    EXPECT_TRUE(window->isVisible());
    EXPECT_EQ(window->geometry(), before);
    EXPECT_TRUE(window->windowHandle()->flags().testFlag(Qt::WindowStaysOnTopHint));
}

TEST_F(WindowsOnScreen, AWindowThatIsMadeTopMostBeforeItIsShownIsSoThen) {
    windows_.MakeTopMost(form_);
    EXPECT_FALSE(windows_.AnyWindowOpen());

    windows_.Show(form_);

    EXPECT_TRUE(windows_.WindowOf(form_)->windowHandle()->flags().testFlag(Qt::WindowStaysOnTopHint));
}

TEST_F(WindowsOnScreen, AWindowThatIsMadeAheadIsTopMostWhenItsFormIsMadeSo) {
    windows_.Make(form_);
    windows_.MakeTopMost(form_);

    windows_.Show(form_);

    EXPECT_TRUE(windows_.WindowOf(form_)->windowHandle()->flags().testFlag(Qt::WindowStaysOnTopHint));
}

TEST_F(WindowsOnScreen, AWindowThatIsHiddenWhenItIsMadeTopMostIsSoAfterwards) {
    windows_.Show(form_);
    windows_.Hide(form_);

    windows_.MakeTopMost(form_);
    windows_.Show(form_);

    EXPECT_TRUE(windows_.WindowOf(form_)->windowHandle()->flags().testFlag(Qt::WindowStaysOnTopHint));
}

TEST_F(WindowsOnScreen, AFormThatIsMadeTopMostAndNeverShownHasNoWindow) {
    windows_.MakeTopMost(form_);

    EXPECT_EQ(windows_.WindowOf(form_), nullptr);
}

TEST_F(WindowsOnScreen, AFormThatWasUnloadedBeforeItWasShownIsTopMostNoMore) {
    windows_.MakeTopMost(form_);
    windows_.Unload(form_);

    windows_.Show(form_);

    EXPECT_FALSE(windows_.WindowOf(form_)->windowHandle()->flags().testFlag(Qt::WindowStaysOnTopHint));
}

TEST_F(WindowsOnScreen, AMessageBoxSaysWhatItIsTold) {
    AskAndThen(Approval, [](QMessageBox& box) {
        EXPECT_EQ(box.text(), "Do you want to continue ?");
        EXPECT_EQ(box.textFormat(), Qt::PlainText);
        EXPECT_EQ(box.windowTitle(), "Approving document ... ");
        EXPECT_EQ(box.icon(), QMessageBox::Warning);
        EXPECT_EQ(box.standardButtons(), QMessageBox::Yes | QMessageBox::No);
        box.close();
    });
}

TEST_F(WindowsOnScreen, EnterPressesTheDefaultButtonOfAMessageBox) {
    EXPECT_EQ(AskAndThen(Approval, [](QMessageBox& box) { QTest::keyClick(&box, Qt::Key_Return); }), Answer::No);
}

TEST_F(WindowsOnScreen, APressedButtonIsTheAnswer) {
    EXPECT_EQ(AskAndThen(Approval, [](QMessageBox& box) { box.button(QMessageBox::Yes)->click(); }), Answer::Yes);
}

TEST_F(WindowsOnScreen, EscapeAnswersNo) {
    EXPECT_EQ(AskAndThen(Approval, [](QMessageBox& box) { QTest::keyClick(&box, Qt::Key_Escape); }), Answer::No);
}

TEST_F(WindowsOnScreen, ClosingTheFrameAnswersCancel) {
    const MessageBox deletion{"Are you sure ?", "", Buttons::OkCancel};

    EXPECT_EQ(AskAndThen(deletion, [](QMessageBox& box) { box.close(); }), Answer::Cancel);
}

TEST_F(WindowsOnScreen, ClosingTheFrameAnswersOkWhereThereIsNothingElse) {
    EXPECT_EQ(AskAndThen({"No referenced Series", ""}, [](QMessageBox& box) { box.close(); }), Answer::Ok);
}

TEST_F(WindowsOnScreen, AMessageBoxCutsNoPathHoweverLongItsFoldersNames) {
    const std::string folder = "\\" + std::string(64, '1');
    const std::string text = "LoadSeries(" + folder + folder + folder + folder + ") : it is too short.";

    AskAndThen({text, ""}, [&](QMessageBox& box) {
        auto* label = box.findChild<QLabel*>("qt_msgbox_label");
        const QRect drawn = label->fontMetrics().boundingRect(label->contentsRect(), Qt::TextWordWrap, label->text());
        EXPECT_LE(drawn.width(), label->contentsRect().width());
        EXPECT_EQ(QAccessible::queryAccessibleInterface(label)->text(QAccessible::Name).toStdString(), text);
        box.close();
    });
}

TEST_F(WindowsOnScreen, AMessageBoxStandsAboveATopMostWindow) {
    windows_.MakeTopMost(form_);
    windows_.Show(form_);

    AskAndThen({"No referenced Series", ""}, [](QMessageBox& box) {
        EXPECT_TRUE(box.windowFlags().testFlag(Qt::WindowStaysOnTopHint));
        box.close();
    });
}

TEST_F(WindowsOnScreen, AWindowIsOpenUntilTheLastFormHasGone) {
    windows_.Show(form_);
    windows_.Show(other_);

    windows_.Hide(form_);
    EXPECT_TRUE(windows_.AnyWindowOpen());
    windows_.Unload(other_);

    EXPECT_FALSE(windows_.AnyWindowOpen());
}

TEST_F(WindowsOnScreen, AMessageBoxIsAnOpenWindow) {
    bool open = false;
    AskAndThen({"Non existing Study Instance", ""}, [&](QMessageBox& box) {
        open = windows_.AnyWindowOpen();
        box.close();
    });

    EXPECT_TRUE(open);
    EXPECT_FALSE(windows_.AnyWindowOpen());
}

} // namespace
} // namespace tavrel
