#include "suite/porvane/StorageService.h"

#include "suite/porvane/AcceptedTransport.h"
#include "suite/porvane/ServiceLog.h"

#include <netinet/in.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <array>
#include <atomic>
#include <cerrno>
#include <stdexcept>
#include <system_error>
#include <thread>

namespace tavrel {
namespace {

constexpr std::size_t MostSenders = 32;
constexpr int WaitingSenders = 64;
constexpr int RoomCheckMilliseconds = 100;

int ListenOnLoopback(int port) {
    const int listener = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0);
    const int on = 1;
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    address.sin_port = htons(static_cast<std::uint16_t>(port));
    if (listener >= 0 && setsockopt(listener, SOL_SOCKET, SO_REUSEADDR, &on, sizeof on) == 0 &&
        bind(listener, reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0 &&
        listen(listener, WaitingSenders) == 0)
        return listener;
    const int failure = errno;
    if (listener >= 0)
        close(listener);
    throw std::runtime_error("Cannot listen on port " + std::to_string(port) +
                             " of 127.0.0.1: " + std::generic_category().message(failure) +
                             (failure == EADDRINUSE ? " (does porvane run already?)" : ""));
}

} // namespace

struct StorageService::Worker {
    std::atomic<bool> isDone = false;
    std::jthread thread; ///< last: it is joined first
};

StorageService::StorageService(int port, ServiceContext context)
    : context_(std::move(context)), listener_(ListenOnLoopback(port)) {
    AcceptedTransport::Prepare();
}

StorageService::~StorageService() {
    close(listener_);
}

void StorageService::Run(int stopSignals) {
    for (;;) {
        RemoveFinished();
        const bool room = workers_.size() < MostSenders;
        std::array<pollfd, 2> waiting{{{stopSignals, POLLIN, 0}, {listener_, POLLIN, 0}}};
        poll(waiting.data(), room ? 2 : 1, room ? -1 : RoomCheckMilliseconds);
        if (waiting.front().revents != 0)
            break;
        if (waiting.back().revents != 0)
            ServeNext();
    }
    for (const auto& worker : workers_)
        worker->thread.request_stop();
    workers_.clear();
}

void StorageService::ServeNext() {
    const int socket = accept4(listener_, nullptr, nullptr, SOCK_CLOEXEC);
    if (socket < 0) {
        if (errno != EAGAIN && errno != ECONNABORTED)
            LogLine("cannot accept a connection: " + std::generic_category().message(errno));
        return;
    }
    Worker& worker = *workers_.emplace_back(std::make_unique<Worker>());
    worker.thread = std::jthread([this, socket, &worker](const std::stop_token& stop) {
        Association::Serve(socket, context_, stop);
        worker.isDone = true;
    });
}

void StorageService::RemoveFinished() {
    workers_.remove_if([](const auto& worker) { return worker->isDone.load(); });
}

} // namespace tavrel
