#include "codes/FillCodeList.h"

#include "host/Catalogue.h"
#include "host/ErrorReport.h"

namespace tavrel {
namespace {

std::string Statement(std::string_view table, std::string_view filter) {
    const std::string name(table);
    if (filter.empty())
        return "SELECT CodeScheme, CodeValue, CodeMeaning  FROM " + name + " ORDER BY CodeMeaning ";
    return " SELECT CodeScheme, CodeValue, CodeMeaning  FROM " + name + " WHERE Upper(" + name +
           ".CodeMeaning) Like '%" + InQuotes(filter) + "%' ORDER BY CodeMeaning";
}

/// A column of the rows, found by its name once for all of them.
class UpperCasedColumn {
public:
    UpperCasedColumn(const Letters& letters, const ResultSet& rows, std::string_view name)
        : letters_(letters), rows_(rows), name_(name), index_(rows.FieldIndex(name)) {}

    void Read(std::string& text) const {
        if (const auto field = rows_.Field(index_))
            letters_.UpperCase(*field, text);
        else
            text = rows_.Text(name_); // null fails there, by the column's name
    }

private:
    const Letters& letters_;
    const ResultSet& rows_;
    std::string_view name_;
    int index_;
};

/// Writes rows over those of the last search, whose memory serves again, and drops what is left of
/// them in the end, however it comes.
class RowWriter {
public:
    explicit RowWriter(std::vector<ListItem>& rows) : rows_(rows) {}
    ~RowWriter() { rows_.resize(count_); }
    RowWriter(const RowWriter&) = delete;
    RowWriter& operator=(const RowWriter&) = delete;

    ListItem& Next() { return count_ == rows_.size() ? rows_.emplace_back() : rows_[count_]; }
    void Keep() { ++count_; }

private:
    std::vector<ListItem>& rows_;
    std::size_t count_ = 0;
};

} // namespace

void FillCodeList(const Global& global, ListView& list, std::string_view table, std::string_view filter) {
    TrapShort(global.ports.windows, "", [&] {
        list.Fill([&](std::vector<ListItem>& items) {
            RowWriter writer(items);
            const auto rows = Catalogue(global).OpenResultSet(Statement(table, filter));
            const Letters& letters = global.ports.letters;
            const UpperCasedColumn code(letters, *rows, "CodeValue");
            const UpperCasedColumn scheme(letters, *rows, "CodeScheme");
            const UpperCasedColumn meaning(letters, *rows, "CodeMeaning");
            for (; !rows->AtEnd(); rows->MoveNext()) {
                ListItem& row = writer.Next();
                code.Read(row.text);
                scheme.Read(row.tag);
                meaning.Read(row.subItems[0]);
                writer.Keep();
            }
            rows->Close();
        });
    });
}

} // namespace tavrel
