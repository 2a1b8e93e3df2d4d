#pragma once

#include "platform/database.h"
#include "platform/dicom.h"

#include <string>
#include <vector>

namespace tavrel {

/// One thing that was looked at.
struct CheckResult {
    bool well = true;
    std::string words; ///< what is well, or what is missing and how to mend it
};

/// Looks at everything that a workstation needs from its catalogue, its studies and its storage
/// service. `userName` is the account that will write reports.
std::vector<CheckResult> CheckInstallation(Connection& catalogue, DicomLibrary& dicom, const std::string& userName);

} // namespace tavrel
