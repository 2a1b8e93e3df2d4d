#pragma once

#include "suite/porvane/IncomingRoom.h"
#include "suite/porvane/MessageReader.h"
#include "suite/porvane/PeerAccount.h"
#include "suite/porvane/Places.h"
#include "suite/porvane/StudyTree.h"
#include "suite/porvane/UpperLayer.h"
#include "suite/porvane/Wire.h"

#include <map>
#include <stop_token>
#include <string>

namespace tavrel {

class DbusServiceEmitter;
class UnsentVersions;

/// What all associations share.
struct ServiceContext {
    std::string aeTitle;
    StudyTree& tree;
    UnsentVersions& unsent;
    IncomingRoom& room;
    DbusServiceEmitter* events; ///< none where there is no session bus
};

/// One sender's association, from its request to its end: verification and storage (DICOM PS3.4,
/// annexes A and B). Every wait is bounded, and so is the memory that a sender can take.
class Association {
public:
    /// Serves the accepted `socket`, which it takes over and whose `request` (what follows the unit's header) has
    /// come, from a sender of `account`, until the sender is done, makes nothing of its place, or `stop` is asked for
    /// between two messages. Throws nothing.
    static void Serve(int socket, const std::string& request, const ServiceContext& context, const Places& places,
                      const PeerAccount& account, const std::stop_token& stop) noexcept;

private:
    Association(int socket, const ServiceContext& context, const Places& places, const PeerAccount& account,
                const std::stop_token& stop);

    void Run(const std::string& request);
    bool Negotiate(const upper_layer::AssociateRequest& request);
    void AcceptContexts(const upper_layer::AssociateRequest& request);
    void Reject(const upper_layer::Rejection& rejection, const std::string& why);
    void Exchange();
    void Answer(const MessageReader::Request& request);
    void Store(const MessageReader::Request& request);
    void TakeObject(const MessageReader::Request& request);
    void ReceiveDataSet(const MessageReader::Request& request, IncomingFile& object);

    Wire::Patience PatienceOf(std::chrono::milliseconds usual, std::chrono::milliseconds atTheEnd) const;

    const ServiceContext& context_;
    const Places& places_;
    const std::stop_token& stop_;
    Wire wire_;
    MessageReader messages_;
    PeerAccount account_;
    std::string callingAe_;
    std::string calledAe_;
    std::uint32_t longestPdu_ = 0;
    std::map<std::uint8_t, std::string> transferSyntaxes_; ///< of the accepted contexts
};

} // namespace tavrel
