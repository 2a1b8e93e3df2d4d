#pragma once

#include <QAbstractTableModel>

#include <functional>
#include <string>
#include <vector>

namespace tavrel {

/// The rows of a list as its widget reads them: straight from where they lie, no copy.
class RowsModel : public QAbstractTableModel {
public:
    struct Source {
        std::vector<std::string> columns;
        std::function<int()> count;
        std::function<std::string_view(int row, int column)> text;
        int persons = -1; ///< the column of persons' names
    };
    explicit RowsModel(Source source, QObject* parent = nullptr);

    /// To be called when the rows have changed.
    void Reset();

    int rowCount(const QModelIndex& parent = {}) const override;
    int columnCount(const QModelIndex& parent = {}) const override;
    QVariant data(const QModelIndex& index, int role) const override;
    QVariant headerData(int section, Qt::Orientation orientation, int role) const override;

private:
    Source source_;
};

} // namespace tavrel
