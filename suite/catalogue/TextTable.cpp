#include "suite/catalogue/TextTable.h"

#include "platform/error.h"
#include "platform/limits.h"
#include "platform/text.h"
#include "platform/text_blocks.h"
#include "suite/catalogue/CsvReader.h"
#include "suite/catalogue/Rows.h"
#include "suite/catalogue/TextRules.h"

#include <algorithm>
#include <array>
#include <map>
#include <tuple>
#include <utility>

namespace tavrel {
namespace {

constexpr std::array<std::string_view, 3> TextColumns{"Kind", "Name", "Body"};
/// Nobody types more to have less to type.
constexpr std::size_t LongestShortForm = 32;

std::string NameFault(const TextBlockRow& text) {
    const bool shortForm = text.kind == text_block::ShortForm;
    if (auto fault = TextFault(text.name, shortForm ? LongestShortForm : longest::TextColumn); !fault.empty())
        return fault;
    if (shortForm && std::ranges::any_of(text.name, IsBlank))
        return "of a short form must hold no blank";
    if (shortForm && !OfWord(text.name.back()))
        return "of a short form must end with a letter or a digit";
    return {};
}

/// A body has lines, which a value of the catalogue has not.
std::string BodyFault(std::string text) {
    std::ranges::replace_if(
        text, [](char c) { return c == '\r' || c == '\n' || c == '\\'; }, ' ');
    return TextFault(text, longest::TextBlock);
}

std::string Fault(const TextBlockRow& text) {
    if (text.kind != text_block::Template && text.kind != text_block::ShortForm)
        return R"(Kind must be "template" or "short")";
    if (const auto fault = NameFault(text); !fault.empty())
        return "Name " + fault;
    const auto fault = BodyFault(text.body);
    return fault.empty() ? fault : "Body " + fault;
}

class TextFile {
public:
    explicit TextFile(std::string_view csv) {
        for (const CsvRow& row : ReadCsvTable(csv, TextColumns))
            if (const std::string fault = Read(row); !fault.empty())
                faults.push_back("line " + std::to_string(row.line) + ": " + fault);
    }

    std::vector<std::string> faults;
    std::vector<TextBlockRow> texts;

private:
    std::string Read(const CsvRow& row) {
        if (!row.fault.empty())
            return row.fault;
        TextBlockRow text{row.fields[0], std::string(Trimmed(row.fields[1])), row.fields[2]};
        if (text.kind == text_block::Template)
            text.name = ForCatalogue(text.name); // as the meaning of the heading stands in its table
        if (auto fault = Fault(text); !fault.empty())
            return fault;
        const auto [first, isNew] = lines_.try_emplace({text.kind, text.name}, row.line);
        if (!isNew)
            return "the " + text.kind + " \"" + text.name + "\" stands in line " + std::to_string(first->second) +
                   " already";
        texts.push_back(std::move(text));
        return {};
    }

    std::map<std::pair<std::string, std::string>, int> lines_;
};

void Delete(Connection& connection, const std::string& kind, const std::string& name) {
    RunChange(connection, "DELETE FROM TextBlock WHERE Kind=? AND Name=?", std::array{kind, name});
}

std::string InCsv(std::string_view field) {
    std::string quoted = "\"";
    for (const char c : field)
        quoted += c == '"' ? "\"\"" : std::string(1, c);
    return quoted + "\"";
}

} // namespace

std::vector<TextBlockRow> ReadTexts(Connection& connection) try {
    std::vector<TextBlockRow> texts;
    const auto rows = connection.OpenResultSet("SELECT * FROM TextBlock");
    for (; !rows->AtEnd(); rows->MoveNext())
        texts.push_back({rows->Text("Kind"), rows->Text("Name"), rows->Text("Body")});
    std::ranges::sort(texts, [](const TextBlockRow& a, const TextBlockRow& b) {
        return std::tie(b.kind, a.name) < std::tie(a.kind, b.name); // templates first
    });
    return texts;
} catch (const Error&) {
    if (!connection.IsOpen())
        throw; // it is not known
    throw Error(Fault::OfTheSuite, "Catalogue",
                "The catalogue has no table for text blocks; \"orbenta-catalogue upgrade\" makes it");
}

TextImport ImportTexts(Connection& connection, std::string_view csv, bool replace) {
    const TextFile file(csv);
    if (!file.faults.empty())
        return {file.faults};

    TextImport result;
    auto known = ReadTexts(connection);
    connection.BeginTransaction();
    if (replace) {
        connection.OpenResultSet("DELETE FROM TextBlock");
        known.clear();
    }
    for (const TextBlockRow& text : file.texts) {
        const auto same = std::ranges::find_if(
            known, [&](const TextBlockRow& each) { return each.kind == text.kind && each.name == text.name; });
        if (same != known.end() && *same == text) {
            ++result.known;
            continue;
        }
        ++(same == known.end() ? result.added : result.changed);
        Delete(connection, text.kind, text.name);
        InsertRow(connection, std::string(text_block::Table),
                  {{"Kind", text.kind}, {"Name", text.name}, {"Body", text.body}});
    }
    connection.Commit();
    return result;
}

std::string ListTexts(const std::vector<TextBlockRow>& texts) {
    std::string lines;
    for (const auto& [kind, name, body] : texts) {
        const auto line = body.substr(0, body.find_first_of("\r\n"));
        lines.append(kind).append("  ").append(name).append(": ").append(line);
        lines += line.size() < body.size() ? " ...\n" : "\n";
    }
    return lines;
}

std::string ExportTexts(const std::vector<TextBlockRow>& texts) {
    std::string csv = "Kind,Name,Body\r\n";
    for (const auto& [kind, name, body] : texts)
        csv += kind + "," + InCsv(name) + "," + InCsv(body) + "\r\n";
    return csv;
}

bool RemoveText(Connection& connection, const std::string& kind, const std::string& name) {
    const auto texts = ReadTexts(connection);
    const bool known =
        std::ranges::any_of(texts, [&](const TextBlockRow& text) { return text.kind == kind && text.name == name; });
    Delete(connection, kind, name);
    return known;
}

} // namespace tavrel
