#pragma once

#include <memory>
#include <string>

class DcmTLSTransportLayer;

namespace tavrel {

/// The certificates by which the archive and we know each other: TLS 1.2 or later by the profile of BCP 195 that
/// gives way to nothing older. Whoever shows none that the trust file vouches for is not spoken with, at either end.
class ArchiveTls {
public:
    /// Files in PEM.
    struct Files {
        std::string certificate;
        std::string key;
        std::string trust;
    };
    /// Throws std::runtime_error with words on the file that cannot be used.
    explicit ArchiveTls(const Files& files);
    ~ArchiveTls();
    ArchiveTls(const ArchiveTls&) = delete;
    ArchiveTls& operator=(const ArchiveTls&) = delete;

    DcmTLSTransportLayer& Layer() const { return *layer_; }

private:
    std::unique_ptr<DcmTLSTransportLayer> layer_;
};

} // namespace tavrel
