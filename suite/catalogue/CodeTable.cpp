#include "suite/catalogue/CodeTable.h"

#include "platform/limits.h"
#include "platform/text.h"
#include "suite/catalogue/CsvReader.h"
#include "suite/catalogue/Rows.h"
#include "suite/catalogue/TextRules.h"

#include <algorithm>
#include <array>
#include <map>
#include <set>

namespace tavrel {
namespace {

constexpr std::array<std::string_view, 3> CodeColumns{"CodeScheme", "CodeValue", "CodeMeaning"};
constexpr std::array Longest{longest::CodeScheme, longest::CodeValue, longest::CodeMeaning};
using Code = std::array<std::string, CodeColumns.size()>;
constexpr std::size_t CodeValue = 1;

class CodeFile {
public:
    explicit CodeFile(std::string_view csv) {
        for (const CsvRow& row : ReadCsvTable(csv, CodeColumns))
            Read(row);
    }

    std::vector<std::string> faults;
    std::vector<Code> codes;

private:
    void Read(const CsvRow& row) {
        std::string fault = row.fault;
        Code code;
        for (std::size_t i = 0; fault.empty() && i < CodeColumns.size(); ++i) {
            code[i] = ForCatalogue(row.fields[i]);
            if (const std::string bad = TextFault(code[i], Longest[i]); !bad.empty())
                fault = std::string(CodeColumns[i]) + " " + bad;
        }
        // Blanks behind a code do not tell it from another one.
        code[CodeValue] = TrimmedRight(code[CodeValue]);
        if (fault.empty()) {
            const auto [first, isNew] = lines_.try_emplace(code[CodeValue], row.line);
            if (!isNew)
                fault = "CodeValue \"" + code[CodeValue] + "\" stands in line " + std::to_string(first->second) +
                        " already";
        }
        if (fault.empty())
            codes.push_back(std::move(code));
        else
            faults.push_back("line " + std::to_string(row.line) + ": " + fault);
    }

    std::map<std::string, int> lines_;
};

std::set<std::string> KnownValues(Connection& connection, const std::string& table) {
    std::set<std::string> known;
    const auto rows = connection.OpenResultSet("SELECT CodeValue FROM " + table);
    for (; !rows->AtEnd(); rows->MoveNext())
        known.emplace(TrimmedRight(rows->Field("CodeValue").value_or("")));
    return known;
}

void Insert(Connection& connection, const std::string& table, const Code& code) {
    ColumnTexts row;
    for (std::size_t i = 0; i < CodeColumns.size(); ++i)
        row.emplace_back(CodeColumns[i], code[i]);
    InsertRow(connection, table, row);
}

} // namespace

CodeImport ImportCodes(Connection& connection, const std::string& table, std::string_view csv, bool replace) {
    const CodeFile file(csv);
    if (!file.faults.empty())
        return {file.faults};

    CodeImport result;
    connection.BeginTransaction();
    if (replace)
        connection.OpenResultSet("DELETE FROM " + table);
    const std::set<std::string> known = KnownValues(connection, table);
    for (const Code& code : file.codes) {
        const bool knownCode = known.contains(code[CodeValue]);
        if (!knownCode)
            Insert(connection, table, code);
        ++(knownCode ? result.known : result.added);
    }
    connection.Commit();
    return result;
}

} // namespace tavrel
