#pragma once

#include "platform/dicom.h"

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace tavrel {

/// The modality of the series of reports in the catalogue.
inline constexpr std::string_view ReportModality = "SR";

/// That of presentation states, which are shown with the image that they name and never as images.
inline constexpr std::string_view PresentationModality = "PR";

/// What the catalogue says of an object. Text is UTF-8 as the catalogue takes it: no apostrophe (a
/// back-quote instead), no control characters, no longer than its column. Dates are "yyyymmdd",
/// times "hhmmss".
struct ObjectHeader {
    std::string sopClassUid;
    std::string sopInstanceUid;
    std::optional<int> instanceNumber;

    std::string seriesUid;
    std::string modality; ///< ReportModality for reports alone; other structured reports have "SR-OTHER"
    std::optional<int> seriesNumber;
    std::string seriesDescription;

    std::string studyUid;
    std::string studyDate;
    std::string studyTime;
    std::string studyDescription;
    std::string referringPhysician;
    std::string accessionNumber;

    std::string patientId; ///< the study's UID where the object names no patient
    std::string patientName;
    std::string birthDate;
    std::string sex;

    /// The SOP Instance UIDs that a report's version names as its predecessors.
    std::vector<std::string> predecessors;

    bool IsReport() const;
};

/// Reads the header of the DICOM file at `path` (native). Throws a StoreRefusal when the file is no
/// whole DICOM file, lacks a UID or an identifier that the catalogue needs, or cannot be decoded.
ObjectHeader ReadObjectHeader(DicomLibrary& library, const std::string& path, const std::string& sopClassUid);

} // namespace tavrel
