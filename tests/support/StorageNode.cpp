#include "tests/support/StorageNode.h"

#include <dcmtk/config/osconfig.h>

#include <dcmtk/dcmdata/dcdatset.h>
#include <dcmtk/dcmdata/dcdeftag.h>
#include <dcmtk/dcmdata/dcuid.h>
#include <dcmtk/dcmnet/assoc.h>
#include <dcmtk/dcmnet/dimse.h>

#include <array>
#include <memory>
#include <stdexcept>

#include <arpa/inet.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

namespace tavrel::test {
namespace {

constexpr int CallerPatienceSeconds = 60;

/// The toolkit takes a ready connection through one variable of the process.
std::mutex HandOver;

} // namespace

/// One caller's association, from its request to its end.
struct StorageNode::Conversation {
    Conversation(StorageNode& owner, int socket) : node(owner), connection(socket) {
        const std::scoped_lock lock{HandOver};
        dcmExternalSocketHandle.set(socket);
        if (ASC_initializeNetwork(NET_ACCEPTOR, 0, CallerPatienceSeconds, &network).good())
            ASC_receiveAssociation(network, &association, ASC_DEFAULTMAXPDU);
        dcmExternalSocketHandle.set(-1);
    }
    ~Conversation() {
        if (association != nullptr) {
            ASC_dropAssociation(association);
            ASC_destroyAssociation(&association);
        }
        if (network != nullptr)
            ASC_dropNetwork(&network);
    }

    bool Accept() {
        if (association == nullptr)
            return false;
        if (node.behaviour_ == Behaviour::RefuseAssociation) {
            constexpr T_ASC_RejectParameters reason{ASC_RESULT_REJECTEDPERMANENT, ASC_SOURCE_SERVICEUSER,
                                                    ASC_REASON_SU_CALLEDAETITLENOTRECOGNIZED};
            ASC_rejectAssociation(association, &reason);
            return false;
        }
        std::array<const char*, 2> syntaxes{UID_LittleEndianExplicitTransferSyntax,
                                            UID_LittleEndianImplicitTransferSyntax};
        ASC_acceptContextsWithPreferredTransferSyntaxes(association->params, dcmAllStorageSOPClassUIDs,
                                                        numberOfDcmAllStorageSOPClassUIDs, syntaxes.data(),
                                                        static_cast<int>(syntaxes.size()));
        return ASC_acknowledgeAssociation(association).good();
    }

    void Talk() {
        for (;;) {
            T_ASC_PresentationContextID context = 0;
            T_DIMSE_Message message{};
            const OFCondition outcome = DIMSE_receiveCommand(association, DIMSE_NONBLOCKING, CallerPatienceSeconds,
                                                             &context, &message, nullptr);
            if (outcome == DUL_PEERREQUESTEDRELEASE) {
                ++node.farewells_;
                ASC_acknowledgeRelease(association);
                return;
            }
            if (outcome.bad() || message.CommandField != DIMSE_C_STORE_RQ)
                return;
            if (node.behaviour_ == Behaviour::DieInTheMiddle) {
                ::shutdown(connection, SHUT_RDWR);
                return;
            }
            if (!Store(context, message.msg.CStoreRQ))
                return;
        }
    }

    std::vector<std::string> Proposals() const {
        std::vector<std::string> proposals;
        for (int at = 0; at < ASC_countPresentationContexts(association->params); ++at) {
            T_ASC_PresentationContext proposed{};
            ASC_getPresentationContext(association->params, at, &proposed);
            for (int syntax = 0; syntax < proposed.transferSyntaxCount; ++syntax)
                proposals.push_back(std::string(proposed.abstractSyntax) + " " +
                                    proposed.proposedTransferSyntaxes[syntax]);
        }
        return proposals;
    }

    bool Store(T_ASC_PresentationContextID context, T_DIMSE_C_StoreRQ& request) {
        Received received;
        received.callingAe = association->params->DULparams.callingAPTitle;
        received.calledAe = association->params->DULparams.calledAPTitle;
        received.implementation = std::string(association->params->theirImplementationClassUID) + " " +
                                  association->params->theirImplementationVersionName;
        received.proposals = Proposals();
        received.longestPdu = static_cast<unsigned long>(association->params->theirMaxPDUReceiveSize);
        received.sopClassUid = request.AffectedSOPClassUID;
        received.sopInstanceUid = request.AffectedSOPInstanceUID;
        received.file = node.folder_.Path() / (std::to_string(++node.fileCount_) + ".dcm");
        answer = {&node, &received};
        // A file name, and no data set, keeps the bytes as they come.
        return DIMSE_storeProvider(association, context, &request, received.file.c_str(), 1, nullptr, Answer, &answer,
                                   DIMSE_NONBLOCKING, CallerPatienceSeconds)
                   .good() &&
               !answer.hungUp;
    }

    struct Answering {
        StorageNode* node = nullptr;
        const Received* received = nullptr;
        bool hungUp = false;
        std::unique_ptr<DcmDataset> detail = nullptr; ///< of the answer
    };

    static void Answer(void* data, T_DIMSE_StoreProgress* progress, T_DIMSE_C_StoreRQ*, char*, DcmDataset**,
                       T_DIMSE_C_StoreRSP* response, DcmDataset** detail) {
        if (progress->state != DIMSE_StoreEnd)
            return;
        auto& answering = *static_cast<Answering*>(data);
        StorageNode& node = *answering.node;
        const Behaviour behaviour = node.behaviour_;
        if (behaviour == Behaviour::AnswerFailure) {
            response->DimseStatus = static_cast<DIC_US>(node.failure_.load());
            answering.detail = std::make_unique<DcmDataset>(); // of which the toolkit takes what is in it alone
            answering.detail->putAndInsertString(DCM_ErrorComment, "the disk is full");
            *detail = answering.detail.get();
            return;
        }
        if (behaviour == Behaviour::AnswerWarning)
            response->DimseStatus = STATUS_STORE_Warning_CoercionOfDataElements;
        node.Keep(*answering.received);
        if (behaviour == Behaviour::HangAtAnswer)
            node.WaitForEnd();
    }

    StorageNode& node;
    int connection;
    T_ASC_Network* network = nullptr;
    T_ASC_Association* association = nullptr;
    Answering answer;
};

StorageNode::StorageNode(Behaviour behaviour) : behaviour_(behaviour) {
    listener_ = ::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    socklen_t length = sizeof address;
    auto* generic = reinterpret_cast<sockaddr*>(&address);
    if (listener_ < 0 || ::bind(listener_, generic, length) != 0 || ::listen(listener_, 64) != 0 ||
        ::getsockname(listener_, generic, &length) != 0)
        throw std::runtime_error("the storage node cannot listen");
    port_ = ntohs(address.sin_port);
    dcmDisableGethostbyaddr.set(OFTrue);
    thread_ = std::thread{[this] { Listen(); }};
}

StorageNode::~StorageNode() {
    {
        const std::scoped_lock lock{mutex_};
        ending_ = true;
        for (const int connection : connections_)
            ::shutdown(connection, SHUT_RDWR);
    }
    ended_.notify_all();
    ::shutdown(listener_, SHUT_RDWR);
    thread_.join();
    ::close(listener_);
    for (auto& caller : callers_)
        caller.join();
}

void StorageNode::Listen() {
    for (;;) {
        const int connection = ::accept4(listener_, nullptr, nullptr, SOCK_CLOEXEC);
        const std::scoped_lock lock{mutex_};
        if (ending_ || connection < 0) {
            if (connection >= 0)
                ::close(connection);
            return;
        }
        connections_.push_back(connection);
        callers_.emplace_back([this, connection] { Serve(connection); });
    }
}

void StorageNode::Serve(int connection) {
    if (behaviour_ == Behaviour::HangAtAssociation) {
        WaitForEnd();
        ::close(connection);
        return;
    }
    Conversation conversation{*this, connection};
    if (conversation.Accept())
        conversation.Talk();
    // The toolkit closes the connection; its number may then be another's.
    const std::scoped_lock lock{mutex_};
    std::erase(connections_, connection);
}

void StorageNode::Keep(const Received& received) {
    std::function<void(const Received&)> hook;
    {
        const std::scoped_lock lock{mutex_};
        objects_.push_back(received);
        hook = hook_;
    }
    if (hook)
        hook(received);
}

void StorageNode::WaitForEnd() {
    std::unique_lock lock{mutex_};
    ended_.wait(lock, [this] { return ending_.load(); });
}

void StorageNode::BeforeAnswering(std::function<void(const Received&)> hook) {
    const std::scoped_lock lock{mutex_};
    hook_ = std::move(hook);
}

std::vector<StorageNode::Received> StorageNode::Objects() const {
    const std::scoped_lock lock{mutex_};
    return objects_;
}

} // namespace tavrel::test
