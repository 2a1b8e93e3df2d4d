#pragma once

#include "suite/porvane/ProtocolFault.h"

#include <cstdint>
#include <string>
#include <string_view>

namespace tavrel {

/// The command set of a request, and the answers to it (DICOM PS3.7, 9.3 and annex E).
struct DimseCommand {
    enum class Field : std::uint16_t { StoreRequest = 0x0001, EchoRequest = 0x0030, EventReportRequest = 0x0100 };

    /// The longest command that the standard knows has a few hundred bytes.
    static constexpr std::size_t MostBytes = 4096;

    Field field{};
    std::uint16_t messageId = 0;
    bool dataSetFollows = false;
    std::string sopClassUid;
    std::string sopInstanceUid;

    /// A command set is flat, implicit little endian and of group 0000 alone. Throws a ProtocolFault.
    static DimseCommand Read(std::string_view bytes);

    /// The response; a `comment` says why a request was refused.
    std::string Answer(std::uint16_t status, const std::string& comment) const;
};

} // namespace tavrel
