#include "tests/suite/porvane/ArchivePeer.h"

#include <dcmtk/config/osconfig.h>

#include <dcmtk/dcmdata/dcdatset.h>
#include <dcmtk/dcmdata/dcdeftag.h>
#include <dcmtk/dcmdata/dcsequen.h>
#include <dcmtk/dcmdata/dcuid.h>
#include <dcmtk/dcmnet/assoc.h>
#include <dcmtk/dcmnet/dcmtrans.h>
#include <dcmtk/dcmnet/dimse.h>
#include <dcmtk/dcmtls/tlslayer.h>

#include <arpa/inet.h>
#include <netinet/in.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <array>
#include <memory>
#include <optional>
#include <span>
#include <stdexcept>

namespace tavrel {
namespace {

constexpr int Patience = 20; ///< seconds
constexpr Uint16 NoSuchInstance = 0x0112;

void Copy(std::string_view text, std::span<char> field) {
    field[text.copy(field.data(), field.size() - 1)] = '\0';
}

int ListenOnLoopback(int& port) {
    const int listener = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    sockaddr_in address{};
    socklen_t length = sizeof address;
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    if (bind(listener, reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0 || listen(listener, 16) != 0 ||
        getsockname(listener, reinterpret_cast<sockaddr*>(&address), &length) != 0)
        throw std::runtime_error("no archive");
    port = ntohs(address.sin_port);
    return listener;
}

} // namespace

/// One association, from its request to its end, and what follows of it.
struct ArchivePeer::Talk {
    Talk(ArchivePeer& owner, int socket) : peer(owner) {
        dcmExternalSocketHandle.set(socket);
        if (ASC_initializeNetwork(NET_ACCEPTOR, 0, Patience, &network).good()) {
            if (peer.manners_.tls != nullptr)
                ASC_setTransportLayer(network, &peer.manners_.tls->Layer(), 0);
            ASC_receiveAssociation(network, &association, ASC_DEFAULTMAXPDU, nullptr, nullptr,
                                   peer.manners_.tls != nullptr, DUL_NOBLOCK, Patience);
        }
        dcmExternalSocketHandle.set(-1);
    }
    ~Talk() {
        if (association != nullptr) {
            ASC_dropAssociation(association);
            ASC_destroyAssociation(&association);
        }
        if (network != nullptr)
            ASC_dropNetwork(&network);
    }
    Talk(const Talk&) = delete;
    Talk& operator=(const Talk&) = delete;

    void Run() {
        if (association == nullptr)
            return;
        peer.Remember(*association->params);
        std::array<const char*, 3> syntaxes{UID_LittleEndianExplicitTransferSyntax,
                                            UID_LittleEndianImplicitTransferSyntax, UID_JPEG2000TransferSyntax};
        ASC_acceptContextsWithPreferredTransferSyntaxes(association->params, dcmAllStorageSOPClassUIDs,
                                                        numberOfDcmAllStorageSOPClassUIDs, syntaxes.data(), 3);
        const char* commitment = UID_StorageCommitmentPushModelSOPClass;
        if (peer.manners_.commitment != Commitment::NotOffered)
            ASC_acceptContextsWithPreferredTransferSyntaxes(association->params, &commitment, 1, syntaxes.data(), 2);
        if (ASC_acknowledgeAssociation(association).bad())
            return;
        while (HearOne())
            ;
        if (question && peer.manners_.commitment == Commitment::InItsOwn)
            AnswerInItsOwn();
    }

    bool HearOne() {
        T_ASC_PresentationContextID context = 0;
        T_DIMSE_Message message{};
        const OFCondition outcome =
            DIMSE_receiveCommand(association, DIMSE_NONBLOCKING, Patience, &context, &message, nullptr);
        if (outcome == DUL_PEERREQUESTEDRELEASE)
            ASC_acknowledgeRelease(association);
        if (outcome.bad())
            return false;
        if (message.CommandField == DIMSE_C_STORE_RQ)
            return Store(context, message.msg.CStoreRQ);
        return message.CommandField == DIMSE_N_ACTION_RQ && Ask(context, message.msg.NActionRQ);
    }

    bool Store(T_ASC_PresentationContextID context, T_DIMSE_C_StoreRQ& request) {
        answer = peer.StatusFor(request.AffectedSOPInstanceUID);
        DcmDataset* received = nullptr;
        const bool told = DIMSE_storeProvider(association, context, &request, nullptr, 1, &received, Answer, this,
                                              DIMSE_NONBLOCKING, Patience)
                              .good();
        delete received;
        return told;
    }
    static void Answer(void* data, T_DIMSE_StoreProgress*, T_DIMSE_C_StoreRQ*, char*, DcmDataset**,
                       T_DIMSE_C_StoreRSP* response, DcmDataset** detail) {
        auto& talk = *static_cast<Talk*>(data);
        response->DimseStatus = talk.answer;
        if (talk.answer != STATUS_Success && *detail == nullptr) {
            *detail = new DcmDataset; // the toolkit frees it
            (*detail)->putAndInsertString(DCM_ErrorComment, "the archive's own words");
        }
    }

    bool Ask(T_ASC_PresentationContextID context, const T_DIMSE_N_ActionRQ& request) {
        DcmDataset* received = nullptr;
        T_ASC_PresentationContextID from = context;
        if (DIMSE_receiveDataSetInMemory(association, DIMSE_NONBLOCKING, Patience, &from, &received, nullptr, nullptr)
                .bad())
            return false;
        question.reset(received);
        ++peer.questions_;
        T_DIMSE_Message message{};
        message.CommandField = DIMSE_N_ACTION_RSP;
        message.msg.NActionRSP.MessageIDBeingRespondedTo = request.MessageID;
        message.msg.NActionRSP.DataSetType = DIMSE_DATASET_NULL;
        if (DIMSE_sendMessageUsingMemoryData(association, context, &message, nullptr, nullptr, nullptr, nullptr).bad())
            return false;
        return peer.manners_.commitment != Commitment::InTheSameAssociation || Report(association, context);
    }

    std::unique_ptr<DcmDataset> Kept() {
        auto report = std::make_unique<DcmDataset>();
        OFString transaction;
        question->findAndGetOFString(DCM_TransactionUID, transaction);
        report->putAndInsertOFStringArray(DCM_TransactionUID, transaction);
        DcmSequenceOfItems* asked = nullptr;
        question->findAndGetSequence(DCM_ReferencedSOPSequence, asked);
        for (unsigned long at = 0; asked != nullptr && at < asked->card(); ++at) {
            OFString uid;
            asked->getItem(at)->findAndGetOFString(DCM_ReferencedSOPInstanceUID, uid);
            const bool lost = peer.Loses(uid);
            DcmItem* item = nullptr;
            report->findOrCreateSequenceItem(lost ? DCM_FailedSOPSequence : DCM_ReferencedSOPSequence, item, -2);
            item->putAndInsertString(DCM_ReferencedSOPClassUID, UID_BasicTextSRStorage);
            item->putAndInsertString(DCM_ReferencedSOPInstanceUID, uid.c_str());
            if (lost)
                item->putAndInsertUint16(DCM_FailureReason, NoSuchInstance);
        }
        return report;
    }

    bool Report(T_ASC_Association* through, T_ASC_PresentationContextID context) {
        const auto report = Kept();
        T_DIMSE_Message message{};
        message.CommandField = DIMSE_N_EVENT_REPORT_RQ;
        auto& request = message.msg.NEventReportRQ;
        request.MessageID = through->nextMsgID++;
        Copy(UID_StorageCommitmentPushModelSOPClass, request.AffectedSOPClassUID);
        Copy(UID_StorageCommitmentPushModelSOPInstance, request.AffectedSOPInstanceUID);
        request.EventTypeID = 1;
        request.DataSetType = DIMSE_DATASET_PRESENT;
        T_DIMSE_Message response{};
        T_ASC_PresentationContextID from = 0;
        return DIMSE_sendMessageUsingMemoryData(through, context, &message, nullptr, report.get(), nullptr, nullptr)
                   .good() &&
               DIMSE_receiveCommand(through, DIMSE_NONBLOCKING, Patience, &from, &response, nullptr).good();
    }

    void AnswerInItsOwn() {
        T_ASC_Network* outgoing = nullptr;
        T_ASC_Parameters* parameters = nullptr;
        T_ASC_Association* own = nullptr;
        ASC_initializeNetwork(NET_REQUESTOR, 0, Patience, &outgoing);
        if (peer.manners_.tls != nullptr)
            ASC_setTransportLayer(outgoing, &peer.manners_.tls->Layer(), 0);
        ASC_createAssociationParameters(&parameters, ASC_DEFAULTMAXPDU);
        ASC_setAPTitles(parameters, peer.manners_.title.c_str(), "PORVANE", nullptr);
        ASC_setPresentationAddresses(parameters, "localhost",
                                     ("127.0.0.1:" + std::to_string(peer.manners_.answersPort)).c_str());
        ASC_setTransportLayerType(parameters, peer.manners_.tls != nullptr);
        const char* syntax = UID_LittleEndianImplicitTransferSyntax;
        ASC_addPresentationContext(parameters, 1, UID_StorageCommitmentPushModelSOPClass, &syntax, 1, ASC_SC_ROLE_SCP);
        if (ASC_requestAssociation(outgoing, parameters, &own).good()) {
            if (Report(own, 1))
                ASC_releaseAssociation(own);
            else
                ASC_abortAssociation(own);
        }
        if (own != nullptr)
            ASC_destroyAssociation(&own);
        ASC_dropNetwork(&outgoing);
    }

    ArchivePeer& peer;
    T_ASC_Network* network = nullptr;
    T_ASC_Association* association = nullptr;
    Uint16 answer = 0;
    std::unique_ptr<DcmDataset> question;
};

ArchivePeer::ArchivePeer(Manners manners)
    : manners_(std::move(manners)), listener_(ListenOnLoopback(port_)), thread_([this] { Listen(); }) {}

ArchivePeer::~ArchivePeer() {
    ending_ = true;
    shutdown(listener_, SHUT_RDWR);
    thread_.join();
    close(listener_);
}

void ArchivePeer::Refuse(const std::string& uid, std::uint16_t status, int times) {
    const std::lock_guard guard(mutex_);
    refusals_[uid] = {status, times};
}

void ArchivePeer::Lose(const std::string& uid) {
    const std::lock_guard guard(mutex_);
    lost_[uid] = true;
}

std::vector<std::string> ArchivePeer::Came() const {
    const std::lock_guard guard(mutex_);
    return came_;
}

std::set<std::string> ArchivePeer::Proposals() const {
    const std::lock_guard guard(mutex_);
    return proposals_;
}

void ArchivePeer::Remember(T_ASC_Parameters& parameters) {
    const std::lock_guard guard(mutex_);
    for (int at = 0; at < ASC_countPresentationContexts(&parameters); ++at) {
        T_ASC_PresentationContext proposed{};
        ASC_getPresentationContext(&parameters, at, &proposed);
        proposals_.insert(std::string(proposed.abstractSyntax) + " " + proposed.proposedTransferSyntaxes[0]);
    }
}

std::uint16_t ArchivePeer::StatusFor(const std::string& uid) {
    const std::lock_guard guard(mutex_);
    if (const auto refusal = refusals_.find(uid); refusal != refusals_.end() && refusal->second.second-- > 0)
        return refusal->second.first;
    came_.push_back(uid);
    return STATUS_Success;
}

bool ArchivePeer::Loses(const std::string& uid) {
    const std::lock_guard guard(mutex_);
    return std::exchange(lost_[uid], false);
}

void ArchivePeer::Listen() {
    std::vector<int> silent;
    while (!ending_) {
        const int socket = accept4(listener_, nullptr, nullptr, SOCK_CLOEXEC);
        if (socket < 0)
            continue;
        if (manners_.silent)
            silent.push_back(socket);
        else
            Talk(*this, socket).Run();
    }
    for (const int socket : silent)
        close(socket);
}

} // namespace tavrel
