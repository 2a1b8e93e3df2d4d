#pragma once

#include "suite/porvane/Association.h"

#include <list>
#include <memory>

namespace tavrel {

/// Listens on the loopback address alone and serves each sender on a thread of its own, at most 32
/// at a time; more wait to be accepted.
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
    struct Worker;

    void ServeNext();
    void RemoveFinished();

    ServiceContext context_;
    int listener_;
    std::list<std::unique_ptr<Worker>> workers_;
};

} // namespace tavrel
