#pragma once

#include "platform/database.h"
#include "platform/dicom.h"
#include "suite/catalogue/InstallationCheck.h"

#include <filesystem>
#include <vector>

namespace tavrel {

/// Compares the rows of patients, studies, series and objects with each other and with the files, and reads every
/// file: of the studies that the catalogue knows, of those that lie beside them, and of those in `studies`, if it is
/// given. `mending` mends what the rows and the files themselves suffice for: the row of a file that lacks
/// one, those of a series or study that came without any, rows to which nothing belongs, a file's second row, a study's
/// missing patient. What the storage service has under way is left to it.
std::vector<CheckResult> CheckStoredObjects(Connection& catalogue, DicomLibrary& dicom,
                                            const std::filesystem::path& studies, bool mending);

} // namespace tavrel
