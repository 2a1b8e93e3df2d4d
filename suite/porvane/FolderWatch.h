#pragma once

#include <cstdint>
#include <filesystem>

namespace tavrel {

/// Notices files that come into a folder. The folder need not exist: then its coming is noticed.
class FolderWatch {
public:
    /// Throws std::system_error.
    explicit FolderWatch(std::filesystem::path folder);
    ~FolderWatch();
    FolderWatch(const FolderWatch&) = delete;
    FolderWatch& operator=(const FolderWatch&) = delete;

    /// Readable once something happened; until the next `Renew`.
    int Descriptor() const { return descriptor_; }
    /// Whatever comes from now on is noticed. Call it before looking into the folder.
    void Renew();

private:
    void Drain() const;
    void Watch(const std::filesystem::path& place, std::uint32_t events, int& watch) const;
    std::filesystem::path NearestAbove() const;

    std::filesystem::path folder_;
    int descriptor_;
    int above_ = -1;
    int inside_ = -1;
};

} // namespace tavrel
