#include "suite/porvane/AcceptedTransport.h"

#include <dcmtk/dcmnet/dcmtrans.h>
#include <dcmtk/dcmnet/dul.h>

#include <arpa/inet.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <sys/socket.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <system_error>
#include <utility>

namespace tavrel {
namespace {

/// Acknowledges at once what it reads: senders that collect small packets wait for that, 40 ms each.
class PromptConnection : public DcmTCPConnection {
public:
    using DcmTCPConnection::DcmTCPConnection;

    ssize_t read(void* buffer, size_t count) override {
        const int on = 1;
        setsockopt(getSocket(), IPPROTO_TCP, TCP_QUICKACK, &on, sizeof on);
        return DcmTCPConnection::read(buffer, count);
    }
};

} // namespace

void AcceptedTransport::Prepare() {
    static std::array<int, 2> standIns;
    if (socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, standIns.data()) != 0)
        throw std::system_error(errno, std::generic_category(), "socketpair");
    dcmExternalSocketHandle.set(standIns.front());
    dcmDisableGethostbyaddr.set(OFTrue);
}

AcceptedTransport::~AcceptedTransport() {
    if (socket_ >= 0)
        close(socket_);
}

std::string AcceptedTransport::PeerAddress() const {
    sockaddr_in peer{};
    socklen_t length = sizeof peer;
    std::array<char, INET_ADDRSTRLEN> text{};
    if (getpeername(socket_, reinterpret_cast<sockaddr*>(&peer), &length) != 0 || peer.sin_family != AF_INET ||
        inet_ntop(AF_INET, &peer.sin_addr, text.data(), text.size()) == nullptr)
        return {};
    return text.data();
}

DcmTransportConnection* AcceptedTransport::createConnection(DcmNativeSocketType, OFBool) {
    const int on = 1;
    setsockopt(socket_, IPPROTO_TCP, TCP_NODELAY, &on, sizeof on);
    return new PromptConnection(std::exchange(socket_, -1)); // the toolkit deletes it
}

} // namespace tavrel
