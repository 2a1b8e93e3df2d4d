#pragma once

#include "platform/dicom.h"

#include <filesystem>
#include <string>
#include <tuple>
#include <vector>

#include <sys/types.h>

/// The files of versions that the report editor keeps because the storage service did not take them.
namespace tavrel {

/// Where the editor of this account keeps them. It need not exist.
std::filesystem::path DefaultUnsentFolder();

/// A complete file of the folder. The editor makes an empty one first, which is none yet.
struct UnsentFile {
    std::filesystem::path path;
    /// Changes with the file: device, number, size and the last change of contents or attributes.
    std::tuple<dev_t, ino_t, off_t, std::int64_t> identity;
    std::int64_t kept = 0; ///< when it was written, in nanoseconds of the system's clock

    /// Whether it sorts before `other`.
    bool KeptBefore(const UnsentFile& other) const { return std::tie(kept, path) < std::tie(other.kept, other.path); }
};

/// The complete files of the folder, the one that was kept first in front. A folder that is not there has none;
/// throws std::system_error when the folder cannot be read.
std::vector<UnsentFile> ListUnsentFiles(const std::filesystem::path& folder);

/// What the header of an unsent file says. Texts are empty where it says nothing.
struct UnsentHeader {
    std::string seriesUid;
    std::string sopClassUid;
    std::string sopInstanceUid;
    std::string studyUid;
    std::string patientId;
    std::string patientName;
    std::string made; ///< content date and time, "yyyymmddhhmmss"
};

/// Of a file that is no DICOM file everything is empty.
UnsentHeader ReadUnsentHeader(DicomLibrary& library, const std::filesystem::path& file);

} // namespace tavrel
