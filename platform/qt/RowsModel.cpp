#include "platform/qt/RowsModel.h"

#include "platform/person_name.h"
#include "platform/qt/QtText.h"

#include <QFontMetrics>
#include <QGuiApplication>
#include <QSize>

namespace tavrel {
namespace {

constexpr int SpaceBetweenRows = 8;

} // namespace

RowsModel::RowsModel(Source source, QObject* parent) : QAbstractTableModel(parent), source_(std::move(source)) {}

void RowsModel::Reset() {
    beginResetModel();
    endResetModel();
}

int RowsModel::rowCount(const QModelIndex& parent) const {
    return parent.isValid() ? 0 : source_.count();
}

int RowsModel::columnCount(const QModelIndex& parent) const {
    return parent.isValid() ? 0 : static_cast<int>(source_.columns.size());
}

QVariant RowsModel::data(const QModelIndex& index, int role) const {
    if (role == Qt::SizeHintRole)
        return QSize(0, QFontMetrics(QGuiApplication::font()).height() + SpaceBetweenRows);
    const bool shown = role == Qt::DisplayRole || role == Qt::ToolTipRole;
    if (!shown || !index.isValid() || index.row() >= source_.count())
        return {};
    const std::string_view stored = source_.text(index.row(), index.column());
    const QString text = index.column() == source_.persons ? ToQt(WrittenName(stored)) : ToQt(stored);
    return role == Qt::ToolTipRole ? "<qt>" + text.toHtmlEscaped() + "</qt>" : text; // A column may be too narrow.
}

QVariant RowsModel::headerData(int section, Qt::Orientation orientation, int role) const {
    if (role != Qt::DisplayRole || orientation != Qt::Horizontal || section >= columnCount())
        return {};
    return ToQt(source_.columns[static_cast<std::size_t>(section)]);
}

} // namespace tavrel
