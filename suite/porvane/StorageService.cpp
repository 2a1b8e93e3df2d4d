#include "suite/porvane/StorageService.h"

#include "suite/porvane/ServiceLog.h"
#include "suite/porvane/StoredEvent.h"

#include <netinet/in.h>
#include <poll.h>
#include <sys/eventfd.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <cerrno>
#include <stdexcept>
#include <system_error>
#include <thread>
#include <utility>
#include <vector>

namespace tavrel {
namespace {

using Clock = std::chrono::steady_clock;

constexpr int MostUnheard = 1024; ///< that the system keeps until they are accepted
constexpr int MostAcceptedAtOnce = 64;
constexpr std::size_t MostCallers = 256;
constexpr std::size_t MostWaitingBytes = 4UL * 1024 * 1024; ///< of their requests
constexpr std::chrono::seconds RequestTime{10};
constexpr std::chrono::seconds LongestWait{30}; ///< for a place
constexpr std::chrono::seconds TellingPause{10};
constexpr int DeadlineCheckMilliseconds = 250;

int ListenOnLoopback(int port) {
    const int listener = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0);
    const int on = 1;
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    address.sin_port = htons(static_cast<std::uint16_t>(port));
    if (listener >= 0 && setsockopt(listener, SOL_SOCKET, SO_REUSEADDR, &on, sizeof on) == 0 &&
        bind(listener, reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0 &&
        listen(listener, MostUnheard) == 0)
        return listener;
    const int failure = errno;
    if (listener >= 0)
        close(listener);
    throw std::runtime_error("Cannot listen on port " + std::to_string(port) +
                             " of 127.0.0.1: " + std::generic_category().message(failure) +
                             (failure == EADDRINUSE ? " (does porvane run already?)" : ""));
}

} // namespace

/// Somebody who waits for a place. The connection is closed with it, unless it was given away.
struct StorageService::Caller {
    explicit Caller(int accepted) : socket(accepted) {}
    ~Caller() {
        if (socket >= 0)
            close(socket);
    }
    Caller(const Caller&) = delete;
    Caller& operator=(const Caller&) = delete;

    void End(const std::string& lastWords) {
        send(socket, lastWords.data(), lastWords.size(), MSG_NOSIGNAL | MSG_DONTWAIT);
        ended = true;
    }

    int socket;
    Clock::time_point came = Clock::now();
    std::string request; ///< as far as it has come, with the unit's header
    bool complete = false;
    PeerAccount account; ///< once it is complete
    bool editor = false;
    bool ended = false;
};

struct StorageService::Worker {
    std::atomic<bool> done = false;
    std::jthread thread; ///< last: it is joined first
};

StorageService::StorageService(int port, ServiceContext context)
    : context_(std::move(context)), listener_(ListenOnLoopback(port)),
      finished_(eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK)) {}

StorageService::~StorageService() {
    workers_.clear();
    close(finished_);
    close(listener_);
}

void StorageService::Run(int stopSignals) {
    for (;;) {
        std::vector<pollfd> waiting{{stopSignals, POLLIN, 0}, {finished_, POLLIN, 0}, {listener_, POLLIN, 0}};
        for (const Caller& caller : callers_)
            waiting.push_back({caller.socket, static_cast<short>(caller.complete ? POLLRDHUP : POLLIN), 0});
        poll(waiting.data(), waiting.size(), callers_.empty() ? -1 : DeadlineCheckMilliseconds);
        if (waiting[0].revents != 0)
            break;
        std::size_t at = 3;
        for (Caller& caller : callers_)
            if (waiting[at++].revents != 0)
                Hear(caller);
        if (waiting[2].revents != 0)
            Accept();
        RemoveFinished();
        BoundRequests();
        LetGo();
        ServeCallers();
    }
    callers_.clear();
    for (const auto& worker : workers_)
        worker->thread.request_stop();
    workers_.clear();
}

void StorageService::Accept() {
    for (int count = 0; count < MostAcceptedAtOnce; ++count) {
        const int socket = accept4(listener_, nullptr, nullptr, SOCK_CLOEXEC | SOCK_NONBLOCK);
        if (socket < 0) {
            if (errno != EAGAIN && errno != ECONNABORTED)
                LogLine("cannot accept a connection: " + std::generic_category().message(errno));
            return;
        }
        MakeRoomForCallers();
        Hear(callers_.emplace_back(socket));
    }
}

/// Those go first who have asked for nothing yet, the longest waiting of them; then the last who came.
void StorageService::MakeRoomForCallers() {
    if (callers_.size() < MostCallers)
        return;
    auto victim = std::ranges::find(callers_, false, &Caller::complete);
    if (victim == callers_.end())
        victim = std::prev(callers_.end());
    if (victim->complete)
        victim->End(upper_layer::AssociateReject(upper_layer::LocalLimitExceeded));
    callers_.erase(victim);
    ++gaveWay_;
}

/// Takes what has come of the caller's request, and no byte behind it.
void StorageService::Hear(Caller& caller) {
    if (caller.complete) { // nothing was asked of it; it has gone
        caller.ended = true;
        return;
    }
    std::array<char, 4096> bytes;
    for (;;) {
        std::size_t due = upper_layer::PduHeaderSize;
        if (caller.request.size() >= due) {
            const auto header = upper_layer::ReadPduHeader(caller.request);
            if (header.type != upper_layer::PduType::AssociateRequest ||
                header.length > upper_layer::MostRequestBytes) {
                LogLine("aborted a connection: it begins with no association request, or with one too long");
                return caller.End(upper_layer::Abort(ProtocolFault::Reason::UnexpectedPdu));
            }
            due += header.length;
            caller.request.reserve(due); // no byte more
        }
        if (caller.request.size() == due && due > upper_layer::PduHeaderSize)
            break;
        const auto got = recv(caller.socket, bytes.data(), std::min(bytes.size(), due - caller.request.size()), 0);
        if (got < 0 && errno == EAGAIN)
            return;
        if (got <= 0) {
            caller.ended = true;
            return;
        }
        caller.request.append(bytes.data(), static_cast<std::size_t>(got));
    }
    caller.complete = true;
    caller.request.erase(0, upper_layer::PduHeaderSize);
    caller.account = PeerAccount::Of(caller.socket);
    caller.editor = upper_layer::CallingTitle(caller.request) == InternalAe && caller.account.MayBeOwn();
}

/// Who has waited too long for a place, or with its request, gives way.
void StorageService::LetGo() {
    const auto now = Clock::now();
    callers_.remove_if([&](Caller& caller) {
        const bool late = now - caller.came >= (caller.complete ? LongestWait : RequestTime);
        if (late && !caller.ended) {
            ++gaveWay_;
            caller.End(caller.complete ? upper_layer::AssociateReject(upper_layer::LocalLimitExceeded) : std::string());
        }
        return caller.ended;
    });
    if (gaveWay_ > 0 && now - toldOfThem_ >= TellingPause) {
        LogLine("let " + std::to_string(gaveWay_) + " connections go: they asked for nothing, or no place was left");
        gaveWay_ = 0;
        toldOfThem_ = now;
    }
}

/// Of requests that are too long together the longest goes: a usual one has some kilobytes.
void StorageService::BoundRequests() {
    const auto size = [](const Caller& caller) { return caller.request.size(); };
    std::size_t waiting = 0;
    for (const Caller& caller : callers_)
        waiting += size(caller);
    while (waiting > MostWaitingBytes) {
        const auto longest = std::ranges::max_element(callers_, {}, size);
        waiting -= size(*longest);
        if (longest->complete)
            longest->End(upper_layer::AssociateReject(upper_layer::LocalLimitExceeded));
        callers_.erase(longest);
        ++gaveWay_;
    }
}

void StorageService::ServeCallers() {
    for (const bool editor : {true, false})
        for (auto caller = callers_.begin(); caller != callers_.end() && places_.IsFree(editor);)
            if (caller->complete && caller->editor == editor) {
                Serve(*caller);
                caller = callers_.erase(caller);
            } else {
                ++caller;
            }
}

void StorageService::Serve(Caller& caller) try {
    auto worker = std::make_unique<Worker>();
    auto serve = [this, socket = caller.socket, request = std::move(caller.request), &worker = *worker,
                  account = caller.account,
                  place = std::make_shared<Places::Taken>(places_)](const std::stop_token& stop) mutable {
        Association::Serve(socket, request, context_, places_, account, stop);
        place.reset();
        worker.done = true;
        eventfd_write(finished_, 1);
    };
    worker->thread = std::jthread(std::move(serve));
    caller.socket = -1;
    workers_.push_back(std::move(worker));
} catch (const std::system_error& failure) {
    LogLine(std::string("cannot serve a connection: ") + failure.what());
}

void StorageService::RemoveFinished() {
    eventfd_t ignored = 0;
    eventfd_read(finished_, &ignored);
    workers_.remove_if([](const auto& worker) { return worker->done.load(); });
}

} // namespace tavrel
