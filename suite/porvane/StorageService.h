#pragma once

#include "suite/porvane/Association.h"
#include "suite/porvane/Places.h"

#include <list>
#include <memory>

namespace tavrel {

/// Listens on the loopback address alone. Callers wait in one thread until their request for an association has come
/// and a place is free; the report editor of this account goes first and has places of its own. Each place is
/// served by a thread.
class StorageService {
public:
    /// Throws std::runtime_error when the port cannot be had.
    StorageService(int port, ServiceContext context);
    ~StorageService();
    StorageService(const StorageService&) = delete;
    StorageService& operator=(const StorageService&) = delete;

    /// Serves until `stopSignals`, a signal descriptor, becomes readable; then lets each sender's
    /// current object be stored and ends.
    void Run(int stopSignals);

private:
    struct Caller;
    struct Worker;

    void Accept();
    void Hear(Caller& caller);
    void MakeRoomForCallers();
    void ServeCallers();
    void Serve(Caller& caller);
    void BoundRequests();
    void LetGo();
    void RemoveFinished();

    ServiceContext context_;
    int listener_;
    int finished_; ///< an event descriptor: a place was left
    Places places_;
    std::list<Caller> callers_; ///< in the order of their coming
    int gaveWay_ = 0;           ///< callers, since that was told
    std::chrono::steady_clock::time_point toldOfThem_;
    std::list<std::unique_ptr<Worker>> workers_;
};

} // namespace tavrel
