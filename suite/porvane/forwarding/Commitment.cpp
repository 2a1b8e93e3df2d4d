#include "suite/porvane/forwarding/Commitment.h"

#include "platform/dcmtk/FileMeta.h"
#include "platform/dcmtk/StructuralScan.h"
#include "platform/text.h"
#include "platform/uid.h"

#include <dcmtk/config/osconfig.h>

#include <dcmtk/dcmdata/dcdeftag.h>
#include <dcmtk/dcmdata/dcfilefo.h>
#include <dcmtk/dcmdata/dcistrmb.h>

#include <random>
#include <stdexcept>

namespace tavrel::commitment {
namespace {

std::string Uid(DcmItem& item, const DcmTagKey& tag) {
    OFString text;
    item.findAndGetOFString(tag, text);
    const std::string_view uid = Trimmed(std::string_view(text.data(), text.size()), std::string_view(" \0", 2));
    return IsUid(uid) ? std::string(uid) : std::string();
}

template <typename Action> void ForEach(DcmItem& dataSet, const DcmTagKey& sequence, const Action& action) {
    DcmSequenceOfItems* items = nullptr;
    if (dataSet.findAndGetSequence(sequence, items).bad() || items == nullptr)
        return;
    for (DcmObject* item = items->nextInContainer(nullptr); item != nullptr; item = items->nextInContainer(item))
        action(static_cast<DcmItem&>(*item));
}

void Require(const OFCondition& outcome) {
    if (outcome.bad())
        throw std::runtime_error(outcome.text());
}

} // namespace

std::string NewTransactionUid() {
    constexpr int digits = 38; // of 128 bits
    std::random_device random;
    std::uniform_int_distribution digit('0', '9');
    std::string uid = "2.25.1";
    for (int i = 0; i < digits - 1; ++i)
        uid += static_cast<char>(digit(random));
    return uid;
}

std::unique_ptr<DcmDataset> Question(const std::string& transactionUid,
                                     std::span<const OutgoingQueue::Reference> references) {
    auto question = std::make_unique<DcmDataset>();
    Require(question->putAndInsertString(DCM_TransactionUID, transactionUid.c_str()));
    for (const auto& reference : references) {
        DcmItem* item = nullptr;
        Require(question->findOrCreateSequenceItem(DCM_ReferencedSOPSequence, item, -2)); // appends
        Require(item->putAndInsertString(DCM_ReferencedSOPClassUID, reference.sopClassUid.c_str()));
        Require(item->putAndInsertString(DCM_ReferencedSOPInstanceUID, reference.sopInstanceUid.c_str()));
    }
    return question;
}

OutgoingQueue::Answer ReadAnswer(DcmItem& dataSet) {
    OutgoingQueue::Answer answer{.transactionUid = Uid(dataSet, DCM_TransactionUID), .committed = {}, .failed = {}};
    ForEach(dataSet, DCM_ReferencedSOPSequence, [&answer](DcmItem& item) {
        if (const std::string uid = Uid(item, DCM_ReferencedSOPInstanceUID); !uid.empty())
            answer.committed.push_back(uid);
    });
    ForEach(dataSet, DCM_FailedSOPSequence, [&answer](DcmItem& item) {
        Uint16 reason = 0;
        item.findAndGetUint16(DCM_FailureReason, reason);
        if (const std::string uid = Uid(item, DCM_ReferencedSOPInstanceUID); !uid.empty())
            answer.failed.push_back({uid, reason});
    });
    return answer;
}

OutgoingQueue::Answer ReadAnswer(std::string_view bytes, std::string_view transferSyntax) {
    const std::string file = FileMeta(SopClass, SopInstance, transferSyntax).append(bytes);
    ByteWindow window(std::span(reinterpret_cast<const std::uint8_t*>(file.data()), file.size()));
    ScanDicom(window, EveryGroup);
    DcmInputBufferStream stream;
    stream.setBuffer(file.data(), static_cast<offile_off_t>(file.size()));
    stream.setEos();
    DcmFileFormat parsed;
    parsed.transferInit();
    Require(parsed.read(stream));
    parsed.transferEnd();
    return ReadAnswer(*parsed.getDataset());
}

} // namespace tavrel::commitment
