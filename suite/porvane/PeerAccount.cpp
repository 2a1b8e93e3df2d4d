#include "suite/porvane/PeerAccount.h"

#include <linux/inet_diag.h>
#include <linux/netlink.h>
#include <linux/sock_diag.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstdio>
#include <fstream>
#include <sstream>
#include <string>

namespace tavrel {
namespace {

/// The addresses at both ends; those of a connection that has ended are zero.
struct Ends {
    explicit Ends(int socket) {
        socklen_t length = sizeof peer;
        getpeername(socket, reinterpret_cast<sockaddr*>(&peer), &length);
        length = sizeof own;
        getsockname(socket, reinterpret_cast<sockaddr*>(&own), &length);
    }

    sockaddr_in peer{};
    sockaddr_in own{};
};

PeerAccount OfUser(std::optional<uid_t> user) {
    if (!user)
        return {PeerAccount::Whose::Others};
    return {*user == geteuid() ? PeerAccount::Whose::Own : PeerAccount::Whose::Others, *user};
}

/// As the tables have it: the address in the machine's own order, the port.
std::string InTable(const sockaddr_in& address, const char* format) {
    std::array<char, 64> text{};
    std::snprintf(text.data(), text.size(), format, static_cast<unsigned>(address.sin_addr.s_addr),
                  static_cast<unsigned>(ntohs(address.sin_port)));
    return text.data();
}

/// The user of the socket that has these ends; of a socket that nobody holds any more the table says 0.
std::optional<uid_t> UserIn(std::ifstream& table, const std::string& near, const std::string& far) {
    std::string line;
    while (std::getline(table, line)) {
        if (line.find(near) == std::string::npos)
            continue;
        std::istringstream fields(line);
        std::string number, local, remote, state, queues, timer, retransmits, timeout;
        uid_t user = 0;
        unsigned long inode = 0;
        if (fields >> number >> local >> remote >> state >> queues >> timer >> retransmits >> user >> timeout >> inode)
            if (local == near && remote == far && inode != 0)
                return user;
    }
    return std::nullopt;
}

} // namespace

std::string PeerAccount::Name() const {
    return user == static_cast<uid_t>(-1) ? "unknown" : std::to_string(user);
}

PeerAccount PeerAccount::Of(int socket) {
    const auto asked = Asked(socket);
    return asked ? *asked : ReadFromTables(socket);
}

std::optional<PeerAccount> PeerAccount::Asked(int socket) {
    const Ends ends(socket);
    struct {
        nlmsghdr header;
        inet_diag_req_v2 body;
    } question{};
    question.header = {sizeof question, SOCK_DIAG_BY_FAMILY, NLM_F_REQUEST, 0, 0};
    question.body.sdiag_family = AF_INET; // finds those of the other family too
    question.body.sdiag_protocol = IPPROTO_TCP;
    question.body.idiag_states = ~0U;
    question.body.id.idiag_sport = ends.peer.sin_port;
    question.body.id.idiag_dport = ends.own.sin_port;
    question.body.id.idiag_src[0] = ends.peer.sin_addr.s_addr;
    question.body.id.idiag_dst[0] = ends.own.sin_addr.s_addr;
    question.body.id.idiag_cookie[0] = question.body.id.idiag_cookie[1] = INET_DIAG_NOCOOKIE;
    struct {
        nlmsghdr header;
        union {
            nlmsgerr error;
            inet_diag_msg connection;
        };
        std::array<char, 4096> more; // attributes
    } answer{};

    const int system = ::socket(AF_NETLINK, SOCK_RAW | SOCK_CLOEXEC, NETLINK_SOCK_DIAG);
    const bool answered = system >= 0 && send(system, &question, sizeof question, 0) == sizeof question &&
                          recv(system, &answer, sizeof answer, 0) >= static_cast<ssize_t>(sizeof answer.header);
    close(system);
    if (answered && answer.header.nlmsg_type == SOCK_DIAG_BY_FAMILY)
        return OfUser(answer.connection.idiag_inode != 0 ? std::optional(answer.connection.idiag_uid) : std::nullopt);
    if (answered && answer.header.nlmsg_type == NLMSG_ERROR && answer.error.error == -ENOENT)
        return OfUser(std::nullopt);
    return std::nullopt;
}

PeerAccount PeerAccount::ReadFromTables(int socket) {
    constexpr int looks = 3; // a table that changes while it is read may lack a line
    constexpr const char* address = "%08X:%04X";
    constexpr const char* mapped = "0000000000000000FFFF0000%08X:%04X";
    const Ends ends(socket);
    for (int look = 0; look < looks; ++look) {
        std::ifstream table("/proc/self/net/tcp");
        std::ifstream mappedTable("/proc/self/net/tcp6");
        if (!table)
            return {};
        auto user = UserIn(table, InTable(ends.peer, address), InTable(ends.own, address));
        if (!user)
            user = UserIn(mappedTable, InTable(ends.peer, mapped), InTable(ends.own, mapped));
        if (user)
            return OfUser(user);
    }
    return OfUser(std::nullopt);
}

} // namespace tavrel
