#include "suite/catalogue/ServiceStart.h"

#include "platform/error.h"
#include "platform/posix/PosixFiles.h"
#include "platform/posix/StateFolder.h"
#include "platform/posix/WholeFile.h"
#include "platform/text.h"
#include "suite/catalogue/OdbcEntry.h"

#include <fcntl.h>
#include <pwd.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdlib>
#include <string_view>
#include <system_error>
#include <vector>

namespace tavrel {
namespace {

namespace fs = std::filesystem;

constexpr const char* Unit = "porvane.service";
/// Before the folder in quotes, which holds none.
constexpr std::string_view StudiesOption = " --studies ";

[[noreturn]] void RefuseStart(const std::string& words) {
    throw Error(Fault::OfTheSuite, "Setup", words);
}

std::string Variable(const char* name) {
    const char* value = std::getenv(name);
    return value ? value : "";
}

/// A folder of the account as the convention (XDG base directories) has it.
fs::path BaseFolder(const char* variable, const fs::path& usual) {
    const fs::path folder = Variable(variable);
    return folder.is_absolute() ? folder : usual;
}

/// What a program says, and how it ended.
struct Said {
    int status = -1;
    std::string words;
};

std::vector<char*> ArgumentsOf(std::vector<std::string>& command) {
    std::vector<char*> arguments;
    arguments.reserve(command.size() + 1);
    for (std::string& argument : command)
        arguments.push_back(argument.data());
    arguments.push_back(nullptr);
    return arguments;
}

Said Ask(std::vector<std::string> command) {
    std::array<int, 2> pipe{};
    if (pipe2(pipe.data(), O_CLOEXEC) != 0)
        RefuseStart("Cannot start " + command.front() + ": " + std::generic_category().message(errno));
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_addopen(&actions, STDIN_FILENO, "/dev/null", O_RDONLY, 0);
    posix_spawn_file_actions_adddup2(&actions, pipe[1], STDOUT_FILENO);
    posix_spawn_file_actions_adddup2(&actions, pipe[1], STDERR_FILENO);
    std::vector<char*> arguments = ArgumentsOf(command);
    pid_t process = -1;
    const int failure = posix_spawnp(&process, arguments.front(), &actions, nullptr, arguments.data(), environ);
    posix_spawn_file_actions_destroy(&actions);
    close(pipe[1]);
    Said said;
    if (failure == 0) {
        std::array<char, 4096> bytes;
        for (ssize_t got = 0; (got = read(pipe[0], bytes.data(), bytes.size())) > 0;)
            said.words.append(bytes.data(), static_cast<std::size_t>(got));
        int ended = 0;
        waitpid(process, &ended, 0);
        said.status = WIFEXITED(ended) ? WEXITSTATUS(ended) : -1;
    }
    close(pipe[0]);
    while (said.words.ends_with('\n'))
        said.words.pop_back();
    return said;
}

Said Systemctl(std::vector<std::string> words) {
    words.insert(words.begin(), {"systemctl", "--user"});
    return Ask(std::move(words));
}

void Require(std::vector<std::string> words) {
    const std::string what = "systemctl --user " + words.front();
    if (const Said said = Systemctl(std::move(words)); said.status != 0)
        RefuseStart("\"" + what + "\" failed: " + said.words);
}

std::string BusOfTheAccount() {
    return "unix:path=" + Variable("XDG_RUNTIME_DIR") + "/bus";
}

bool SessionHasABus() {
    std::error_code failure;
    return !Variable("DBUS_SESSION_BUS_ADDRESS").empty() || fs::exists(Variable("XDG_RUNTIME_DIR") + "/bus", failure);
}

/// What a manager starts is on the account's bus; a session may have one of its own, where the editor would learn of
/// nothing that is stored.
bool ManagerServesTheSession() {
    const std::string bus = Variable("DBUS_SESSION_BUS_ADDRESS");
    return (bus.empty() || bus.substr(0, bus.find(',')) == BusOfTheAccount()) &&
           Systemctl({"show-environment"}).status == 0;
}

/// Starts a program that outlives this one, in a session of its own, with its words in a file.
void Detach(std::vector<std::string> command, const fs::path& log) {
    MakeLastingFolder(log.parent_path());
    constexpr mode_t ownersAlone = 0600;
    const int output = open(log.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, ownersAlone);
    if (output < 0)
        RefuseStart(log.string() + ": " + std::generic_category().message(errno));
    std::vector<char*> arguments = ArgumentsOf(command);
    const pid_t between = fork();
    if (between == 0) {
        setsid();
        if (fork() != 0)
            _exit(0); // the program is nobody's child then
        const int nothing = open("/dev/null", O_RDONLY | O_CLOEXEC);
        dup2(nothing, STDIN_FILENO);
        dup2(output, STDOUT_FILENO);
        dup2(output, STDERR_FILENO);
        if (chdir("/") == 0)
            execv(arguments.front(), arguments.data());
        _exit(1);
    }
    close(output);
    if (between < 0)
        RefuseStart("Cannot start " + command.front() + ": " + std::generic_category().message(errno));
    waitpid(between, nullptr, 0);
}

std::string AsOneWord(const fs::path& path) {
    return "\"" + path.string() + "\"";
}

} // namespace

void RequireFolder(const fs::path& folder) {
    MakeLastingFolder(folder);
    if (access(folder.c_str(), W_OK | X_OK) == 0)
        return;
    const int refused = errno;
    std::error_code unmade; // says more than that it is not there
    fs::create_directories(folder, unmade);
    const int reason = unmade ? unmade.value() : refused;
    throw Error(reason, "Setup",
                folder.string() + " cannot be made and written: " + std::generic_category().message(reason));
}

ServiceStart::Places ServiceStart::Here() {
    const passwd* account = getpwuid(getuid());
    const fs::path home =
        Variable("HOME").empty() ? fs::path(account ? account->pw_dir : "/") : fs::path(Variable("HOME"));
    std::error_code ignored;
    return {home,
            BaseFolder("XDG_CONFIG_HOME", home / ".config"),
            BaseFolder("XDG_DATA_HOME", home / ".local/share") / "orbenta",
            StateFolder(),
            UserOdbcFile(),
            fs::read_symlink("/proc/self/exe", ignored).parent_path() / "porvane"};
}

std::string ServiceStart::StudiesFault(const std::string& studies) {
    if (!fs::path(studies).is_absolute())
        return "is no full path";
    // In statements, in units and in autostart files they mean something else.
    const bool plain = std::ranges::none_of(studies, [](unsigned char c) {
        return c < ' ' || std::string("'\"\\`$%:").find(char(c)) != std::string::npos;
    });
    return plain ? std::string() : "must hold none of ' \" \\ ` $ % :";
}

/// The link says it to whoever asks, whether or not a manager runs now.
bool ServiceStart::UnitEnabled() const {
    const auto links = {places_.home / ".config/systemd/user/default.target.wants" / Unit,
                        fs::path("/etc/systemd/user/default.target.wants") / Unit};
    std::error_code ignored;
    return std::ranges::any_of(links, [&](const fs::path& link) { return fs::is_symlink(link, ignored); });
}

std::string ServiceStart::Way() const {
    std::error_code ignored;
    if (UnitEnabled())
        return "as the unit porvane";
    return fs::exists(Autostart(), ignored) ? "by " + Autostart().string() : std::string();
}

fs::path ServiceStart::Studies() const {
    std::error_code ignored;
    for (const fs::path& file : {UnitDropIn(), Autostart()}) {
        if (!fs::exists(file, ignored))
            continue;
        const std::string text = PosixFiles().ReadText(file.string());
        const auto option = text.find(StudiesOption);
        const auto begin = option + StudiesOption.size() + 1, end = text.find('"', begin);
        if (option != std::string::npos && end != std::string::npos)
            return text.substr(begin, end - begin);
    }
    return places_.data / "studies";
}

/// What a drop-in says where something lies in another place than the unit expects; empty where nothing does.
std::string ServiceStart::UnitOverride(const fs::path& studies) const {
    const fs::path data = places_.home / ".local/share/orbenta";
    const fs::path unsent = places_.state / "unsent";
    const bool usual = places_.data == data && studies == data / "studies" &&
                       places_.state == places_.home / ".local/state/tavrel" &&
                       places_.odbcFile == places_.home / ".odbc.ini";
    if (usual)
        return {};
    return "# Written by \"orbenta-catalogue setup\": what lies elsewhere than usual.\n[Service]\nBindPaths=" +
           AsOneWord(places_.data) + " " + AsOneWord(studies) + " " + AsOneWord(places_.state) + " " +
           AsOneWord("-" + places_.odbcFile.string()) +
           "\nEnvironment=" + AsOneWord("ODBCINI=" + places_.odbcFile.string()) +
           "\nExecStart=\nExecStart=" + AsOneWord(places_.program) + std::string(StudiesOption) + AsOneWord(studies) +
           " --unsent " + AsOneWord(unsent) + "\n";
}

void ServiceStart::Set(const fs::path& studies) {
    std::error_code ignored;
    if (!fs::exists(places_.program, ignored))
        RefuseStart("The storage service is not installed: there is no " + places_.program.string() +
                    "; \"sudo apt install porvane\" brings it");
    for (const fs::path& folder : {studies, places_.state / "unsent"})
        RequireFolder(folder);
    if (ManagerServesTheSession()) {
        Require({"daemon-reload"});
        if (Systemctl({"cat", Unit}).status == 0) {
            if (const std::string other = UnitOverride(studies); !other.empty()) {
                MakeLastingFolder(UnitDropIn().parent_path());
                WriteSecretFile(UnitDropIn().string(), other);
                Require({"daemon-reload"});
            }
            return Require({"enable", Unit});
        }
    }
    MakeLastingFolder(Autostart().parent_path());
    WriteSecretFile(Autostart().string(), "[Desktop Entry]\n"
                                          "Type=Application\n"
                                          "Name=Porvane\n"
                                          "Comment=Storage service of the radiology workstation\n"
                                          "Exec=" +
                                              AsOneWord(places_.program) + " --with-session" +
                                              std::string(StudiesOption) + AsOneWord(studies) +
                                              "\n"
                                              "NoDisplay=true\n");
}

void ServiceStart::Start() {
    if (UnitEnabled()) {
        if (!ManagerServesTheSession())
            RefuseStart("The storage service starts with this account's next session; it cannot be started from here");
        return Require({"restart", Unit});
    }
    if (!SessionHasABus())
        RefuseStart(
            "There is no session here; the storage service starts with this account's next session on a desktop");
    // By the line that the next session starts it by.
    constexpr std::string_view key = "\nExec=";
    const std::string entry = PosixFiles().ReadText(Autostart().string());
    const auto line = entry.find(key);
    if (line == std::string::npos)
        RefuseStart(Autostart().string() + " names no program");
    const auto begin = line + key.size();
    Detach({"/bin/sh", "-c", "exec " + entry.substr(begin, entry.find('\n', begin) - begin)}, DetachedLog());
}

std::string ServiceStart::LastWords() const {
    const std::string words = UnitEnabled()
                                  ? Ask({"journalctl", "--user", "-u", Unit, "-n", "1", "-o", "cat", "--quiet"}).words
                                  : std::string(TrimmedRight(PosixFiles().ReadText(DetachedLog().string()), "\n"));
    return words.substr(words.rfind('\n') + 1);
}

} // namespace tavrel
