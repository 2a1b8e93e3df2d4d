#pragma once

#include "platform/dicom.h"
#include "platform/error.h"

#include <string>

namespace tavrel {

inline Error DicomFailure(DicomFault fault, std::string description) {
    return {static_cast<int>(fault), "DICOM", std::move(description)};
}

} // namespace tavrel
