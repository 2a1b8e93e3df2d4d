#include "platform/qt/RowsModel.h"
#include "tests/platform/qt/OneOfEach.h"

#include <QHeaderView>
#include <QStyledItemDelegate>
#include <QTest>

namespace tavrel {
namespace {

/// How often a row is measured or drawn.
class CountingDelegate : public QStyledItemDelegate {
public:
    QSize sizeHint(const QStyleOptionViewItem& option, const QModelIndex& cell) const override {
        ++asked;
        return QStyledItemDelegate::sizeHint(option, cell);
    }
    void paint(QPainter* painter, const QStyleOptionViewItem& option, const QModelIndex& cell) const override {
        ++asked;
        QStyledItemDelegate::paint(painter, option, cell);
    }
    mutable int asked = 0;
};

class Lists : public OneOfEachShown {
protected:
    Lists() : lines_(Find<QListView>("lstLines")), rows_(Find<QTreeView>("lstRows")) {
        for (const auto* line : {"08:05", "08:14", "08:21"})
            form_.lstLines.AddItem(line);
        form_.lstRows.Add({"A1", "99SS", {"Nodule"}});
        form_.lstRows.Add({"B2", "99SS", {"Mass"}});
        form_.lstLines.Click = [this] { ++lineClicks_; };
        form_.lstRows.ItemClick = [this] { ++rowClicks_; };
        form_.lstRows.DoubleClick = [this] { ++doubleClicks_; };
        QCoreApplication::processEvents();
    }
    static int SelectedRow(const QAbstractItemView& view) {
        const auto rows = view.selectionModel()->selectedRows();
        return rows.size() == 1 ? rows.front().row() : -1;
    }
    std::string Cell(int row, int column) const {
        return rows_.model()->index(row, column).data().toString().toStdString();
    }

    QListView& lines_;
    QTreeView& rows_;
    int lineClicks_ = 0;
    int rowClicks_ = 0;
    int doubleClicks_ = 0;
};

TEST_F(Lists, ShowTheirLines) {
    EXPECT_EQ(lines_.model()->rowCount(), 3);
    EXPECT_EQ(lines_.model()->index(1, 0).data().toString(), "08:14");
}

TEST(Rows, DrawThePersonsOfTheirColumn) {
    const RowsModel rows({{"Title", "Observer"}, [] { return 1; }, [](int, int) { return "Doe^Peter"; }, 1});

    EXPECT_EQ(rows.index(0, 0).data().toString(), "Doe^Peter");
    EXPECT_EQ(rows.index(0, 1).data().toString(), "Doe, Peter");
}

TEST_F(Lists, ShowTheirRowsUnderTheirColumns) {
    EXPECT_EQ(rows_.model()->headerData(1, Qt::Horizontal).toString(), "Description");
    EXPECT_EQ(Cell(1, 0), "B2");
    EXPECT_EQ(Cell(1, 1), "Mass");
}

TEST_F(Lists, ShowAnEmptyCellWhereARowIsShort) {
    form_.lstRows.Add({"C3", "", {}});

    EXPECT_EQ(Cell(2, 1), "");
}

TEST_F(Lists, AClickSelectsALineOnce) {
    ClickRow(lines_, 1);

    EXPECT_EQ(form_.lstLines.ListIndex(), 1);
    EXPECT_EQ(lineClicks_, 1);
}

TEST_F(Lists, AClickOnTheSelectedLineIsAClickAgain) {
    ClickRow(lines_, 1);
    ClickRow(lines_, 1);

    EXPECT_EQ(lineClicks_, 2);
    EXPECT_EQ(SelectedRow(lines_), 1);
}

TEST_F(Lists, AClickBesideTheLinesIsNone) {
    QTest::mouseClick(lines_.viewport(), Qt::LeftButton, {}, lines_.viewport()->rect().bottomLeft() + QPoint(5, -2));

    EXPECT_EQ(lineClicks_, 0);
}

TEST_F(Lists, TheProgramsSelectionShowsAndRaisesItsHandlerOnce) {
    form_.lstLines.ListIndex(2);

    EXPECT_EQ(SelectedRow(lines_), 2);
    EXPECT_EQ(lineClicks_, 1);
}

TEST_F(Lists, ArrowKeysSelectLikeAClick) {
    ClickRow(rows_, 0);

    QTest::keyClick(&rows_, Qt::Key_Down);

    EXPECT_EQ(form_.lstRows.SelectedIndex(), 1);
    EXPECT_EQ(rowClicks_, 2);
}

TEST_F(Lists, APersonDoesNotTakeASelectionAway) {
    ClickRow(rows_, 0);

    const auto place = rows_.visualRect(rows_.model()->index(0, 0)).center();
    QTest::mouseClick(rows_.viewport(), Qt::LeftButton, Qt::ControlModifier, place);

    EXPECT_EQ(form_.lstRows.SelectedIndex(), 0);
    EXPECT_EQ(SelectedRow(rows_), 0);
}

TEST_F(Lists, ADoubleClickActivatesTheRow) {
    const auto place = rows_.visualRect(rows_.model()->index(1, 0)).center();
    QTest::mouseClick(rows_.viewport(), Qt::LeftButton, {}, place);
    QTest::mouseDClick(rows_.viewport(), Qt::LeftButton, {}, place);

    EXPECT_EQ(form_.lstRows.SelectedIndex(), 1);
    EXPECT_EQ(doubleClicks_, 1);
}

TEST_F(Lists, EnterActivatesTheSelectedRowOnce) {
    ClickRow(rows_, 0);

    QTest::keyClick(&rows_, Qt::Key_Return);

    EXPECT_EQ(doubleClicks_, 1);
}

TEST_F(Lists, ThatAreGoneToByAKeyPointAtTheFirstRowAndSelectNone) {
    window_.activateWindow();
    ASSERT_TRUE(QTest::qWaitForWindowActive(&window_));

    form_.lstRows.Focus();

    EXPECT_TRUE(rows_.hasFocus());
    EXPECT_EQ(rows_.currentIndex().row(), 0);
    EXPECT_EQ(form_.lstRows.SelectedIndex(), -1);
    EXPECT_EQ(rowClicks_, 0);
}

TEST_F(Lists, EnterSelectsTheRowThatIsPointedAtAndActivatesIt) {
    form_.lstRows.DoubleClick = [this] { doubleClicks_ += form_.lstRows.SelectedIndex() == 1; };
    rows_.selectionModel()->setCurrentIndex(rows_.model()->index(1, 0), QItemSelectionModel::NoUpdate);

    QTest::keyClick(&rows_, Qt::Key_Return);

    EXPECT_EQ(SelectedRow(rows_), 1);
    EXPECT_EQ(rowClicks_, 1);
    EXPECT_EQ(doubleClicks_, 1);
}

TEST_F(Lists, ADisabledListIsOutOfReach) {
    form_.lstRows.Enabled(false);

    ClickRow(rows_, 0);

    EXPECT_EQ(form_.lstRows.SelectedIndex(), -1);
}

TEST_F(Lists, ARemovedRowTakesItsSelectionAlong) {
    form_.lstRows.Select(1);

    form_.lstRows.Remove(1);

    EXPECT_EQ(rows_.model()->rowCount(), 1);
    EXPECT_EQ(SelectedRow(rows_), -1);
    EXPECT_EQ(rowClicks_, 1);
}

TEST_F(Lists, AReplacedRowStaysSelected) {
    form_.lstRows.Select(1);

    form_.lstRows.Replace(1, {"B2", "99SS", {"Tumour"}});

    EXPECT_EQ(SelectedRow(rows_), 1);
    EXPECT_EQ(Cell(1, 1), "Tumour");
}

TEST_F(Lists, AnAddedLineKeepsTheSelection) {
    form_.lstLines.ListIndex(0);

    form_.lstLines.AddItem("09:00");

    EXPECT_EQ(SelectedRow(lines_), 0);
    EXPECT_EQ(lineClicks_, 1);
}

TEST_F(Lists, AHandlerMaySelectWithinItsClick) {
    form_.lstRows.ItemClick = [this] {
        if (++rowClicks_ == 1)
            form_.lstRows.Select(0);
    };

    ClickRow(rows_, 1);

    EXPECT_EQ(SelectedRow(rows_), 0);
    EXPECT_EQ(rowClicks_, 2);
}

TEST_F(Lists, ColumnsShareTheWidth) {
    const auto* header = rows_.header();

    EXPECT_NEAR(header->sectionSize(0), header->sectionSize(1), 1);
    EXPECT_EQ(header->sectionSize(0) + header->sectionSize(1), rows_.viewport()->width());
}

TEST_F(Lists, OfAHundredThousandRowsThoseOnTheScreenAreMeasuredAndDrawn) {
    CountingDelegate rows;
    rows_.setItemDelegate(&rows);
    form_.lstRows.Fill([](std::vector<ListItem>& items) {
        for (int i = 0; i < 100'000; ++i)
            items.push_back({std::to_string(i), "99SS", {"MEANING " + std::to_string(i)}});
    });
    form_.lstRows.Select(99'999);
    QCoreApplication::processEvents();
    window_.grab();

    EXPECT_EQ(SelectedRow(rows_), 99'999);
    EXPECT_GT(rows.asked, 0);
    EXPECT_LT(rows.asked, 1000);
}

} // namespace
} // namespace tavrel
