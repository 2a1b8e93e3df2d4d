#include "suite/lumaret/FittedTable.h"

#include <QHeaderView>

#include <algorithm>
#include <cmath>

namespace tavrel {
namespace {

struct ColumnWidth {
    int wanted = 0, heading = 0, weight = 0;

    int For(double each) const {
        return weight == 0 ? wanted : std::clamp(static_cast<int>(std::floor(each * weight)), heading, wanted);
    }
};

int Taken(const QList<ColumnWidth>& columns, double each) {
    int taken = 0;
    for (const auto& column : columns)
        taken += column.For(each);
    return taken;
}

/// How wide a column may be for each of its weight, so that all of them have place.
double WidthOfAWeight(const QList<ColumnWidth>& columns, int place) {
    double least = 0, most = place;
    for (int step = 0; step < 20; ++step) {
        const double each = (least + most) / 2;
        (Taken(columns, each) <= place ? least : most) = each;
    }
    return least;
}

} // namespace

FittedTable::FittedTable(const QList<Column>& columns, const QString& accessibleName)
    : QTableWidget(0, static_cast<int>(columns.size())) {
    QStringList titles;
    for (const auto& [title, weight] : columns) {
        titles += title;
        weights_ += weight;
    }
    setHorizontalHeaderLabels(titles);
    for (int column = 0; column < columnCount(); ++column)
        horizontalHeaderItem(column)->setToolTip(titles[column]);
    setAccessibleName(accessibleName);
    setSelectionBehavior(SelectRows);
    setSelectionMode(SingleSelection);
    setEditTriggers(NoEditTriggers);
    setTabKeyNavigation(false);
    setShowGrid(false);
    setAlternatingRowColors(true);
    setWordWrap(false);
    setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    verticalHeader()->hide();
    verticalHeader()->setDefaultSectionSize(fontMetrics().height() + 8);
    horizontalHeader()->setHighlightSections(false);
    horizontalHeader()->setTextElideMode(Qt::ElideRight);
    horizontalHeader()->setMinimumSectionSize(fontMetrics().averageCharWidth() * 3);
    horizontalHeader()->setDefaultAlignment(Qt::AlignLeft | Qt::AlignVCenter);
    Fill({});
}

void FittedTable::Fill(const QList<QStringList>& rows) {
    setRowCount(0);
    setRowCount(static_cast<int>(rows.size()));
    for (int row = 0; row < rowCount(); ++row)
        for (int column = 0; column < columnCount(); ++column) {
            const QString text = rows[row].value(column);
            auto* item = new QTableWidgetItem(text);
            item->setToolTip(text);
            setItem(row, column, item);
        }
    wanted_.clear();
    for (int column = 0; column < columnCount(); ++column)
        wanted_ += std::max(sizeHintForColumn(column) + 4, horizontalHeader()->sectionSizeHint(column));
    Fit();
}

void FittedTable::Fit() {
    QList<ColumnWidth> columns(columnCount());
    int last = 0;
    for (int column = 0; column < columnCount(); ++column)
        if (!isColumnHidden(column)) {
            const int heading = horizontalHeader()->sectionSizeHint(column);
            columns[column] = {std::max(wanted_[column], heading), heading, weights_[column]};
            last = column;
        }
    int place = viewport()->width();
    if (Taken(columns, 0) > place) // not even the headings have place
        for (auto& column : columns)
            column.heading = 0;
    const double each = WidthOfAWeight(columns, place);
    for (int column = 0; column <= last; ++column) {
        const int fits = columns[column].For(each);
        setColumnWidth(column, column == last ? std::max(fits, place) : fits);
        place -= fits;
    }
}

QSize FittedTable::minimumSizeHint() const {
    constexpr int headingAndRow = 80;
    int headings = 2 * frameWidth();
    for (int column = 0; column < columnCount(); ++column)
        if (!isColumnHidden(column))
            headings += horizontalHeader()->sectionSizeHint(column);
    return {headings, headingAndRow};
}

void FittedTable::resizeEvent(QResizeEvent* event) {
    QTableWidget::resizeEvent(event);
    Fit();
}

} // namespace tavrel
