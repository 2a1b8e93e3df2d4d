#include "suite/porvane/StudyTree.h"

#include "platform/error.h"
#include "platform/paths.h"
#include "platform/posix/WholeFile.h"
#include "platform/uid.h"
#include "suite/porvane/SameDataSet.h"
#include "suite/porvane/ServiceLog.h"
#include "suite/porvane/StoreRefusal.h"
#include "suite/porvane/TreeFiles.h"
#include "suite/porvane/WholeObject.h"

#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <exception>
#include <optional>
#include <set>
#include <stdexcept>
#include <utility>

namespace tavrel {
namespace {

namespace fs = std::filesystem;
using Status = StoreRefusal::Status;
using Clock = std::chrono::steady_clock;

constexpr int MostAttempts = 5;
constexpr std::chrono::seconds AttemptTime{5}; ///< after which there is no further attempt
constexpr std::chrono::milliseconds AttemptPause{5};
constexpr int MostFolderAttempts = 5;
constexpr int MostNumbers = 20;
constexpr std::chrono::milliseconds HousekeepingPause{500}; ///< in which former names collect
constexpr std::size_t MostFormerNames = 512;                ///< that wait for it
constexpr std::chrono::seconds LeftoverPause{30};

fs::path NoteOf(const fs::path& incoming) {
    return incoming.string() + IncomingArea::NoteExtension;
}

/// Of an object that goes to another disk, under a name that no reader of the folder takes for an object.
fs::path CopyOf(const fs::path& incoming, const fs::path& seriesFolder) {
    return seriesFolder / ("." + incoming.filename().string());
}

/// What a database says of a failure can repeat the values of a row.
std::string WithoutPatient(std::string text, const ObjectHeader& header) {
    for (const std::string& value : {header.patientName, header.patientId, header.accessionNumber, header.birthDate})
        for (auto at = text.find(value); !value.empty() && at != std::string::npos; at = text.find(value, at + 1))
            text.replace(at, value.size(), "*");
    return text;
}

} // namespace

/// An object on its way into the tree.
struct StudyTree::Filing {
    IncomingFile& object;
    const ObjectHeader& header;
    VersionTurn::From from;               ///< a report's version
    std::vector<ObjectPlace> others = {}; ///< that have its UID and other contents

    /// What comes of it: the place of another object of its UID, with which it has to be compared, or its own, or why
    /// it has none.
    std::optional<ObjectPlace> known = std::nullopt;
    std::string path = {};
    std::optional<StoreRefusal> refusal = std::nullopt;
    std::exception_ptr failure = nullptr; ///< of the transaction
    bool done = false;

    std::optional<ObjectPlace> linked = std::nullopt; ///< where it has a name
    fs::path seriesFolder = {};                       ///< where it has one, or had: it may be durable by chance
    bool noted = false;                               ///< a note tells of that
    bool unsettled = false;                           ///< its rows may be there
};

std::string StudyTree::PathFault(const std::string& root) {
    if (root.empty())
        return "The studies' folder must have a name";
    if (root.find_first_of("'\\\n") != std::string::npos)
        return "The path of the studies' folder must hold no apostrophe and no backslash: " + root;
    return {};
}

StudyTree::StudyTree(const fs::path& root, ObjectCatalogue& catalogue, DicomLibrary& library)
    : root_(fs::absolute(root).lexically_normal()), incoming_(root_ / ".incoming"), catalogue_(catalogue),
      library_(library), versionTurn_(library) {
    if (const std::string fault = PathFault(root_.string()); !fault.empty())
        throw std::runtime_error(fault);
    MakeLastingFolder(root_);
    MakeLastingFolder(incoming_);
    area_ = IncomingArea::TakeOwn(incoming_);
    catalogue_.OfArea(area_->Number());
}

StudyTree::~StudyTree() {
    housekeeper_ = {}; // ended and joined
    GiveUpFormerNames();
}

void StudyTree::Open() {
    SettleArea(*area_);
    SettleLeftovers();
    area_->MakeNames();
    housekeeper_ = std::jthread([this](const std::stop_token& stop) { KeepHouse(stop); });
}

ObjectHeader StudyTree::Examine(IncomingFile& object, const std::string& sopClassUid,
                                const std::string& sopInstanceUid) {
    object.Finish();
    const bool report = sopClassUid == BasicTextSr;
    std::unique_lock<std::mutex> amongImages;
    if (!report)
        amongImages = std::unique_lock(waitingImages_);
    const std::lock_guard guard(examining_);
    RequireWhole(object.Path(), report);
    ObjectHeader header = ReadObjectHeader(library_, object.Path().string(), sopClassUid);
    if (header.sopClassUid != sopClassUid || header.sopInstanceUid != sopInstanceUid)
        throw StoreRefusal(Status::DoesNotMatchClass, "the object's UIDs are not those of the request");
    return header;
}

StudyTree::Stored StudyTree::Store(IncomingFile& object, const ObjectHeader& header, VersionTurn::From from) try {
    Filing filing{object, header, from};
    const auto close = [this](Filing* ended) { Close(*ended); };
    const std::unique_ptr<Filing, decltype(close)> atTheEnd(&filing, close);
    for (;;) {
        FileInTurn(filing);
        if (filing.refusal)
            throw *filing.refusal;
        if (filing.failure)
            std::rethrow_exception(filing.failure);
        if (!filing.known) {
            if (!filing.others.empty())
                LogLine("object " + header.sopInstanceUid +
                        " is known with other contents; this one is kept beside it");
            return {header, filing.path};
        }
        // Large objects are compared while others are filed.
        if (SameDataSet(object.Path(), NativeFile(*filing.known)))
            return {header, NativeFile(*filing.known)};
        filing.others.push_back(*filing.known);
    }
} catch (const Error& error) {
    throw StoreRefusal(Status::ProcessingFailure, "catalogue: " + WithoutPatient(error.description, header));
}

/// Whoever finds nobody filing files what has come meanwhile, of all senders, and the others wait for that.
void StudyTree::FileInTurn(Filing& filing) {
    std::unique_lock lock(queue_);
    filing.done = false;
    waiting_.push_back(&filing);
    turn_.wait(lock, [&] { return filing.done || !filing_; });
    if (filing.done)
        return;
    const std::vector<Filing*> filings = std::exchange(waiting_, {});
    filing_ = true;
    lock.unlock();
    FileAll(filings);
    lock.lock();
    filing_ = false;
    for (Filing* each : filings)
        each->done = true;
    turn_.notify_all();
}

/// In one transaction; where that fails each in its own, some times. Which failures pass every engine tells in its own
/// way (another service made a row first, two wait for each other, a node has gone): all are taken for such.
void StudyTree::FileAll(Filings filings) {
    const std::lock_guard guard(rows_);
    const auto begun = Clock::now();
    bool done = Attempt(filings);
    for (int attempt = 1; !done && attempt < MostAttempts && Clock::now() - begun < AttemptTime; ++attempt) {
        std::this_thread::sleep_for(attempt * AttemptPause);
        done = true;
        for (Filing* filing : filings)
            if (filing->failure && Clock::now() - begun < AttemptTime)
                done = Attempt({&filing, 1}) && done;
    }
}

/// False leaves a failure in each.
bool StudyTree::Attempt(Filings filings) noexcept {
    try {
        FileTogether(filings);
        return true;
    } catch (...) {
        for (Filing* filing : filings)
            filing->failure = std::current_exception();
        return false;
    }
}

void StudyTree::FileTogether(Filings filings) {
    Connect(filings);
    try {
        catalogue_.Begin();
        for (Filing* filing : filings)
            try {
                File(*filing);
            } catch (const StoreRefusal& refusal) {
                filing->refusal = refusal;
                TakeBack(*filing);
            }
    } catch (const Error&) { // with which the transaction has ended
        std::ranges::for_each(filings, TakeBack, [](Filing* filing) -> Filing& { return *filing; });
        throw;
    } catch (...) {
        std::ranges::for_each(filings, TakeBack, [](Filing* filing) -> Filing& { return *filing; });
        catalogue_.Drop();
        throw;
    }
    // From here on only the catalogue knows whether they are stored.
    try {
        catalogue_.Commit();
    } catch (...) {
        for (Filing* filing : filings)
            filing->unsettled = filing->linked.has_value();
        throw;
    }
}

/// What an attempt before has left open is settled first, and begun anew.
void StudyTree::Connect(Filings filings) {
    catalogue_.Open();
    const auto open = [](const Filing* filing) { return filing->unsettled; };
    if (!unsettled_.empty() || std::ranges::any_of(filings, open))
        catalogue_.EndFormerTransaction(area_->Number());
    for (Filing* filing : filings) {
        if (filing->unsettled)
            Settle(filing->object.Path());
        filing->unsettled = false;
        filing->linked.reset();
        filing->known.reset();
        filing->refusal.reset();
        filing->failure = nullptr;
    }
    std::erase_if(unsettled_, [this](const fs::path& incoming) {
        try {
            Settle(incoming);
            return unlink(incoming.c_str()), true;
        } catch (const StoreRefusal& refusal) { // it holds up nobody else
            LogLine("left " + incoming.string() + " as it is: " + refusal.what());
            return false;
        }
    });
}

void StudyTree::File(Filing& filing) {
    const ObjectHeader& header = filing.header;
    const auto [places, nextTwin] = catalogue_.RowsOf(header.sopInstanceUid);
    const auto own = std::ranges::find(places, UniqueName(filing.object.Path()), &ObjectPlace::imageFile);
    if (own != places.end()) { // an attempt before has stored it, and was not told
        filing.path = NativeFile(*own).string();
        return;
    }
    const auto next = std::ranges::find_if(
        places, [&](const auto& place) { return std::ranges::find(filing.others, place) == filing.others.end(); });
    if (next != places.end()) {
        filing.known = *next;
        return;
    }
    const auto home = catalogue_.HomeOf(header);
    const ObjectPlace place = PlaceFor(header, home);
    if (header.IsReport())
        FileUnderNumber(filing, place);
    else
        FileUnderUniqueName(filing, place);
    catalogue_.Add(header, *filing.linked, home, nextTwin);
    filing.path = NativeFile(*filing.linked).string();
}

/// The place of the object, still without a file name.
ObjectPlace StudyTree::PlaceFor(const ObjectHeader& header, const ObjectCatalogue::Home& home) const {
    if (home.series && home.series->studyUid != header.studyUid)
        throw StoreRefusal(Status::DoesNotMatchClass, "the series belongs to another study");
    if (home.series && home.series->modality == ReportModality && !header.IsReport())
        throw StoreRefusal(Status::DoesNotMatchClass, "the series holds reports and nothing else");
    if (home.study && home.study->patientId != header.patientId)
        LogLine("object " + header.sopInstanceUid + " names another patient than its study " + header.studyUid);
    return PlaceOf(header, home);
}

ObjectPlace StudyTree::PlaceOf(const ObjectHeader& header, const ObjectCatalogue::Home& home) const {
    return {home.study ? home.study->path : InsidePath((root_ / header.studyUid).string()),
            home.series ? home.series->folder : header.seriesUid,
            {}};
}

void StudyTree::FileUnderUniqueName(Filing& filing, ObjectPlace place) const {
    place.imageFile = UniqueName(filing.object.Path());
    const Linked linked = LinkTo(filing, filing.object.Path(), place);
    if (linked == Linked::NameTaken || (linked == Linked::OtherDisk && !FileDurably(filing, place, true)))
        throw StoreRefusal(Status::OutOfResources,
                           "cannot file the object: another program made " + NativeFile(place).string());
}

/// Behind all versions that lie there. Who comes second to a number takes the next.
void StudyTree::FileUnderNumber(Filing& filing, ObjectPlace place) {
    const auto rows = [&](const std::string& from) { return catalogue_.FilesOf(filing.header.seriesUid, from); };
    for (int attempt = 0, number = 0; attempt < MostNumbers; ++attempt) {
        MakeFolders(place);
        filing.seriesFolder = NativeFolder(place);
        number = versionTurn_.NumberFor(filing.seriesFolder, filing.header.predecessors, filing.from, rows, number);
        place.imageFile = VersionName(number);
        if (FileDurably(filing, place, !AreOnOneDisk(incoming_, filing.seriesFolder)))
            return;
    }
    throw StoreRefusal(Status::OutOfResources, "cannot file the object: other programs take every number");
}

/// False when another object has that name.
bool StudyTree::FileDurably(Filing& filing, const ObjectPlace& place, bool onOtherDisk) {
    const fs::path& incoming = filing.object.Path();
    unlink(NoteOf(incoming).c_str()); // of another number
    filing.noted = true;
    LeaveNote(NoteOf(incoming), place);
    fs::path from = incoming;
    if (onOtherDisk) {
        from = CopyOf(incoming, NativeFolder(place));
        MakeFolders(place);
        Copy(incoming, from);
    }
    if (LinkTo(filing, from, place) != Linked::Done)
        return false;
    SyncFolders(filing.seriesFolder);
    return true;
}

Linked StudyTree::LinkTo(Filing& filing, const fs::path& from, const ObjectPlace& place) {
    for (int attempt = 0; attempt < MostFolderAttempts; ++attempt) {
        MakeFolders(place);
        filing.seriesFolder = NativeFolder(place);
        const Linked linked = Link(from, NativeFile(place));
        if (linked == Linked::Done)
            filing.linked = place;
        if (linked != Linked::FolderGone) // another service has found it empty
            return linked;
    }
    throw StoreRefusal(Status::OutOfResources, "cannot file the object: its folder goes again and again");
}

void StudyTree::TakeBack(Filing& filing) {
    if (filing.seriesFolder.empty())
        return;
    if (filing.linked)
        unlink(NativeFile(*filing.linked).c_str());
    if (filing.noted) { // it is gone for good before its note may go
        unlink(CopyOf(filing.object.Path(), filing.seriesFolder).c_str());
        SyncFolder(filing.seriesFolder.string());
        unlink(NoteOf(filing.object.Path()).c_str());
    }
    RemoveEmptyFolders(filing.seriesFolder);
    filing.linked.reset();
    filing.noted = false;
}

/// What has come to an end gives up its former name once what came of it is durable.
void StudyTree::Close(Filing& filing) {
    const fs::path& incoming = filing.object.Path();
    if (filing.seriesFolder.empty())
        return;
    filing.object.Leave();
    if (filing.unsettled) {
        const std::lock_guard guard(rows_);
        unsettled_.push_back(incoming);
        return;
    }
    if (filing.noted) {
        if (unlink(CopyOf(incoming, filing.seriesFolder).c_str()) == 0)
            SyncFolder(filing.seriesFolder.string());
        unlink(NoteOf(incoming).c_str());
    }
    const std::lock_guard guard(house_);
    formerNames_.push_back({incoming, filing.seriesFolder});
    somethingToDo_.notify_one();
}

/// Of an object that was received and of which nobody knows what came of it, brings the names to what the rows say.
/// Its former name may go then.
void StudyTree::Settle(const fs::path& incoming) {
    if (fs::is_symlink(NoteOf(incoming)))
        SettleNote(incoming);
    else
        SettleUniqueName(incoming);
}

void StudyTree::SettleNote(const fs::path& incoming) {
    const ObjectPlace place = ReadNote(NoteOf(incoming));
    const fs::path file = NativeFile(place);
    const fs::path folder = NativeFolder(place);
    const fs::path copy = CopyOf(incoming, folder);
    // Another service's has a former name, too, until its row is there: this is asked before the rows are.
    const bool own = AreOneFile(file, incoming) || AreOneFile(file, copy) || HasOneName(file);
    if (own && !catalogue_.Holds(place)) {
        LogLine("took back " + file.string() + ", whose storing was interrupted");
        unlink(file.c_str());
    }
    unlink(copy.c_str());
    SyncFolders(folder);
    RemoveEmptyFolders(folder);
    unlink(NoteOf(incoming).c_str());
}

void StudyTree::SettleUniqueName(const fs::path& incoming) {
    const auto header = HeaderOf(incoming);
    if (!header)
        return;
    const std::string name = UniqueName(incoming);
    const auto places = catalogue_.RowsOf(header->sopInstanceUid).places;
    if (const auto stored = std::ranges::find(places, name, &ObjectPlace::imageFile); stored != places.end()) {
        MakeFolders(*stored);
        const Linked linked = Link(incoming, NativeFile(*stored));
        if (linked == Linked::Done)
            LogLine("gave " + NativeFile(*stored).string() + " its name again");
        else if (linked != Linked::NameTaken)
            throw StoreRefusal(Status::OutOfResources, "cannot give " + NativeFile(*stored).string() + " its name");
        SyncFolders(NativeFolder(*stored));
        return;
    }
    for (const auto& home : {catalogue_.HomeOf(*header), ObjectCatalogue::Home()}) {
        const fs::path folder = NativeFolder(PlaceOf(*header, home));
        if (AreOneFile(incoming, folder / name)) {
            LogLine("took back " + (folder / name).string() + ", whose storing was interrupted");
            unlink((folder / name).c_str());
        }
        SyncFolders(folder);
        RemoveEmptyFolders(folder);
    }
}

/// Nothing of an object that was not received whole, which has no other name.
std::optional<ObjectHeader> StudyTree::HeaderOf(const fs::path& incoming) {
    std::error_code gone;
    if (fs::file_size(incoming, gone) == 0 || gone)
        return std::nullopt;
    try {
        const std::lock_guard guard(examining_);
        RequireWhole(incoming, false);
        return ReadObjectHeader(library_, incoming.string(), {});
    } catch (const StoreRefusal& refusal) {
        if (refusal.status == Status::CannotUnderstand && HasOneName(incoming))
            return std::nullopt;
        throw;
    }
}

void StudyTree::SettleArea(const IncomingArea& area) {
    std::set<fs::path> objects;
    for (const fs::path& remains : area.Remains())
        objects.insert(remains.extension() == IncomingArea::NoteExtension ? remains.parent_path() / remains.stem()
                                                                          : remains);
    const auto received = [](const fs::path& object) {
        std::error_code gone;
        return fs::is_symlink(NoteOf(object)) || fs::file_size(object, gone) != 0;
    };
    {
        const std::lock_guard guard(rows_);
        catalogue_.Open();
        if (std::ranges::any_of(objects, received))
            catalogue_.EndFormerTransaction(area.Number());
    }
    for (const fs::path& object : objects)
        try {
            const std::lock_guard guard(rows_); // between two of them others are stored
            if (received(object))
                Settle(object);
            unlink(object.c_str());
        } catch (const StoreRefusal& refusal) {
            LogLine("left " + object.string() + " as it is: " + refusal.what());
        }
}

/// What services that are gone have left, and what a lost connection has.
void StudyTree::SettleLeftovers() {
    {
        const std::lock_guard guard(rows_);
        Connect({});
    }
    for (const auto& area : IncomingArea::TakeAbandoned(incoming_)) {
        try {
            SettleArea(*area);
        } catch (const Error& error) { // it holds up nobody but those who wait for what is in it
            LogLine("cannot settle now what another storage service has left: " + error.description);
        }
    }
}

void StudyTree::KeepHouse(const std::stop_token& stop) {
    auto nextRound = Clock::now() + LeftoverPause;
    while (!stop.stop_requested()) {
        {
            std::unique_lock lock(house_);
            somethingToDo_.wait_until(lock, stop, nextRound,
                                      [this] { return !formerNames_.empty() || area_->WantsNames(); });
            somethingToDo_.wait_for(lock, stop, HousekeepingPause, [this] {
                return (formerNames_.size() >= MostFormerNames && !toldOfFault_) || area_->WantsNames();
            });
        }
        GiveUpFormerNames();
        try {
            if (area_->WantsNames())
                area_->MakeNames();
            if (Clock::now() >= nextRound) {
                nextRound = Clock::now() + LeftoverPause;
                SettleLeftovers();
            }
        } catch (const std::exception&) { // who needs it meets the same
            std::unique_lock lock(house_);
            somethingToDo_.wait_for(lock, stop, HousekeepingPause, [] { return false; });
        }
    }
}

void StudyTree::GiveUpFormerNames() {
    std::vector<FormerName> names;
    {
        const std::lock_guard guard(house_);
        names = std::exchange(formerNames_, {});
    }
    std::set<fs::path> folders;
    for (const FormerName& name : names)
        folders.insert(name.seriesFolder);
    std::set<fs::path> failed;
    for (const fs::path& folder : folders)
        try {
            SyncFolders(folder);
        } catch (const StoreRefusal& refusal) {
            failed.insert(folder);
            if (!std::exchange(toldOfFault_, true))
                LogLine(std::string("objects keep their names in the incoming area: ") + refusal.what());
        }
    if (failed.empty())
        toldOfFault_ = false;
    for (const FormerName& name : names)
        if (!failed.contains(name.seriesFolder)) {
            unlink(name.path.c_str());
        } else {
            const std::lock_guard guard(house_);
            formerNames_.push_back(name);
        }
}

} // namespace tavrel
