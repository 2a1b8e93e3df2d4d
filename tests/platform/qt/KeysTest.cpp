#include "platform/error.h"
#include "platform/qt/FormWindow.h"
#include "platform/qt/InputBlock.h"
#include "platform/qt/QtWindows.h"
#include "platform/qt/Shortcuts.h"
#include "tests/editor/ReportingStation.h"

#include <QAbstractButton>
#include <QApplication>
#include <QGroupBox>
#include <QLabel>
#include <QMessageBox>
#include <QPlainTextEdit>
#include <QTest>
#include <QTimer>
#include <gmock/gmock.h>

#include <map>

namespace tavrel::test {
namespace {

QKeySequence Underlined(const QWidget& widget) {
    if (const auto* group = qobject_cast<const QGroupBox*>(&widget))
        return QKeySequence::mnemonic(group->title());
    if (const auto* label = qobject_cast<const QLabel*>(&widget))
        return QKeySequence::mnemonic(label->text());
    return {};
}

QKeySequence KeyOf(const QWidget& widget) {
    if (const auto* button = qobject_cast<const QAbstractButton*>(&widget))
        return button->shortcut();
    const auto underlined = Underlined(widget);
    return underlined.isEmpty() ? QKeySequence(widget.property("keys").toString()) : underlined;
}

QString CaptionOf(const QWidget& widget) {
    if (const auto* button = qobject_cast<const QAbstractButton*>(&widget))
        return WithoutMnemonic(button->text());
    if (const auto* group = qobject_cast<const QGroupBox*>(&widget))
        return WithoutMnemonic(group->title());
    const auto* label = qobject_cast<const QLabel*>(&widget);
    const bool typed = label && label->buddy() && !qobject_cast<const QLabel*>(label->buddy()) &&
                       !widget.property("describes").isValid();
    return typed ? WithoutMnemonic(label->text()) : QString();
}

/// Of what is seen in a window and has a caption that a person acts on: what has no key with Alt, and what shares one.
std::vector<std::string> KeyFaults(const QWidget& window) {
    std::vector<std::string> faults;
    std::map<QString, QString> captions;
    for (const auto* widget : window.findChildren<QWidget*>()) {
        const QString caption = CaptionOf(*widget), key = KeyOf(*widget).toString();
        if (caption.isEmpty() || !widget->isVisibleTo(&window))
            continue;
        if (!key.startsWith("Alt+"))
            faults.push_back("none: " + caption.toStdString());
        else if (const auto [other, alone] = captions.emplace(key, caption); !alone)
            faults.push_back((key + ": " + caption + ", " + other->second).toStdString());
    }
    return faults;
}

/// The editor on the screen, and the person at its keyboard.
class Keys : public testing::Test {
protected:
    ~Keys() override {
        for (Form* form : std::initializer_list<Form*>{&station_.editor, &station_.codeTables, &station_.chooser})
            windows_.Unload(*form);
        QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete); // before the lists that they show
    }
    FormWindow& Show(Form& form) {
        windows_.Show(form);
        auto& window = *windows_.WindowOf(form);
        EXPECT_TRUE(QTest::qWaitForWindowActive(&window));
        return window;
    }
    FormWindow& ShowEditor(const ReportSeed& seed = {}) {
        station_.OpenReport(seed);
        station_.editor.cmdSave.Click = [this] { ++saves_; };
        return Show(station_.editor);
    }
    void AskAndThen(const MessageBox& message, const std::function<void(QMessageBox&)>& act) {
        QTimer::singleShot(0, [&] {
            auto& box = dynamic_cast<QMessageBox&>(*QApplication::activeModalWidget());
            EXPECT_TRUE(QTest::qWaitForWindowActive(&box));
            act(box);
            box.close();
        });
        windows_.Ask(message);
    }
    static void PressCtrlS(QWidget& window) { QTest::keyClick(window.windowHandle(), Qt::Key_S, Qt::ControlModifier); }
    static QString Focused() { return QApplication::focusWidget() ? QApplication::focusWidget()->objectName() : ""; }

    ReportingStation station_;
    QtWindows windows_;
    int saves_ = 0;
};

TEST_F(Keys, EachThingOfTheEditorHasOneOfItsOwn) {
    auto& window = ShowEditor();
    for (auto* control : station_.editor.Controls())
        control->Visible(true);
    EXPECT_THAT(KeyFaults(window), testing::IsEmpty());
}

TEST_F(Keys, EachThingOfTheCodeTablesManagerHasOneOfItsOwnWhateverItWorksOn) {
    station_.codeTables.Load();
    auto& window = Show(station_.codeTables);
    EXPECT_THAT(KeyFaults(window), testing::IsEmpty());
    station_.codeTables.optManage(1).Value(true);
    EXPECT_THAT(KeyFaults(window), testing::IsEmpty());
}

TEST_F(Keys, EachThingOfTheChooserHasOneOfItsOwn) {
    EXPECT_THAT(KeyFaults(Show(station_.chooser)), testing::IsEmpty());
}

TEST_F(Keys, EachAnswerToAQuestionHasOneOfItsOwn) {
    for (const auto buttons : {Buttons::Ok, Buttons::OkCancel, Buttons::YesNo, Buttons::YesNoCancel})
        AskAndThen({.text = "Do you ?", .title = {}, .buttons = buttons},
                   [](QMessageBox& box) { EXPECT_THAT(KeyFaults(box), testing::IsEmpty()); });
    AskAndThen({.text = "Others have saved.",
                .title = {},
                .buttons = Buttons::YesNoCancel,
                .yes = "Look at it first",
                .no = "Save on top"},
               [](QMessageBox& box) { EXPECT_THAT(KeyFaults(box), testing::IsEmpty()); });
}

TEST_F(Keys, OfAGroupWithoutALetterGoIntoIt) {
    auto& window = ShowEditor();
    QTest::keyClick(window.windowHandle(), Qt::Key_1, Qt::AltModifier);
    EXPECT_EQ(Focused(), "txtPtName");
    QTest::keyClick(window.windowHandle(), Qt::Key_3, Qt::AltModifier);
    EXPECT_EQ(Focused(), "lstHistory");
}

TEST_F(Keys, FTwoGoesToTheReading) {
    auto& window = ShowEditor();
    QTest::keyClick(window.windowHandle(), Qt::Key_F2);
    EXPECT_EQ(Focused(), "txtReportAnnotation");
}

TEST_F(Keys, CtrlSSavesAsOftenAsItIsPressedWhereverThePersonTypes) {
    auto& window = ShowEditor();
    for (const auto* name : {"txtReportAnnotation", "txtReportTitle", "cmbReportTitle", "lstFinding"}) {
        window.findChild<QWidget*>(name)->setFocus();
        PressCtrlS(window);
    }
    EXPECT_EQ(saves_, 4);
}

TEST_F(Keys, CtrlSDoesNothingWhereSaveIsDisabled) {
    auto& window = ShowEditor({.approved = true});
    PressCtrlS(window);
    EXPECT_EQ(saves_, 0);
}

TEST_F(Keys, CtrlSDoesNothingDuringAWait) {
    auto& window = ShowEditor();
    {
        const InputBlock block("Storing the version ...");
        PressCtrlS(window);
    }
    EXPECT_EQ(saves_, 0);
    PressCtrlS(window);
    EXPECT_EQ(saves_, 1);
}

TEST_F(Keys, CtrlSDoesNothingInAQuestion) {
    auto& window = ShowEditor();
    AskAndThen({.text = "Do you ?", .title = {}, .buttons = Buttons::YesNo}, [&](QMessageBox& box) {
        PressCtrlS(box);
        PressCtrlS(window);
    });
    EXPECT_EQ(saves_, 0);
}

TEST_F(Keys, CtrlSThatIsHeldDownSavesOnce) {
    auto& window = ShowEditor();
    for (const bool repeated : {false, true, true})
        qt_sendShortcutOverrideEvent(window.windowHandle(), 0, Qt::Key_S, Qt::ControlModifier, "s", repeated);
    EXPECT_EQ(saves_, 1);
}

TEST_F(Keys, CtrlPPrintsAnApprovedReportAndNoOther) {
    int prints = 0;
    station_.editor.cmdPrint.Click = [&] { ++prints; };
    auto& window = ShowEditor();
    QTest::keyClick(window.windowHandle(), Qt::Key_P, Qt::ControlModifier);
    EXPECT_EQ(prints, 0);
    station_.OpenReport({.seriesUid = "1.2.3.2.2", .seriesDir = "report2", .approved = true});
    QTest::keyClick(window.windowHandle(), Qt::Key_P, Qt::ControlModifier);
    EXPECT_EQ(prints, 1);
}

TEST_F(Keys, ThatAreNotUnderlinedAreTold) {
    auto& window = ShowEditor();
    const auto tip = [&](const char* name) { return window.findChild<QWidget*>(name)->toolTip().toStdString(); };
    EXPECT_EQ(tip("cmdSave"), "Ctrl+S");
    EXPECT_EQ(tip("cmdDiscard"), "Removes the draft for good (Alt+X)");
    EXPECT_EQ(tip("cmdDxAdd"), "Alt+8");
    EXPECT_EQ(tip("cmdApprove"), "");
}

} // namespace
} // namespace tavrel::test
