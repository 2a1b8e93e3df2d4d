#pragma once

#include "platform/qt/Binding.h"
#include "platform/qt/RowsModel.h"

#include <vector>

class QAbstractItemView;
class QHeaderView;
class QListView;
class QTreeView;

namespace tavrel {

/// A list, of lines or of rows with columns. A click on what is selected already counts as a click.
///
/// The columns of a table share its width as the layout's property "columnShares" says, in percent
/// (`20 50 30`); without it they share evenly.
class ListBinding : public Binding {
public:
    ListBinding(ListBox& list, QListView& view);
    ListBinding(ListView& list, QTreeView& view);

protected:
    void ShowItems() override;
    void ShowSelection() override;
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    ListBinding(Control& list, QAbstractItemView& view, RowsModel::Source source, std::function<int()> selected,
                std::function<void(int)> select);
    void ShareWidth();

    QAbstractItemView& view_;
    RowsModel* rows_;
    QHeaderView* header_ = nullptr;
    std::vector<int> shares_;
    std::function<int()> selected_;
    std::function<void(int)> select_;
    std::function<void()> activate_;
};

} // namespace tavrel
