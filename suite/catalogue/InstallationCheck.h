#pragma once

#include "platform/database.h"
#include "platform/dicom.h"

#include <filesystem>
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

/// Looks at everything that a workstation needs from its catalogue, its studies and its storage
/// service, and at what waits to be stored. `userName` is the account that will write reports, `unsent` the folder
/// of the versions that it could not send, `studies` one of studies
/// to look through besides those of known ones. `mending` mends what the
/// catalogue lacks of its version, and rows where the rest suffices for it.
std::vector<CheckResult> CheckInstallation(Connection& catalogue, DicomLibrary& dicom, const std::string& userName,
                                           const std::filesystem::path& unsent, const std::filesystem::path& studies,
                                           bool mending);

} // namespace tavrel
