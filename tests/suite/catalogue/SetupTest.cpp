#include "platform/limits.h"
#include "platform/odbc/OdbcDatabase.h"
#include "platform/posix/PosixUserInformation.h"
#include "platform/uid.h"
#include "suite/catalogue/Department.h"
#include "tests/suite/Child.h"
#include "tests/support/ReadBytes.h"
#include "tests/support/TemporaryFolder.h"

#include <gtest/gtest.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <stdexcept>

namespace tavrel {
namespace {

namespace fs = std::filesystem;

constexpr int Failed = 1;
constexpr int WrongArguments = 2;

bool Holds(const std::string& text, const std::string& part) {
    return text.find(part) != std::string::npos;
}

/// A program of the account that listens on a port.
class Listener {
public:
    explicit Listener(int wanted = 0) : socket_(socket(AF_INET, SOCK_STREAM, 0)) {
        const int on = 1; // a service may have been there a moment ago
        setsockopt(socket_, SOL_SOCKET, SO_REUSEADDR, &on, sizeof on);
        sockaddr_in address{};
        address.sin_family = AF_INET;
        address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        address.sin_port = htons(static_cast<std::uint16_t>(wanted));
        socklen_t size = sizeof address;
        const int again = 1; // a connection of before may be in its last minute
        setsockopt(socket_, SOL_SOCKET, SO_REUSEADDR, &again, sizeof again);
        if (bind(socket_, reinterpret_cast<const sockaddr*>(&address), size) != 0 || listen(socket_, 1) != 0)
            throw std::runtime_error("no port is taken");
        getsockname(socket_, reinterpret_cast<sockaddr*>(&address), &size);
        port = ntohs(address.sin_port);
    }
    ~Listener() { close(socket_); }
    Listener(const Listener&) = delete;
    Listener& operator=(const Listener&) = delete;

    int port = 0;

private:
    int socket_;
};

/// An account that was never set up, in a home of its own.
class NewAccount : public testing::Test {
protected:
    NewAccount() {
        setenv("ODBCINI", (home.Path() / ".odbc.ini").c_str(), 1); // for the account's own reading, too
    }
    ~NewAccount() override { unsetenv("ODBCINI"); }

    /// In a session that ends with the command, and its service with it.
    Outcome InSession(const std::string& command) const {
        return RunShell(Environment() + "dbus-run-session -- sh -c '" + command + "'");
    }
    Outcome WithoutSession(const std::string& command) const { return RunShell(Environment() + command); }
    std::string Environment() const {
        return "env -u XDG_CONFIG_HOME -u XDG_DATA_HOME -u XDG_STATE_HOME -u XDG_RUNTIME_DIR -u "
               "DBUS_SESSION_BUS_ADDRESS HOME='" +
               home.Path().string() + "' ";
    }
    static std::string Setup(const std::string& options) {
        return TOOL_PROGRAM " setup --as-root " + options; // who tests may be root
    }
    std::string Value(const std::string& query) const {
        OdbcDatabase database;
        const auto catalogue = database.NewConnection();
        catalogue->Open("DSN=DicomFDB");
        const auto rows = catalogue->OpenResultSet(query);
        return rows->AtEnd() ? "no row" : std::string(rows->Field(0).value_or("NULL"));
    }
    void Change(const std::string& statement) const {
        OdbcDatabase database;
        const auto catalogue = database.NewConnection();
        catalogue->Open("DSN=DicomFDB");
        catalogue->OpenResultSet(statement);
    }
    fs::path Autostart() const { return home.Path() / ".config/autostart/porvane.desktop"; }

    TemporaryFolder home;
};

TEST_F(NewAccount, IsAWorkstationAfterOneCommand) {
    const Outcome setup = InSession(Setup("--yes"));
    EXPECT_EQ(setup.status, 0) << setup.err;
    EXPECT_TRUE(Holds(setup.out, "made     the storage service runs")) << setup.out;
    EXPECT_TRUE(Holds(setup.out, "well     the storage service answers")) << setup.out;
    EXPECT_TRUE(Holds(setup.out, "All is ready.")) << setup.out;
}

TEST_F(NewAccount, TakesWhatItIsGiven) {
    InSession(Setup("--yes --organization Orbenta --base-uid 2.999.7 --signature \"Rossi, Mario\" --node N7 "
                    "--ae-title P7 --reports classic"));
    EXPECT_EQ(Value("SELECT Organization FROM SiteData"), "Orbenta");
    EXPECT_EQ(Value("SELECT BaseUID FROM SiteData"), "2.999.7");
    EXPECT_EQ(Value("SELECT ReportForm FROM SiteData"), "classic");
    EXPECT_EQ(Value("SELECT Signature FROM Users"), "Rossi^Mario");
    EXPECT_EQ(Value("SELECT AETitle FROM DicomServer"), "N7");
    EXPECT_EQ(Value("SELECT AETitle FROM Port"), "P7");
}

TEST_F(NewAccount, GetsARootOfUidsThatADepartmentCanUse) {
    WithoutSession(Setup("--yes"));
    const std::string root = Value("SELECT BaseUID FROM SiteData");
    EXPECT_TRUE(IsStandardUid(root) && root.starts_with("2.25.")) << root;
    EXPECT_LE(root.size(), longest::BaseUid - Department::LongestNumber) << root;
}

TEST_F(NewAccount, IsLeftAsItIsTheSecondTime) {
    const Outcome both = InSession(Setup("--yes >/dev/null") + "; cp ~/.odbc.ini ~/before; echo again; " +
                                   Setup("--yes --port 20001 --organization Other"));
    EXPECT_EQ(both.status, 0) << both.err;
    const std::string again = both.out.substr(both.out.find("again"));
    EXPECT_FALSE(Holds(again, "made ")) << again;
    EXPECT_TRUE(Holds(again, "kept     the port; \"orbenta-catalogue port --port\" changes it")) << again;
    EXPECT_EQ(Value("SELECT Organization FROM SiteData"), "Department of Radiology");
    EXPECT_EQ(ReadBytes(home.Path() / ".odbc.ini"), ReadBytes(home.Path() / "before"));
}

TEST_F(NewAccount, GoesOnWhereItFailed) {
    const Outcome before = WithoutSession(Setup("--yes --organization First"));
    EXPECT_EQ(before.status, Failed);
    EXPECT_TRUE(Holds(before.err, "starts with this account's next session")) << before.err;
    const Outcome after = InSession(Setup("--yes"));
    EXPECT_EQ(after.status, 0) << after.err;
    EXPECT_TRUE(Holds(after.out, "there    the site, First")) << after.out;
}

TEST_F(NewAccount, GoesOnWhereTheCatalogueIsGone) {
    WithoutSession(Setup("--yes"));
    fs::remove_all(home.Path() / ".local/share/orbenta");
    const Outcome after = InSession(Setup("--yes"));
    EXPECT_EQ(after.status, 0) << after.err;
    EXPECT_TRUE(Holds(after.out, "there    the ODBC entry DicomFDB\nmade     the catalogue")) << after.out;
}

TEST_F(NewAccount, IsNotToldToStartAServiceThatJustStarts) {
    WithoutSession(Setup("--yes"));
    const Outcome check =
        InSession("(sleep 1; exec $(dirname " TOOL_PROGRAM ")/porvane --with-session) & " TOOL_PROGRAM " check");
    EXPECT_TRUE(Holds(check.out, "well     the storage service answers")) << check.out;
}

TEST_F(NewAccount, WhoseStudiesLieElsewhereGetsNoEmptyCatalogueInThePlaceOfALostOne) {
    const fs::path studies = home.Path() / "all studies";
    WithoutSession(Setup("--yes --studies \"" + studies.string() + "\""));
    fs::create_directories(studies / "1.2.3");
    fs::remove(home.Path() / ".local/share/orbenta/catalogue.db");
    for (const std::string& command : {Setup("--yes"), std::string(TOOL_PROGRAM " check")}) {
        const Outcome outcome = WithoutSession(command);
        EXPECT_EQ(outcome.status, Failed);
        EXPECT_TRUE(Holds(outcome.err, "catalogue.db is gone or empty, but " + studies.string() + " holds"))
            << command << outcome.err;
    }
}

TEST_F(NewAccount, GetsNoEmptyCatalogueInThePlaceOfALostOne) {
    WithoutSession(Setup("--yes"));
    const fs::path data = home.Path() / ".local/share/orbenta";
    fs::create_directories(data / "studies/1.2.3");
    for (const char* how : {"gone", "emptied"}) {
        fs::remove(data / "catalogue.db");
        if (how == std::string("emptied"))
            std::ofstream(data / "catalogue.db").flush();
        for (const char* options : {"--yes", "--dry-run"}) {
            const Outcome again = WithoutSession(Setup(options));
            EXPECT_TRUE(Holds(again.err, "catalogue.db is gone or empty, but ")) << how << options << again.err;
            EXPECT_FALSE(Holds(again.out, "missing  the catalogue")) << how;
        }
    }
    EXPECT_LE(fs::file_size(data / "catalogue.db"), 4096U); // it has no table
}

TEST_F(NewAccount, IsToldOfADriverThatIsNotInstalled) {
    fs::create_directories(home.Path() / "etc");
    const Outcome setup = WithoutSession("env ODBCSYSINI='" + home.Path().string() + "/etc' " + Setup("--yes"));
    EXPECT_TRUE(Holds(setup.err, "its driver \"SQLite3\" is not installed; \"sudo apt install libsqliteodbc\""))
        << setup.err;
}

TEST_F(NewAccount, IsToldWhichCatalogueFindsNoRoom) {
    const std::string fullDisk = R"(sh -c 'trap "" XFSZ; ulimit -f 100; exec "$@"' sh )";
    const Outcome setup = WithoutSession(fullDisk + Setup("--yes"));
    EXPECT_TRUE(Holds(setup.err, "The catalogue " + home.Path().string() +
                                     "/.local/share/orbenta/catalogue.db cannot "
                                     "be made: "))
        << setup.err;
}

TEST_F(NewAccount, TakesNoOptionForTheValueOfAnother) {
    const Outcome setup = WithoutSession(Setup("--yes --signature= --organization=Orbenta"));
    EXPECT_EQ(setup.status, WrongArguments);
    EXPECT_TRUE(Holds(setup.err, "--signature: its value is missing")) << setup.err;
    EXPECT_TRUE(fs::is_empty(home.Path()));
}

TEST_F(NewAccount, SaysOnceWhatAValueCannotBe) {
    for (const auto& [option, words] : {std::pair(R"(--node=B\\C)", R"(--node: "B\C" is no AE title)"),
                                        std::pair("--base-uid=1..2", R"("1..2" is no root)"),
                                        std::pair(R"(--signature=", Mario")", R"(", Mario" has no family name)")}) {
        const Outcome setup = WithoutSession(Setup(std::string("--yes ") + option));
        EXPECT_TRUE(Holds(setup.err, words) && setup.err.find("is no") == setup.err.rfind("is no")) << setup.err;
    }
}

TEST_F(NewAccount, SignsWithAFamilyNameAlone) {
    WithoutSession(Setup("--yes --signature Rossi,"));
    EXPECT_EQ(Value("SELECT Signature FROM Users"), "Rossi");
}

TEST_F(NewAccount, WithACatalogueOfBeforeHasOne) {
    WithoutSession(Setup("--yes"));
    for (const char* table : {"CatalogueVersion", "Archive", "Outgoing", "OutgoingClaim", "StorageArea"})
        Change(std::string("DROP TABLE ") + table);
    const Outcome looked = WithoutSession(Setup("--dry-run"));
    EXPECT_TRUE(Holds(looked.out, "there    the catalogue\nthere    the site")) << looked.out << looked.err;
}

TEST_F(NewAccount, IsNotAskedWithoutATerminalButToldWhatLacks) {
    const Outcome setup = WithoutSession(Setup("--signature Rossi --studies /tmp/x </dev/null"));
    EXPECT_EQ(setup.status, WrongArguments);
    EXPECT_TRUE(Holds(setup.err, "give --organization, --base-uid, --port, or --yes")) << setup.err;
    EXPECT_TRUE(fs::is_empty(home.Path()));
}

TEST_F(NewAccount, IsAskedAtATerminal) {
    const Outcome setup = InSession(R"(printf "Saint Luke\n1..2\n\nRossi, Mario\n70000\n\n\n\n" | script -qec ")" +
                                    Setup("") + "\" /dev/null");
    EXPECT_TRUE(Holds(setup.out, "This is no root of UIDs.")) << setup.out;
    EXPECT_TRUE(Holds(setup.out, "This is no port.")) << setup.out;
    EXPECT_EQ(Value("SELECT Organization FROM SiteData"), "Saint Luke");
    EXPECT_EQ(Value("SELECT Signature FROM Users"), "Rossi^Mario");
}

TEST_F(NewAccount, IsLeftAloneWhenTheAnswersEnd) {
    const Outcome setup = WithoutSession("printf 'Saint Luke\\n\\004' | script -qec '" + Setup("") + "' /dev/null");
    EXPECT_TRUE(Holds(setup.out, "\norbenta-catalogue: ended; nothing was changed")) << setup.out;
    EXPECT_TRUE(fs::is_empty(home.Path()));
}

TEST_F(NewAccount, IsToldWhatIsMissingWithoutAChange) {
    const Outcome looked = WithoutSession(Setup("--dry-run"));
    EXPECT_EQ(looked.status, Failed);
    EXPECT_TRUE(Holds(looked.out, "missing  the ODBC entry DicomFDB\nmissing  the catalogue")) << looked.out;
    EXPECT_TRUE(Holds(looked.out, "missing  the signature of " + PosixUserInformation().UserName() + "\n"));
    EXPECT_TRUE(fs::is_empty(home.Path()));
}

TEST_F(NewAccount, BeginsWithTheStudiesOfAFolder) {
    const Outcome setup = InSession(Setup("--yes --import " REAL_IMAGES "/dicomdirtests/98892001"));
    EXPECT_EQ(setup.status, 0) << setup.err;
    EXPECT_TRUE(Holds(setup.out, "choose a study")) << setup.out;
    EXPECT_NE(Value("SELECT count(*) FROM Image"), "0");
}

TEST_F(NewAccount, IsRefusedAPortThatIsTaken) {
    const Listener other;
    const Outcome setup = WithoutSession(Setup("--yes --port " + std::to_string(other.port)));
    EXPECT_EQ(setup.status, WrongArguments);
    EXPECT_TRUE(Holds(setup.err, "is taken on this machine")) << setup.err;
    EXPECT_TRUE(fs::is_empty(home.Path()));
}

TEST_F(NewAccount, GetsAPortThatNobodyHas) {
    WithoutSession(Setup("--yes"));
    const std::string usual = Value("SELECT Port FROM Port");
    fs::remove_all(home.Path() / ".local");
    const Listener other(std::stoi(usual));
    WithoutSession(Setup("--yes"));
    EXPECT_NE(Value("SELECT Port FROM Port"), usual);
}

TEST_F(NewAccount, WhoseHomeCannotBeWrittenIsToldSo) {
    std::ofstream(home.Path() / ".local") << "no folder";
    const Outcome setup = WithoutSession(Setup("--yes"));
    EXPECT_EQ(setup.status, Failed);
    EXPECT_TRUE(Holds(setup.err, ".local/share/orbenta cannot be made and written: Not a directory")) << setup.err;
    EXPECT_FALSE(fs::exists(home.Path() / ".odbc.ini"));
}

TEST_F(NewAccount, OfRootIsRefused) {
    if (geteuid() != 0)
        GTEST_SKIP() << "only root can see it";
    const Outcome setup = WithoutSession(TOOL_PROGRAM " setup --yes");
    EXPECT_EQ(setup.status, WrongArguments);
    EXPECT_TRUE(Holds(setup.err, "without sudo")) << setup.err;
    EXPECT_TRUE(fs::is_empty(home.Path()));
}

TEST_F(NewAccount, HasTheServiceStartWithEachDesktop) {
    WithoutSession(Setup("--yes --studies '" + home.Path().string() + "/my studies'"));
    EXPECT_TRUE(Holds(ReadBytes(Autostart()), "\nExec=\"" PORVANE_PROGRAM "\" --with-session --studies \"" +
                                                  home.Path().string() + "/my studies\"\n"))
        << ReadBytes(Autostart());
}

TEST_F(NewAccount, KeepsItsStudiesInAPlainPath) {
    EXPECT_EQ(WithoutSession(Setup("--yes --studies '/tmp/$HOME'")).status, WrongArguments);
}

/// A manager of the account's services works on its bus, as on nearly every desktop.
class NewAccountWithAManager : public NewAccount {
protected:
    NewAccountWithAManager() {
        const fs::path runtime = home.Path() / "run";
        fs::create_directories(runtime);
        fs::create_directories(home.Path() / "bin");
        std::ofstream(home.Path() / "bin/systemctl")
            << "#!/bin/sh\necho \"$*\" >>\"$HOME/asked\"\nwants=$HOME/.config/systemd/user/default.target.wants\n"
               "case \"$2\" in\n"
               "enable) mkdir -p $wants && ln -s /nowhere $wants/porvane.service ;;\n"
               "restart) setsid " PORVANE_PROGRAM " --with-session >\"$HOME/service.log\" 2>&1 & ;;\n"
               "esac\n";
        fs::permissions(home.Path() / "bin/systemctl", fs::perms::owner_all);
        bus = std::make_unique<Child>(std::vector<std::string>{"dbus-daemon", "--session", "--nofork",
                                                               "--address=unix:path=" + (runtime / "bus").string()},
                                      "/dev/null");
        Eventually([&] { return fs::exists(runtime / "bus"); });
    }
    Outcome Run(const std::string& command) const {
        const std::string folder = home.Path().string();
        return RunShell(Environment() + "XDG_RUNTIME_DIR=" + folder + "/run PATH=" + folder + "/bin:$PATH " + command);
    }

    std::unique_ptr<Child> bus;
};

TEST_F(NewAccountWithAManager, HasTheServiceAsAUnit) {
    const Outcome setup = Run(Setup("--yes"));
    EXPECT_EQ(setup.status, 0) << setup.err;
    EXPECT_TRUE(Holds(ReadBytes(home.Path() / "asked"), "--user daemon-reload\n--user cat porvane.service\n"
                                                        "--user enable porvane.service\n"))
        << ReadBytes(home.Path() / "asked");
    EXPECT_FALSE(fs::exists(Autostart()));
    EXPECT_FALSE(fs::exists(home.Path() / ".config/systemd/user/porvane.service.d"));
}

TEST_F(NewAccountWithAManager, LetsTheUnitAtStudiesThatLieElsewhere) {
    Run(Setup("--yes --studies '" + home.Path().string() + "/my studies'"));
    const std::string override = ReadBytes(home.Path() / ".config/systemd/user/porvane.service.d/setup.conf");
    EXPECT_TRUE(Holds(override, "BindPaths=")) << override;
    EXPECT_TRUE(Holds(override, "--studies \"" + home.Path().string() + "/my studies\"")) << override;
}

TEST_F(NewAccountWithAManager, WhoseSessionHasAnotherBusHasTheServiceOnThatOne) {
    EXPECT_EQ(Run("dbus-run-session -- " + Setup("--yes")).status, 0);
    EXPECT_TRUE(fs::exists(Autostart()));
    EXPECT_FALSE(Holds(ReadBytes(home.Path() / "asked"), "enable"));
}

TEST_F(NewAccountWithAManager, KeepsTheWayThatItHas) {
    WithoutSession(Setup("--yes"));
    EXPECT_EQ(Run(Setup("--yes")).status, 0);
    EXPECT_FALSE(Holds(ReadBytes(home.Path() / "asked"), "enable"));
}

} // namespace
} // namespace tavrel
