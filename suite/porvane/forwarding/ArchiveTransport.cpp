#include "suite/porvane/forwarding/ArchiveTransport.h"

#include <dcmtk/dcmnet/dcmtrans.h>
#include <dcmtk/dcmtls/tlslayer.h>

#include <algorithm>
#include <memory>
#include <utility>

#include <netinet/in.h>
#include <netinet/tcp.h>
#include <sys/socket.h>

namespace tavrel {
namespace {

void Set(int socket, int option) {
    const int on = 1;
    ::setsockopt(socket, IPPROTO_TCP, option, &on, sizeof on);
}

} // namespace

/// Another connection, watched.
class ArchiveTransport::Connection final : public DcmTransportConnection {
public:
    Connection(ArchiveTransport& layer, DcmNativeSocketType socket, std::unique_ptr<DcmTransportConnection> inner)
        : DcmTransportConnection(socket), layer_(layer), inner_(std::move(inner)) {
        Set(socket, TCP_NODELAY);
        Set(socket, TCP_QUICKACK);
    }
    ~Connection() override { Connection::close(); }

    /// An archive that says more than it can have to say has ended the connection.
    ssize_t read(void* buffer, size_t count) override {
        const ssize_t got = inner_->read(buffer, std::min(count, layer_.left_.load()));
        layer_.left_ -= static_cast<std::size_t>(std::max<ssize_t>(got, 0));
        Set(getSocket(), TCP_QUICKACK); // the system takes the setting back by itself
        return got;
    }
    ssize_t write(void* buffer, size_t count) override { return inner_->write(buffer, count); }
    void close() override {
        layer_.Forget();
        inner_->close();
    }
    void closeTransportConnection() override {
        layer_.Forget();
        inner_->closeTransportConnection();
    }
    OFCondition serverSideHandshake() override { return inner_->serverSideHandshake(); }
    OFCondition clientSideHandshake() override { return inner_->clientSideHandshake(); }
    OFCondition renegotiate(const char* suite) override { return inner_->renegotiate(suite); }
    unsigned long getPeerCertificateLength() override { return inner_->getPeerCertificateLength(); }
    unsigned long getPeerCertificate(void* buffer, unsigned long length) override {
        return inner_->getPeerCertificate(buffer, length);
    }
    OFBool networkDataAvailable(int timeout) override { return inner_->networkDataAvailable(timeout); }
    OFBool isTransparentConnection() override { return inner_->isTransparentConnection(); }
    OFString& dumpConnectionParameters(OFString& text) override { return inner_->dumpConnectionParameters(text); }

private:
    ArchiveTransport& layer_;
    std::unique_ptr<DcmTransportConnection> inner_;
};

ArchiveTransport::ArchiveTransport(DcmTLSTransportLayer* tls, std::stop_token stop)
    : tls_(tls), stop_(std::move(stop)), watch_([this](const std::stop_token& ended) { Watch(ended); }) {}

ArchiveTransport::~ArchiveTransport() = default;

DcmTransportConnection* ArchiveTransport::createConnection(DcmNativeSocketType socket, OFBool secure) {
    std::unique_ptr<DcmTransportConnection> inner;
    if (secure && tls_ != nullptr)
        inner.reset(tls_->createConnection(socket, secure));
    else if (!secure)
        inner = std::make_unique<DcmTCPConnection>(socket);
    if (!inner)
        return nullptr;
    {
        const std::lock_guard guard(mutex_);
        socket_ = socket;
    }
    return std::make_unique<Connection>(*this, socket, std::move(inner)).release(); // the association owns it
}

void ArchiveTransport::Allow(std::chrono::milliseconds time) {
    left_ = MostAnswered;
    const std::lock_guard guard(mutex_);
    deadline_ = Clock::now() + time;
}

void ArchiveTransport::HangUp() {
    const std::lock_guard guard(mutex_);
    if (socket_ >= 0)
        ::shutdown(socket_, SHUT_RDWR);
}

/// Its number may be another connection's from now on.
void ArchiveTransport::Forget() {
    const std::lock_guard guard(mutex_);
    socket_ = -1;
}

void ArchiveTransport::Watch(const std::stop_token& ended) {
    constexpr std::chrono::milliseconds slice{100};
    std::unique_lock lock(mutex_);
    while (!ended.stop_requested()) {
        changed_.wait_for(lock, ended, slice, [] { return false; });
        if (socket_ >= 0 && (stop_.stop_requested() || Clock::now() >= deadline_))
            ::shutdown(socket_, SHUT_RDWR);
    }
}

} // namespace tavrel
