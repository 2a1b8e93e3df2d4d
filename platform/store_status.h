#pragma once

#include <cstdint>

/// Why the suite's storage service does not take a report's version that the report editor sends: statuses of the
/// C-STORE response of its own, in the range of those that an object itself causes (DICOM PS3.4, table B.2-1, "Cannot
/// understand"). Sent again, the same version is refused again.
namespace tavrel::store_status {

/// The report has a version that is not among the predecessors of this one.
inline constexpr std::uint16_t ReportHasOthers = 0xC101;
/// The report is approved.
inline constexpr std::uint16_t ReportApproved = 0xC102;

} // namespace tavrel::store_status
