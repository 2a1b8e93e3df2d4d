#pragma once

#include "suite/porvane/forwarding/ArchiveSetting.h"
#include "suite/porvane/forwarding/ArchiveTransport.h"
#include "suite/porvane/forwarding/OutgoingQueue.h"

#include <chrono>
#include <functional>
#include <span>
#include <stdexcept>
#include <stop_token>
#include <string>
#include <vector>

class DcmDataset;
struct T_ASC_Association;
struct T_ASC_Network;
struct T_ASC_Parameters;

namespace tavrel {

class ArchiveTls;

/// The archive cannot be spoken with, or no longer.
class ArchiveLost : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

/// One association with the archive, in which it is sent objects and asked whether it keeps them. Every wait is
/// bounded. One at a time in a process: the toolkit's times are the process's own.
class ArchiveLink {
public:
    struct Offer {
        std::string sopClass;
        std::string transferSyntax;
        bool operator==(const Offer&) const = default;
    };
    static constexpr std::size_t MostOffers = 60; ///< each with the syntax that every archive knows, and commitment

    /// Throws ArchiveLost. `tls`: none for a connection in the clear.
    ArchiveLink(const ArchiveSetting& archive, const ArchiveTls* tls, std::span<const Offer> offers,
                const std::stop_token& stop);
    ~ArchiveLink();
    ArchiveLink(const ArchiveLink&) = delete;
    ArchiveLink& operator=(const ArchiveLink&) = delete;

    enum class Verdict {
        Taken,
        NotNow,
        Refused, ///< this object, whenever it comes
    };
    struct Answer {
        Verdict verdict;
        std::string words; ///< why not
    };
    /// Sends one object within that time. Throws ArchiveLost when there was no answer.
    Answer Store(DcmDataset& dataSet, const OutgoingQueue::Object& object, std::chrono::seconds time);

    /// What was answered is to be brought to the catalogue; false when that failed.
    using Settle = std::function<bool(const OutgoingQueue::Answer&)>;
    /// Asks for storage commitment, and waits that long for an answer in this association. Why the question was not
    /// taken, or nothing. Throws ArchiveLost.
    std::string Ask(const std::string& transactionUid, std::span<const OutgoingQueue::Reference> references,
                    std::chrono::seconds wait, const Settle& settle);

private:
    T_ASC_Parameters* Parameters(const ArchiveSetting& archive, bool tls, std::span<const Offer> offers);
    unsigned char ContextFor(const std::string& sopClass, const DcmDataset& dataSet) const;
    void ReceiveAnswer(unsigned char context, const void* message, const Settle& settle);
    void Destroy();

    ArchiveTransport transport_;
    T_ASC_Network* network_ = nullptr;
    T_ASC_Association* association_ = nullptr;
    bool lost_ = false;
};

} // namespace tavrel
