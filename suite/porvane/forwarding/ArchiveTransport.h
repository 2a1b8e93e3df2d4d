#pragma once

#include <dcmtk/config/osconfig.h>

#include <dcmtk/dcmnet/dcmlayer.h>

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <cstddef>
#include <mutex>
#include <stop_token>
#include <thread>

class DcmTLSTransportLayer;

namespace tavrel {

/// The connections of one association with an archive, by TLS where `tls` is given. Packets are sent and acknowledged
/// at once: an archive that answers in two small packets waits for that, which the system would otherwise delay by
/// 40 ms. What the archive may say and how long it may take is bounded for each step, and `stop` ends the connection.
class ArchiveTransport final : public DcmTransportLayer {
public:
    ArchiveTransport(DcmTLSTransportLayer* tls, std::stop_token stop);
    ~ArchiveTransport() override;

    DcmTransportConnection* createConnection(DcmNativeSocketType socket, OFBool secure) override;

    /// Begins the next step.
    void Allow(std::chrono::milliseconds time);
    /// Ends the connection's waits.
    void HangUp();

private:
    class Connection;
    using Clock = std::chrono::steady_clock;

    /// The toolkit would parse an answer of any length and depth, and lose its stack on it. That for a hundred objects
    /// has 20,000 bytes.
    static constexpr std::size_t MostAnswered = 65536;

    void Watch(const std::stop_token& ended);
    void Forget();

    DcmTLSTransportLayer* tls_;
    std::stop_token stop_;
    std::atomic<std::size_t> left_ = MostAnswered;
    std::mutex mutex_; ///< guards the next ones
    std::condition_variable_any changed_;
    DcmNativeSocketType socket_ = -1;
    Clock::time_point deadline_ = Clock::time_point::max();
    std::jthread watch_; ///< last: it works on the others
};

} // namespace tavrel
