#pragma once

#include "suite/porvane/ProtocolFault.h"

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

/// The protocol data units of an association (DICOM PS3.8, 9.3), read and written as bytes. What a sender can
/// make them hold is bounded here; nothing of it is parsed in depth.
namespace tavrel::upper_layer {

/// A number of the protocol data units.
std::uint32_t BigEndian(std::string_view bytes);

enum class PduType : std::uint8_t {
    AssociateRequest = 1,
    AssociateAccept = 2,
    AssociateReject = 3,
    Data = 4,
    ReleaseRequest = 5,
    ReleaseAnswer = 6,
    Abort = 7,
};

inline constexpr std::size_t PduHeaderSize = 6;
struct PduHeader {
    PduType type;
    std::uint32_t length; ///< of what follows it
};
PduHeader ReadPduHeader(std::string_view bytes);

/// A request with 128 contexts of three syntaxes each has 25,000 bytes.
inline constexpr std::size_t MostRequestBytes = 65536;
/// What is asked of senders; a longer unit is read in pieces all the same.
inline constexpr std::uint32_t LongestPdu = 131072;

struct ProposedContext {
    std::uint8_t id = 0;
    std::string_view abstractSyntax;
    std::vector<std::string_view> transferSyntaxes;
};

/// Who asks, who serves, of a kind of object (PS3.7, D.3.3.4): the requestor unless it says otherwise.
struct Role {
    std::string_view sopClass;
    bool user = true;
    bool provider = false;
};

inline constexpr std::uint16_t FirstVersion = 1; ///< a bit for each

/// Its texts lie in the bytes that it was read from.
struct AssociateRequest {
    std::uint16_t protocolVersion = 0;
    std::string_view calledAe;
    std::string_view callingAe;
    std::string_view applicationContext;
    std::vector<ProposedContext> contexts;
    std::vector<Role> roles;
    std::uint32_t longestPdu = 0; ///< that the sender takes; 0 without a limit
};

/// Reads what follows the header of the unit. Throws a ProtocolFault.
AssociateRequest ReadAssociateRequest(std::string_view body);

/// The sender's title alone; empty when there is none.
std::string_view CallingTitle(std::string_view body);

enum class ContextResult : std::uint8_t {
    Accepted = 0,
    AbstractSyntaxNotSupported = 3,
    TransferSyntaxesNotSupported = 4,
};
struct AnsweredContext {
    std::uint8_t id;
    ContextResult result;
    std::string_view transferSyntax; ///< means nothing unless accepted
};
std::string AssociateAccept(std::string_view calledAe, std::string_view callingAe,
                            const std::vector<AnsweredContext>& contexts, const std::vector<Role>& roles = {});

/// Result, source and reason of a rejection (PS3.8, table 9-21).
struct Rejection {
    std::uint8_t result;
    std::uint8_t source;
    std::uint8_t reason;
};
inline constexpr Rejection ApplicationContextNotSupported{1, 1, 2};
inline constexpr Rejection CallingTitleNotRecognized{1, 1, 3};
inline constexpr Rejection CalledTitleNotRecognized{1, 1, 7};
inline constexpr Rejection ProtocolVersionNotSupported{1, 2, 2};
inline constexpr Rejection LocalLimitExceeded{2, 3, 2}; ///< for now

std::string AssociateReject(const Rejection& rejection);
std::string ReleaseAnswer();
std::string Abort(ProtocolFault::Reason reason);
/// A command, in as many units as the sender's longest one demands.
std::string CommandData(std::uint8_t context, std::string_view command, std::uint32_t longestPdu);

} // namespace tavrel::upper_layer
