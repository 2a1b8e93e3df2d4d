#include "suite/porvane/IncomingRoom.h"

#include "suite/porvane/StoreRefusal.h"

#include <algorithm>
#include <string>

namespace tavrel {

using Status = StoreRefusal::Status;

IncomingRoom::Share::~Share() {
    const std::lock_guard guard(room_.mutex_);
    if ((room_.taken_[sender_] -= taken_) == 0)
        room_.taken_.erase(sender_);
}

void IncomingRoom::Share::Take(std::uint64_t bytes) {
    const std::lock_guard guard(room_.mutex_);
    if (taken_ + bytes > room_.longestObject_)
        throw StoreRefusal(Status::OutOfResources,
                           "an object may have " + std::to_string(room_.longestObject_ / Megabyte) + " MB here");
    if (room_.taken_[sender_] + bytes > ObjectsAtOnce * room_.longestObject_)
        throw StoreRefusal(Status::OutOfResources, "this sender sends too much at once");
    if (whose_ == Of::Sender) {
        const Disk disk = room_.disk_();
        if (disk.free < bytes + std::min(MostKeptForReports, disk.size / 50))
            throw StoreRefusal(Status::OutOfResources, "the rest of the disk is kept for reports");
    }
    room_.taken_[sender_] += bytes;
    taken_ += bytes;
}

} // namespace tavrel
