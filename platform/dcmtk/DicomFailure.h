#pragma once

#include "platform/error.h"

#include <string>

namespace tavrel {

/// The numbers of this adapter's errors, whose source is "DICOM".
enum class DicomFault : int {
    FileUnreadable = 101, ///< the file cannot be opened, or is none
    NotDicom,             ///< its structure is no DICOM file's
    FileChanged,          ///< it was replaced between the check and the reading
    NoSuchDataSet,
    NoSuchItem,
    BadValue,    ///< the value does not fit the VR
    BadText,     ///< the declared character set cannot hold the text
    FileUnsaved, ///< the file could not be written
    NotSendable, ///< refused before the service was asked
    NotStored,   ///< the service could not be reached, refused or did not answer
};

inline Error DicomFailure(DicomFault fault, std::string description) {
    return {static_cast<int>(fault), "DICOM", std::move(description)};
}

} // namespace tavrel
