#pragma once

#include "suite/porvane/StoreRefusal.h"

#include <filesystem>
#include <optional>
#include <string_view>

namespace tavrel {

class IncomingArea;

/// A file of an area that an object is received into. Its name goes away with this object, unless it is left.
class IncomingFile {
public:
    /// A failure is told by the first `Write`.
    explicit IncomingFile(IncomingArea& area);
    ~IncomingFile();
    IncomingFile(const IncomingFile&) = delete;
    IncomingFile& operator=(const IncomingFile&) = delete;

    const std::filesystem::path& Path() const { return path_; }

    /// Appends. Throws a StoreRefusal.
    void Write(std::string_view bytes);
    /// Brings everything to the disk. Throws a StoreRefusal.
    void Finish();
    /// Somebody else takes its name away.
    void Leave() { left_ = true; }

private:
    std::filesystem::path path_;
    int descriptor_ = -1;
    bool left_ = false;
    std::optional<StoreRefusal> failure_;
};

} // namespace tavrel
