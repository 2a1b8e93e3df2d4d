#include "platform/qt/Look.h"
#include "tests/platform/qt/OneOfEach.h"

#include <QApplication>
#include <QClipboard>
#include <QGuiApplication>
#include <QInputMethodEvent>
#include <QTest>

namespace tavrel {
namespace {

class TextBoxes : public OneOfEachShown {
protected:
    static void Paste(QWidget& widget, const QString& text) {
        QGuiApplication::clipboard()->setText(text);
        QTest::keyClick(&widget, Qt::Key_V, Qt::ControlModifier);
    }
    static std::string PlainQuotes(std::string_view text) {
        return QString::fromUtf8(text.data(), static_cast<qsizetype>(text.size()))
            .replace(u'’', '\'')
            .replace("…", "...")
            .toStdString();
    }
    static std::int16_t Upper(std::int16_t code) {
        return code >= 'a' && code <= 'z' ? static_cast<std::int16_t>(code - 32) : code;
    }
};

TEST_F(TextBoxes, ShowWhatTheProgramWrites) {
    form_.txtLine.Text("Chest CT");

    EXPECT_EQ(Shown(line_), "Chest CT");
}

TEST_F(TextBoxes, TakeWhatIsTyped) {
    QTest::keyClicks(&line_, "lungs");

    EXPECT_EQ(form_.txtLine.Text(), "lungs");
}

TEST_F(TextBoxes, TakeBackWhatWasTypedInForThePerson) {
    QTest::keyClicks(&line_, "lungs");

    form_.txtLine.TypeIn("Chest CT");

    EXPECT_EQ(Shown(line_), "Chest CT");
    QTest::keyClick(&line_, Qt::Key_Z, Qt::ControlModifier);
    EXPECT_EQ(form_.txtLine.Text(), "lungs");
}

TEST_F(TextBoxes, TakeBackTheParagraphsThatWereTypedInForThePerson) {
    form_.txtParagraphs.Text("One\r\nTwo");

    form_.txtParagraphs.TypeIn("Three\r\n\r\nFour");

    EXPECT_EQ(paragraphs_.toPlainText(), "Three\n\nFour");
    QTest::keyClick(&paragraphs_, Qt::Key_Z, Qt::ControlModifier);
    EXPECT_EQ(form_.txtParagraphs.Text(), "One\r\nTwo");
}

TEST_F(TextBoxes, TakeBackTheComboBoxesTextThatWasTypedInForThePerson) {
    auto& box = Find<QComboBox>("cmbBox");
    form_.cmbBox.Text("Chest");

    form_.cmbBox.TypeIn("");

    EXPECT_EQ(box.currentText(), "");
    QTest::keyClick(box.lineEdit(), Qt::Key_Z, Qt::ControlModifier);
    EXPECT_EQ(form_.cmbBox.Text(), "Chest");
}

TEST_F(TextBoxes, TellWhereACharacterWasTyped) {
    std::vector<std::size_t> told;
    form_.txtParagraphs.CharacterTyped = [&](std::size_t caret) { told.push_back(caret); };
    form_.txtParagraphs.Text("é");
    QTest::keyClick(&paragraphs_, Qt::Key_End);
    QTest::keyClicks(&paragraphs_, "x");
    QTest::keyClick(&paragraphs_, Qt::Key_Return);
    Paste(paragraphs_, "pasted ");
    QTest::keyClick(&paragraphs_, Qt::Key_Z, Qt::ControlModifier);
    QTest::keyClick(&paragraphs_, Qt::Key_Y, Qt::ControlModifier);

    EXPECT_EQ(told, (std::vector<std::size_t>{3, 5}));
}

TEST_F(TextBoxes, GiveBackWhatWasTypedBeforeTheProgramWroteItOut) {
    form_.txtParagraphs.CharacterTyped = [&](std::size_t caret) {
        if (caret == 4)
            form_.txtParagraphs.TypeIn("No abnormality ");
    };
    QTest::keyClicks(&paragraphs_, "nad lungs");
    EXPECT_EQ(form_.txtParagraphs.Text(), "No abnormality lungs");

    QTest::keyClick(&paragraphs_, Qt::Key_Z, Qt::ControlModifier);
    QTest::keyClick(&paragraphs_, Qt::Key_Z, Qt::ControlModifier);
    EXPECT_EQ(form_.txtParagraphs.Text(), "nad ");
}

TEST_F(TextBoxes, PutTheCaretBackWhereItStoodBeforeTheProgramWrote) {
    QTest::keyClicks(&paragraphs_, "first, nad.");
    form_.txtParagraphs.TypeIn("first, No abnormality.");
    QTest::keyClick(&paragraphs_, Qt::Key_Z, Qt::ControlModifier);
    QTest::keyClicks(&paragraphs_, " More");

    EXPECT_EQ(form_.txtParagraphs.Text(), "first, nad. More");
}

TEST_F(TextBoxes, TellWhatIsSelected) {
    form_.txtParagraphs.Text("é\r\nlungs");
    auto cursor = paragraphs_.textCursor();
    cursor.setPosition(2);
    cursor.setPosition(4, QTextCursor::KeepAnchor);
    paragraphs_.setTextCursor(cursor);

    EXPECT_EQ(form_.txtParagraphs.Selection(), (TextMark{4, 2}));
}

TEST_F(TextBoxes, SelectWhatTheProgramSays) {
    form_.txtParagraphs.Text("é\r\nlungs");
    form_.txtParagraphs.Select({4, 2});

    EXPECT_EQ(paragraphs_.textCursor().selectedText(), "lu");
    EXPECT_TRUE(paragraphs_.hasFocus());
}

TEST_F(TextBoxes, StepFromAnywhereInTheWindow) {
    std::vector<bool> steps;
    form_.txtParagraphs.Step = [&](bool back) { steps.push_back(back); };
    line_.setFocus();
    QTest::keyClick(&line_, Qt::Key_F3);
    QTest::keyClick(&line_, Qt::Key_F3, Qt::ShiftModifier);
    form_.frmInside.Enabled(false);
    QTest::keyClick(&line_, Qt::Key_F3);

    EXPECT_EQ(steps, (std::vector{false, true}));
}

TEST_F(TextBoxes, KeepTheCaretWhenTheProgramWritesTheSame) {
    QTest::keyClicks(&line_, "lungs");
    line_.setCursorPosition(2);

    form_.txtLine.Text("lungs");

    EXPECT_EQ(line_.cursorPosition(), 2);
}

TEST_F(TextBoxes, PassPastedTextThroughTheFilter) {
    form_.txtLine.Filter = PlainQuotes;

    Paste(line_, QString::fromUtf8("D’Angelo’s"));

    EXPECT_EQ(form_.txtLine.Text(), "D'Angelo's");
    EXPECT_EQ(Shown(line_), "D'Angelo's");
}

TEST_F(TextBoxes, LeaveTheCaretBehindWhatTheFilterMadeOfTheLine) {
    form_.txtLine.Filter = PlainQuotes;
    QTest::keyClicks(&line_, "ab");
    line_.setCursorPosition(1);

    Paste(line_, QString::fromUtf8("…"));

    EXPECT_EQ(Shown(line_), "a...b");
    EXPECT_EQ(line_.cursorPosition(), 4);
}

TEST_F(TextBoxes, MakeABlankOfPastedLineBreaksAndTabsInALine) {
    Paste(line_, "Chest\r\n\tCT\t");

    EXPECT_EQ(form_.txtLine.Text(), "Chest CT ");
}

TEST_F(TextBoxes, ChangeTypedCharactersByKeyPress) {
    form_.txtLine.KeyPress = Upper;

    QTest::keyClicks(&line_, "calc 1");

    EXPECT_EQ(form_.txtLine.Text(), "CALC 1");
}

TEST_F(TextBoxes, DropATypedCharacterThatBecomesNone) {
    form_.txtLine.KeyPress = [](std::int16_t code) -> std::int16_t { return code == 'x' ? 0 : code; };

    QTest::keyClicks(&line_, "axb");

    EXPECT_EQ(form_.txtLine.Text(), "ab");
}

TEST_F(TextBoxes, ChangeComposedCharactersByKeyPressToo) {
    form_.txtLine.KeyPress = [](std::int16_t code) -> std::int16_t { return code == '\'' ? 96 : code; };
    QInputMethodEvent composed;
    composed.setCommitString("'");

    QCoreApplication::sendEvent(&line_, &composed);

    EXPECT_EQ(form_.txtLine.Text(), "`");
}

TEST_F(TextBoxes, KeepPastedTextFromKeyPress) {
    form_.txtLine.KeyPress = Upper;

    Paste(line_, "calc");

    EXPECT_EQ(form_.txtLine.Text(), "calc");
}

TEST_F(TextBoxes, RaiseKeyUpForEveryKey) {
    int released = 0;
    form_.txtLine.KeyUp = [&] { ++released; };

    for (const auto key : {Qt::Key_Escape, Qt::Key_Down, Qt::Key_Delete, Qt::Key_A, Qt::Key_ParenLeft})
        QTest::keyClick(&line_, key);

    EXPECT_EQ(released, 5);
}

TEST_F(TextBoxes, HaveTheTextBeforeTheKeyIsReleased) {
    std::string read;
    form_.txtLine.KeyUp = [&] { read = form_.txtLine.Text(); };

    QTest::keyClick(&line_, 'c');

    EXPECT_EQ(read, "c");
}

TEST_F(TextBoxes, IgnoreTheReleaseOfAKeyThatWasPressedElsewhere) {
    int released = 0;
    form_.txtLine.KeyUp = [&] { ++released; };

    QTest::keyRelease(&line_, Qt::Key_Return);

    EXPECT_EQ(released, 0);
}

TEST_F(TextBoxes, RaiseEnterOnceForAKeyThatIsHeldDown) {
    int pressed = 0;
    form_.txtLine.Enter = [&] { ++pressed; };

    QTest::keyClick(&line_, Qt::Key_Return);
    QKeyEvent again(QEvent::KeyPress, Qt::Key_Return, {}, "\r", true);
    QCoreApplication::sendEvent(&line_, &again);

    EXPECT_EQ(pressed, 1);
}

TEST_F(TextBoxes, RaiseDownBehindTheKeyUpOfThatKeyAlone) {
    std::string raised;
    form_.txtLine.KeyUp = [&] { raised += 'u'; };
    form_.txtLine.Down = [&] { raised += 'd'; };

    QTest::keyClick(&line_, Qt::Key_Down);
    QTest::keyClick(&line_, Qt::Key_End);

    EXPECT_EQ(raised, "udu");
}

TEST_F(TextBoxes, ShowParagraphsAndHandThemBackWithTheirLineEnds) {
    form_.txtParagraphs.Text("First.\r\n\r\nSecond.");
    EXPECT_EQ(paragraphs_.toPlainText().toStdString(), "First.\n\nSecond.");

    paragraphs_.moveCursor(QTextCursor::End);
    QTest::keyClick(&paragraphs_, Qt::Key_Return);
    QTest::keyClicks(&paragraphs_, "Third.");

    EXPECT_EQ(form_.txtParagraphs.Text(), "First.\r\n\r\nSecond.\r\nThird.");
}

TEST_F(TextBoxes, ShowParagraphsFromTheRightOnTheRight) {
    const auto side = [&] { return paragraphs_.document()->defaultTextOption().alignment(); };
    form_.txtParagraphs.Text("\r\nללא ממצא.");
    EXPECT_EQ(side(), Qt::AlignRight);
    form_.txtParagraphs.Text("No lesions.");
    EXPECT_EQ(side(), Qt::AlignLeft);
    QTest::keyClick(&paragraphs_, Qt::Key_A, Qt::ControlModifier);
    Paste(paragraphs_, "ללא ממצא.");
    EXPECT_EQ(side(), Qt::AlignRight);
    EXPECT_EQ(form_.txtParagraphs.Text(), "ללא ממצא.");
}

TEST_F(TextBoxes, TakeALineBreakWithinAParagraphForALineEnd) {
    QTest::keyClick(&paragraphs_, 'a');
    QTest::keyClick(&paragraphs_, Qt::Key_Return, Qt::ShiftModifier);

    EXPECT_EQ(form_.txtParagraphs.Text(), "a\r\n");
}

TEST_F(TextBoxes, KeepANonBreakingBlankThatStandsInTheText) {
    form_.txtParagraphs.Text("8\u00a0mm");

    paragraphs_.moveCursor(QTextCursor::End);
    QTest::keyClick(&paragraphs_, '.');

    EXPECT_EQ(form_.txtParagraphs.Text(), "8\u00a0mm.");
}

TEST_F(TextBoxes, PassParagraphsThroughTheFilterAndKeepTheCaretSensible) {
    form_.txtParagraphs.Filter = PlainQuotes;
    form_.txtParagraphs.Text("ab");
    paragraphs_.moveCursor(QTextCursor::Right);

    Paste(paragraphs_, QString::fromUtf8("…\n’"));

    EXPECT_EQ(form_.txtParagraphs.Text(), "a...\r\n'b");
    EXPECT_EQ(paragraphs_.toPlainText().toStdString(), "a...\n'b");
    EXPECT_EQ(paragraphs_.textCursor().position(), 6);
}

TEST_F(TextBoxes, UndoAPasteTogetherWithWhatTheFilterMadeOfIt) {
    form_.txtParagraphs.Filter = PlainQuotes;
    form_.txtParagraphs.Text("ab");
    Paste(paragraphs_, QString::fromUtf8("…"));

    QTest::keyClick(&paragraphs_, Qt::Key_Z, Qt::ControlModifier);

    EXPECT_EQ(form_.txtParagraphs.Text(), "ab");
}

TEST_F(TextBoxes, CannotBeTypedIntoWhileLocked) {
    form_.txtLine.Locked(true);

    QTest::keyClicks(&line_, "x");

    EXPECT_EQ(form_.txtLine.Text(), "");
    EXPECT_TRUE(line_.isEnabled());
}

TEST_F(TextBoxes, PutRightWhatAnAssistiveTechnologyWritesWhileLocked) {
    form_.txtLine.Text("Chest CT");
    form_.txtLine.Locked(true);
    form_.txtParagraphs.Text("No lesions.");
    form_.txtParagraphs.Locked(true);

    line_.setText("Knee");
    paragraphs_.setPlainText("Lesions.");

    EXPECT_EQ(Shown(line_), "Chest CT");
    EXPECT_EQ(form_.txtParagraphs.Text(), "No lesions.");
    EXPECT_EQ(paragraphs_.toPlainText(), "No lesions.");
}

TEST_F(TextBoxes, WearTheFaceOfAButtonWhenTold) {
    const QColor open = line_.palette().color(QPalette::Base);

    form_.txtLine.ButtonFace(true);
    const QColor face = line_.palette().color(QPalette::Base);
    form_.txtLine.ButtonFace(false);

    EXPECT_NE(face, open);
    EXPECT_EQ(line_.palette().color(QPalette::Base), open);
}

TEST_F(TextBoxes, KeepTheFaceOfAButtonWhenTheirWindowBecomesADialogBeforeItIsShown) {
    OneOfEach form;
    FormWindow window(form, LayOutOneOfEach);
    form.txtLine.ButtonFace(true);

    window.setWindowFlag(Qt::Dialog);
    window.show();

    EXPECT_NE(window.findChild<QLineEdit*>("txtLine")->palette().color(QPalette::Base),
              line_.palette().color(QPalette::Base));
    window.Dismiss();
}

TEST_F(TextBoxes, ChangeTheFaceOfAButtonWithTheDesktopsColours) {
    form_.txtLine.ButtonFace(true);

    Dress(Scheme::Dark);
    const QColor face = line_.palette().color(QPalette::Base);
    const QColor darkFace = QApplication::palette().color(QPalette::Disabled, QPalette::Base);
    Dress(Scheme::Light);

    EXPECT_EQ(face, darkFace);
}

TEST_F(TextBoxes, CannotBeUndoneBackIntoWhatTheProgramHasReplaced) {
    form_.txtParagraphs.Text("version 1");
    form_.txtParagraphs.Text("version 2");

    QTest::keyClick(&paragraphs_, Qt::Key_Z, Qt::ControlModifier);

    EXPECT_EQ(form_.txtParagraphs.Text(), "version 2");
}

/// A text field of each kind: its model and where a person types.
struct Field {
    const char* kind;
    TextField& (*model)(OneOfEach&);
    const char* widget;
    friend void PrintTo(const Field& field, std::ostream* out) { *out << field.kind; }
};

class TextFields : public OneOfEachShown, public testing::WithParamInterface<Field> {
protected:
    TextFields() : model_(GetParam().model(form_)) {
        widget_ = window_.findChild<QWidget*>(GetParam().widget);
        if (auto* const box = qobject_cast<QComboBox*>(widget_))
            widget_ = box->lineEdit();
        widget_->setFocus();
    }
    void Type(const char* text) const { QTest::keyClicks(widget_, text); }
    void Undo() const { QTest::keyClick(widget_, Qt::Key_Z, Qt::ControlModifier); }
    void Redo() const { QTest::keyClick(widget_, Qt::Key_Y, Qt::ControlModifier); }
    void UndoAll() const {
        for (int step = 0; step < 20; ++step)
            Undo();
    }
    void RedoAll() const {
        for (int step = 0; step < 20; ++step)
            Redo();
    }

    TextField& model_;
    QWidget* widget_;
};

INSTANTIATE_TEST_SUITE_P(
    , TextFields,
    testing::Values(Field{"Line", [](OneOfEach& form) -> TextField& { return form.txtLine; }, "txtLine"},
                    Field{"Paragraphs", [](OneOfEach& form) -> TextField& { return form.txtParagraphs; },
                          "txtParagraphs"},
                    Field{"Box", [](OneOfEach& form) -> TextField& { return form.cmbBox; }, "cmbBox"}),
    testing::PrintToStringParamName());

TEST_P(TextFields, UndoWhatWasTypedBeforeARevision) {
    Type("abc");
    model_.Revise("saved");

    Undo();
    EXPECT_EQ(model_.Text(), "abc");
    UndoAll();
    EXPECT_EQ(model_.Text(), "");
}

TEST_P(TextFields, UndoWhatWasTypedBeforeARevisionToTheSame) {
    Type("abc");
    model_.Revise("abc");

    UndoAll();

    EXPECT_EQ(model_.Text(), "");
}

TEST_P(TextFields, UndoWhatWasTypedAfterARevisionAlone) {
    Type("abc");
    model_.Revise("abX");
    QTest::keyClick(widget_, Qt::Key_End);
    Type("d");

    Undo();

    EXPECT_EQ(model_.Text(), "abX");
}

TEST_P(TextFields, KeepTheCaretBehindWhatWasRevised) {
    Type("abc");
    model_.Revise("a--bc");
    Type("d");

    EXPECT_EQ(model_.Text(), "a--bcd");
}

TEST_P(TextFields, RedoWithCtrlYAndWithCtrlShiftZ) {
    Type("abc");
    model_.Revise("abX");
    Undo();

    Redo();
    EXPECT_EQ(model_.Text(), "abX");
    Undo();
    QTest::keyClick(widget_, Qt::Key_Z, Qt::ControlModifier | Qt::ShiftModifier);
    EXPECT_EQ(model_.Text(), "abX");
}

TEST_P(TextFields, NeverGiveBackWhatWasTypedBeforeANewText) {
    Type("first patient");
    model_.Text("second");

    UndoAll();
    RedoAll();

    EXPECT_EQ(model_.Text(), "second");
}

TEST_P(TextFields, NeverGiveBackWhatWasTypedBeforeTheSameTextOfAnother) {
    Type("Normal");
    model_.Text("Normal");

    UndoAll();

    EXPECT_EQ(model_.Text(), "Normal");
}

TEST_P(TextFields, NeverRedoWhatWasUndoneBeforeANewText) {
    Type("first patient");
    UndoAll();
    model_.Text("");

    RedoAll();

    EXPECT_EQ(model_.Text(), "");
}

TEST_P(TextFields, NeverGiveBackAnotherPatientsTextAfterARevisionEither) {
    Type("first patient");
    model_.Text("second");
    model_.Revise("second, saved");

    UndoAll();

    EXPECT_EQ(model_.Text(), "second");
}

TEST_P(TextFields, UndoNothingWhileOutOfReach) {
    Type("abc");
    model_.Revise("abX");
    model_.Enabled(false);

    Undo();
    Redo();

    EXPECT_EQ(model_.Text(), "abX");
}

TEST_P(TextFields, RedoNothingWhileOutOfReach) {
    Type("abc");
    Undo();
    model_.Enabled(false);

    Redo();

    EXPECT_EQ(model_.Text(), "");
}

TEST_P(TextFields, SayThatTheyHaveChangedWhoeverDidIt) {
    int changes = 0;
    model_.Changed = [&] { ++changes; };

    model_.Text("a");
    model_.Revise("b");
    Type("c");
    Undo();

    EXPECT_EQ(changes, 4);
}

TEST_P(TextFields, KeepTheTextTheCaretAndTheUndoWhenMarked) {
    Type("a-b");
    model_.Marks({{1, 1}});
    Type("c");
    EXPECT_EQ(model_.Text(), "a-bc");

    UndoAll();

    EXPECT_EQ(model_.Text(), "");
}

TEST_P(TextFields, DrawTheirMarksAndTakeThemAway) {
    Type("abc");
    window_.setFocus(); // a caret would blink into the pictures
    QCoreApplication::processEvents();
    const QImage plain = widget_->grab().toImage();

    model_.Marks({{1, 1}});
    EXPECT_NE(widget_->grab().toImage(), plain);
    model_.Marks({});
    EXPECT_EQ(widget_->grab().toImage(), plain);
}

TEST_F(TextBoxes, UndoWhatWasTypedIntoABoxWhoseListWasFilledAgain) {
    form_.cmbBox.AddItems({"Chest"});
    QTest::keyClicks(Find<QComboBox>("cmbBox").lineEdit(), "abc");
    form_.cmbBox.AddItems({"Chest"});

    QTest::keyClick(Find<QComboBox>("cmbBox").lineEdit(), Qt::Key_Z, Qt::ControlModifier);

    EXPECT_EQ(form_.cmbBox.Text(), "");
}

TEST_F(TextBoxes, UndoAPasteIntoALineTogetherWithWhatTheFilterMadeOfIt) {
    form_.txtLine.Filter = PlainQuotes;
    form_.txtLine.Text("ab");
    Paste(line_, QString::fromUtf8("…"));

    QTest::keyClick(&line_, Qt::Key_Z, Qt::ControlModifier);

    EXPECT_EQ(form_.txtLine.Text(), "ab");
}

TEST_F(TextBoxes, UndoNothingWhileLocked) {
    for (TextBox* const box : {&form_.txtLine, &form_.txtParagraphs}) {
        box->Revise("typed");
        box->Locked(true);
    }

    for (QWidget* const widget : {static_cast<QWidget*>(&line_), static_cast<QWidget*>(&paragraphs_)})
        for (const auto key : {Qt::Key_Z, Qt::Key_Y})
            QTest::keyClick(widget, key, Qt::ControlModifier);

    EXPECT_EQ(form_.txtLine.Text(), "typed");
    EXPECT_EQ(form_.txtParagraphs.Text(), "typed");
}

TEST_F(TextBoxes, UnderlineAMarkBehindALineEndAndACharacterOfTwoUnits) {
    form_.txtParagraphs.Text("\xC3\xA9\r\n\xF0\x9F\xA7\xA0 \xE2\x89\xA5 5");
    form_.txtParagraphs.Marks({{9, 3}});

    const auto marks = paragraphs_.extraSelections();
    ASSERT_EQ(marks.size(), 1);
    EXPECT_EQ(marks[0].cursor.selectedText(), QString(QChar(0x2265)));
    EXPECT_EQ(marks[0].format.underlineStyle(), QTextCharFormat::WaveUnderline);
}

TEST_F(TextBoxes, LeaveTheCaretInItsLineWhenOthersAreRevised) {
    form_.txtParagraphs.Text("a>b\r\nhere\r\nc>d");
    auto caret = paragraphs_.textCursor();
    caret.setPosition(6);
    paragraphs_.setTextCursor(caret);

    form_.txtParagraphs.Revise("a->b\r\nhere\r\nc->d");

    EXPECT_EQ(paragraphs_.textCursor().position(), 7);
}

TEST_F(TextBoxes, TakeBackARevisionOfSeveralLinesByOneUndo) {
    form_.txtParagraphs.Text("a>b\r\nhere\r\nc>d");
    form_.txtParagraphs.Revise("a->b\r\nhere\r\nc->d");

    QTest::keyClick(&paragraphs_, Qt::Key_Z, Qt::ControlModifier);

    EXPECT_EQ(form_.txtParagraphs.Text(), "a>b\r\nhere\r\nc>d");
}

} // namespace
} // namespace tavrel
