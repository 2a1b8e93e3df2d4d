#include "suite/porvane/forwarding/TlsServer.h"

#include "suite/porvane/ServiceLog.h"
#include "suite/porvane/forwarding/ArchiveTls.h"

#include <dcmtk/config/osconfig.h>

#include <dcmtk/dcmtls/tlslayer.h>
#include <openssl/err.h>
#include <openssl/ssl.h>

#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <memory>
#include <string>
#include <system_error>
#include <utility>

namespace tavrel {
namespace {

struct Ending {
    void operator()(SSL* connection) const { SSL_free(connection); }
};

/// Carries bytes both ways until either end is done. Whoever wants an end of it shuts the outer socket down.
class Pump {
public:
    Pump(int outside, int inside, SSL_CTX* context) : outside_(outside), inside_(inside), tls_(SSL_new(context)) {
        SSL_set_fd(tls_.get(), outside_);
        SSL_set_accept_state(tls_.get());
        SSL_set_mode(tls_.get(), SSL_MODE_ENABLE_PARTIAL_WRITE | SSL_MODE_ACCEPT_MOVING_WRITE_BUFFER);
    }
    ~Pump() {
        close(outside_);
        close(inside_);
    }
    Pump(const Pump&) = delete;
    Pump& operator=(const Pump&) = delete;

    void Run() {
        while (!failed_ && !(insideEnded_ && outwards_.empty())) {
            wantsWrite_ = false;
            const bool inwards = Inwards();
            const bool moved = Outwards() || inwards;
            if (outsideEnded_ && inwards_.empty() && !std::exchange(told_, true))
                shutdown(inside_, SHUT_WR);
            if (!moved && !failed_)
                Wait();
        }
        if (!failed_)
            SSL_shutdown(tls_.get());
        shutdown(outside_, SHUT_WR);
    }
    bool ShookHands() const { return SSL_is_init_finished(tls_.get()) != 0; }

private:
    bool Inwards() {
        bool moved = false;
        if (inwards_.empty() && !outsideEnded_) {
            const int got = SSL_read(tls_.get(), buffer_.data(), static_cast<int>(buffer_.size()));
            moved = got > 0;
            if (got > 0)
                inwards_.assign(buffer_.data(), static_cast<std::size_t>(got));
            else
                Judge(got);
        }
        if (!inwards_.empty()) {
            const auto sent = send(inside_, inwards_.data(), inwards_.size(), MSG_NOSIGNAL | MSG_DONTWAIT);
            failed_ = failed_ || (sent < 0 && errno != EAGAIN);
            inwards_.erase(0, sent > 0 ? static_cast<std::size_t>(sent) : 0);
            moved = moved || sent > 0;
        }
        return moved;
    }
    bool Outwards() {
        bool moved = false;
        if (outwards_.empty() && !insideEnded_) {
            const auto got = recv(inside_, buffer_.data(), buffer_.size(), MSG_DONTWAIT);
            insideEnded_ = got == 0 || (got < 0 && errno != EAGAIN);
            if (got > 0)
                outwards_.assign(buffer_.data(), static_cast<std::size_t>(got));
            moved = got > 0;
        }
        if (!outwards_.empty()) {
            const int sent = SSL_write(tls_.get(), outwards_.data(), static_cast<int>(outwards_.size()));
            moved = moved || sent > 0;
            if (sent > 0)
                outwards_.erase(0, static_cast<std::size_t>(sent));
            else
                Judge(sent);
        }
        return moved;
    }
    void Judge(int result) {
        const int what = SSL_get_error(tls_.get(), result);
        ERR_clear_error();
        wantsWrite_ = wantsWrite_ || what == SSL_ERROR_WANT_WRITE;
        if (what == SSL_ERROR_ZERO_RETURN)
            outsideEnded_ = true;
        else if (what != SSL_ERROR_WANT_READ && what != SSL_ERROR_WANT_WRITE)
            failed_ = true;
    }
    void Wait() const {
        const auto events = [](bool reading, bool writing) {
            return static_cast<short>((reading ? POLLIN : 0) | (writing ? POLLOUT : 0));
        };
        std::array<pollfd, 2> waiting{{{outside_, events(inwards_.empty() && !outsideEnded_, wantsWrite_), 0},
                                       {inside_, events(outwards_.empty() && !insideEnded_, !inwards_.empty()), 0}}};
        for (pollfd& end : waiting)
            if (end.events == 0)
                end.fd = -1; // its hanging up would be told again and again
        poll(waiting.data(), waiting.size(), -1);
    }

    int outside_;
    int inside_;
    std::unique_ptr<SSL, Ending> tls_;
    std::array<char, 16384> buffer_{};
    std::string inwards_;
    std::string outwards_;
    bool outsideEnded_ = false;
    bool insideEnded_ = false;
    bool told_ = false;
    bool wantsWrite_ = false;
    bool failed_ = false;
};

} // namespace

TlsServer::TlsServer(int socket, const ArchiveTls& tls) {
    std::array<int, 2> ends{};
    if (socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0, ends.data()) != 0) {
        close(socket);
        throw std::system_error(errno, std::generic_category(), "socketpair");
    }
    inside_ = ends[0];
    auto pump = std::make_unique<Pump>(socket, ends[1], tls.Layer().getNativeHandle());
    pump_ = std::jthread([pump = std::move(pump)] {
        pump->Run();
        if (!pump->ShookHands())
            LogLine("refused a connection for the archive's answers, which shows no certificate that is trusted");
    });
}

TlsServer::~TlsServer() {
    if (inside_ >= 0)
        close(inside_);
}

int TlsServer::TakeInside() {
    return std::exchange(inside_, -1);
}

} // namespace tavrel
