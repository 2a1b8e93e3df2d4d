#pragma once

#include "platform/database.h"

#include <optional>
#include <string>
#include <string_view>

namespace tavrel {

/// The archive behind: where it is, what it is sent, and what we call ourselves there.
struct ArchiveSetting {
    std::string aeTitle;
    std::string host;
    int port = 0;
    std::string callingAe;
    bool images = false; ///< besides reports and presentation states
    bool tls = false;    ///< nothing may be sent but by TLS

    /// "AET@HOST:PORT"
    std::string Address() const { return aeTitle + "@" + host + ":" + std::to_string(port); }
};

/// Reads "AET@HOST:PORT" into `setting`. Why it cannot be one; empty when it can.
std::string ReadArchiveAddress(std::string_view text, ArchiveSetting& setting);
/// Why the text can be no title of an application entity; empty when it can.
std::string AeTitleFault(std::string_view text);

/// That of the department; nothing where none is set or the catalogue was made before it had one. An error for one
/// that is not whole.
std::optional<ArchiveSetting> ReadArchive(Connection& connection);
/// Sets that of the department, or with nothing takes it back.
void WriteArchive(Connection& connection, const std::optional<ArchiveSetting>& setting);

} // namespace tavrel
