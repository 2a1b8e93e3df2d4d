#pragma once

#include "platform/dicom.h"
#include "platform/error.h"

#include <string>
#include <utility>

namespace tavrel {

inline Error DicomFailure(DicomFault fault, std::string description) {
    return {static_cast<int>(fault), "DICOM", std::move(description)};
}

inline Error NoDicom(const std::string& path, const std::string& reason) {
    return DicomFailure(DicomFault::NotDicom, "The file " + path + " is no readable DICOM file: " + reason + ".");
}

} // namespace tavrel
