#include "suite/catalogue/CsvReader.h"

#include <algorithm>

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

} // namespace tavrel
