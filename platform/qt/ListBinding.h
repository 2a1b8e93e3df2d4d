#pragma once

#include "platform/qt/Binding.h"
#include "platform/qt/RowsModel.h"

class QAbstractItemView;
class QHeaderView;
class QListView;
class QTreeView;

namespace tavrel {

/// A list, of lines or of rows with columns. A click on what is selected already counts as a click.
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
    QList<int> shares_;
    std::function<int()> selected_;
    std::function<void(int)> select_;
    std::function<void()> activate_;
};

} // namespace tavrel
