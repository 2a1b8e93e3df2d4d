#include "platform/qt/FormWindow.h"
#include "tests/editor/ReportingStation.h"

#include <QApplication>
#include <QLabel>
#include <QListView>
#include <QPlainTextEdit>
#include <QPushButton>
#include <QRegularExpression>
#include <QScrollArea>
#include <QScrollBar>
#include <QTreeView>
#include <gmock/gmock.h>

#include <algorithm>

namespace tavrel::test {
namespace {

constexpr QSize Narrow(720, 770), Wide(1240, 740);
constexpr QSize OnASmallScreen(720, 763); // 1280 by 800 with a frame, beside the images

/// The editor's window, shown.
class TheEditorsWindow : public testing::Test {
protected:
    TheEditorsWindow() : window_(station_.editor, DesignedLayouts().at("frmReport")) {
        window_.show();
        window_.activateWindow();
        Become(Wide);
    }
    ~TheEditorsWindow() override { window_.Dismiss(); }

    void Become(QSize size) {
        window_.resize(size);
        QApplication::processEvents();
    }
    QWidget& Find(const char* name) { return *window_.findChild<QWidget*>(name); }
    QList<QWidget*> Seen() {
        auto widgets = window_.findChildren<QWidget*>(QRegularExpression("^(lbl|txt|cmd|lst|cmb|frm|caption|pane)"));
        widgets.removeIf([](const QWidget* widget) { return !widget->isVisible(); });
        std::ranges::sort(widgets);
        return widgets;
    }
    QRect Place(const char* name) { return {Find(name).mapTo(&window_, QPoint()), Find(name).size()}; }
    int Lines() {
        auto& reading = dynamic_cast<QPlainTextEdit&>(Find("txtReportAnnotation"));
        const int margins = 2 * static_cast<int>(reading.document()->documentMargin());
        return (reading.viewport()->height() - margins) / reading.fontMetrics().lineSpacing();
    }
    bool Scrolls() { return dynamic_cast<QScrollArea&>(Find("paneScrolled")).verticalScrollBar()->isVisible(); }
    bool Folded() { return Place("paneRight").top() > Place("paneCentre").bottom(); }
    std::vector<std::string> TabOrder() {
        std::vector<std::string> names;
        for (auto* widget = window_.nextInFocusChain(); widget != &window_; widget = widget->nextInFocusChain())
            if (widget->focusPolicy() & Qt::TabFocus && !widget->objectName().startsWith("qt_"))
                names.push_back(widget->objectName().toStdString());
        return names;
    }

    ReportingStation station_;
    FormWindow window_;
};

TEST_F(TheEditorsWindow, BecomesAsNarrowAsAHalfOfASmallScreen) {
    Become(Narrow);

    EXPECT_EQ(window_.size(), Narrow);
    EXPECT_TRUE(Folded());
}

TEST_F(TheEditorsWindow, KnowsItsLeastSizeBeforeItOpensWhereThereIsLittleRoom) {
    FormWindow other(station_.editor, DesignedLayouts().at("frmReport"));
    const WindowPlaces places;
    other.StandAt(places);
    const QSize least = other.minimumSize();
    other.show();
    QApplication::processEvents();
    EXPECT_EQ(other.minimumSize(), least);
    other.Dismiss();
}

TEST_F(TheEditorsWindow, DoesNotFoldToTryHowItLooks) {
    FormWindow other(station_.editor, DesignedLayouts().at("frmReport"));
    const auto* folding = other.findChild<QWidget*>("paneRight");
    const auto* beside = folding->parentWidget();
    other.resize(600, 500); // for which there is room
    const WindowPlaces places({}, [] { return QRect(0, 0, 1, 1); });
    other.StandAt(places);
    EXPECT_EQ(folding->parentWidget(), beside);
    other.Dismiss();
}

TEST_F(TheEditorsWindow, ShowsTenLinesOfTheReadingBesideTheImagesOnASmallScreen) {
    Become(OnASmallScreen);
    EXPECT_GE(Lines(), 10);
    EXPECT_FALSE(Scrolls());
}

TEST_F(TheEditorsWindow, ScrollsNothingOfAPatientOfManyWords) {
    station_.editor.txtPtName.Text("ROSSINI-BERGAMASCHI^ANNA MARIA LUISA");
    station_.editor.txtPtPatientID.Text(std::string(64, '8'));
    Become(OnASmallScreen);
    EXPECT_GE(Lines(), 10);
    EXPECT_FALSE(Scrolls());
}

TEST_F(TheEditorsWindow, LeavesTheReadingWhereItIsWhenARemarkComes) {
    for (const QSize size : {Wide, OnASmallScreen}) {
        Become(size);
        const QRect reading = Place("txtReportAnnotation");
        for (auto* control :
             std::initializer_list<Control*>{&station_.editor.lblUnwritable, &station_.editor.cmdWritePlainly})
            control->Visible(true);
        station_.editor.lblUnwritable.Text("The file cannot hold \"\u2265\" (line 1).");
        QApplication::processEvents();
        EXPECT_EQ(Place("txtReportAnnotation"), reading);
        EXPECT_FALSE(Place("lblUnwritable").intersects(reading));
        station_.editor.lblUnwritable.Text("");
        station_.editor.cmdWritePlainly.Visible(false);
    }
}

TEST_F(TheEditorsWindow, KeepsTheTitlesOfListsClearWhoseNotesAreGone) {
    const int top = Place("lstFinding").top();
    station_.editor.lblFindingNote.Visible(false);
    QApplication::processEvents();
    EXPECT_EQ(Place("lstFinding").top(), top);
}

TEST_F(TheEditorsWindow, HidesAndCutsNothingWhenItIsNarrow) {
    const auto seen = Seen();
    Become(Narrow);

    EXPECT_EQ(Seen(), seen);
    for (const auto* widget : seen)
        EXPECT_TRUE(widget->parentWidget()->rect().contains(widget->geometry())) << widget->objectName().toStdString();
}

TEST_F(TheEditorsWindow, StandsAsBeforeWhenItIsWideAgain) {
    const QRect findings = Place("lstFinding"), approved = Place("txtApprovalDate"), note = Place("lblBodyPartNote");
    Become(Narrow);
    Become(Wide);

    EXPECT_EQ(Place("lstFinding"), findings);
    EXPECT_EQ(Place("txtApprovalDate"), approved);
    EXPECT_EQ(Place("lblBodyPartNote"), note);
}

TEST_F(TheEditorsWindow, IsWalkedInTheSameOrderWhenItIsNarrow) {
    const auto order = TabOrder();
    Become(Narrow);
    EXPECT_EQ(TabOrder(), order);
    Become(Wide);
    EXPECT_EQ(TabOrder(), order);
}

TEST_F(TheEditorsWindow, KeepsTheFocusWhileItFolds) {
    Find("lstDiagnosis").setFocus();
    Become(Narrow);
    EXPECT_TRUE(Find("lstDiagnosis").hasFocus());
    Become(Wide);
    EXPECT_TRUE(Find("lstDiagnosis").hasFocus());
}

TEST_F(TheEditorsWindow, ScrollsOnAScreenThatIsTooLow) {
    Become({720, 420});
    const auto& scrolled = dynamic_cast<QScrollArea&>(Find("paneScrolled"));
    EXPECT_EQ(window_.height(), 420);
    EXPECT_TRUE(scrolled.verticalScrollBar()->isVisible());

    Find("cmdDxDelete").setFocus(Qt::TabFocusReason);
    QApplication::processEvents();

    EXPECT_FALSE(Find("cmdDxDelete").visibleRegion().isEmpty());
    EXPECT_FALSE(Find("cmdSave").visibleRegion().isEmpty());
}

} // namespace
} // namespace tavrel::test
