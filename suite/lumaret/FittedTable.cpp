#include "suite/lumaret/FittedTable.h"

#include <QHeaderView>

#include <algorithm>
#include <cmath>

namespace tavrel {
namespace {

/// How wide a column may be for each of its weight, so that all of them have place.
double WidthOfAWeight(const QList<int>& wanted, const QList<int>& weights, int place) {
    double least = 0, most = place;
    for (int step = 0; step < 20; ++step) {
        const double each = (least + most) / 2;
        double taken = 0;
        for (qsizetype column = 0; column < wanted.size(); ++column)
            taken += weights[column] == 0 ? wanted[column] : std::min<double>(wanted[column], each * weights[column]);
        (taken <= place ? least : most) = each;
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
    QList<int> wanted = wanted_;
    int last = 0;
    for (int column = 0; column < columnCount(); ++column)
        if (isColumnHidden(column))
            wanted[column] = 0;
        else
            last = column;
    int place = viewport()->width();
    const double each = WidthOfAWeight(wanted, weights_, place);
    for (int column = 0; column <= last; ++column) {
        const int fits = weights_[column] == 0
                             ? wanted[column]
                             : std::min(wanted[column], static_cast<int>(std::floor(each * weights_[column])));
        setColumnWidth(column, column == last ? std::max(fits, place) : fits);
        place -= fits;
    }
}

void FittedTable::resizeEvent(QResizeEvent* event) {
    QTableWidget::resizeEvent(event);
    Fit();
}

} // namespace tavrel
