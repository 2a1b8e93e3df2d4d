#pragma once

#include <cstdint>
#include <stdexcept>
#include <string>

namespace tavrel {

/// A sender breaks the rules of the upper layer or of the message exchange; its association is aborted.
class ProtocolFault : public std::runtime_error {
public:
    /// DICOM PS3.8, table 9-26, of the service provider.
    enum class Reason : std::uint8_t { NotSpecified = 0, UnrecognizedPdu = 1, UnexpectedPdu = 2, InvalidValue = 6 };

    explicit ProtocolFault(const std::string& what, Reason why = Reason::InvalidValue)
        : std::runtime_error(what), reason(why) {}

    Reason reason;
};

} // namespace tavrel
