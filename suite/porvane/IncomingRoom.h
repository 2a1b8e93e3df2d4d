#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <mutex>

#include <sys/types.h>

namespace tavrel {

/// The room on the disk for what is being received: an object has a longest size, a sender so much for all the
/// objects that it sends at once, and the last part of the disk is kept for the workstation's own reports.
/// From any thread.
class IncomingRoom {
public:
    static constexpr std::uint64_t Megabyte = 1024UL * 1024;
    static constexpr std::uint64_t MostKeptForReports = 64 * Megabyte;

    struct Disk {
        std::uint64_t size;
        std::uint64_t free;
    };

    IncomingRoom(std::uint64_t longestObject, std::function<Disk()> disk)
        : longestObject_(longestObject), disk_(std::move(disk)) {}

    std::uint64_t LongestObject() const { return longestObject_; }

    /// The room of one object, given back when it ends.
    class Share {
    public:
        /// An object of the workstation's own may take the last part of the disk.
        enum class Of { Sender, Workstation };

        Share(IncomingRoom& room, uid_t sender, Of whose) : room_(room), sender_(sender), whose_(whose) {}
        ~Share();
        Share(const Share&) = delete;
        Share& operator=(const Share&) = delete;

        /// Throws a StoreRefusal when there is no room for so many bytes more.
        void Take(std::uint64_t bytes);

    private:
        IncomingRoom& room_;
        uid_t sender_;
        Of whose_;
        std::uint64_t taken_ = 0;
    };

private:
    /// What several objects of one sender may have at once, in objects of the longest size.
    static constexpr std::uint64_t ObjectsAtOnce = 2;

    std::uint64_t longestObject_;
    std::function<Disk()> disk_;
    std::mutex mutex_;
    std::map<uid_t, std::uint64_t> taken_; ///< by each sender's account
};

} // namespace tavrel
