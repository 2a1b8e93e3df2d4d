#include "suite/porvane/PeerAccount.h"

#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

#include <array>
#include <cstdio>
#include <fstream>
#include <optional>
#include <sstream>
#include <string>

namespace tavrel {
namespace {

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
    constexpr int looks = 3; // a table that changes while it is read may lack a line
    sockaddr_in peer{};
    sockaddr_in own{};
    socklen_t peerLength = sizeof peer;
    socklen_t ownLength = sizeof own;
    if (getpeername(socket, reinterpret_cast<sockaddr*>(&peer), &peerLength) != 0 ||
        getsockname(socket, reinterpret_cast<sockaddr*>(&own), &ownLength) != 0)
        return {Whose::Others, static_cast<uid_t>(-1)};
    for (int look = 0; look < looks; ++look) {
        std::ifstream table("/proc/net/tcp");
        std::ifstream mappedTable("/proc/net/tcp6");
        if (!table)
            return {};
        auto user = UserIn(table, InTable(peer, "%08X:%04X"), InTable(own, "%08X:%04X"));
        if (!user) {
            constexpr const char* mapped = "0000000000000000FFFF0000%08X:%04X";
            user = UserIn(mappedTable, InTable(peer, mapped), InTable(own, mapped));
        }
        if (user)
            return {*user == geteuid() ? Whose::Own : Whose::Others, *user};
    }
    return {Whose::Others, static_cast<uid_t>(-1)};
}

} // namespace tavrel
