#pragma once

#include <QList>
#include <QTableWidget>

namespace tavrel {

/// A table of rows to be chosen, whose columns always fit its width. What does not fit is taken from the columns that
/// are widest by their weight, none of which becomes narrower than its heading as long as all have that; a column of no
/// weight keeps all that it holds.
class FittedTable : public QTableWidget {
public:
    struct Column {
        QString title;
        int weight = 0;
    };

    FittedTable(const QList<Column>& columns, const QString& accessibleName);

    void Fill(const QList<QStringList>& rows);

    /// No more than it needs: it takes what there is.
    QSize sizeHint() const override { return minimumSizeHint(); }

protected:
    void resizeEvent(QResizeEvent* event) override;
    /// All headings, and a row.
    QSize minimumSizeHint() const override;

private:
    void Fit();

    QList<int> weights_;
    QList<int> wanted_; ///< widths of what the columns hold
};

} // namespace tavrel
