#pragma once

#include "platform/database.h"
#include "platform/dicom.h"

#include <chrono>
#include <filesystem>
#include <optional>
#include <string>
#include <vector>

namespace tavrel {

/// One thing that was looked at.
struct CheckResult {
    enum class Kind {
        Well,
        Warning, ///< nothing is missing, but somebody should know
        Mended,
        Missing,
    };
    Kind kind = Kind::Well;
    std::string words; ///< what is well, what to know, or what is missing and how to mend it
};

/// Who will write reports.
struct ReportingAccount {
    std::string name;
    std::filesystem::path unsent;                   ///< the folder of the versions that it could not send
    std::optional<std::filesystem::path> editorLog; ///< where an editor is installed
    std::chrono::seconds serviceComesWithin{0};     ///< its storage service, which may have been started just now
};

/// Looks at everything that a workstation needs from its catalogue, its studies and its storage
/// service, at what waits to be stored and at the editor's log. `studies` is a folder of studies to look through
/// besides those of known ones. `mending` mends what the catalogue lacks of its version, and rows where the rest
/// suffices for it.
std::vector<CheckResult> CheckInstallation(Connection& catalogue, DicomLibrary& dicom, const ReportingAccount& account,
                                           const std::filesystem::path& studies, bool mending);

} // namespace tavrel
