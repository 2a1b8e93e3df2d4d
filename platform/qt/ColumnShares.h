#pragma once

#include <QList>

class QWidget;

namespace tavrel {

/// How the columns of a table or splitter share its width: as its layout's property "columnShares"
/// says ("20 50 30"), evenly where it says nothing of `columns` columns.
QList<int> ColumnShares(const QWidget& widget, int columns);

} // namespace tavrel
