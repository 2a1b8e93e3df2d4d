#include "tests/suite/SuiteRoom.h"

#include "platform/posix/PosixFiles.h"
#include "suite/catalogue/CatalogueVersion.h"
#include "tests/support/SqliteEntry.h"

#include <arpa/inet.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <random>
#include <stdexcept>

namespace tavrel {
namespace {

namespace fs = std::filesystem;

sockaddr_in Loopback(int port) {
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    address.sin_port = htons(static_cast<std::uint16_t>(port));
    return address;
}

/// Below the ports that the system gives to outgoing connections, which could take it meanwhile.
int FreePort() {
    std::random_device random;
    for (std::uniform_int_distribution port(20000, 32000);;) {
        const sockaddr_in address = Loopback(port(random));
        const int probe = socket(AF_INET, SOCK_STREAM, 0);
        const bool free = bind(probe, reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0;
        close(probe);
        if (free)
            return ntohs(address.sin_port);
    }
}

} // namespace

SuiteRoom::SuiteRoom() : dataSource_("DicomFDB"), port_(FreePort()) {
    UseSqliteEntry(Folder());
    Fill();
}

SuiteRoom::SuiteRoom(std::string dataSource) : dataSource_(std::move(dataSource)), port_(FreePort()) {
    Fill();
}

void SuiteRoom::Fill() {
    setenv("XDG_STATE_HOME", (Folder() / "state").c_str(), 1);
    catalogue_ = database_.NewConnection();
    catalogue_->Open("DSN=" + dataSource_);
    CreateSchema(*catalogue_, DetectEngine(*catalogue_));
    for (const std::string& table : CatalogueTables())
        if (table != VersionTable)
            Run("DELETE FROM " + table); // a server keeps the last test's rows
    Insert("Port", {{"Port", std::to_string(port_)}, {"AETitle", "PORVANE"}});
}

void SuiteRoom::MoveToAnotherPort() {
    port_ = FreePort();
    Run("UPDATE Port SET Port=" + std::to_string(port_));
}

std::vector<std::string> SuiteRoom::Column(const std::string& query) {
    std::vector<std::string> values;
    for (const auto rows = catalogue_->OpenResultSet(query); !rows->AtEnd(); rows->MoveNext())
        values.emplace_back(rows->Field(0).value_or("NULL"));
    return values;
}

std::string SuiteRoom::Value(const std::string& query) {
    const auto values = Column(query);
    if (values.size() != 1)
        throw std::runtime_error(std::to_string(values.size()) + " rows: " + query);
    return values.front();
}

std::vector<std::string> SuiteRoom::ServiceCommand() const {
    return {PORVANE_PROGRAM, "--dsn", dataSource_, "--studies", Studies().string()};
}

std::unique_ptr<Child> SuiteRoom::StartService(const std::vector<std::string>& options) {
    auto command = ServiceCommand();
    command.insert(command.end(), options.begin(), options.end());
    auto service = std::make_unique<Child>(command, (Folder() / "porvane.log").string());
    Eventually([&] { return Listens(port_) || !service->IsRunning(); });
    return service;
}

std::string SuiteRoom::ServiceLog() const {
    return PosixFiles().ReadText((Folder() / "porvane.log").string());
}

Outcome SuiteRoom::Tool(const std::string& arguments) const {
    return RunShell(std::string(TOOL_PROGRAM) + " --dsn '" + dataSource_ + "' " + arguments);
}

std::vector<fs::path> SuiteRoom::StoredFiles() const {
    std::vector<fs::path> files;
    for (const auto& entry : fs::recursive_directory_iterator(Studies()))
        if (entry.path().extension() == ".dcm")
            files.push_back(entry.path());
    std::ranges::sort(files);
    return files;
}

std::vector<fs::path> SuiteRoom::Received() const {
    std::vector<fs::path> received;
    for (const auto& entry : fs::recursive_directory_iterator(Incoming())) {
        std::error_code gone;
        if (entry.is_symlink(gone) || (entry.path().extension() == ".part" && entry.file_size(gone) > 0 && !gone))
            received.push_back(entry.path());
    }
    return received;
}

bool Listens(int port) {
    const int probe = socket(AF_INET, SOCK_STREAM, 0);
    const sockaddr_in address = Loopback(port);
    const bool listens = connect(probe, reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0;
    close(probe);
    return listens;
}

} // namespace tavrel
