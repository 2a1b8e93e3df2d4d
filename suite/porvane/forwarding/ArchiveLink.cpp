#include "suite/porvane/forwarding/ArchiveLink.h"

#include "platform/dcmtk/Implementation.h"
#include "suite/porvane/forwarding/ArchiveTls.h"
#include "suite/porvane/forwarding/Commitment.h"

#include <dcmtk/config/osconfig.h>

#include <dcmtk/dcmdata/dcdatset.h>
#include <dcmtk/dcmdata/dcdeftag.h>
#include <dcmtk/dcmdata/dcuid.h>
#include <dcmtk/dcmdata/dcxfer.h>
#include <dcmtk/dcmnet/assoc.h>
#include <dcmtk/dcmnet/dcmtrans.h>
#include <dcmtk/dcmnet/dimse.h>
#include <dcmtk/dcmtls/tlslayer.h>

#include <algorithm>
#include <array>
#include <cstdio>
#include <memory>
#include <span>

namespace tavrel {
namespace {

using std::chrono::seconds;

constexpr seconds ConnectTime{10};
constexpr seconds AnswerTime{60};
constexpr seconds GoodbyeTime{5};

std::string Hexadecimal(unsigned status) {
    std::array<char, 8> number{};
    std::snprintf(number.data(), number.size(), "%04XH", status);
    return number.data();
}

/// A status of a C-STORE response (DICOM PS3.4, table B.2-1; PS3.7, annex C) that another try will not change.
bool IsOfTheObject(unsigned status) {
    constexpr std::array<unsigned, 3> general = {0x0117, 0x0119, 0x0122}; // invalid UID, other class, no such class
    return (status >= 0xA900 && status <= 0xAFFF) || (status >= 0xC000 && status <= 0xCFFF) ||
           std::ranges::find(general, status) != general.end();
}

bool IsTaken(unsigned status) {
    constexpr unsigned duplicate = 0x0111; // whether it is the same one, the commitment tells
    return status == STATUS_Success || (status & 0xF000U) == 0xB000U || status == duplicate;
}

std::string Comment(DcmDataset* detail) {
    OFString comment;
    if (detail == nullptr || detail->findAndGetOFString(DCM_ErrorComment, comment).bad() || comment.empty())
        return {};
    return " \"" + comment + "\"";
}

void Copy(std::string_view text, std::span<char> field) {
    field[text.copy(field.data(), field.size() - 1)] = '\0';
}

std::string Rejection(T_ASC_Parameters* parameters) {
    T_ASC_RejectParameters rejection{};
    ASC_getRejectParameters(parameters, &rejection);
    OFString reason;
    ASC_printRejectParameters(reason, &rejection);
    std::ranges::replace(reason, '\n', ' ');
    return reason;
}

} // namespace

ArchiveLink::ArchiveLink(const ArchiveSetting& archive, const ArchiveTls* tls, std::span<const Offer> offers,
                         const std::stop_token& stop)
    : transport_(tls == nullptr ? nullptr : &tls->Layer(), stop) {
    dcmConnectionTimeout.set(static_cast<Sint32>(ConnectTime.count()));
    dcmSocketSendTimeout.set(static_cast<Sint32>(AnswerTime.count()));
    dcmSocketReceiveTimeout.set(static_cast<Sint32>(AnswerTime.count()));
    const int answer = static_cast<int>(AnswerTime.count());
    OFCondition outcome = ASC_initializeNetwork(NET_REQUESTOR, 0, answer, &network_);
    if (outcome.good())
        outcome = ASC_setTransportLayer(network_, &transport_, 0);
    if (outcome.bad()) {
        Destroy();
        throw ArchiveLost(std::string("the network cannot be used: ") + outcome.text());
    }
    T_ASC_Parameters* parameters = Parameters(archive, tls != nullptr, offers);
    transport_.Allow(ConnectTime + AnswerTime);
    outcome = ASC_requestAssociation(network_, parameters, &association_, nullptr, nullptr, DUL_NOBLOCK, answer);
    if (outcome.bad()) {
        const std::string why = outcome == DUL_ASSOCIATIONREJECTED
                                    ? "it refused the connection: " + Rejection(parameters)
                                    : std::string("it cannot be reached: ") + outcome.text();
        if (association_ == nullptr)
            ASC_destroyAssociationParameters(&parameters);
        lost_ = true;
        Destroy();
        throw ArchiveLost(why);
    }
}

ArchiveLink::~ArchiveLink() {
    if (association_ != nullptr && !lost_) {
        transport_.Allow(GoodbyeTime);
        lost_ = ASC_releaseAssociation(association_).bad();
    }
    Destroy();
}

void ArchiveLink::Destroy() {
    if (association_ != nullptr) {
        if (lost_) {
            transport_.HangUp(); // an abort would otherwise wait once more for a silent archive
            ASC_abortAssociation(association_);
        }
        ASC_destroyAssociation(&association_);
    }
    if (network_ != nullptr)
        ASC_dropNetwork(&network_);
}

T_ASC_Parameters* ArchiveLink::Parameters(const ArchiveSetting& archive, bool tls, std::span<const Offer> offers) {
    T_ASC_Parameters* parameters = nullptr;
    ASC_createAssociationParameters(&parameters, ASC_DEFAULTMAXPDU);
    Copy(ImplementationClassUid, parameters->ourImplementationClassUID);
    Copy(ImplementationVersionName(), parameters->ourImplementationVersionName);
    ASC_setAPTitles(parameters, archive.callingAe.c_str(), archive.aeTitle.c_str(), nullptr);
    ASC_setPresentationAddresses(parameters, "localhost", (archive.host + ":" + std::to_string(archive.port)).c_str());
    ASC_setTransportLayerType(parameters, tls ? OFTrue : OFFalse);
    T_ASC_PresentationContextID context = 1;
    const auto propose = [&](const char* abstractSyntax, const char* transferSyntax) {
        ASC_addPresentationContext(parameters, context, abstractSyntax, &transferSyntax, 1);
        context = static_cast<T_ASC_PresentationContextID>(context + 2);
    };
    for (const Offer& offer : offers.first(std::min(offers.size(), MostOffers))) {
        propose(offer.sopClass.c_str(), offer.transferSyntax.c_str());
        if (offer.transferSyntax != UID_LittleEndianImplicitTransferSyntax &&
            DcmXfer(offer.transferSyntax.c_str()).isNotEncapsulated())
            propose(offer.sopClass.c_str(), UID_LittleEndianImplicitTransferSyntax);
    }
    if (offers.empty()) {
        propose(UID_StorageCommitmentPushModelSOPClass, UID_LittleEndianExplicitTransferSyntax);
        propose(UID_StorageCommitmentPushModelSOPClass, UID_LittleEndianImplicitTransferSyntax);
    }
    return parameters;
}

/// 0 where none was accepted. Data that are not compressed can be sent in another syntax than that of their file.
unsigned char ArchiveLink::ContextFor(const std::string& sopClass, const DcmDataset& dataSet) const {
    const DcmXfer own(dataSet.getOriginalXfer());
    const auto same = ASC_findAcceptedPresentationContextID(association_, sopClass.c_str(), own.getXferID());
    if (same != 0 || !own.isNotEncapsulated())
        return same;
    return ASC_findAcceptedPresentationContextID(association_, sopClass.c_str(),
                                                 UID_LittleEndianImplicitTransferSyntax);
}

ArchiveLink::Answer ArchiveLink::Store(DcmDataset& dataSet, const OutgoingQueue::Object& object, seconds time) {
    const auto context = ContextFor(object.sopClassUid, dataSet);
    if (context == 0)
        return {Verdict::Refused, "it takes no objects of this class and transfer syntax"};
    T_DIMSE_C_StoreRQ request{};
    request.MessageID = association_->nextMsgID++;
    request.DataSetType = DIMSE_DATASET_PRESENT;
    request.Priority = DIMSE_PRIORITY_MEDIUM;
    Copy(object.sopClassUid, request.AffectedSOPClassUID);
    Copy(object.sopInstanceUid, request.AffectedSOPInstanceUID);
    T_DIMSE_C_StoreRSP response{};
    DcmDataset* received = nullptr;
    transport_.Allow(time);
    const OFCondition outcome =
        DIMSE_storeUser(association_, context, &request, nullptr, &dataSet, nullptr, nullptr, DIMSE_NONBLOCKING,
                        static_cast<int>(AnswerTime.count()), &response, &received);
    const std::unique_ptr<DcmDataset> detail{received};
    if (outcome.bad()) {
        lost_ = true;
        throw ArchiveLost(std::string("it did not answer: ") + outcome.text());
    }
    if (IsTaken(response.DimseStatus))
        return {Verdict::Taken, {}};
    return {IsOfTheObject(response.DimseStatus) ? Verdict::Refused : Verdict::NotNow,
            "it answered " + Hexadecimal(response.DimseStatus) + Comment(detail.get())};
}

std::string ArchiveLink::Ask(const std::string& transactionUid, std::span<const OutgoingQueue::Reference> references,
                             seconds wait, const Settle& settle) {
    const auto context = ASC_findAcceptedPresentationContextID(association_, UID_StorageCommitmentPushModelSOPClass);
    if (context == 0)
        return "it offers no storage commitment";
    const auto require = [this](const OFCondition& outcome) {
        lost_ = lost_ || outcome.bad();
        if (outcome.bad())
            throw ArchiveLost(std::string("asked whether it keeps what it took, it did not answer: ") + outcome.text());
    };
    const auto question = commitment::Question(transactionUid, references);
    T_DIMSE_Message message{};
    message.CommandField = DIMSE_N_ACTION_RQ;
    T_DIMSE_N_ActionRQ& request = message.msg.NActionRQ;
    request.MessageID = association_->nextMsgID++;
    Copy(commitment::SopClass, request.RequestedSOPClassUID);
    Copy(commitment::SopInstance, request.RequestedSOPInstanceUID);
    request.ActionTypeID = 1;
    request.DataSetType = DIMSE_DATASET_PRESENT;
    transport_.Allow(AnswerTime + wait);
    require(
        DIMSE_sendMessageUsingMemoryData(association_, context, &message, nullptr, question.get(), nullptr, nullptr));

    const auto end = std::chrono::steady_clock::now() + wait;
    for (bool taken = false, answered = false; !taken || !answered;) {
        const auto left = std::chrono::ceil<seconds>(end - std::chrono::steady_clock::now());
        if (taken && (left.count() <= 0 || !ASC_dataWaiting(association_, static_cast<int>(left.count()))))
            return {}; // it answers in an association of its own
        T_ASC_PresentationContextID from = 0;
        DcmDataset* received = nullptr;
        T_DIMSE_Message reply{};
        const OFCondition outcome = DIMSE_receiveCommand(
            association_, DIMSE_NONBLOCKING, static_cast<int>(AnswerTime.count()), &from, &reply, &received);
        const std::unique_ptr<DcmDataset> detail{received};
        if (taken && (outcome == DUL_PEERREQUESTEDRELEASE || outcome == DUL_PEERABORTEDASSOCIATION)) {
            if (outcome == DUL_PEERREQUESTEDRELEASE)
                ASC_acknowledgeRelease(association_);
            lost_ = true;
            return {};
        }
        require(outcome);
        if (reply.CommandField == DIMSE_N_ACTION_RSP) {
            if (reply.msg.NActionRSP.DimseStatus != STATUS_Success)
                return "asked whether it keeps what it took, it answered " +
                       Hexadecimal(reply.msg.NActionRSP.DimseStatus) + Comment(detail.get());
            taken = true;
        } else if (reply.CommandField == DIMSE_N_EVENT_REPORT_RQ) {
            ReceiveAnswer(from, &reply, settle);
            answered = true;
        } else {
            require(DIMSE_BADCOMMANDTYPE);
        }
    }
    return {};
}

void ArchiveLink::ReceiveAnswer(unsigned char context, const void* message, const Settle& settle) {
    const auto& request = static_cast<const T_DIMSE_Message*>(message)->msg.NEventReportRQ;
    DcmDataset* received = nullptr;
    OFCondition outcome = EC_Normal;
    if (request.DataSetType != DIMSE_DATASET_NULL) {
        T_ASC_PresentationContextID from = context;
        outcome = DIMSE_receiveDataSetInMemory(association_, DIMSE_NONBLOCKING, static_cast<int>(AnswerTime.count()),
                                               &from, &received, nullptr, nullptr);
    }
    const std::unique_ptr<DcmDataset> dataSet{received};
    if (outcome.good() && dataSet) {
        T_DIMSE_Message response{};
        response.CommandField = DIMSE_N_EVENT_REPORT_RSP;
        T_DIMSE_N_EventReportRSP& reply = response.msg.NEventReportRSP;
        reply.MessageIDBeingRespondedTo = request.MessageID;
        reply.DimseStatus =
            settle(commitment::ReadAnswer(*dataSet)) ? STATUS_Success : static_cast<DIC_US>(STATUS_N_ProcessingFailure);
        reply.DataSetType = DIMSE_DATASET_NULL;
        outcome =
            DIMSE_sendMessageUsingMemoryData(association_, context, &response, nullptr, nullptr, nullptr, nullptr);
    }
    if (outcome.bad()) {
        lost_ = true;
        throw ArchiveLost(std::string("its answer did not come whole: ") + outcome.text());
    }
}

} // namespace tavrel
