#include "platform/odbc/OdbcError.h"

#include "platform/text.h"

#include <array>
#include <string_view>
#include <utility>
#include <vector>

namespace tavrel {

namespace {

constexpr const char* Source = "Database";

struct Record {
    std::string state;
    SQLINTEGER number = 0;
    std::string text;

    bool IsWarning() const { return state.starts_with("01"); }
    /// Class 08 is the standard's; PostgreSQL names its own shutdown 57P01 to 57P03; MariaDB reports
    /// "gone away" (2006) and "lost" (2013) under varying states.
    bool SaysThatServerIsGone() const {
        return state.starts_with("08") || state.starts_with("57P0") || number == 2006 || number == 2013 ||
               SaysThatNodeIsOfNoUse();
    }
    /// A cluster's node that lives and has no majority behind it (Galera), or is a standby (PostgreSQL): the
    /// statement was not begun, and a further connection leads to another node.
    bool SaysThatNodeIsOfNoUse() const {
        constexpr int notPrepared = 1047;
        return number == notPrepared || state == "25006";
    }
    /// The statement gave way to another one and was undone; on Galera also to one on another node.
    bool SaysThatStatementWasUndone() const {
        constexpr int deadlock = 1213;
        return number == deadlock || state == "40001" || state == "40P01";
    }
};

/// Drivers pass a server's text on with its line ends and indents.
std::string OneLine(std::string_view text) {
    std::string line;
    for (const char character : text) {
        if (!IsBlank(character))
            line += character;
        else if (!line.empty() && line.back() != ' ')
            line += ' ';
    }
    return std::string(TrimmedRight(line));
}

std::vector<Record> ReadRecords(SQLSMALLINT handleType, SQLHANDLE handle) {
    constexpr SQLSMALLINT recordLimit = 20;
    std::vector<Record> records;
    std::array<SQLCHAR, 6> state{};
    std::array<SQLCHAR, 4096> text{};
    for (SQLSMALLINT index = 1; index <= recordLimit; ++index) {
        Record record;
        SQLSMALLINT length = 0;
        const SQLRETURN result = SQLGetDiagRec(handleType, handle, index, state.data(), &record.number, text.data(),
                                               static_cast<SQLSMALLINT>(text.size()), &length);
        if (!SQL_SUCCEEDED(result))
            break;
        record.state = reinterpret_cast<const char*>(state.data());
        record.text = OneLine(reinterpret_cast<const char*>(text.data()));
        records.push_back(std::move(record));
    }
    return records;
}

} // namespace

Error OdbcError(OdbcFailure failure, std::string description) {
    return {static_cast<int>(failure), Source, std::move(description)};
}

Error NoCurrentRow() {
    return OdbcError(OdbcFailure::NoCurrentRow,
                     "The result has no current row: it is empty or has been read to its end.");
}

Error NoAnswer(std::chrono::milliseconds waited) {
    return OdbcError(OdbcFailure::NoAnswer,
                     "The database has not answered for " +
                         std::to_string(std::chrono::ceil<std::chrono::seconds>(waited).count()) + " seconds.");
}

std::string NotNull(std::optional<std::string_view> text, std::string_view field) {
    if (!text)
        throw OdbcError(OdbcFailure::NullField, "The field \"" + std::string(field) + "\" holds no value (null).");
    return std::string(*text);
}

OdbcDiagnostics OdbcDiagnostics::Read(SQLSMALLINT handleType, SQLHANDLE handle) {
    OdbcDiagnostics diagnostics;
    std::string warning; // the driver manager tells with one that it cannot load the driver
    for (const Record& record : ReadRecords(handleType, handle)) {
        if (record.IsWarning())
            warning = record.text;
        diagnostics.connectionLost = diagnostics.connectionLost || record.SaysThatServerIsGone();
        diagnostics.nothingMade =
            diagnostics.nothingMade || record.SaysThatNodeIsOfNoUse() || record.SaysThatStatementWasUndone();
        diagnostics.driverUnknown = diagnostics.driverUnknown || record.state == "IM002";
        if (record.IsWarning() || diagnostics.text.find(record.text) != std::string::npos)
            continue;
        if (diagnostics.text.empty())
            diagnostics.number = record.number;
        else
            diagnostics.text += "; ";
        diagnostics.text += record.text;
    }
    if (diagnostics.text.empty())
        diagnostics.text = warning.empty() ? "The database driver failed and did not say why." : warning;
    return diagnostics;
}

Error OdbcDiagnostics::AsError() const {
    return {number, Source, text};
}

} // namespace tavrel
