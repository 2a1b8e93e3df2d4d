#include "suite/porvane/Wire.h"

#include <netinet/in.h>
#include <netinet/tcp.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <system_error>

namespace tavrel {
namespace {

using std::chrono::milliseconds;

constexpr std::size_t BufferSize = 65536;
constexpr milliseconds Slice{250}; ///< after which the patience is asked again
constexpr milliseconds Farewell{250};
constexpr int MostUnheardPieces = 64; ///< of what a sender goes on sending

} // namespace

Wire::Wire(int socket, Patience patience) : socket_(socket), patience_(std::move(patience)), buffer_(BufferSize) {
    const int on = 1;
    setsockopt(socket_, IPPROTO_TCP, TCP_NODELAY, &on, sizeof on);
}

Wire::~Wire() {
    close(socket_);
}

bool Wire::AwaitMessage(const Patience& idle) {
    const auto begun = Clock::now();
    while (begin_ == end_ && !Await(POLLIN, Slice))
        if (Clock::now() - begun >= idle())
            return false;
    progress_ = Clock::now();
    sinceProgress_ = 0;
    char first = 0;
    return begin_ != end_ || recv(socket_, &first, sizeof first, MSG_PEEK) != 0;
}

std::string_view Wire::Read(std::size_t count) {
    if (end_ - begin_ < count) {
        std::memmove(buffer_.data(), buffer_.data() + begin_, end_ - begin_);
        end_ -= begin_;
        begin_ = 0;
    }
    while (end_ - begin_ < count)
        Receive();
    begin_ += count;
    return {buffer_.data() + begin_ - count, count};
}

std::string_view Wire::ReadSome(std::size_t most) {
    if (begin_ == end_) {
        begin_ = end_ = 0;
        Receive();
    }
    return Read(std::min(most, end_ - begin_));
}

void Wire::Receive() {
    const int on = 1;
    while (!Await(POLLIN, Slice))
        if (Clock::now() - progress_ >= patience_())
            throw ConnectionLost("it makes no progress");
    // Acknowledged at once: senders that collect small packets wait for that, 40 ms each.
    setsockopt(socket_, IPPROTO_TCP, TCP_QUICKACK, &on, sizeof on);
    const auto got = recv(socket_, buffer_.data() + end_, buffer_.size() - end_, 0);
    if (got == 0)
        throw ConnectionLost("the sender went away");
    if (got < 0 && errno != EAGAIN && errno != EINTR)
        throw ConnectionLost(std::generic_category().message(errno));
    end_ += static_cast<std::size_t>(std::max<ssize_t>(got, 0));
    sinceProgress_ += static_cast<std::size_t>(std::max<ssize_t>(got, 0));
    if (sinceProgress_ >= LeastProgress) {
        progress_ = Clock::now();
        sinceProgress_ = 0;
    } else if (Clock::now() - progress_ >= patience_()) {
        throw ConnectionLost("it makes too little progress");
    }
}

void Wire::Write(std::string_view bytes) {
    const auto begun = Clock::now();
    while (!bytes.empty()) {
        const auto sent = send(socket_, bytes.data(), bytes.size(), MSG_NOSIGNAL);
        if (sent > 0)
            bytes.remove_prefix(static_cast<std::size_t>(sent));
        else if (errno != EAGAIN && errno != EINTR)
            throw ConnectionLost(std::generic_category().message(errno));
        else if (!Await(POLLOUT, Slice) && Clock::now() - begun >= patience_())
            throw ConnectionLost("it does not take the answer");
    }
}

void Wire::Close(std::string_view lastWords) noexcept {
    send(socket_, lastWords.data(), lastWords.size(), MSG_NOSIGNAL);
    shutdown(socket_, SHUT_WR);
    const auto end = Clock::now() + Farewell;
    for (int pieces = 0; pieces < MostUnheardPieces && Clock::now() < end && Await(POLLIN, Farewell); ++pieces)
        if (recv(socket_, buffer_.data(), buffer_.size(), 0) <= 0)
            break;
}

/// Whether the socket is ready, or has ended, within that time.
bool Wire::Await(short event, milliseconds time) const {
    pollfd waiting{socket_, event, 0};
    return poll(&waiting, 1, static_cast<int>(time.count())) > 0;
}

} // namespace tavrel
