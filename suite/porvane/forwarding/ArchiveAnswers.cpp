#include "suite/porvane/forwarding/ArchiveAnswers.h"

#include "platform/error.h"
#include "suite/porvane/MessageReader.h"
#include "suite/porvane/ServiceLog.h"
#include "suite/porvane/UpperLayer.h"
#include "suite/porvane/Wire.h"
#include "suite/porvane/forwarding/Commitment.h"
#include "suite/porvane/forwarding/TlsServer.h"

#include <dcmtk/config/osconfig.h>

#include <dcmtk/dcmdata/dcuid.h>

#include <arpa/inet.h>
#include <netinet/in.h>
#include <poll.h>
#include <sys/eventfd.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <charconv>
#include <chrono>
#include <map>
#include <stdexcept>
#include <system_error>
#include <utility>
#include <vector>

namespace tavrel {
namespace {

using upper_layer::AnsweredContext;
using upper_layer::ContextResult;
using Clock = std::chrono::steady_clock;

constexpr std::uint16_t Success = 0;
constexpr std::uint16_t ProcessingFailure = 0x0110;
constexpr std::chrono::milliseconds Patience = std::chrono::seconds(15);
constexpr int DeadlineCheckMilliseconds = 250;

int Listen(const ArchiveAnswers::Place& place) {
    const int listener = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0);
    const int on = 1;
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_port = htons(static_cast<std::uint16_t>(place.port));
    inet_pton(AF_INET, place.address.c_str(), &address.sin_addr);
    if (listener >= 0 && setsockopt(listener, SOL_SOCKET, SO_REUSEADDR, &on, sizeof on) == 0 &&
        bind(listener, reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0 &&
        listen(listener, ArchiveAnswers::MostAtOnce) == 0)
        return listener;
    const int failure = errno;
    if (listener >= 0)
        close(listener);
    throw std::runtime_error("Cannot hear the archive's answers on " + place.address + ", port " +
                             std::to_string(place.port) + ": " + std::generic_category().message(failure));
}

/// One association of the archive.
class Conversation {
public:
    Conversation(int socket, const ArchiveSetting& archive, const ArchiveAnswers::Settle& settle)
        : archive_(archive), settle_(settle), wire_(socket, [] { return Patience; }), messages_(wire_) {}

    void Run() {
        try {
            if (Negotiate())
                while (wire_.AwaitMessage([] { return Patience; }))
                    Answer(messages_.ReadCommand());
        } catch (const AssociationEnd& end) {
            wire_.Close(end.released ? upper_layer::ReleaseAnswer() : std::string());
        } catch (const ConnectionLost&) {
            wire_.Close({});
        } catch (const ProtocolFault& fault) {
            LogLine(std::string("aborted a connection for the archive's answers: ") + fault.what());
            wire_.Close(upper_layer::Abort(fault.reason));
        }
    }

private:
    bool Negotiate() {
        const auto header = upper_layer::ReadPduHeader(wire_.Read(upper_layer::PduHeaderSize));
        if (header.type != upper_layer::PduType::AssociateRequest || header.length > upper_layer::MostRequestBytes)
            throw ProtocolFault("no association request", ProtocolFault::Reason::UnexpectedPdu);
        const std::string body(wire_.Read(header.length));
        const auto request = upper_layer::ReadAssociateRequest(body);
        if (request.calledAe != archive_.callingAe)
            return Reject(upper_layer::CalledTitleNotRecognized, request);
        if (request.callingAe != archive_.aeTitle)
            return Reject(upper_layer::CallingTitleNotRecognized, request);
        if (request.applicationContext != UID_StandardApplicationContext)
            return Reject(upper_layer::ApplicationContextNotSupported, request);
        longestPdu_ = request.longestPdu;
        std::vector<AnsweredContext> answers;
        for (const auto& proposed : request.contexts)
            answers.push_back(Choose(proposed));
        std::vector<upper_layer::Role> roles;
        for (const auto& role : request.roles)
            if (role.sopClass == commitment::SopClass)
                roles.push_back({commitment::SopClass, false, role.provider}); // it answers, it does not ask
        wire_.Write(upper_layer::AssociateAccept(request.calledAe, request.callingAe, answers, roles));
        return true;
    }

    bool Reject(const upper_layer::Rejection& rejection, const upper_layer::AssociateRequest& request) {
        LogLine("heard no answer of " + Quote(request.callingAe) + ", which called " + Quote(request.calledAe));
        wire_.Close(upper_layer::AssociateReject(rejection));
        return false;
    }

    AnsweredContext Choose(const upper_layer::ProposedContext& proposed) {
        if (proposed.abstractSyntax != commitment::SopClass && proposed.abstractSyntax != UID_VerificationSOPClass)
            return {proposed.id, ContextResult::AbstractSyntaxNotSupported, {}};
        const auto chosen = std::ranges::find_if(proposed.transferSyntaxes, [](std::string_view syntax) {
            return syntax == UID_LittleEndianImplicitTransferSyntax || syntax == UID_LittleEndianExplicitTransferSyntax;
        });
        if (chosen == proposed.transferSyntaxes.end())
            return {proposed.id, ContextResult::TransferSyntaxesNotSupported, {}};
        transferSyntaxes_[proposed.id] = *chosen;
        return {proposed.id, ContextResult::Accepted, *chosen};
    }

    void Answer(const MessageReader::Request& request) {
        if (!transferSyntaxes_.contains(request.context))
            throw ProtocolFault("a message in a context that was not accepted");
        const DimseCommand& command = request.command;
        std::uint16_t status = Success;
        if (command.field == DimseCommand::Field::EventReportRequest && command.dataSetFollows)
            status = Take(request.context);
        else if (command.field != DimseCommand::Field::EchoRequest || command.dataSetFollows)
            throw ProtocolFault("a request that is not served", ProtocolFault::Reason::NotSpecified);
        wire_.Write(upper_layer::CommandData(request.context, command.Answer(status, {}), longestPdu_));
    }

    std::uint16_t Take(std::uint8_t context) {
        std::string bytes;
        while (const auto piece = messages_.ReadDataSet(context)) {
            if (bytes.size() + piece->size() > ArchiveAnswers::MostBytes)
                throw ProtocolFault("an answer that is too long", ProtocolFault::Reason::NotSpecified);
            bytes += *piece;
        }
        OutgoingQueue::Answer answer;
        try {
            answer = commitment::ReadAnswer(bytes, transferSyntaxes_.at(context));
        } catch (const std::exception& fault) {
            LogLine(std::string("could not read an answer of the archive: ") + fault.what());
            return ProcessingFailure;
        }
        return settle_(answer) ? Success : ProcessingFailure;
    }

    const ArchiveSetting& archive_;
    const ArchiveAnswers::Settle& settle_;
    Wire wire_;
    MessageReader messages_;
    std::uint32_t longestPdu_ = 0;
    std::map<std::uint8_t, std::string> transferSyntaxes_; ///< of the accepted contexts
};

} // namespace

struct ArchiveAnswers::Worker {
    ~Worker() {
        shutdown(handle, SHUT_RDWR); // ends its waits
        thread = {};
        close(handle);
    }
    int handle = -1; ///< of the same connection
    Clock::time_point until = Clock::now() + MostTime;
    std::atomic<bool> done = false;
    std::jthread thread;
};

std::optional<ArchiveAnswers::Place> ArchiveAnswers::ReadPlace(std::string_view text) {
    const auto colon = text.rfind(':');
    if (colon == std::string_view::npos)
        return std::nullopt;
    Place place{std::string(text.substr(0, colon)), 0};
    const auto [stop, failure] = std::from_chars(text.data() + colon + 1, text.data() + text.size(), place.port);
    in_addr address{};
    if (failure != std::errc() || stop != text.data() + text.size() || place.port < 1 || place.port > 0xFFFF ||
        inet_pton(AF_INET, place.address.c_str(), &address) != 1)
        return std::nullopt;
    return place;
}

ArchiveAnswers::ArchiveAnswers(const Place& place, ArchiveSetting archive, const ArchiveTls* tls, Database& database,
                               std::string dataSource)
    : archive_(std::move(archive)), tls_(tls), dataSource_(std::move(dataSource)), listener_(Listen(place)),
      wakeUp_(eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK)), connection_(database.NewConnection()) {}

ArchiveAnswers::~ArchiveAnswers() {
    thread_ = {}; // ended and joined
    workers_.clear();
    close(wakeUp_);
    close(listener_);
}

void ArchiveAnswers::GoOn() {
    thread_ = std::jthread([this](const std::stop_token& stop) { Run(stop); });
}

void ArchiveAnswers::Serve(int socket, const ArchiveSetting& archive, const Settle& settle) noexcept try {
    Conversation(socket, archive, settle).Run();
} catch (const std::exception& failure) {
    LogLine(std::string("could not hear the archive's answer: ") + failure.what());
}

void ArchiveAnswers::Run(const std::stop_token& stop) {
    const std::stop_callback wake(stop, [this] { eventfd_write(wakeUp_, 1); });
    while (!stop.stop_requested()) {
        std::array<pollfd, 2> waiting{{{wakeUp_, POLLIN, 0}, {listener_, POLLIN, 0}}};
        // Who comes while all are busy waits in the system's own list.
        const auto watched = workers_.size() < MostAtOnce ? 2U : 1U;
        poll(waiting.data(), watched, workers_.empty() ? -1 : DeadlineCheckMilliseconds);
        workers_.remove_if([](const auto& worker) { return worker->done || Clock::now() >= worker->until; });
        if (watched > 1 && waiting[1].revents != 0)
            Accept();
    }
}

void ArchiveAnswers::Accept() try {
    const int socket = accept4(listener_, nullptr, nullptr, SOCK_CLOEXEC | SOCK_NONBLOCK);
    if (socket < 0)
        return;
    auto worker = std::make_unique<Worker>();
    worker->handle = dup(socket);
    if (worker->handle < 0) { // by which its time is bounded
        close(socket);
        return;
    }
    worker->thread = std::jthread([this, socket, &done = worker->done] {
        const Settle settle = [this](const OutgoingQueue::Answer& answer) { return Write(answer); };
        try {
            if (tls_ == nullptr) {
                Serve(socket, archive_, settle);
            } else {
                TlsServer tls(socket, *tls_);
                Serve(tls.TakeInside(), archive_, settle);
            }
        } catch (const std::exception& failure) {
            LogLine(std::string("could not hear the archive's answer: ") + failure.what());
        }
        done = true;
    });
    workers_.push_back(std::move(worker));
} catch (const std::system_error& failure) {
    LogLine(std::string("cannot hear the archive's answer: ") + failure.what());
}

bool ArchiveAnswers::Write(const OutgoingQueue::Answer& answer) {
    const std::lock_guard guard(writing_);
    try {
        if (!connection_->IsOpen()) {
            connection_->Open("DSN=" + dataSource_);
            queue_.emplace(*connection_, DetectEngine(*connection_), std::string());
        }
        if (queue_->Settle(answer) == 0)
            LogLine("the archive answered a question that is not open: " + Quote(answer.transactionUid));
        return true;
    } catch (const Error& failure) {
        LogLine("could not write down the archive's answer: " + failure.description);
        return false;
    }
}

} // namespace tavrel
