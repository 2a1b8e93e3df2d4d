#include "suite/porvane/PeerAccount.h"
#include "tests/suite/porvane/RawSender.h"

#include <gtest/gtest.h>

#include <memory>

#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

namespace tavrel {
namespace {

using Whose = PeerAccount::Whose;

/// The two ends of a connection to this machine.
class LocalConnection {
public:
    explicit LocalConnection(int family) {
        const int listener = socket(AF_INET, SOCK_STREAM, 0);
        sockaddr_in address{};
        address.sin_family = AF_INET;
        address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        socklen_t length = sizeof address;
        const bool listens =
            bind(listener, reinterpret_cast<const sockaddr*>(&address), length) == 0 && listen(listener, 1) == 0;
        EXPECT_TRUE(listens);
        getsockname(listener, reinterpret_cast<sockaddr*>(&address), &length);
        caller = socket(family, SOCK_STREAM, 0);
        sockaddr_in6 mapped{}; // ::ffff:127.0.0.1
        mapped.sin6_family = AF_INET6;
        mapped.sin6_port = address.sin_port;
        mapped.sin6_addr.s6_addr[10] = mapped.sin6_addr.s6_addr[11] = 0xFF;
        mapped.sin6_addr.s6_addr[12] = 127;
        mapped.sin6_addr.s6_addr[15] = 1;
        connected = family == AF_INET
                        ? connect(caller, reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0
                        : connect(caller, reinterpret_cast<const sockaddr*>(&mapped), sizeof mapped) == 0;
        accepted = connected ? accept(listener, nullptr, nullptr) : -1;
        close(listener);
    }
    ~LocalConnection() {
        close(accepted);
        Leave();
    }
    LocalConnection(const LocalConnection&) = delete;
    LocalConnection& operator=(const LocalConnection&) = delete;

    void Leave() {
        if (caller >= 0)
            close(caller);
        caller = -1;
    }

    int caller = -1;
    int accepted = -1;
    bool connected = false;
};

/// Both ways to the account.
class PeerAccounts : public testing::TestWithParam<bool> {
protected:
    static PeerAccount Of(const LocalConnection& connection) {
        return GetParam() ? PeerAccount::Asked(connection.accepted).value_or(PeerAccount())
                          : PeerAccount::ReadFromTables(connection.accepted);
    }
    void SetUp() override {
        if (GetParam() && !PeerAccount::Asked(LocalConnection(AF_INET).accepted))
            GTEST_SKIP() << "the system answers no questions";
    }
};

TEST_P(PeerAccounts, TheOwnAccountIsKnown) {
    const PeerAccount account = Of(LocalConnection(AF_INET));
    EXPECT_EQ(account.whose, Whose::Own);
    EXPECT_EQ(account.user, geteuid());
}

TEST_P(PeerAccounts, TheOwnAccountIsKnownThroughTheOtherFamilyOfAddresses) {
    const LocalConnection connection(AF_INET6);
    if (!connection.connected)
        GTEST_SKIP() << "needs IPv6";
    EXPECT_EQ(Of(connection).whose, Whose::Own);
}

TEST_P(PeerAccounts, AConnectionThatNobodyHoldsAnyMoreIsNobodys) {
    LocalConnection connection(AF_INET);
    connection.Leave();
    EXPECT_EQ(Of(connection).whose, Whose::Others);
    EXPECT_EQ(Of(connection).Name(), "unknown");
}

TEST_P(PeerAccounts, AnotherAccountIsKnownByItsNumber) {
    if (!AsAnotherAccount::IsPossible())
        GTEST_SKIP() << "needs the right to act as another account";
    const auto connection = AsAnotherAccount::Do([] { return std::make_unique<LocalConnection>(AF_INET); });
    EXPECT_EQ(Of(*connection).whose, Whose::Others);
    EXPECT_EQ(Of(*connection).Name(), "65534");
}

INSTANTIATE_TEST_SUITE_P(Both, PeerAccounts, testing::Bool(),
                         [](const auto& test) { return test.param ? "Asked" : "ReadFromTables"; });

} // namespace
} // namespace tavrel
