#include "suite/porvane/MessageReader.h"

#include "suite/porvane/UpperLayer.h"

#include <string>

namespace tavrel {
namespace {

using upper_layer::PduType;

} // namespace

MessageReader::Request MessageReader::ReadCommand() {
    std::string bytes;
    NextFragment();
    const auto context = fragment_.context;
    for (;;) {
        if (!fragment_.ofCommand || fragment_.context != context)
            throw ProtocolFault("a data set where a command was due", ProtocolFault::Reason::UnexpectedPdu);
        if (bytes.size() + fragment_.left > DimseCommand::MostBytes)
            throw ProtocolFault("a command of more than " + std::to_string(DimseCommand::MostBytes) + " bytes");
        bytes += wire_.Read(fragment_.left);
        fragment_.left = 0;
        if (fragment_.last)
            return {context, DimseCommand::Read(bytes)};
        NextFragment();
    }
}

std::optional<std::string_view> MessageReader::ReadDataSet(std::uint8_t context) {
    while (fragment_.left == 0) {
        if (dataSetBegun_ && fragment_.last) {
            dataSetBegun_ = false;
            return std::nullopt;
        }
        NextFragment();
        if (fragment_.ofCommand || fragment_.context != context)
            throw ProtocolFault("a command within a data set", ProtocolFault::Reason::UnexpectedPdu);
        dataSetBegun_ = true;
    }
    const auto piece = wire_.ReadSome(fragment_.left);
    fragment_.left -= static_cast<std::uint32_t>(piece.size());
    return piece;
}

void MessageReader::NextFragment() {
    constexpr std::size_t header = 6;
    constexpr std::uint8_t ofCommand = 1;
    constexpr std::uint8_t last = 2;
    if (unitLeft_ == 0)
        NextUnit();
    if (unitLeft_ < header)
        throw ProtocolFault("a unit that ends within a fragment");
    const std::string_view start = wire_.Read(header);
    const std::uint32_t length = upper_layer::BigEndian(start.substr(0, 4));
    if (length < 2 || length > unitLeft_ - 4)
        throw ProtocolFault("a fragment whose length is not that of its unit");
    const auto control = static_cast<std::uint8_t>(start[5]);
    fragment_ = {static_cast<std::uint8_t>(start[4]), (control & ofCommand) != 0, (control & last) != 0, length - 2};
    if (fragment_.left == 0 && !fragment_.last)
        throw ProtocolFault("a fragment with nothing in it"); // they could go on for ever
    unitLeft_ -= length + 4;
}

void MessageReader::NextUnit() {
    const auto header = upper_layer::ReadPduHeader(wire_.Read(upper_layer::PduHeaderSize));
    switch (header.type) {
    case PduType::Data:
        if (header.length == 0)
            throw ProtocolFault("a unit with nothing in it");
        unitLeft_ = header.length;
        return;
    case PduType::ReleaseRequest:
        throw AssociationEnd{true};
    case PduType::Abort:
        throw AssociationEnd{false};
    case PduType::AssociateRequest:
    case PduType::AssociateAccept:
    case PduType::AssociateReject:
    case PduType::ReleaseAnswer:
        throw ProtocolFault("a unit at the wrong time", ProtocolFault::Reason::UnexpectedPdu);
    }
    throw ProtocolFault("a unit of an unknown type", ProtocolFault::Reason::UnrecognizedPdu);
}

} // namespace tavrel
