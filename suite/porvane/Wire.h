#pragma once

#include <chrono>
#include <cstddef>
#include <functional>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

namespace tavrel {

/// The sender cannot be heard any more, or it holds a place for nothing; there is nobody to answer.
class ConnectionLost : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

/// A connection of which a sender must make something: while a message comes, `LeastProgress` bytes of it are due
/// in each span of patience. The memory that it takes does not grow with what comes.
class Wire {
public:
    static constexpr std::size_t LeastProgress = 65536;

    /// How long the sender may go on making nothing of its place; asked again and again.
    using Patience = std::function<std::chrono::milliseconds()>;

    /// Takes over the connected `socket`, which does not block.
    Wire(int socket, Patience patience);
    ~Wire();
    Wire(const Wire&) = delete;
    Wire& operator=(const Wire&) = delete;

    int Socket() const { return socket_; }

    /// Waits for the beginning of a message; false when the sender went away or `idle` has passed.
    bool AwaitMessage(const Patience& idle);
    /// Exactly `count` bytes, at most 65,536 of them, valid until the next call. Throws ConnectionLost.
    std::string_view Read(std::size_t count);
    /// From one byte to `most` of them, valid until the next call. Throws ConnectionLost.
    std::string_view ReadSome(std::size_t most);
    /// Throws ConnectionLost.
    void Write(std::string_view bytes);
    /// Sends the last words, then lets the sender take note of them: an end at once would take them back while
    /// bytes are on their way. Throws nothing.
    void Close(std::string_view lastWords) noexcept;

private:
    using Clock = std::chrono::steady_clock;

    void Receive();
    bool Await(short event, std::chrono::milliseconds time) const;

    int socket_;
    Patience patience_;
    std::vector<char> buffer_;
    std::size_t begin_ = 0; ///< of the bytes that were received and not read yet
    std::size_t end_ = 0;
    Clock::time_point progress_ = Clock::now();
    std::size_t sinceProgress_ = 0;
};

} // namespace tavrel
