#include "codes/FillCodeList.h"

#include "codes/UpperCase.h"
#include "host/ErrorReport.h"

namespace tavrel {
namespace {

std::string Statement(std::string_view table, std::string_view filter) {
    const std::string name(table);
    if (filter.empty())
        return "SELECT CodeScheme, CodeValue, CodeMeaning  FROM " + name + " ORDER BY CodeMeaning ";
    return " SELECT CodeScheme, CodeValue, CodeMeaning  FROM " + name + " WHERE Upper(" + name +
           ".CodeMeaning) Like '%" + std::string(filter) + "%' ORDER BY CodeMeaning";
}

/// A column of the rows, found by its name once for all of them.
class UpperCasedColumn {
public:
    UpperCasedColumn(const ResultSet& rows, std::string_view name)
        : rows_(rows), name_(name), index_(rows.FieldIndex(name)) {}

    std::string Value() const {
        const auto field = rows_.Field(index_);
        return field ? UpperCase(*field) : rows_.Text(name_); // null fails there, by the column's name
    }

private:
    const ResultSet& rows_;
    std::string_view name_;
    int index_;
};

} // namespace

void FillCodeList(const Global& global, ListView& list, std::string_view table, std::string_view filter) {
    TrapShort(global.ports.windows, "", [&] {
        list.Fill([&](std::vector<ListItem>& items) {
            items.clear();
            const auto rows = Catalogue(global).OpenResultSet(Statement(table, filter));
            const UpperCasedColumn code(*rows, "CodeValue");
            const UpperCasedColumn scheme(*rows, "CodeScheme");
            const UpperCasedColumn meaning(*rows, "CodeMeaning");
            for (; !rows->AtEnd(); rows->MoveNext())
                items.push_back({code.Value(), scheme.Value(), {meaning.Value()}});
            rows->Close();
        });
    });
}

} // namespace tavrel
