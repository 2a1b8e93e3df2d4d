#include "suite/porvane/Association.h"

#include "platform/dbus/DbusServiceEmitter.h"
#include "platform/limits.h"
#include "suite/porvane/AcceptedTransport.h"
#include "suite/porvane/ServiceLog.h"
#include "suite/porvane/StoreRefusal.h"
#include "suite/porvane/StoredEvent.h"
#include "suite/porvane/UnsentVersions.h"

#include <dcmtk/dcmdata/dcdatset.h>
#include <dcmtk/dcmdata/dcdeftag.h>
#include <dcmtk/dcmdata/dcostrmf.h>
#include <dcmtk/dcmdata/dcuid.h>
#include <dcmtk/dcmdata/dcxfer.h>

#include <algorithm>
#include <array>
#include <memory>
#include <span>
#include <string_view>

namespace tavrel {
namespace {

constexpr int AnswerSeconds = 30; ///< for what must follow at once
constexpr int IdleSeconds = 60;   ///< between two requests

/// The sender cannot be heard any more; there is nobody to answer.
class ConnectionLost : public std::runtime_error {
public:
    explicit ConnectionLost(const OFCondition& why) : std::runtime_error(why.text()) {}
};

bool IsStorageClass(std::string_view uid) {
    const std::span all(dcmAllStorageSOPClassUIDs, static_cast<std::size_t>(numberOfDcmAllStorageSOPClassUIDs));
    return std::ranges::any_of(all, [uid](std::string_view known) { return known == uid; });
}

/// Whole data sets in a syntax that says how: a deflated one can grow without bound when it is read,
/// and a referenced one leaves its pixels elsewhere.
bool IsStorable(const char* transferSyntax) {
    const DcmXfer syntax(transferSyntax);
    return syntax.getXfer() != EXS_Unknown && syntax.getStreamCompression() == ESC_none && !syntax.isReferenced();
}

/// The first of the sender's own choices that will do.
const char* ChooseSyntax(const T_ASC_PresentationContext& proposed) {
    const bool storage = IsStorageClass(proposed.abstractSyntax);
    if (!storage && std::string_view(proposed.abstractSyntax) != UID_VerificationSOPClass)
        return nullptr;
    for (int i = 0; i < proposed.transferSyntaxCount; ++i)
        if (IsStorable(proposed.proposedTransferSyntaxes[i]))
            return proposed.proposedTransferSyntaxes[i];
    return nullptr;
}

/// An error comment is one LO in the default repertoire (PS3.7, annex C).
std::string Comment(std::string text) {
    std::replace_if(
        text.begin(), text.end(), [](char c) { return c < ' ' || c > '~' || c == '\\'; }, '?');
    return text.substr(0, longest::LongString);
}

using NetworkHandle =
    std::unique_ptr<T_ASC_Network, decltype([](T_ASC_Network* network) { ASC_dropNetwork(&network); })>;
using AssociationHandle = std::unique_ptr<T_ASC_Association, decltype([](T_ASC_Association* association) {
                                              ASC_dropSCPAssociation(association);
                                              ASC_destroyAssociation(&association);
                                          })>;

} // namespace

void Association::Serve(int socket, const ServiceContext& context, const std::stop_token& stop) noexcept try {
    AcceptedTransport transport(socket);
    const std::string peer = transport.PeerAddress(); // of the stand-in the toolkit knows none
    T_ASC_Network* network = nullptr;
    OFCondition done = ASC_initializeNetwork(NET_ACCEPTOR, 0, AnswerSeconds, &network);
    const NetworkHandle networkHandle(network);
    if (done.good())
        done = ASC_setTransportLayer(network, &transport, 0);
    T_ASC_Association* association = nullptr;
    if (done.good())
        done = ASC_receiveAssociation(network, &association, ASC_MAXIMUMPDUSIZE, nullptr, nullptr, OFFalse, DUL_NOBLOCK,
                                      AnswerSeconds);
    const AssociationHandle associationHandle(association);
    if (done.bad() || !association) {
        LogLine(std::string("a connection brought no association: ") + done.text());
        return;
    }
    if (association->params->DULparams.applicationContextName[0] == '\0')
        return; // somebody looked whether the port is open and went away
    Association served(association, context, peer);
    if (served.Negotiate())
        served.Run(stop);
} catch (const std::exception& failure) {
    LogLine(std::string("an association failed: ") + failure.what());
}

Association::Association(T_ASC_Association* association, const ServiceContext& context, std::string peer)
    : association_(association), context_(context), peer_(std::move(peer)) {
    std::array<char, DUL_LEN_TITLE + 1> calling{};
    std::array<char, DUL_LEN_TITLE + 1> called{};
    ASC_getAPTitles(association->params, calling.data(), calling.size(), called.data(), called.size(), nullptr, 0);
    callingAe_ = calling.data();
    calledAe_ = called.data();
}

/// False when the association was refused.
bool Association::Negotiate() {
    std::array<char, DUL_LEN_NAME + 1> applicationContext{};
    ASC_getApplicationContextName(association_->params, applicationContext.data(), applicationContext.size());
    const bool dicom = std::string_view(applicationContext.data()) == UID_StandardApplicationContext;
    if (!dicom || calledAe_ != context_.aeTitle) {
        const T_ASC_RejectParameters refusal{ASC_RESULT_REJECTEDPERMANENT, ASC_SOURCE_SERVICEUSER,
                                             dicom ? ASC_REASON_SU_CALLEDAETITLENOTRECOGNIZED
                                                   : ASC_REASON_SU_APPCONTEXTNAMENOTSUPPORTED};
        ASC_rejectAssociation(association_, &refusal);
        LogLine("refused " + callingAe_ + ", which called \"" + calledAe_ + "\" and not \"" + context_.aeTitle + "\"");
        return false;
    }
    AcceptContexts();
    const OFCondition acknowledged = ASC_acknowledgeAssociation(association_);
    if (acknowledged.bad())
        LogLine("no association with " + callingAe_ + ": " + acknowledged.text());
    return acknowledged.good();
}

void Association::AcceptContexts() {
    T_ASC_Parameters* parameters = association_->params;
    for (int i = 0; i < ASC_countPresentationContexts(parameters); ++i) {
        T_ASC_PresentationContext proposed{};
        ASC_getPresentationContext(parameters, i, &proposed);
        if (const char* syntax = ChooseSyntax(proposed))
            ASC_acceptPresentationContext(parameters, proposed.presentationContextID, syntax);
    }
}

void Association::Run(const std::stop_token& stop) {
    if (context_.events)
        context_.events->OnConnection(callingAe_, calledAe_, peer_);
    OFCondition state = EC_Normal;
    while (state.good()) {
        T_ASC_PresentationContextID context = 0;
        T_DIMSE_Message message{};
        state = AwaitCommand(stop, context, message);
        if (state.good())
            state = Answer(context, message);
    }
    End(state);
    if (context_.events)
        context_.events->OnEndConnection(callingAe_, calledAe_, peer_);
}

OFCondition Association::AwaitCommand(const std::stop_token& stop, T_ASC_PresentationContextID& context,
                                      T_DIMSE_Message& message) {
    int waited = 0;
    while (!ASC_dataWaiting(association_, 1))
        if (stop.stop_requested() || ++waited >= IdleSeconds)
            return DIMSE_NODATAAVAILABLE;
    return DIMSE_receiveCommand(association_, DIMSE_NONBLOCKING, AnswerSeconds, &context, &message, nullptr);
}

OFCondition Association::Answer(T_ASC_PresentationContextID context, T_DIMSE_Message& message) {
    switch (message.CommandField) {
    case DIMSE_C_ECHO_RQ:
        return DIMSE_sendEchoResponse(association_, context, &message.msg.CEchoRQ, STATUS_Success, nullptr);
    case DIMSE_C_STORE_RQ:
        return Store(context, message.msg.CStoreRQ);
    default:
        return DIMSE_BADCOMMANDTYPE;
    }
}

OFCondition Association::Store(T_ASC_PresentationContextID context, T_DIMSE_C_StoreRQ& request) {
    T_DIMSE_C_StoreRSP response{};
    std::string comment;
    try {
        comment = TakeObject(context, request, response.DimseStatus);
    } catch (const ConnectionLost& lost) {
        LogLine("the connection with " + callingAe_ + " was lost within an object: " + lost.what());
        return DUL_NETWORKCLOSED;
    }
    DcmDataset detail;
    if (!comment.empty()) {
        LogLine("refused object " + std::string(request.AffectedSOPInstanceUID) + " of " + callingAe_ + ": " + comment);
        detail.putAndInsertString(DCM_ErrorComment, Comment(comment).c_str());
    }
    return DIMSE_sendStoreResponse(association_, context, &request, &response, comment.empty() ? nullptr : &detail);
}

/// Receives and stores one object; answers why it was not stored, nothing when it was.
std::string Association::TakeObject(T_ASC_PresentationContextID context, T_DIMSE_C_StoreRQ& request,
                                    std::uint16_t& status) try {
    const std::string path = context_.archive.NewIncomingPath();
    DcmOutputFileStream* metaInformation = nullptr;
    if (DIMSE_createFilestream(path.c_str(), &request, association_, context, 1, &metaInformation).good())
        delete metaInformation; // it is written; the data set follows as it comes
    IncomingFile object(path);
    ReceiveDataSet(context, object);
    const ObjectHeader header =
        context_.archive.Examine(object, request.AffectedSOPClassUID, request.AffectedSOPInstanceUID);
    context_.unsent.TakeInBefore(header.seriesUid);
    const Archive::Stored stored = context_.archive.Store(object, header);
    if (callingAe_ == InternalAe)
        TellStored(context_.events, calledAe_, stored);
    status = STATUS_Success;
    return {};
} catch (const StoreRefusal& refusal) {
    status = static_cast<std::uint16_t>(refusal.status);
    return refusal.what();
} catch (const ConnectionLost&) {
    throw;
} catch (const std::exception& failure) {
    status = static_cast<std::uint16_t>(StoreRefusal::Status::ProcessingFailure);
    return failure.what();
}

void Association::ReceiveDataSet(T_ASC_PresentationContextID context, IncomingFile& object) {
    for (bool last = false; !last;) {
        DUL_PDV fragment{};
        if (DUL_NextPDV(&association_->DULassociation, &fragment).bad()) {
            const OFCondition arrived =
                DUL_ReadPDVs(&association_->DULassociation, nullptr, DUL_NOBLOCK, AnswerSeconds);
            if (arrived != DUL_PDATAPDUARRIVED)
                throw ConnectionLost(arrived);
            continue;
        }
        if (fragment.pdvType != DUL_DATASETPDV || fragment.presentationContextID != context)
            throw ConnectionLost(DIMSE_UNEXPECTEDPDVTYPE);
        object.Write({static_cast<const char*>(fragment.data), fragment.fragmentLength});
        last = fragment.lastPDV;
    }
}

void Association::End(const OFCondition& why) {
    if (why == DUL_PEERREQUESTEDRELEASE) {
        ASC_acknowledgeRelease(association_);
        return;
    }
    if (why == DUL_PEERABORTEDASSOCIATION)
        return;
    if (why != DUL_NETWORKCLOSED && why != DIMSE_NODATAAVAILABLE)
        LogLine("ended the association with " + callingAe_ + ": " + why.text());
    ASC_abortAssociation(association_);
}

} // namespace tavrel
