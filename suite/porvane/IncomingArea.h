#pragma once

#include <cstdint>
#include <deque>
#include <filesystem>
#include <memory>
#include <mutex>
#include <vector>

namespace tavrel {

/// A storage service's own folder below ".incoming" of the studies' root, in which it receives objects. A lock says
/// that its service lives, and ends with it; whoever gets the lock of an area in which something is left settles that.
///
/// What an object is received into is a file whose name is durable already, made ahead with others: syncing the
/// object's bytes is then all that keeps them. No other file of any area ever had that name, or has it later.
class IncomingArea {
public:
    static constexpr const char* ObjectExtension = ".part";
    static constexpr const char* NoteExtension = ".note"; ///< behind the object's

    /// The first area below `incoming` whose lock is free. Throws a std::runtime_error with words for the person who
    /// started the service.
    static std::unique_ptr<IncomingArea> TakeOwn(const std::filesystem::path& incoming);
    /// Those in which something is left by services that are gone. `incoming` itself is one of them: services of
    /// before worked in it directly.
    static std::vector<std::unique_ptr<IncomingArea>> TakeAbandoned(const std::filesystem::path& incoming);

    ~IncomingArea();
    IncomingArea(const IncomingArea&) = delete;
    IncomingArea& operator=(const IncomingArea&) = delete;

    /// By which the catalogue knows its transactions, among those of all areas.
    std::uint32_t Number() const { return number_; }

    /// The name of an empty file that is the caller's from now on. Throws a StoreRefusal. From any thread.
    std::filesystem::path NewName();
    bool WantsNames();
    /// Makes names ahead. Throws a StoreRefusal.
    void MakeNames();

    /// Everything that services have left here.
    std::vector<std::filesystem::path> Remains() const;

private:
    IncomingArea(std::filesystem::path folder, int lock);
    static std::unique_ptr<IncomingArea> Take(const std::filesystem::path& folder);
    void ReadNumber();

    std::filesystem::path folder_;
    int lock_; ///< a file, which holds the number too
    std::uint32_t number_ = 0;
    std::mutex mutex_;
    std::deque<std::filesystem::path> names_;
};

} // namespace tavrel
