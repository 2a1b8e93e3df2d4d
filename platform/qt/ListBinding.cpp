#include "platform/qt/ListBinding.h"

#include "platform/qt/ColumnShares.h"
#include "platform/qt/LineEdits.h"

#include <QHeaderView>
#include <QItemSelectionModel>
#include <QKeyEvent>
#include <QListView>
#include <QTreeView>

#include <numeric>

namespace tavrel {
namespace {

RowsModel::Source Lines(const ListBox& list) {
    return {{""},
            [&list] { return list.ListCount(); },
            [&list](int row, int) -> std::string_view { return list.Items()[static_cast<std::size_t>(row)]; }};
}

std::string_view Cell(const ListItem& item, int column) {
    if (column == 0)
        return item.text;
    const auto index = static_cast<std::size_t>(column - 1);
    return index < item.subItems.size() ? std::string_view(item.subItems[index]) : std::string_view();
}

RowsModel::Source Rows(const ListView& list) {
    return {list.Columns(), [&list] { return list.Count(); },
            [&list](int row, int column) { return Cell(list.Item(row), column); }, list.Persons()};
}

} // namespace

ListBinding::ListBinding(Control& list, QAbstractItemView& view, RowsModel::Source source,
                         std::function<int()> selected, std::function<void(int)> select)
    : Binding(list, view), view_(view), rows_(new RowsModel(std::move(source), this)), selected_(std::move(selected)),
      select_(std::move(select)) {
    view.setModel(rows_);
    view.installEventFilter(this);
    view.viewport()->installEventFilter(this);
    connect(view.selectionModel(), &QItemSelectionModel::selectionChanged, this, [this](const QItemSelection& now) {
        Person([&] {
            if (now.isEmpty()) // A person moves a selection but does not take it away.
                Show(Change::Selection);
            else
                select_(now.front().top());
        });
    });
}

ListBinding::ListBinding(ListBox& list, QListView& view)
    : ListBinding(
          list, view, Lines(list), [&list] { return list.ListIndex(); }, [&list](int row) { list.ListIndex(row); }) {
    view.setUniformItemSizes(true);
}

ListBinding::ListBinding(ListView& list, QTreeView& view)
    : ListBinding(
          list, view, Rows(list), [&list] { return list.SelectedIndex(); }, [&list](int row) { list.Select(row); }) {
    view.setUniformRowHeights(true); // Otherwise each of a hundred thousand rows is measured.
    header_ = view.header();
    header_->setStretchLastSection(false);
    shares_ = ColumnShares(view, rows_->columnCount());
    activate_ = [&list] { list.Activate(); };
    connect(&view, &QAbstractItemView::doubleClicked, this, [this] { Person(activate_); });
}

void ListBinding::ShowItems() {
    rows_->Reset();
}

void ListBinding::ShowSelection() {
    const auto row = rows_->index(selected_(), 0);
    if (!row.isValid()) {
        view_.selectionModel()->clear();
        return;
    }
    view_.selectionModel()->setCurrentIndex(row, QItemSelectionModel::ClearAndSelect | QItemSelectionModel::Rows);
    view_.scrollTo(row);
}

bool ListBinding::eventFilter(QObject* watched, QEvent* event) {
    if (event->type() == QEvent::Resize && header_)
        ShareWidth();
    if (event->type() == QEvent::MouseButtonPress && watched == view_.viewport()) {
        const auto& press = static_cast<const QMouseEvent&>(*event);
        const auto row = view_.indexAt(press.position().toPoint());
        const bool again = row.isValid() && press.button() == Qt::LeftButton && view_.selectionModel()->isSelected(row);
        if (again)
            Person([&] { select_(row.row()); });
    }
    if (event->type() == QEvent::KeyPress && watched == &view_ && activate_ && view_.currentIndex().isValid() &&
        IsEnter(static_cast<const QKeyEvent&>(*event))) {
        Person([this] {
            if (!view_.selectionModel()->isSelected(view_.currentIndex())) // come from elsewhere by a key
                select_(view_.currentIndex().row());
            activate_();
        });
        return true;
    }
    return Binding::eventFilter(watched, event);
}

void ListBinding::ShareWidth() {
    const int all = std::reduce(shares_.begin(), shares_.end());
    int left = view_.viewport()->width();
    const int width = left;
    for (int column = 0; column + 1 < header_->count(); ++column) {
        const int share = width * shares_[column] / all;
        header_->resizeSection(column, share);
        left -= share;
    }
    header_->resizeSection(header_->count() - 1, left);
}

} // namespace tavrel
