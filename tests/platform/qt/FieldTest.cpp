#include "platform/qt/InputBlock.h"
#include "tests/platform/qt/OneOfEach.h"

#include <QAccessible>
#include <QTest>
#include <QWheelEvent>

namespace tavrel {
namespace {

class Fields : public OneOfEachShown {
protected:
    Fields() : box_(Find<QComboBox>("cmbBox")), button_(Find<QPushButton>("cmdPress")) {
        form_.cmdPress.Click = [this] { ++presses_; };
        form_.optChoice.Click = [this](int index) { chosen_.push_back(index); };
    }
    QRadioButton& Option(int index) { return Find<QRadioButton>(index == 0 ? "optChoice_0" : "optChoice_1"); }

    QComboBox& box_;
    QPushButton& button_;
    int presses_ = 0;
    std::vector<int> chosen_;
};

TEST_F(Fields, ALabelShowsANameAsItIsWritten) {
    form_.lblLine.Text("<b>ROSSI</b> & C");

    EXPECT_EQ(Find<QLabel>("lblLine").text(), "<b>ROSSI</b> & C");
    EXPECT_EQ(Find<QLabel>("lblLine").textFormat(), Qt::PlainText);
}

TEST_F(Fields, ALabelDrawsAPersonsNameAndKeepsWhatIsStored) {
    form_.lblLine.Text("Doe^Peter");

    EXPECT_EQ(Find<QLabel>("lblLine").text(), "Doe, Peter");
    EXPECT_EQ(form_.lblLine.Text(), "Doe^Peter");
}

TEST_F(Fields, ALabelsToneIsKnownToTheStyle) {
    form_.lblLine.Emphasis(Label::Tone::Attention);

    EXPECT_EQ(Find<QLabel>("lblLine").property("tone"), "attention");
}

TEST_F(Fields, AButtonIsPressedByMouseSpaceAndEnter) {
    QTest::mouseClick(&button_, Qt::LeftButton);
    QTest::keyClick(&button_, Qt::Key_Space);
    QTest::keyClick(&button_, Qt::Key_Return);

    EXPECT_EQ(presses_, 3);
}

TEST_F(Fields, ADisabledButtonIsOutOfReach) {
    form_.cmdPress.Enabled(false);

    QTest::mouseClick(&button_, Qt::LeftButton);

    EXPECT_EQ(presses_, 0);
    EXPECT_FALSE(button_.isEnabled());
}

TEST_F(Fields, AnInvisibleControlIsNotShown) {
    form_.cmdPress.Visible(false);
    EXPECT_FALSE(button_.isVisible());

    form_.cmdPress.Visible(true);
    EXPECT_TRUE(button_.isVisible());
}

TEST_F(Fields, AButtonMayTakeItsWindowAway) {
    form_.cmdPress.Click = [this] { window_.hide(); };

    QTest::mouseClick(&button_, Qt::LeftButton);

    EXPECT_FALSE(window_.isVisible());
}

TEST_F(Fields, ChoosingAnOptionUnsetsItsNeighbour) {
    QTest::mouseClick(&Option(0), Qt::LeftButton, {}, QPoint(8, Option(0).height() / 2));
    QTest::mouseClick(&Option(1), Qt::LeftButton, {}, QPoint(8, Option(1).height() / 2));

    EXPECT_EQ(chosen_, (std::vector{0, 1}));
    EXPECT_FALSE(Option(0).isChecked());
    EXPECT_TRUE(Option(1).isChecked());
}

TEST_F(Fields, ChoosingTheSetOptionIsAClickAgain) {
    form_.optChoice(0).Value(true);

    Option(0).click();

    EXPECT_EQ(chosen_, (std::vector{0, 0}));
    EXPECT_TRUE(Option(0).isChecked());
}

TEST_F(Fields, AnOptionIsChosenByAnAssistiveTechnology) {
    QAccessible::queryAccessibleInterface(&Option(1))
        ->actionInterface()
        ->doAction(QAccessibleActionInterface::toggleAction());

    EXPECT_EQ(chosen_, std::vector{1});
    EXPECT_TRUE(form_.optChoice(1).Value());
    EXPECT_TRUE(Option(1).isChecked());
}

TEST_F(Fields, AnOptionThatIsChosenDuringAWaitLeavesItsNeighbourSet) {
    form_.optChoice(0).Value(true);
    const InputBlock block("Storing the version ...");

    QAccessible::queryAccessibleInterface(&Option(1))
        ->actionInterface()
        ->doAction(QAccessibleActionInterface::toggleAction());
    QCoreApplication::processEvents();

    EXPECT_TRUE(Option(0).isChecked());
    EXPECT_FALSE(Option(1).isChecked());
    EXPECT_EQ(chosen_, std::vector{0});
}

TEST_F(Fields, AnOptionIsARadioButtonThatTheArrowKeysChoose) {
    form_.optChoice(0).Value(true);
    EXPECT_EQ(QAccessible::queryAccessibleInterface(&Option(0))->role(), QAccessible::RadioButton);
    window_.activateWindow();
    ASSERT_TRUE(QTest::qWaitForWindowActive(&window_));
    Option(0).setFocus();

    QTest::keyClick(&Option(0), Qt::Key_Down);

    EXPECT_EQ(chosen_, (std::vector{0, 1}));
    EXPECT_TRUE(Option(1).isChecked());
}

TEST_F(Fields, AGroupOfOptionsCanBeWithoutAChoice) {
    form_.optChoice(0).Value(true);

    form_.optChoice.Unset();

    EXPECT_FALSE(Option(0).isChecked());
    EXPECT_FALSE(Option(1).isChecked());
}

TEST_F(Fields, AComboBoxTakesWhatIsTypedAndCompletesNothing) {
    form_.cmbBox.AddItems({"Chest", "Skull"});

    QTest::keyClicks(box_.lineEdit(), "Ch");

    EXPECT_EQ(form_.cmbBox.Text(), "Ch");
    EXPECT_EQ(box_.currentText(), "Ch");
}

TEST_F(Fields, AComboBoxTakesWhatIsPicked) {
    form_.cmbBox.AddItems({"Chest", "Skull"});

    box_.setCurrentIndex(1);

    EXPECT_EQ(form_.cmbBox.Text(), "Skull");
}

TEST_F(Fields, AComboBoxShowsTheBeginningOfWhatIsPicked) {
    form_.cmbBox.AddItems({"Chest", "Skull"});

    QTest::keyClick(&box_, Qt::Key_Down);

    EXPECT_EQ(form_.cmbBox.Text(), "Chest");
    EXPECT_EQ(box_.lineEdit()->cursorPosition(), 0);
}

TEST_F(Fields, AddedItemsLeaveTheTextOfAComboBox) {
    form_.cmbBox.AddItems({"Chest", "Skull"});
    form_.cmbBox.Text("Knee");

    form_.cmbBox.AddItems({"Chest", "Skull"});

    EXPECT_EQ(box_.count(), 4);
    EXPECT_EQ(box_.currentText(), "Knee");
    EXPECT_EQ(form_.cmbBox.Text(), "Knee");
}

TEST_F(Fields, AClearedComboBoxHasNoItemsAndItsText) {
    form_.cmbBox.AddItems({"Chest"});
    form_.cmbBox.Text("Knee");

    form_.cmbBox.Clear();

    EXPECT_EQ(box_.count(), 0);
    EXPECT_EQ(box_.currentText(), "Knee");
}

TEST_F(Fields, AComboBoxThatIsFilledAfterItWasClearedHasTheNewItemsAndItsText) {
    form_.cmbBox.AddItems({"Chest"});
    form_.cmbBox.Text("Knee");
    form_.cmbBox.Clear();

    form_.cmbBox.AddItems({"Skull", "Spine"});

    EXPECT_EQ(box_.itemText(1), "Spine");
    EXPECT_EQ(box_.count(), 2);
    EXPECT_EQ(form_.cmbBox.Text(), "Knee");
}

TEST_F(Fields, EnterAddsNothingToTheListOfAComboBox) {
    QTest::keyClicks(box_.lineEdit(), "Knee");
    QTest::keyClick(box_.lineEdit(), Qt::Key_Return);

    EXPECT_EQ(box_.count(), 0);
}

TEST_F(Fields, TheWheelChangesNoComboBox) {
    form_.cmbBox.AddItems({"Chest", "Skull"});
    box_.setCurrentIndex(0);
    QWheelEvent down({5, 5}, box_.mapToGlobal(QPointF(5, 5)), {}, {0, -120}, {}, {}, Qt::NoScrollPhase, false);

    QCoreApplication::sendEvent(&box_, &down);

    EXPECT_EQ(form_.cmbBox.Text(), "Chest");
}

TEST_F(Fields, ADisabledFramePutsWhatItHoldsOutOfReach) {
    form_.frmInside.Enabled(false);

    EXPECT_FALSE(Find<QLineEdit>("txtInside").isEnabled());
    QTest::keyClicks(&paragraphs_, "x");
    EXPECT_EQ(form_.txtParagraphs.Text(), "");
}

TEST_F(Fields, WhatAnAssistiveTechnologyWritesInADisabledFrameIsPutRight) {
    form_.txtInside.Text("99SS");
    form_.txtParagraphs.Text("No lesions.");
    form_.frmInside.Enabled(false);

    Find<QLineEdit>("txtInside").setText("SRT");
    paragraphs_.setPlainText("Lesions.");

    EXPECT_EQ(form_.txtInside.Text(), "99SS");
    EXPECT_EQ(form_.txtParagraphs.Text(), "No lesions.");
    EXPECT_EQ(paragraphs_.toPlainText(), "No lesions.");
}

TEST_F(Fields, ADisabledComboBoxKeepsItsText) {
    form_.cmbBox.Text("Chest");
    form_.cmbBox.Enabled(false);

    box_.lineEdit()->setText("Knee");

    EXPECT_EQ(form_.cmbBox.Text(), "Chest");
    EXPECT_EQ(box_.currentText(), "Chest");
}

TEST_F(Fields, ALongTextInADisabledFrameCanStillBeCopied) {
    form_.txtParagraphs.Text("No lesions.");
    form_.frmInside.Enabled(false);

    paragraphs_.selectAll();

    EXPECT_TRUE(paragraphs_.isEnabled());
    EXPECT_TRUE(paragraphs_.isReadOnly());
    EXPECT_EQ(paragraphs_.textCursor().selectedText(), "No lesions.");
}

TEST_F(Fields, ALongTextInADisabledFrameLooksLocked) {
    const QColor open = paragraphs_.viewport()->palette().color(QPalette::Base);

    form_.frmInside.Enabled(false);

    EXPECT_NE(paragraphs_.viewport()->palette().color(QPalette::Base), open);
}

TEST_F(Fields, AnEnabledFrameLeavesADisabledControlDisabled) {
    form_.txtInside.Enabled(false);
    form_.frmInside.Enabled(false);

    form_.frmInside.Enabled(true);

    EXPECT_FALSE(Find<QLineEdit>("txtInside").isEnabled());
    EXPECT_FALSE(paragraphs_.isReadOnly());
}

TEST_F(Fields, AControlWithinADisabledFrameCannotBeEnabledAlone) {
    form_.frmInside.Enabled(false);

    form_.txtInside.Enabled(false);
    form_.txtInside.Enabled(true);

    EXPECT_FALSE(Find<QLineEdit>("txtInside").isEnabled());
}

TEST_F(Fields, ALabelInADisabledFrameIsStillRead) {
    form_.frmInside.Enabled(false);

    EXPECT_TRUE(Find<QLabel>("lblInside").isEnabled());
}

} // namespace
} // namespace tavrel
