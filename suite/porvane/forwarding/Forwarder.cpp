#include "suite/porvane/forwarding/Forwarder.h"

#include "platform/error.h"
#include "suite/porvane/ServiceLog.h"
#include "suite/porvane/forwarding/Commitment.h"

#include <dcmtk/config/osconfig.h>

#include <dcmtk/dcmdata/dcdeftag.h>
#include <dcmtk/dcmdata/dcfilefo.h>
#include <dcmtk/dcmdata/dcmetinf.h>
#include <dcmtk/dcmdata/dcuid.h>
#include <dcmtk/dcmdata/dcxfer.h>

#include <poll.h>
#include <sys/eventfd.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <ctime>
#include <filesystem>
#include <system_error>

namespace tavrel {
namespace {

namespace fs = std::filesystem;
using std::chrono::milliseconds;
using std::chrono::seconds;
using Verdict = ArchiveLink::Verdict;

constexpr int MostSeriesAtOnce = 20;
constexpr int MostRefusals = 5;
constexpr int MostPausesOfTheArchive = 6; ///< 2 s and their doubles, to two minutes
constexpr int ReportTurn = 1;
constexpr milliseconds IdlePause = seconds(2); ///< fifty services ask the catalogue 25 times a second
constexpr milliseconds BusyPause{200};
constexpr seconds BusyTime{10}; ///< for which more is expected
constexpr milliseconds FailedPause = seconds(5);
constexpr seconds BlockedPause{300};
constexpr seconds ForAPresentationState{5};
constexpr seconds ForAVersionBefore{1};
constexpr seconds SettlingTime{120}; ///< of what a service left that is gone: four looks of those that live
constexpr seconds SpareTime{90};     ///< of a claim, beyond the time that sending may take
constexpr seconds LeastTime{60};
constexpr std::uintmax_t LeastRate = 1'000'000; ///< bytes a second
constexpr std::string_view PresentationStates = "1.2.840.10008.5.1.4.1.1.11.";

seconds TimeFor(const fs::path& file) {
    std::error_code failure;
    const auto size = fs::file_size(file, failure);
    return LeastTime + seconds(failure ? 0 : size / LeastRate);
}

/// The presentation states that a version names.
std::vector<std::string> PresentationStatesOf(DcmDataset& version) {
    std::vector<std::string> uids;
    DcmStack stack;
    while (version.nextObject(stack, OFTrue).good()) {
        if (stack.top()->getTag() != DCM_ReferencedSOPClassUID || stack.card() < 2)
            continue;
        auto& item = static_cast<DcmItem&>(*stack.elem(1));
        OFString sopClass;
        OFString instance;
        item.findAndGetOFString(DCM_ReferencedSOPClassUID, sopClass);
        item.findAndGetOFString(DCM_ReferencedSOPInstanceUID, instance);
        if (std::string_view(sopClass.c_str()).starts_with(PresentationStates))
            uids.emplace_back(instance.c_str());
    }
    return uids;
}

/// As the numbers of their names are.
bool InOrder(const fs::path& one, const fs::path& other) {
    const std::string name = one.filename().string();
    const std::string otherName = other.filename().string();
    return name.size() != otherName.size() ? name.size() < otherName.size() : name < otherName;
}

bool IsYoung(const fs::path& file) {
    struct stat state {};
    return stat(file.c_str(), &state) == 0 && std::time(nullptr) - state.st_ctim.tv_sec < SettlingTime.count();
}

/// Gives the claim on a series back in the end; one that cannot be given back runs out by itself.
class Claimed {
public:
    Claimed(OutgoingQueue& queue, const std::string& seriesUid) : queue_(queue), seriesUid_(seriesUid) {}
    ~Claimed() {
        try {
            queue_.Release(seriesUid_);
        } catch (const std::exception& failure) {
            LogLine(std::string("could not give back a claim: ") + failure.what());
        }
    }
    Claimed(const Claimed&) = delete;
    Claimed& operator=(const Claimed&) = delete;

private:
    OutgoingQueue& queue_;
    const std::string& seriesUid_;
};

} // namespace

Forwarder::Forwarder(Database& database, std::string dataSource, ArchiveSetting archive, const ArchiveTls* tls,
                     bool answersComeElsewhere)
    : connection_(database.NewConnection()), dataSource_(std::move(dataSource)), archive_(std::move(archive)),
      tls_(tls), answerWait_(answersComeElsewhere ? 1 : 10), claimant_(commitment::NewTransactionUid()),
      wakeUp_(eventfd(0, EFD_CLOEXEC)) {}

Forwarder::~Forwarder() {
    thread_ = {}; // ended and joined
    close(wakeUp_);
}

void Forwarder::GoOn() {
    thread_ = std::jthread([this](const std::stop_token& stop) { Run(stop); });
}

void Forwarder::Run(const std::stop_token& stop) {
    const std::stop_callback wake(stop, [this] { eventfd_write(wakeUp_, 1); });
    while (!stop.stop_requested()) {
        milliseconds pause = Clock::now() < busyUntil_ ? BusyPause : IdlePause;
        try {
            if (Pass(stop))
                pause = milliseconds(0);
        } catch (const std::exception& failure) {
            // The catalogue's, of which a cluster's conflicts are a part.
            LogLine(std::string("could not work on what goes to the archive: ") + failure.what());
            pause = FailedPause;
        }
        pollfd waiting{wakeUp_, POLLIN, 0};
        poll(&waiting, 1, static_cast<int>(pause.count()));
    }
}

/// Whether something was sent, so that there may be more.
bool Forwarder::Pass(const std::stop_token& stop) {
    if (!connection_->IsOpen()) {
        connection_->Open("DSN=" + dataSource_);
        queue_.emplace(*connection_, DetectEngine(*connection_), claimant_);
    }
    if (Clock::now() < restsUntil_)
        return false;
    bool sent = false;
    try {
        for (const std::string& series : queue_->DueSeries(MostSeriesAtOnce)) {
            if (stop.stop_requested())
                return false;
            sent = SendSeries(series, stop) || sent;
            busyUntil_ = Clock::now() + BusyTime;
        }
        Ask(stop);
    } catch (const ArchiveLost& lost) {
        if (!stop.stop_requested())
            NotReached(lost.what());
        return false;
    }
    return sent;
}

bool Forwarder::SendSeries(const std::string& seriesUid, const std::stop_token& stop) {
    if (!queue_->Claim(seriesUid, LeastTime + SpareTime))
        return false;
    const Claimed claimed(*queue_, seriesUid);
    std::vector<Object> readable;
    std::vector<ArchiveLink::Offer> offers;
    for (const Object& object : InTheirTurn(seriesUid, queue_->NotTaken(seriesUid))) {
        DcmFileFormat file;
        OFString syntax;
        if (file.loadFile(object.file.c_str(), EXS_Unknown, EGL_noChange, DCM_MaxReadLength, ERM_metaOnly).bad() ||
            file.getMetaInfo()->findAndGetOFString(DCM_TransferSyntaxUID, syntax).bad()) {
            NeverAgain(seriesUid, object, "its file cannot be read");
            if (object.turn == ReportTurn)
                break;
            continue;
        }
        const ArchiveLink::Offer offer{object.sopClassUid, syntax};
        if (std::ranges::find(offers, offer) == offers.end()) {
            if (offers.size() == ArchiveLink::MostOffers)
                break; // the rest in the next association
            offers.push_back(offer);
        }
        readable.push_back(object);
    }
    if (readable.empty())
        return false;

    const Object* underWay = &readable.front();
    bool sent = false;
    bool reached = false;
    try {
        ArchiveLink link(archive_, tls_, offers, stop);
        Reached();
        reached = true;
        for (const Object& object : readable) {
            underWay = &object;
            if (stop.stop_requested())
                break;
            const bool taken = Send(link, seriesUid, object);
            sent = sent || taken;
            if (!taken && object.turn == ReportTurn)
                break;
        }
    } catch (const ArchiveLost& lost) {
        // One at which it hangs up each time shall not hold up the others for ever.
        NotNow(seriesUid, *underWay, lost.what(), OutgoingQueue::Pause(reached ? underWay->attempts : notReached_));
        throw;
    }
    return sent;
}

/// What may be sent now: of a report its versions from the first one on, up to one whose time has not come.
std::vector<OutgoingQueue::Object> Forwarder::InTheirTurn(const std::string& seriesUid, std::vector<Object> objects) {
    const auto report = std::ranges::find(objects, ReportTurn, &Object::turn);
    const auto first = report == objects.end() ? std::nullopt : BeingStored(seriesUid, report->file.parent_path());
    std::vector<Object> ready;
    for (Object& object : objects) {
        const bool mayGo = !object.refused && object.dueIn <= seconds(0);
        if (object.turn == ReportTurn && first && InOrder(*first, object.file)) {
            queue_->PutOff(seriesUid, ForAVersionBefore);
            break;
        }
        if (mayGo) {
            ready.push_back(std::move(object));
        } else if (object.turn == ReportTurn && !(object.refused && queue_->IsSecondOfItsUid(object))) {
            queue_->PutOff(seriesUid, object.refused ? BlockedPause : object.dueIn);
            break;
        }
    }
    return ready;
}

/// The first version in the report's folder that another service is about to enter in the catalogue, or takes back. One
/// that stays without a row is nobody's any more.
std::optional<fs::path> Forwarder::BeingStored(const std::string& seriesUid, const fs::path& folder) {
    std::vector<fs::path> files;
    std::error_code ignored; // a folder that cannot be read has files that cannot be sent
    for (auto file = fs::directory_iterator(folder, ignored); file != fs::directory_iterator(); file.increment(ignored))
        if (file->path().extension() == ".dcm")
            files.push_back(file->path());
    std::ranges::sort(files, InOrder);
    const auto stored = queue_->StoredFiles(seriesUid); // after the files: a row comes after its file
    const auto first = std::ranges::find_if(
        files, [&](const fs::path& file) { return !stored.contains(file.filename().string()) && IsYoung(file); });
    return first == files.end() ? std::nullopt : std::optional(*first);
}

/// Whether the archive took it.
bool Forwarder::Send(ArchiveLink& link, const std::string& seriesUid, const Object& object) {
    const seconds time = TimeFor(object.file);
    if (!queue_->Claim(seriesUid, time + SpareTime))
        return false; // it ran out, and another one goes on with it
    if (queue_->IsSecondOfItsUid(object)) {
        queue_->Refuse(object, "an object of the same UID was stored before it, and an archive holds one of them");
        Say("object " + object.sopInstanceUid + " stays here alone: an object of the same UID was stored before it");
        return true; // those behind it need not wait
    }
    DcmFileFormat file;
    if (file.loadFile(object.file.c_str()).bad()) {
        NeverAgain(seriesUid, object, "its file cannot be read");
        return false;
    }
    if (object.turn == ReportTurn && queue_->AnyNotTaken(PresentationStatesOf(*file.getDataset()))) {
        NotNow(seriesUid, object, "it waits for a presentation state that it names", ForAPresentationState);
        return false;
    }
    const auto answer = link.Store(*file.getDataset(), object, time);
    switch (answer.verdict) {
    case Verdict::Taken:
        queue_->Taken(object);
        return true;
    case Verdict::NotNow:
        NotNow(seriesUid, object, answer.words, OutgoingQueue::Pause(object.attempts));
        break;
    case Verdict::Refused:
        NeverAgain(seriesUid, object, answer.words);
        break;
    }
    return false;
}

void Forwarder::NotNow(const std::string& seriesUid, const Object& object, const std::string& words, seconds pause) {
    queue_->Failed(object, words, pause);
    if (object.turn == ReportTurn)
        queue_->PutOff(seriesUid, pause);
}

/// What is refused for the object's own sake may be an archive's passing fault all the same, a few times.
void Forwarder::NeverAgain(const std::string& seriesUid, const Object& object, const std::string& words) {
    if (object.attempts + 1 < MostRefusals) {
        NotNow(seriesUid, object, words, OutgoingQueue::Pause(object.attempts));
        return;
    }
    queue_->Refuse(object, words);
    Say("object " + object.sopInstanceUid +
        " is not sent to the archive any more; \"orbenta-catalogue check\" says why");
}

void Forwarder::Ask(const std::stop_token& stop) {
    const std::string transaction = commitment::NewTransactionUid();
    const auto references = queue_->ClaimQuestion(transaction, commitment::MostObjects);
    if (references.empty() || stop.stop_requested())
        return;
    const auto settle = [this](const OutgoingQueue::Answer& answer) {
        try {
            queue_->Settle(answer);
            return true;
        } catch (const Error& failure) {
            LogLine("could not write down the archive's answer: " + failure.description);
            return false;
        }
    };
    try {
        ArchiveLink link(archive_, tls_, {}, stop);
        Reached();
        if (const std::string why = link.Ask(transaction, references, answerWait_, settle); !why.empty())
            queue_->NotAsked(transaction, why);
    } catch (const ArchiveLost& lost) {
        queue_->NotAsked(transaction, lost.what());
        throw;
    }
}

void Forwarder::Reached() {
    if (notReached_ > 0)
        LogLine("the archive " + archive_.Address() + " is reached again");
    notReached_ = 0;
    said_.clear();
}

void Forwarder::NotReached(const std::string& why) {
    Say("the archive " + archive_.Address() + " takes nothing: " + why);
    restsUntil_ = Clock::now() + OutgoingQueue::Pause(std::min(notReached_, MostPausesOfTheArchive));
    ++notReached_;
}

/// Once in a row.
void Forwarder::Say(const std::string& words) {
    if (said_ != words)
        LogLine(words);
    said_ = words;
}

} // namespace tavrel
