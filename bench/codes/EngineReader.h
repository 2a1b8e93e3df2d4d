#pragma once

#include <memory>
#include <string>
#include <vector>

namespace tavrel {

/// The strings of one code, as a program would keep them that knows nothing of a screen.
struct CodeRow {
    std::string code;
    std::string scheme;
    std::string meaning;
};

/// Reads codes through an engine's own C library: the yardstick for what a keystroke may cost.
class EngineReader {
public:
    virtual ~EngineReader() = default;
    /// Replaces `rows` by what `statement` yields: scheme, value and meaning, in this order.
    virtual void Read(const std::string& statement, std::vector<CodeRow>& rows) = 0;
};

/// Readers that connect to where an ODBC entry leads.
std::unique_ptr<EngineReader> NewSqliteReader(const std::string& entry);
std::unique_ptr<EngineReader> NewPostgresqlReader(const std::string& entry);
std::unique_ptr<EngineReader> NewMariadbReader(const std::string& entry);

/// A value of an ODBC entry; empty when there is none.
std::string EntryValue(const std::string& entry, const std::string& key);

} // namespace tavrel
