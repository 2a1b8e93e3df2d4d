#pragma once

#include "host/Global.h"
#include "platform/dicom.h"

#include <string_view>

namespace tavrel {

/// Sends a version to the workstation's storage service. A version that the service did not take is kept
/// as a file of its own in "unsent" of the state folder, and the error says so and names the file: a
/// physician's work is never only in memory. A version that was refused before it was sent is not kept.
void StoreOrKeep(const Ports& ports, DicomDataSet& version, std::string_view port, std::string_view aeTitle);

} // namespace tavrel
