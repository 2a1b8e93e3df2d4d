#include "suite/catalogue/CsvReader.h"

#include <algorithm>
#include <iterator>
#include <utility>

namespace tavrel {
namespace {

class Reader {
public:
    explicit Reader(std::string_view text) : rest_(text) {}

    bool AtEnd() const { return rest_.empty(); }

    CsvRow NextRow() {
        CsvRow row{line_, {}, {}};
        do
            row.fields.push_back(NextField(row));
        while (Take(','));
        EndRow(row);
        return row;
    }

private:
    bool Take(char wanted) {
        if (!rest_.starts_with(wanted))
            return false;
        rest_.remove_prefix(1);
        return true;
    }

    std::string NextField(CsvRow& row) { return Take('"') ? QuotedField(row) : PlainField(row); }

    std::string PlainField(CsvRow& row) {
        std::string field(rest_.substr(0, rest_.find_first_of(",\r\n")));
        rest_.remove_prefix(field.size());
        if (field.find('"') != std::string::npos)
            row.fault = "a quote within a field that does not start with one";
        return field;
    }

    std::string QuotedField(CsvRow& row) {
        std::string field;
        for (;;) {
            const std::string_view part = rest_.substr(0, rest_.find('"'));
            line_ += static_cast<int>(std::ranges::count(part, '\n'));
            field += part;
            rest_.remove_prefix(part.size());
            if (!Take('"')) {
                row.fault = "a quote that is not closed";
                return field;
            }
            if (!Take('"'))
                return field;
            field += '"';
        }
    }

    void EndRow(CsvRow& row) {
        const std::string_view extra = rest_.substr(0, rest_.find('\n'));
        if (!extra.empty() && extra != "\r" && row.fault.empty())
            row.fault = "text after a closing quote";
        rest_.remove_prefix(extra.size());
        Take('\n');
        ++line_;
    }

    std::string_view rest_;
    int line_ = 1;
};

/// Where each column stands in a row of names; empty when the row does not say so.
std::vector<std::size_t> Order(const CsvRow& names, std::span<const std::string_view> columns) {
    std::vector<std::size_t> order;
    for (const std::string_view column : columns) {
        const auto place = std::ranges::find(names.fields, column);
        if (place == names.fields.end() || names.fields.size() != columns.size() || !names.fault.empty())
            return {};
        order.push_back(static_cast<std::size_t>(place - names.fields.begin()));
    }
    return order;
}

} // namespace

std::vector<CsvRow> ReadCsv(std::string_view text) {
    constexpr std::string_view byteOrderMark = "\xEF\xBB\xBF";
    if (text.starts_with(byteOrderMark))
        text.remove_prefix(byteOrderMark.size());
    std::vector<CsvRow> rows;
    for (Reader reader(text); !reader.AtEnd();) {
        CsvRow row = reader.NextRow();
        const bool empty = row.fields.size() == 1 && row.fields.front().empty() && row.fault.empty();
        if (!empty)
            rows.push_back(std::move(row));
    }
    return rows;
}

std::vector<CsvRow> ReadCsvTable(std::string_view text, std::span<const std::string_view> columns) {
    std::vector<CsvRow> rows = ReadCsv(text);
    const auto order = rows.empty() ? std::vector<std::size_t>() : Order(rows.front(), columns);
    if (order.empty()) {
        std::string fault = "the first row must name the columns ";
        for (const std::string_view column : columns)
            fault.append(column == columns.front() ? "" : ", ").append(column);
        return {CsvRow{1, {}, fault}};
    }
    if (rows.size() == 1) // whoever replaces a table would be left with none
        return {CsvRow{rows.front().line, {}, "no row follows the names of the columns"}};
    rows.erase(rows.begin());
    for (CsvRow& row : rows) {
        if (!row.fault.empty())
            continue;
        if (row.fields.size() != columns.size()) {
            row.fault = "has " + std::to_string(row.fields.size()) + " fields, not " + std::to_string(columns.size());
            continue;
        }
        std::vector<std::string> fields;
        std::ranges::transform(order, std::back_inserter(fields),
                               [&](std::size_t place) { return std::move(row.fields[place]); });
        row.fields = std::move(fields);
    }
    return rows;
}

} // namespace tavrel
