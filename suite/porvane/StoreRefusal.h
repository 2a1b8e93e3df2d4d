#pragma once

#include "platform/store_status.h"

#include <cstdint>
#include <stdexcept>
#include <string>

namespace tavrel {

/// Why an object is not stored: the status and error comment of the C-STORE response.
class StoreRefusal : public std::runtime_error {
public:
    /// DICOM PS3.4, table B.2-1; PS3.7, C.5. The last two are the suite's own.
    enum class Status : std::uint16_t {
        ProcessingFailure = 0x0110,
        NotAuthorized = 0x0124,
        OutOfResources = 0xA700,
        DoesNotMatchClass = 0xA900,
        CannotUnderstand = 0xC000,
        ReportHasOthers = store_status::ReportHasOthers,
        ReportApproved = store_status::ReportApproved,
    };

    StoreRefusal(Status answer, const std::string& comment) : std::runtime_error(comment), status(answer) {}

    Status status;
};

} // namespace tavrel
