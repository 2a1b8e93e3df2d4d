#include "platform/qt/FormBinder.h"
#include "platform/qt/Layouts.h"
#include "platform/qt/WrappingLabel.h"
#include "tests/editor/ReportingStation.h"

#include <QAccessible>
#include <QHeaderView>
#include <QWidget>
#include <gmock/gmock.h>

namespace tavrel::test {
namespace {

class Forms : public testing::Test {
protected:
    static std::vector<std::string> Missing(const Form& form) {
        QWidget window;
        DesignedLayouts().at(form.Name())(window);
        return MissingNames(form, window);
    }

    ReportingStation station_;
};

TEST_F(Forms, TheEditorHasAWidgetForEachControl) {
    EXPECT_THAT(Missing(station_.editor), testing::IsEmpty());
}

TEST_F(Forms, TheChooserHasAWidgetForEachControl) {
    EXPECT_THAT(Missing(station_.chooser), testing::IsEmpty());
}

TEST_F(Forms, TheCodeTablesManagerHasAWidgetForEachControl) {
    EXPECT_THAT(Missing(station_.codeTables), testing::IsEmpty());
}

TEST_F(Forms, TheComparisonHasAWidgetForEachControl) {
    EXPECT_THAT(Missing(frmCompare(station_.global)), testing::IsEmpty());
}

TEST_F(Forms, TheChooserHasRoomForItsHeadingsHoweverNarrow) {
    QWidget window;
    DesignedLayouts().at("frmSRSeriesChoice")(window);
    const FormBinder binder(station_.chooser, window);
    window.resize(window.minimumSize());
    window.show();
    const auto& headings = *window.findChild<QHeaderView*>();
    EXPECT_EQ(headings.count(), 4);
    for (int column = 0; column < headings.count(); ++column)
        EXPECT_GE(headings.sectionSize(column), headings.sectionSizeHint(column)) << column;
}

TEST_F(Forms, TheListsAreDescribedByTheirNotesAsLongAsTheseAreSeen) {
    QWidget window;
    DesignedLayouts().at("frmReport")(window);
    const FormBinder binder(station_.editor, window);
    auto& list = *window.findChild<QWidget*>("lstDiagnosis");
    EXPECT_EQ(list.accessibleDescription(), "not stored with the report");
    station_.editor.lblDiagnosisNote.Visible(false);
    EXPECT_EQ(list.accessibleDescription(), "");
}

TEST_F(Forms, NothingThatIsReadOutIsMarkupAndAPatientIsReadOutWithTheCaption) {
    station_.OpenReport({.patientName = "ROSSI^<b>CARLA</b>"});
    QWidget window;
    DesignedLayouts().at("frmReport")(window);
    const FormBinder binder(station_.editor, window);
    const auto said = [](QWidget* widget, QAccessible::Text text) {
        return QAccessible::queryAccessibleInterface(widget)->text(text).toStdString();
    };
    for (auto* widget : window.findChildren<QWidget*>())
        EXPECT_THAT(said(widget, QAccessible::Description), testing::Not(testing::HasSubstr("<")));
    EXPECT_EQ(said(window.findChild<QWidget*>("txtPtName"), QAccessible::Name), "Name: ROSSI, <b>CARLA</b>");
    EXPECT_EQ(said(window.findChild<QWidget*>("txtPtSex"), QAccessible::Name), "Sex: F");
}

TEST_F(Forms, AreWindowsAndDialogsToAnAssistiveTechnology) {
    QWidget window;
    DesignedLayouts().at("frmReport")(window);
    const FormBinder binder(station_.editor, window);
    EXPECT_EQ(QAccessible::queryAccessibleInterface(&window)->role(), QAccessible::Window);
    QWidget dialog;
    dialog.setWindowModality(Qt::ApplicationModal);
    EXPECT_EQ(QAccessible::queryAccessibleInterface(&dialog)->role(), QAccessible::Dialog);
}

TEST_F(Forms, NoFailureThatNamesAFileWidensTheEditor) {
    QWidget window;
    DesignedLayouts().at("frmReport")(window);
    const int width = window.minimumSizeHint().width();

    const QString uid = "/" + QString(64, '1');
    SayWrapped(*window.findChild<QLabel*>("lblState"), "Read-only: The file " + uid + uid + uid + " is too short.");
    SayWrapped(*window.findChild<QLabel*>("lblDraft"), "Cannot make the file new-" + QString(200, '1'));

    EXPECT_EQ(window.minimumSizeHint().width(), width);
}

TEST_F(Forms, NoWordIsBrokenWithinACharacter) {
    const QString text = QString(39, 'a') + QString::fromUtf8("\U00020BB7") + QString(60, 'b');
    QLabel label;
    SayWrapped(label, text);
    EXPECT_TRUE(label.text().contains(QChar(0x200B)));
    EXPECT_TRUE(label.text().contains(QString::fromUtf8("\U00020BB7")));
    EXPECT_EQ(label.text().remove(QChar(0x200B)), text);
}

} // namespace
} // namespace tavrel::test
