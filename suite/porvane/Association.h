#pragma once

#include "suite/porvane/Archive.h"
#include "suite/porvane/IncomingFile.h"

#include <dcmtk/config/osconfig.h>

#include <dcmtk/dcmnet/assoc.h>
#include <dcmtk/dcmnet/dimse.h>

#include <optional>
#include <stop_token>
#include <string>

namespace tavrel {

class DbusServiceEmitter;
class UnsentVersions;

/// What all associations share.
struct ServiceContext {
    std::string aeTitle;
    Archive& archive;
    UnsentVersions& unsent;
    DbusServiceEmitter* events; ///< none where there is no session bus
};

/// One sender's association, from its request to its end: verification and storage (DICOM PS3.4,
/// annexes A and B). Every wait is bounded.
class Association {
public:
    /// Serves the accepted `socket`, which it takes over, until the sender is done, is silent for
    /// too long, or `stop` is asked for between two requests. Throws nothing.
    static void Serve(int socket, const ServiceContext& context, const std::stop_token& stop) noexcept;

private:
    Association(T_ASC_Association* association, const ServiceContext& context, std::string peer);

    bool Negotiate();
    void AcceptContexts();
    void Run(const std::stop_token& stop);
    OFCondition AwaitCommand(const std::stop_token& stop, T_ASC_PresentationContextID& context,
                             T_DIMSE_Message& message);
    OFCondition Answer(T_ASC_PresentationContextID context, T_DIMSE_Message& message);
    OFCondition Store(T_ASC_PresentationContextID context, T_DIMSE_C_StoreRQ& request);
    std::string TakeObject(T_ASC_PresentationContextID context, T_DIMSE_C_StoreRQ& request, std::uint16_t& status);
    void ReceiveDataSet(T_ASC_PresentationContextID context, IncomingFile& object);
    void End(const OFCondition& why);

    T_ASC_Association* association_;
    const ServiceContext& context_;
    std::string callingAe_;
    std::string calledAe_;
    std::string peer_; ///< the sender's address
};

} // namespace tavrel
