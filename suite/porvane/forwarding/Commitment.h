#pragma once

#include "suite/porvane/forwarding/OutgoingQueue.h"

#include <memory>
#include <span>
#include <string>
#include <string_view>

class DcmDataset;
class DcmItem;

/// Storage commitment (DICOM PS3.4, annex J): the archive is asked whether it keeps what it was sent for good.
namespace tavrel::commitment {

inline constexpr std::string_view SopClass = "1.2.840.10008.1.20.1";
inline constexpr std::string_view SopInstance = "1.2.840.10008.1.20.1.1";
inline constexpr int MostObjects = 100; ///< of a question

/// That nobody can guess: an answer is known by it.
std::string NewTransactionUid();

/// The data set of the question (N-ACTION).
std::unique_ptr<DcmDataset> Question(const std::string& transactionUid,
                                     std::span<const OutgoingQueue::Reference> references);

/// What the data set of an answer (N-EVENT-REPORT) says. What in it is no UID is left out.
OutgoingQueue::Answer ReadAnswer(DcmItem& dataSet);
/// Of one that came as bytes from anywhere. Throws a std::exception when it is no data set.
OutgoingQueue::Answer ReadAnswer(std::string_view bytes, std::string_view transferSyntax);

} // namespace tavrel::commitment
