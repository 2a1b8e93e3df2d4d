#include "platform/qt/ColumnShares.h"

#include <QVariant>
#include <QWidget>

namespace tavrel {

QList<int> ColumnShares(const QWidget& widget, int columns) {
    QList<int> shares;
    for (const auto& share : widget.property("columnShares").toString().split(' ', Qt::SkipEmptyParts))
        shares.push_back(share.toInt());
    return shares.size() == columns ? shares : QList<int>(columns, 1);
}

} // namespace tavrel
