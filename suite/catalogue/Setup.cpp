#include "suite/catalogue/Setup.h"

#include "platform/error.h"
#include "platform/limits.h"
#include "platform/odbc/OdbcError.h"
#include "platform/posix/PosixFiles.h"
#include "platform/posix/PosixUserInformation.h"
#include "platform/text.h"
#include "suite/catalogue/Department.h"
#include "suite/catalogue/FolderImport.h"
#include "suite/catalogue/OdbcEntry.h"
#include "suite/catalogue/SchemaFaults.h"
#include "suite/catalogue/Settings.h"
#include "suite/catalogue/TextRules.h"
#include "suite/catalogue/Upgrade.h"
#include "suite/porvane/forwarding/ArchiveSetting.h"

#include <arpa/inet.h>
#include <netinet/in.h>
#include <pwd.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <charconv>
#include <chrono>
#include <cstdlib>
#include <fstream>
#include <optional>
#include <random>
#include <sstream>
#include <thread>

namespace tavrel {
namespace {

namespace fs = std::filesystem;

constexpr int LowestPort = 1;
constexpr int HighestPort = 0xFFFF;
constexpr int UsualPort = 10404;
constexpr std::chrono::seconds TimeToStart{15};
constexpr std::chrono::seconds TimeToAnswer{5};

[[noreturn]] void RefuseSetup(const std::string& words) {
    throw Error(Fault::OfTheSuite, "Setup", words);
}

int NumberOf(const std::string& text) {
    int number = 0;
    const auto [end, failure] = std::from_chars(text.data(), text.data() + text.size(), number);
    return failure == std::errc() && end == text.data() + text.size() ? number : 0;
}

bool IsTheSystems(int port) {
    constexpr int first = 1024;
    return port < first && geteuid() != 0;
}

bool IsPort(int port) {
    return port >= LowestPort && port <= HighestPort;
}

/// As the service will: what was closed a moment ago is free.
bool IsFree(int port) {
    const int probe = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    const int on = 1;
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    address.sin_port = htons(static_cast<std::uint16_t>(port));
    const bool free = setsockopt(probe, SOL_SOCKET, SO_REUSEADDR, &on, sizeof on) == 0 &&
                      bind(probe, reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0;
    close(probe);
    return free;
}

/// Whose the socket is that listens on a port of this machine, as the system lists them.
std::optional<uid_t> ListenerOn(int port) {
    constexpr unsigned listening = 0x0A;
    for (const char* table : {"/proc/net/tcp", "/proc/net/tcp6"}) {
        std::ifstream lines(table);
        for (std::string line; std::getline(lines, line);) {
            std::istringstream fields(line);
            std::string number, local, remote, state, queues, timer, retransmits;
            uid_t user = 0;
            if (!(fields >> number >> local >> remote >> state >> queues >> timer >> retransmits >> user))
                continue;
            const auto colon = local.find(':');
            if (colon != std::string::npos && std::strtoul(local.c_str() + colon + 1, nullptr, 16) == unsigned(port) &&
                std::strtoul(state.c_str(), nullptr, 16) == listening)
                return user;
        }
    }
    return std::nullopt;
}

bool AnotherAccountHas(int port) {
    const auto user = ListenerOn(port);
    return user && *user != getuid();
}

/// Accounts of one machine have a port each, also while nobody else's service runs.
int PortOfTheAccount() {
    constexpr uid_t accounts = 1000; // the first one of a person has this number on Debian
    return UsualPort + static_cast<int>(getuid() % accounts);
}

std::string PortFault(const std::string& text) {
    const int port = NumberOf(text);
    if (!IsPort(port))
        return "is no port";
    if (IsTheSystems(port))
        return "is one of the system's; from 1024 on they are everybody's";
    const int free = Setup::FreePort(port);
    return free == port ? std::string() : "is taken on this machine; " + std::to_string(free) + " is free";
}

std::string MachineName() {
    std::array<char, 256> name{};
    gethostname(name.data(), name.size() - 1);
    const std::string full = name.data();
    return full.substr(0, full.find('.'));
}

std::string NodeOfTheMachine() {
    std::string node = MachineName().substr(0, longest::AeTitle);
    std::ranges::transform(node, node.begin(), [](unsigned char c) { return c < 0x80 ? std::toupper(c) : '_'; });
    return AeTitleFault(node).empty() ? node : "ORBENTA";
}

/// "Rossi, Mario" of the account of Mario Rossi; what the account is called where it says no name.
std::string NameOfThePerson(const std::string& account) {
    const passwd* entry = getpwuid(getuid());
    const std::string comment = entry && entry->pw_gecos ? entry->pw_gecos : "";
    const std::string first = comment.substr(0, comment.find(','));
    const std::string name(Trimmed(first));
    const auto last = name.rfind(' ');
    if (name.empty())
        return account;
    return last == std::string::npos ? name : name.substr(last + 1) + ", " + std::string(Trimmed(name.substr(0, last)));
}

std::string TextInReportsFault(const std::string& text, ReportForm form) {
    std::string fault = TextFault(text, longest::LongString);
    if (!fault.empty() || FitsReports(text, form))
        return fault;
    return "has characters that classic reports (ISO_IR 100) lack";
}

/// As objects have a name: "Rossi, Mario" is "Rossi^Mario".
std::string InObjects(const std::string& name) {
    const auto comma = name.find(',');
    if (comma == std::string::npos || name.find('^') != std::string::npos)
        return name;
    const std::string_view whole = name;
    const std::string family(Trimmed(whole.substr(0, comma))), given(Trimmed(whole.substr(comma + 1)));
    return given.empty() ? family : family + "^" + given;
}

std::string SignatureFault(const std::string& name, ReportForm form) {
    const std::string inObjects = InObjects(name);
    return inObjects.starts_with('^') ? "has no family name" : TextInReportsFault(inObjects, form);
}

std::string NodeFault(const std::string& title) {
    return AeTitleFault(title).empty() ? "" : "is no AE title";
}

std::string RootFault(const std::string& uid) {
    return BaseUidFault(uid).empty() ? "" : "is no root of UIDs";
}

/// A root that nobody else has: "2.25." and a random UUID as a number (PS3.5, B.2). Its first bits are left, so that a
/// department finds room for the numbers of its workstations behind it.
std::string RandomRoot() {
    std::random_device random;
    std::array<std::uint32_t, 4> words{0, random(), random(), random()};
    words[1] = (words[1] & 0xFFFF0FFFU) | 0x00004000U; // version 4, made at random
    words[2] = (words[2] & 0x3FFFFFFFU) | 0x80000000U;
    std::string digits;
    while (std::ranges::any_of(words, [](std::uint32_t word) { return word != 0; })) {
        std::uint64_t rest = 0;
        for (std::uint32_t& word : words) { // divided by ten
            rest = rest << 32U | word;
            word = static_cast<std::uint32_t>(rest / 10);
            rest %= 10;
        }
        digits.insert(digits.begin(), static_cast<char>('0' + rest));
    }
    return "2.25." + digits;
}

std::string ValueIn(const OdbcSettings& entry, std::string_view name) {
    const auto found = std::ranges::find_if(entry, [&](const auto& each) { return SameInAnyCase(each.first, name); });
    return found == entry.end() ? std::string() : found->second;
}

/// The file that an entry of SQLite names; empty of another engine's.
fs::path FileOf(const OdbcSettings& entry) {
    const std::string driver = ValueIn(entry, "Driver");
    return driver.find("SQLite") == std::string::npos && driver.find("sqlite") == std::string::npos
               ? ""
               : ValueIn(entry, "Database");
}

/// What brings a driver, in words behind another sentence; empty of one that is not known.
std::string PackageOf(const std::string& driver) {
    for (const auto& [name, package] :
         {std::pair("SQLite3", "libsqliteodbc"), std::pair("PostgreSQL Unicode", "odbc-postgresql"),
          std::pair("MariaDB Unicode", "odbc-mariadb")})
        if (driver == name)
            return std::string("; \"sudo apt install ") + package + "\" brings it";
    return {};
}

/// Beside what the service has of its own there.
bool HoldsStudies(const fs::path& folder) {
    std::error_code none;
    const fs::directory_iterator entries(folder, none);
    return std::ranges::any_of(
        entries, [](const fs::directory_entry& entry) { return !entry.path().filename().string().starts_with('.'); });
}

} // namespace

Setup::Setup(Database& database, ServiceStart::Places places, fs::path codes, Told told)
    : database_(database), places_(std::move(places)), service_(places_), codes_(std::move(codes)),
      told_(std::move(told)), account_(PosixUserInformation().UserName()) {}

int Setup::FreePort(int from) {
    for (int port = from; port <= HighestPort; ++port)
        if (IsFree(port))
            return port;
    RefuseSetup("No port from " + std::to_string(from) + " on is free");
}

Connection& Setup::Catalogue() {
    if (connection_)
        return *connection_;
    auto connection = database_.NewConnection();
    try {
        connection->Open("DSN=" + std::string(DataSource));
    } catch (const Error& error) {
        if (error.number != static_cast<int>(OdbcFailure::NoDriver))
            throw;
        RefuseSetup(error.description + PackageOf(ValueIn(EntryInForce(std::string(DataSource)), "Driver")));
    }
    connection_ = std::move(connection);
    return *connection_;
}

void Setup::RequireNoneLost() {
    const fs::path file = FileOf(EntryInForce(std::string(DataSource))), studies = service_.Studies();
    std::error_code failure;
    const bool there = fs::exists(file, failure);
    if (!file.empty() && failure)
        RefuseSetup("The catalogue " + file.string() + " cannot be reached: " + failure.message());
    if (file.empty() || !HoldsStudies(studies) ||
        (there && !CompareWithSchema(Catalogue(), DetectEngine(Catalogue())).nothingThere))
        return;
    RefuseSetup("The catalogue " + file.string() + " is gone or empty, but " + studies.string() +
                " holds studies. docs/restoring.md says how it is put back from a backup. Where there is none, "
                "\"orbenta-catalogue init\" makes an empty one and \"orbenta-catalogue check --mend --studies '" +
                studies.string() + "'\" enters the studies");
}

bool Setup::EntryThere() const {
    return !EntryInForce(std::string(DataSource)).empty();
}

/// SQLite would make a file that is missing.
bool Setup::CatalogueThere() {
    const OdbcSettings entry = EntryInForce(std::string(DataSource));
    const fs::path file = FileOf(entry);
    std::error_code ignored;
    return !entry.empty() && (file.empty() || fs::exists(file, ignored));
}

/// All of them, of the version that the catalogue has: an older one works, and is upgraded when its owner says so.
bool Setup::TablesThere() {
    if (!CatalogueThere())
        return false;
    const SchemaComparison compared = CompareWithSchema(Catalogue(), DetectEngine(Catalogue()));
    return !compared.nothingThere && compared.Version().number > 0 &&
           std::ranges::none_of(compared.Damage(),
                                [](const SchemaFault& fault) { return fault.kind == SchemaFault::Kind::NoTable; });
}

bool Setup::InDepartment() {
    return TablesThere() && Department(Catalogue()).Exists();
}

bool Setup::SiteThere() {
    if (!TablesThere())
        return false;
    OneRowTable site(Catalogue(), "SiteData");
    return site.Rows() == 1 && !site.Value("BaseUID").value_or("").empty() &&
           !site.Value("Organization").value_or("").empty();
}

std::string Setup::Node() {
    return TablesThere() ? OneRowTable(Catalogue(), "DicomServer").Value("AETitle").value_or("") : "";
}

std::string Setup::Signature() {
    if (!TablesThere())
        return {};
    const auto users = ReadUsers(Catalogue());
    const auto user = std::ranges::find(users, account_, &User::name);
    return user == users.end() ? std::string() : user->signature;
}

bool Setup::PortThere() {
    if (!TablesThere())
        return false;
    OneRowTable port(Catalogue(), "Port");
    return port.Rows() == 1 && IsPort(NumberOf(port.Value("Port").value_or(""))) &&
           !port.Value("AETitle").value_or("").empty();
}

bool Setup::HasCodes(const CodeKind& kind) {
    return TablesThere() && !Catalogue().OpenResultSet("SELECT CodeValue FROM " + std::string(kind.table))->AtEnd();
}

/// Another account's may answer as well.
bool Setup::ServiceAnswers() {
    if (!PortThere())
        return false;
    OneRowTable row(Catalogue(), "Port");
    const ServiceAddress address{NumberOf(row.Value("Port").value_or("")), row.Value("AETitle").value_or("")};
    return ListenerOn(address.port) == getuid() && ServiceFault(address, TimeToAnswer).empty();
}

std::vector<SetupQuestion> Setup::Questions(const SetupValues& given) {
    RequireNoneLost();
    std::vector<SetupQuestion> questions;
    const bool ofTheOwner = InDepartment();
    if (!ofTheOwner && !SiteThere()) {
        std::optional<OneRowTable> site;
        if (TablesThere())
            site.emplace(Catalogue(), "SiteData");
        const auto known = [&](const char* column) { return site ? site->Value(column).value_or("") : ""; };
        const bool newSite = !site || site->Rows() == 0;
        const ReportForm form = newSite ? (given.reports == "classic" ? ReportForm::Classic : ReportForm::Interchange)
                                        : SiteReportForm(Catalogue());
        questions.push_back({&SetupValues::organization, "--organization", "The hospital, as reports name it",
                             known("Organization").empty() ? "Department of Radiology" : known("Organization"),
                             [form](const std::string& text) { return TextInReportsFault(text, form); }});
        questions.push_back({&SetupValues::baseUid, "--base-uid", "The root of its UIDs, if it has one of its own",
                             known("BaseUID").empty() ? RandomRoot() : known("BaseUID"), RootFault});
        if (newSite)
            questions.push_back({&SetupValues::reports, "--reports", "", "interchange", [](const std::string& text) {
                                     return text == "classic" || text == "interchange" ? "" : "is no form of reports";
                                 }});
    }
    if (!ofTheOwner && Node().empty())
        questions.push_back({&SetupValues::node, "--node", "", NodeOfTheMachine(), NodeFault});
    if (!ofTheOwner && Signature().empty()) {
        const ReportForm form = SiteThere()
                                    ? SiteReportForm(Catalogue())
                                    : (given.reports == "classic" ? ReportForm::Classic : ReportForm::Interchange);
        questions.push_back({&SetupValues::signature, "--signature",
                             "Your name, as reports are signed (family name, given name)", NameOfThePerson(account_),
                             [form](const std::string& name) { return SignatureFault(name, form); }});
    }
    if (!ofTheOwner && !PortThere()) {
        questions.push_back({&SetupValues::port, "--port", "Port of the storage service, on this machine alone",
                             std::to_string(FreePort(PortOfTheAccount())), PortFault});
        questions.push_back({&SetupValues::aeTitle, "--ae-title", "", "PORVANE", NodeFault});
    }
    if (service_.Way().empty())
        questions.push_back({&SetupValues::studies, "--studies", "Folder of the studies",
                             (places_.data / "studies").string(), ServiceStart::StudiesFault});
    return questions;
}

void Setup::MakeEntry() {
    RequireFolder(places_.data);
    WriteOdbcEntry(places_.odbcFile, SqliteEntry(std::string(DataSource), places_.data / "catalogue.db"));
}

void Setup::MakeTables() {
    const fs::path file = FileOf(EntryInForce(std::string(DataSource)));
    if (!file.empty())
        RequireFolder(file.parent_path());
    Connection& catalogue = Catalogue();
    try {
        MakeCatalogue(catalogue, DetectEngine(catalogue));
    } catch (const Error& error) {
        const std::string name = file.empty() ? "The catalogue" : "The catalogue " + file.string();
        throw Error(error.number, error.source, name + " cannot be made: " + error.description);
    }
}

void Setup::FillCodes(const CodeKind& kind) {
    const fs::path file = codes_ / (std::string(kind.name) + ".csv");
    const CodeImport imported =
        ImportCodes(Catalogue(), std::string(kind.table), PosixFiles().ReadText(file.string()), false);
    if (!imported.faults.empty())
        RefuseSetup(file.string() + ", " + imported.faults.front());
}

void Setup::SetPort(int port, const std::string& aeTitle) {
    OneRowTable(Catalogue(), "Port").Set({{"Port", std::to_string(port)}, {"AETitle", aeTitle}});
}

/// On another port where somebody has taken the one that is set, as another account may that sets itself up now.
void Setup::StartService() {
    using Clock = std::chrono::steady_clock;
    constexpr std::chrono::milliseconds pause{100};
    if (!PortThere())
        RefuseSetup("The storage service has no port; the owner of the department's catalogue gives it one with "
                    "\"orbenta-catalogue department join\"");
    OneRowTable row(Catalogue(), "Port");
    for (;;) {
        int port = NumberOf(row.Value("Port").value_or(""));
        if (AnotherAccountHas(port)) {
            const int free = FreePort(port);
            if (InDepartment())
                RefuseSetup("Port " + std::to_string(port) + " is another account's; \"orbenta-catalogue port --port " +
                            std::to_string(free) + "\" gives the storage service a free one");
            SetPort(free, row.Value("AETitle").value_or(""));
            told_(false, "another port, " + std::to_string(free) + ", as another account has " + std::to_string(port));
            port = free;
        }
        service_.Start();
        for (const auto end = Clock::now() + TimeToStart; !ListenerOn(port) && Clock::now() < end;)
            std::this_thread::sleep_for(pause);
        if (ServiceAnswers())
            return;
        if (!AnotherAccountHas(port))
            RefuseSetup("The storage service was started and does not answer on port " + std::to_string(port) + ": " +
                        service_.LastWords());
    }
}

bool Setup::Look() {
    return GoThrough(nullptr);
}

void Setup::Run(const SetupValues& answers) {
    GoThrough(&answers);
}

bool Setup::GoThrough(const SetupValues* answers) {
    RequireNoneLost();
    bool whole = true;
    const auto step = [&](bool there, const auto& words, const auto& make) {
        if (!there && answers)
            make(*answers);
        told_(there, words());
        whole = whole && there;
    };
    const auto plain = [](std::string words) { return [words = std::move(words)] { return words; }; };

    step(EntryThere(), plain("the ODBC entry " + std::string(DataSource)), [&](const SetupValues&) { MakeEntry(); });
    step(TablesThere(), plain("the catalogue"), [&](const SetupValues&) { MakeTables(); });
    if (InDepartment()) {
        told_(true, "a department's: its owner sets site, signatures, ports and codes (\"orbenta-catalogue department "
                    "join\")");
    } else {
        step(
            SiteThere(),
            [&] {
                return SiteThere()
                           ? "the site, " + OneRowTable(Catalogue(), "SiteData").Value("Organization").value_or("")
                           : "the site";
            },
            [&](const SetupValues& values) {
                ColumnTexts site = {{"BaseUID", values.baseUid}, {"Organization", values.organization}};
                if (!values.reports.empty())
                    site.emplace_back("ReportForm", values.reports);
                SetSiteData(Catalogue(), site);
            });
        step(!Node().empty(), plain("its node in the audit trail"), [&](const SetupValues& values) {
            OneRowTable(Catalogue(), "DicomServer").Set({{"AETitle", values.node}});
        });
        step(
            !Signature().empty(),
            [&] { return "the signature of " + account_ + (Signature().empty() ? "" : ", " + Signature()); },
            [&](const SetupValues& values) {
                SetUser(Catalogue(), {account_, InObjects(values.signature)});
            });
        step(PortThere(), plain("the storage service's port"),
             [&](const SetupValues& values) { SetPort(NumberOf(values.port), values.aeTitle); });
        for (const CodeKind& kind : CodeKinds)
            step(HasCodes(kind), plain("codes: " + std::string(kind.name)),
                 [&](const SetupValues&) { FillCodes(kind); });
    }
    step(!service_.Way().empty(), plain("the storage service's start with each session"),
         [&](const SetupValues& values) { service_.Set(values.studies); });
    step(ServiceAnswers(), plain("the storage service runs"), [&](const SetupValues&) { StartService(); });
    return whole;
}

} // namespace tavrel
