#pragma once

#include "platform/dicom.h"

#include <string>

namespace tavrel {

/// What of a version its file cannot hold, all of it, each under the name of its field on the screen; empty when it
/// can be written.
std::string WhatCannotBeWritten(const DicomDataSet& version);

/// The same of the patient's and the study's own data alone, on one line: what no report of theirs could hold.
std::string WhatCannotBeWrittenOfThePatient(const DicomDataSet& version);

} // namespace tavrel
