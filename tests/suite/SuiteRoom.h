#pragma once

#include "platform/odbc/OdbcDatabase.h"
#include "suite/catalogue/Rows.h"
#include "suite/catalogue/Schema.h"
#include "tests/suite/Child.h"
#include "tests/support/TemporaryFolder.h"

#include <chrono>
#include <filesystem>
#include <memory>
#include <string>
#include <vector>

namespace tavrel {

/// A folder with a catalogue for the suite's programs, on SQLite, or on an engine's server through an
/// entry of the ODBC file in force. The process's environment names it; one at a time.
class SuiteRoom {
public:
    SuiteRoom();
    explicit SuiteRoom(std::string dataSource);

    std::filesystem::path Folder() const { return folder_.Path(); }
    std::filesystem::path Studies() const { return Folder() / "studies"; }
    std::filesystem::path Incoming() const { return Studies() / ".incoming"; }
    /// What services have in their areas, but for names that were made ahead.
    std::vector<std::filesystem::path> Received() const;
    /// Where the report editor keeps what it could not send; not there yet.
    std::filesystem::path Unsent() const { return Folder() / "state/tavrel/unsent"; }
    int Port() const { return port_; }
    /// For the next service that starts: those that work go on where they are.
    void MoveToAnotherPort();

    Connection& Catalogue() { return *catalogue_; }
    void Run(const std::string& statement) { catalogue_->OpenResultSet(statement); }
    void Insert(const std::string& table, const ColumnTexts& row) { InsertRow(*catalogue_, table, row); }
    /// The first column of every row.
    std::vector<std::string> Column(const std::string& query);
    /// The first column of the only row.
    std::string Value(const std::string& query);
    std::string Count(const std::string& table) { return Value("SELECT count(*) FROM " + table); }

    /// How long the driver of SQLite lets the programs wait for another writer, instead of its entry's time.
    void WaitForLocks(std::chrono::milliseconds time) { dataSource_ += ";Timeout=" + std::to_string(time.count()); }
    /// Starts the service and waits until it listens.
    std::unique_ptr<Child> StartService(const std::vector<std::string>& options = {});
    std::vector<std::string> ServiceCommand() const;
    std::string ServiceLog() const;
    /// Runs the administration tool; `arguments` as for the shell.
    Outcome Tool(const std::string& arguments) const;

    /// The object files in the studies' folder.
    std::vector<std::filesystem::path> StoredFiles() const;

private:
    void Fill();

    TemporaryFolder folder_;
    std::string dataSource_;
    int port_;
    OdbcDatabase database_;
    std::unique_ptr<Connection> catalogue_;
};

/// Names tests after the engine that they run on.
inline constexpr auto EngineName = [](const auto& test) { return std::string(test.param); };

/// Whether something listens on the port of this machine.
bool Listens(int port);

} // namespace tavrel
