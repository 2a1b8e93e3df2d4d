#include "platform/dcmtk/DataSetEncoder.h"
#include "platform/dcmtk/DcmtkStore.h"
#include "platform/dcmtk/DicomFailure.h"
#include "platform/dcmtk/Implementation.h"
#include "platform/dcmtk/Toolkit.h"
#include "platform/store_status.h"
#include "platform/text.h"

#include <dcmtk/config/osconfig.h>

#include <dcmtk/dcmdata/dcdatset.h>
#include <dcmtk/dcmdata/dcdeftag.h>
#include <dcmtk/dcmdata/dcdict.h>
#include <dcmtk/dcmdata/dcostrma.h>
#include <dcmtk/dcmdata/dcuid.h>
#include <dcmtk/dcmnet/assoc.h>
#include <dcmtk/dcmnet/dcmlayer.h>
#include <dcmtk/dcmnet/dcmtrans.h>
#include <dcmtk/dcmnet/dimse.h>
#include <dcmtk/ofstd/ofstd.h>

#include <algorithm>
#include <array>
#include <cstdio>
#include <cstdlib>
#include <memory>

#include <netinet/in.h>
#include <netinet/tcp.h>
#include <sys/socket.h>

namespace tavrel {
namespace {

void Acknowledge(int socket, int option) {
    const int on = 1;
    ::setsockopt(socket, IPPROTO_TCP, option, &on, sizeof on);
}

/// All that a service says in an association of one version. The toolkit would parse an answer of any length and
/// depth, and lose its stack on it.
constexpr std::size_t MostAnswered = 16384;

/// Answers at once to every packet. A service that sends its answers in two small packets waits for
/// the first one's acknowledgement, which the system would otherwise delay by 40 ms.
class PromptConnection final : public DcmTCPConnection {
public:
    explicit PromptConnection(DcmNativeSocketType socket) : DcmTCPConnection(socket) {
        Acknowledge(socket, TCP_NODELAY);
        Acknowledge(socket, TCP_QUICKACK);
    }

    /// A service that says more than it can have to say has ended the connection.
    ssize_t read(void* buffer, size_t count) override {
        const ssize_t got = DcmTCPConnection::read(buffer, std::min(count, left_));
        left_ -= static_cast<std::size_t>(std::max<ssize_t>(got, 0));
        Acknowledge(getSocket(), TCP_QUICKACK); // the system takes the setting back by itself
        return got;
    }

private:
    std::size_t left_ = MostAnswered;
};

class PromptLayer final : public DcmTransportLayer {
public:
    DcmTransportConnection* createConnection(DcmNativeSocketType socket, OFBool) override {
        socket_ = socket;
        return std::make_unique<PromptConnection>(socket).release(); // the association owns it
    }

    /// Ends the connection's waits: an abort would otherwise wait once more for a silent service.
    void HangUp() const {
        if (socket_ >= 0)
            ::shutdown(socket_, SHUT_RDWR);
    }

private:
    DcmNativeSocketType socket_ = -1;
};

/// Hands the toolkit a data set that is encoded already, as it asks for it.
class EncodedForSending final : public DcmDataset {
public:
    explicit EncodedForSending(std::string_view bytes) : left_(bytes) {}

    OFBool isEmpty(const OFBool) override { return OFFalse; }
    OFBool canWriteXfer(const E_TransferSyntax, const E_TransferSyntax) override { return OFTrue; }
    using DcmDataset::write;
    OFCondition write(DcmOutputStream& stream, const E_TransferSyntax, const E_EncodingType, DcmWriteCache*,
                      const E_GrpLenEncoding, const E_PaddingEncoding, const Uint32, const Uint32, Uint32) override {
        const auto length = std::min(static_cast<offile_off_t>(left_.size()), stream.avail());
        left_.remove_prefix(static_cast<std::size_t>(stream.write(left_.data(), length)));
        return left_.empty() ? EC_Normal : EC_StreamNotifyClient;
    }

private:
    std::string_view left_;
};

Error NotStored(const std::string& what, const OFCondition& why) {
    return DicomFailure(DicomFault::NotStored, what + ": " + why.text());
}

/// What a status of a C-STORE response says (DICOM PS3.4, table B.2-1; PS3.7, annex C).
struct Status {
    unsigned first, last;
    const char* says;
};
constexpr std::array Statuses{
    Status{0xA700, 0xA7FF, "it is out of resources"},
    Status{0xA900, 0xA9FF, "the document does not match its kind"},
    Status{store_status::ReportHasOthers, store_status::ReportHasOthers, "the report has another version meanwhile"},
    Status{store_status::ReportApproved, store_status::ReportApproved, "the report is approved"},
    Status{0xC000, 0xCFFF, "it cannot understand the document"},
    Status{0x0110, 0x0110, "it failed to process the document"},
    Status{0x0111, 0x0111, "it has this document already"},
    Status{0x0117, 0x0117, "the document's UID is not valid"},
    Status{0x0122, 0x0122, "it does not take this kind of document"},
    Status{0x0124, 0x0124, "this workstation may not store there"},
    Status{0xFE00, 0xFE00, "the storing was cancelled"},
};

std::string Meaning(unsigned status) {
    const auto known =
        std::ranges::find_if(Statuses, [&](const Status& each) { return status >= each.first && status <= each.last; });
    std::array<char, 5> number{};
    std::snprintf(number.data(), number.size(), "%04X", status);
    return std::string(known == Statuses.end() ? "it failed" : known->says) + ", status " + number.data();
}

/// One association, aborted unless it was released.
class Association {
public:
    explicit Association(const StoreRequest& request) {
        const int answer = static_cast<int>(request.timeouts.answer.count());
        dcmConnectionTimeout.set(static_cast<Sint32>(request.timeouts.connect.count()));
        dcmSocketSendTimeout.set(answer);
        dcmSocketReceiveTimeout.set(answer);
        Require(ASC_initializeNetwork(NET_REQUESTOR, 0, answer, &network_), "The network cannot be used");
        Require(ASC_setTransportLayer(network_, &layer_, 0), "The network cannot be used");
        T_ASC_Parameters* parameters = Parameters(request);
        const OFCondition outcome =
            ASC_requestAssociation(network_, parameters, &association_, nullptr, nullptr, DUL_NOBLOCK, answer);
        if (outcome.bad()) {
            const Error failure = Refused(outcome, parameters);
            if (association_ == nullptr)
                ASC_destroyAssociationParameters(&parameters);
            Destroy();
            throw failure;
        }
    }
    Association(const Association&) = delete;
    Association& operator=(const Association&) = delete;
    ~Association() { Destroy(); }

    void Store(const StoreRequest& given) {
        const auto& [sopClass, sopInstance, explicitVr] = given.dataSet;
        const auto context = ASC_findAcceptedPresentationContextID(association_, sopClass.c_str());
        if (context == 0)
            throw DicomFailure(DicomFault::NotStored, "the service does not take this kind of document");
        T_DIMSE_C_StoreRQ request{};
        request.MessageID = association_->nextMsgID++;
        request.DataSetType = DIMSE_DATASET_PRESENT;
        request.Priority = DIMSE_PRIORITY_MEDIUM;
        sopClass.copy(request.AffectedSOPClassUID, sizeof request.AffectedSOPClassUID - 1);
        sopInstance.copy(request.AffectedSOPInstanceUID, sizeof request.AffectedSOPInstanceUID - 1);
        const std::string implicitVr = context == ImplicitVrContext ? given.inImplicitVr(explicitVr) : std::string{};
        EncodedForSending sent{context == ImplicitVrContext ? implicitVr : explicitVr};
        T_DIMSE_C_StoreRSP response{};
        DcmDataset* received = nullptr;
        const OFCondition outcome =
            DIMSE_storeUser(association_, context, &request, nullptr, &sent, nullptr, nullptr, DIMSE_NONBLOCKING,
                            static_cast<int>(given.timeouts.answer.count()), &response, &received);
        const std::unique_ptr<DcmDataset> detail{received};
        if (outcome.bad())
            throw NotStored("the service did not answer", outcome);
        const auto status = response.DimseStatus;
        const bool notItsTurn = status == store_status::ReportHasOthers || status == store_status::ReportApproved;
        if (status != STATUS_Success && (status & 0xF000U) != 0xB000U)
            throw DicomFailure(notItsTurn ? DicomFault::NotItsTurn : DicomFault::NotStored,
                               "the service answered that " + Meaning(status) + Comment(detail.get()));
    }

    /// The document is stored; a service that fails to say good-bye takes nothing back.
    void Release() {
        if (ASC_releaseAssociation(association_).good())
            released_ = true;
    }

private:
    /// The service's own words on why (DICOM PS3.7, C.5), where it has any.
    static std::string Comment(DcmDataset* detail) {
        OFString comment;
        if (detail == nullptr || detail->findAndGetOFString(DCM_ErrorComment, comment).bad() || comment.empty())
            return {};
        return " (\"" + comment + "\")";
    }

    void Require(const OFCondition& outcome, const char* what) {
        if (outcome.good())
            return;
        Destroy();
        throw NotStored(what, outcome);
    }

    T_ASC_Parameters* Parameters(const StoreRequest& request) {
        T_ASC_Parameters* parameters = nullptr;
        Require(ASC_createAssociationParameters(&parameters, ASC_DEFAULTMAXPDU), "The network cannot be used");
        OFStandard::strlcpy(parameters->ourImplementationClassUID, std::string(ImplementationClassUid).c_str(),
                            sizeof parameters->ourImplementationClassUID);
        OFStandard::strlcpy(parameters->ourImplementationVersionName, std::string(request.versionName).c_str(),
                            sizeof parameters->ourImplementationVersionName);
        ASC_setAPTitles(parameters, request.target.callingAe.c_str(), request.target.calledAe.c_str(), nullptr);
        const std::string address = Address(request.target);
        ASC_setPresentationAddresses(parameters, "localhost", address.c_str());
        const char* sopClass = request.dataSet.sopClassUid.c_str();
        std::array<const char*, 2> syntaxes{UID_LittleEndianExplicitTransferSyntax,
                                            UID_LittleEndianImplicitTransferSyntax};
        ASC_addPresentationContext(parameters, ExplicitVrContext, sopClass, syntaxes.data(), 1);
        ASC_addPresentationContext(parameters, ImplicitVrContext, sopClass, syntaxes.data() + 1, 1);
        return parameters;
    }

    /// The workstation's own service listens on the loopback address only.
    static std::string Address(const StoreTarget& target) {
        return (SameInAnyCase(target.host, "localhost") ? "127.0.0.1" : target.host) + ":" + target.port;
    }

    static Error Refused(const OFCondition& outcome, T_ASC_Parameters* parameters) {
        if (outcome != DUL_ASSOCIATIONREJECTED)
            return NotStored("the service cannot be reached", outcome);
        T_ASC_RejectParameters rejection{};
        ASC_getRejectParameters(parameters, &rejection);
        OFString reason;
        ASC_printRejectParameters(reason, &rejection);
        std::ranges::replace(reason, '\n', ' ');
        return DicomFailure(DicomFault::NotStored, "the service refused the connection: " + reason);
    }

    void Destroy() {
        if (association_ != nullptr) {
            if (!released_) {
                layer_.HangUp();
                ASC_abortAssociation(association_);
            }
            ASC_destroyAssociation(&association_);
        }
        if (network_ != nullptr)
            ASC_dropNetwork(&network_);
    }

    static constexpr T_ASC_PresentationContextID ExplicitVrContext = 1;
    static constexpr T_ASC_PresentationContextID ImplicitVrContext = 3;

    PromptLayer layer_;
    T_ASC_Network* network_ = nullptr;
    T_ASC_Association* association_ = nullptr;
    bool released_ = false;
};

/// Without it the toolkit fails in the middle of a store, and says that of the service.
void RequireDictionary() {
    const bool whole = dcmDataDict.rdlock().findEntry(DCM_AffectedSOPClassUID, nullptr) != nullptr;
    dcmDataDict.rdunlock();
    if (whole)
        return;
    const char* set = std::getenv(DCM_DICT_ENVIRONMENT_VARIABLE);
    throw DicomFailure(DicomFault::NotStored, "the dictionary of DICOM's elements is missing or damaged (" +
                                                  std::string(set != nullptr ? set : DCM_DICT_DEFAULT_PATH) +
                                                  "); it must be installed again");
}

} // namespace

} // namespace tavrel

void TavrelStore(const tavrel::StoreRequest& request) {
    tavrel::RequireDictionary();
    tavrel::Association association{request};
    association.Store(request);
    association.Release();
}
