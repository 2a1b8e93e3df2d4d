#pragma once

#include "suite/porvane/DimseCommand.h"
#include "suite/porvane/Wire.h"

#include <cstdint>
#include <optional>
#include <string_view>

namespace tavrel {

/// The sender ends the association: it asks for that, or it just does it.
struct AssociationEnd {
    bool released;
};

/// What a sender sends in its association: commands, then their data sets in pieces as they come. Throws a
/// ProtocolFault, ConnectionLost or AssociationEnd.
class MessageReader {
public:
    explicit MessageReader(Wire& wire) : wire_(wire) {}

    struct Request {
        std::uint8_t context;
        DimseCommand command;
    };
    Request ReadCommand();

    /// The next piece of the data set of that context; nothing at its end.
    std::optional<std::string_view> ReadDataSet(std::uint8_t context);

private:
    /// A fragment, whose bytes are still to be read.
    struct Fragment {
        std::uint8_t context = 0;
        bool ofCommand = false;
        bool last = false;
        std::uint32_t left = 0;
    };

    void NextFragment();
    void NextUnit();

    Wire& wire_;
    std::uint32_t unitLeft_ = 0; ///< bytes of the protocol data unit behind the fragment
    Fragment fragment_;
    bool dataSetBegun_ = false;
};

} // namespace tavrel
