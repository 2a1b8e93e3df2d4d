#include "suite/porvane/Association.h"

#include "platform/dbus/DbusServiceEmitter.h"
#include "platform/dcmtk/FileMeta.h"
#include "platform/uid.h"
#include "suite/porvane/ServiceLog.h"
#include "suite/porvane/StoreRefusal.h"
#include "suite/porvane/StoredEvent.h"
#include "suite/porvane/UnsentVersions.h"

#include <dcmtk/config/osconfig.h>

#include <dcmtk/dcmdata/dcuid.h>
#include <dcmtk/dcmdata/dcxfer.h>

#include <algorithm>
#include <array>
#include <span>
#include <string_view>

#include <arpa/inet.h>
#include <netinet/in.h>
#include <sys/socket.h>

namespace tavrel {
namespace {

using upper_layer::ContextResult;

constexpr std::uint16_t Success = 0;
constexpr std::chrono::seconds IdleTime{60};    ///< between two messages
constexpr std::chrono::seconds MessageTime{30}; ///< for each piece of a message

bool IsStorageClass(std::string_view uid) {
    const std::span all(dcmAllStorageSOPClassUIDs, static_cast<std::size_t>(numberOfDcmAllStorageSOPClassUIDs));
    return std::ranges::any_of(all, [uid](std::string_view known) { return known == uid; });
}

/// Whole data sets in a syntax that says how: a deflated one can grow without bound when it is read,
/// and a referenced one leaves its pixels elsewhere.
bool IsStorable(std::string_view transferSyntax) {
    const DcmXfer syntax(std::string(transferSyntax).c_str());
    return syntax.getXfer() != EXS_Unknown && syntax.getStreamCompression() == ESC_none && !syntax.isReferenced();
}

/// The first of the sender's own choices that will do.
upper_layer::AnsweredContext Choose(const upper_layer::ProposedContext& proposed) {
    if (!IsStorageClass(proposed.abstractSyntax) && proposed.abstractSyntax != UID_VerificationSOPClass)
        return {proposed.id, ContextResult::AbstractSyntaxNotSupported, {}};
    const auto chosen = std::ranges::find_if(proposed.transferSyntaxes, IsStorable);
    if (chosen == proposed.transferSyntaxes.end())
        return {proposed.id, ContextResult::TransferSyntaxesNotSupported, {}};
    return {proposed.id, ContextResult::Accepted, *chosen};
}

/// DICOM PS3.5, 6.2.
bool IsTitle(std::string_view text) {
    return !text.empty() && std::ranges::all_of(text, [](char c) { return c >= ' ' && c <= '~' && c != '\\'; });
}

std::string AddressOf(int socket) {
    sockaddr_in peer{};
    socklen_t length = sizeof peer;
    std::array<char, INET_ADDRSTRLEN> text{};
    if (getpeername(socket, reinterpret_cast<sockaddr*>(&peer), &length) != 0 ||
        inet_ntop(AF_INET, &peer.sin_addr, text.data(), text.size()) == nullptr)
        return {};
    return text.data();
}

} // namespace

void Association::Serve(int socket, const std::string& request, const ServiceContext& context, const Places& places,
                        const PeerAccount& account, const std::stop_token& stop) noexcept try {
    Association(socket, context, places, account, stop).Run(request);
} catch (const std::exception& failure) {
    LogLine(std::string("an association failed: ") + failure.what());
}

Association::Association(int socket, const ServiceContext& context, const Places& places, const PeerAccount& account,
                         const std::stop_token& stop)
    : context_(context), places_(places), stop_(stop), wire_(socket, PatienceOf(MessageTime, Places::LeastPatience)),
      messages_(wire_), account_(account) {}

/// The time that a sender has, which shrinks with the places that are left and with the service's own end.
Wire::Patience Association::PatienceOf(std::chrono::milliseconds usual, std::chrono::milliseconds atTheEnd) const {
    return [this, usual, atTheEnd] { return stop_.stop_requested() ? atTheEnd : places_.Patience(usual); };
}

void Association::Run(const std::string& request) try {
    if (!Negotiate(upper_layer::ReadAssociateRequest(request)))
        return;
    const std::string peer = AddressOf(wire_.Socket());
    if (context_.events)
        context_.events->OnConnection(callingAe_, calledAe_, peer);
    Exchange();
    if (context_.events)
        context_.events->OnEndConnection(callingAe_, calledAe_, peer);
} catch (const ProtocolFault& fault) {
    LogLine(std::string("aborted a connection: ") + fault.what());
    wire_.Close(upper_layer::Abort(fault.reason));
}

/// False when the association was refused.
bool Association::Negotiate(const upper_layer::AssociateRequest& request) {
    callingAe_ = request.callingAe;
    calledAe_ = request.calledAe;
    if ((request.protocolVersion & upper_layer::FirstVersion) == 0)
        Reject(upper_layer::ProtocolVersionNotSupported, "which speaks another version of the protocol");
    else if (request.applicationContext != UID_StandardApplicationContext)
        Reject(upper_layer::ApplicationContextNotSupported, "which speaks something else than DICOM");
    else if (calledAe_ != context_.aeTitle)
        Reject(upper_layer::CalledTitleNotRecognized,
               "which called " + Quote(calledAe_) + " and not " + Quote(context_.aeTitle));
    else if (!IsTitle(callingAe_))
        Reject(upper_layer::CallingTitleNotRecognized, "which is no AE title");
    else if (callingAe_ == InternalAe && !account_.MayBeOwn())
        Reject(upper_layer::CallingTitleNotRecognized,
               "whose connection is of account " + account_.Name() + " and not of this one");
    else {
        AcceptContexts(request);
        return true;
    }
    return false;
}

void Association::Reject(const upper_layer::Rejection& rejection, const std::string& why) {
    LogLine("refused " + Quote(callingAe_) + ", " + why);
    wire_.Close(upper_layer::AssociateReject(rejection));
}

/// An association without an accepted context is accepted all the same: its sender is told of each why not.
void Association::AcceptContexts(const upper_layer::AssociateRequest& request) {
    longestPdu_ = request.longestPdu;
    std::vector<upper_layer::AnsweredContext> answers;
    for (const auto& proposed : request.contexts) {
        answers.push_back(Choose(proposed));
        if (answers.back().result == ContextResult::Accepted)
            transferSyntaxes_[proposed.id] = answers.back().transferSyntax;
    }
    wire_.Write(upper_layer::AssociateAccept(calledAe_, callingAe_, answers));
}

/// Answers messages until there are no more.
void Association::Exchange() try {
    while (wire_.AwaitMessage(PatienceOf(IdleTime, std::chrono::milliseconds(0))))
        Answer(messages_.ReadCommand());
    wire_.Close(upper_layer::Abort(ProtocolFault::Reason::NotSpecified));
} catch (const AssociationEnd& end) {
    wire_.Close(end.released ? upper_layer::ReleaseAnswer() : std::string());
} catch (const ConnectionLost& lost) {
    LogLine("ended the association with " + Quote(callingAe_) + ": " + lost.what());
    wire_.Close(upper_layer::Abort(ProtocolFault::Reason::NotSpecified));
} catch (const ProtocolFault& fault) {
    LogLine("aborted the association with " + Quote(callingAe_) + ": " + fault.what());
    wire_.Close(upper_layer::Abort(fault.reason));
}

void Association::Answer(const MessageReader::Request& request) {
    if (!transferSyntaxes_.contains(request.context))
        throw ProtocolFault("a message in a context that was not accepted");
    const DimseCommand& command = request.command;
    if (command.field == DimseCommand::Field::StoreRequest && command.dataSetFollows)
        Store(request);
    else if (command.field == DimseCommand::Field::EchoRequest && !command.dataSetFollows)
        wire_.Write(upper_layer::CommandData(request.context, command.Answer(Success, {}), longestPdu_));
    else
        throw ProtocolFault("a request that is not served", ProtocolFault::Reason::NotSpecified);
}

void Association::Store(const MessageReader::Request& request) {
    std::uint16_t status = Success;
    std::string comment;
    try {
        TakeObject(request);
    } catch (const StoreRefusal& refusal) {
        status = static_cast<std::uint16_t>(refusal.status);
        comment = refusal.what();
    } catch (const ConnectionLost&) {
        throw;
    } catch (const ProtocolFault&) {
        throw;
    } catch (const std::exception& failure) {
        status = static_cast<std::uint16_t>(StoreRefusal::Status::ProcessingFailure);
        comment = failure.what();
    }
    if (!comment.empty())
        LogLine("refused object " + Quote(request.command.sopInstanceUid) + " of " + Quote(callingAe_) + " (account " +
                account_.Name() + "): " + comment);
    wire_.Write(upper_layer::CommandData(request.context, request.command.Answer(status, comment), longestPdu_));
}

/// Receives and stores one object. Throws a StoreRefusal once all of the object has come.
void Association::TakeObject(const MessageReader::Request& request) {
    const DimseCommand& command = request.command;
    IncomingFile object(context_.tree.Area());
    ReceiveDataSet(request, object);
    const ObjectHeader header = context_.tree.Examine(object, command.sopClassUid, command.sopInstanceUid);
    context_.unsent.TakeInBefore(header.seriesUid);
    const StudyTree::Stored stored = context_.tree.Store(
        object, header, callingAe_ == InternalAe ? VersionTurn::From::Editor : VersionTurn::From::Elsewhere);
    if (callingAe_ == InternalAe)
        TellStored(context_.events, calledAe_, stored);
}

void Association::ReceiveDataSet(const MessageReader::Request& request, IncomingFile& object) {
    using Of = IncomingRoom::Share::Of;
    const DimseCommand& command = request.command;
    const bool report = command.sopClassUid == BasicTextSr;
    IncomingRoom::Share share(context_.room, account_.user, report ? Of::Workstation : Of::Sender);
    std::optional<StoreRefusal> refusal;
    const auto keep = [&](std::string_view bytes) {
        share.Take(bytes.size());
        object.Write(bytes);
    };
    const auto unlessRefused = [&](const auto& action) {
        try {
            if (!refusal)
                action();
        } catch (const StoreRefusal& why) {
            refusal = why;
        }
    };
    unlessRefused([&] {
        if (report && !account_.MayBeOwn())
            throw StoreRefusal(StoreRefusal::Status::NotAuthorized, "reports are taken from this account alone");
        keep(FileMeta(command.sopClassUid, command.sopInstanceUid, transferSyntaxes_.at(request.context), callingAe_));
    });
    // A sender hears why only once it has sent everything.
    for (std::uint64_t discarded = 0; const auto piece = messages_.ReadDataSet(request.context);) {
        unlessRefused([&] { keep(*piece); });
        if (refusal && (discarded += piece->size()) > context_.room.LongestObject())
            throw ProtocolFault(std::string("an object that does not end; refused: ") + refusal->what());
    }
    if (refusal)
        throw *refusal;
}

} // namespace tavrel
