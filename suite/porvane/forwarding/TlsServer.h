#pragma once

#include <thread>

namespace tavrel {

class ArchiveTls;

/// The serving end of a TLS connection, taken off: what comes through it, once the other end has shown a certificate
/// that is trusted, can be read from a socket of this process, and what is written there goes back through it.
class TlsServer {
public:
    /// Takes over the accepted `socket`, which does not block.
    TlsServer(int socket, const ArchiveTls& tls);
    ~TlsServer();
    TlsServer(const TlsServer&) = delete;
    TlsServer& operator=(const TlsServer&) = delete;

    /// The socket in the clear, which is the caller's from then on; at its end when there was no handshake.
    int TakeInside();

private:
    int inside_ = -1;
    std::jthread pump_;
};

} // namespace tavrel
