#pragma once

#include "platform/dicom.h"
#include "suite/porvane/IncomingArea.h"
#include "suite/porvane/IncomingFile.h"
#include "suite/porvane/ObjectCatalogue.h"
#include "suite/porvane/ObjectHeader.h"
#include "suite/porvane/TreeFiles.h"
#include "suite/porvane/VersionTurn.h"

#include <chrono>
#include <condition_variable>
#include <filesystem>
#include <memory>
#include <mutex>
#include <optional>
#include <span>
#include <stop_token>
#include <string>
#include <thread>
#include <vector>

namespace tavrel {

/// The studies on disk and their rows, which always agree: what is answered as stored is durable in both, and what was
/// interrupted is taken back or finished. Several services may work in one tree, each in an area of its own
/// (`IncomingArea`).
///
/// An object is received under a name that is durable already, and synced: the first sync. It gets its final name
/// beside that one, which tells it from every other object; its rows are committed: the second sync, which objects that
/// come at once share. A while later the folders are synced, of many objects at once, and only then do the first names
/// go. A first name that is found when its service is gone therefore has the object's bytes, and the rows tell whether
/// it was stored: then it gets its final name again, or else it goes, and that name with it.
///
/// Reports have numbers for names, which are taken once and for all: their names are durable before their rows are
/// committed. So is what goes to another disk than the area's, as a copy. Of these a note is left before anything else,
/// of where they are about to go.
class StudyTree {
public:
    /// Why a path cannot be that of the studies' folder; empty when it can.
    static std::string PathFault(const std::string& root);

    /// Makes the folder `root` where it is missing and takes an area of it. Throws a std::exception with words for the
    /// person who started the service.
    StudyTree(const std::filesystem::path& root, ObjectCatalogue& catalogue, DicomLibrary& library);
    ~StudyTree();
    StudyTree(const StudyTree&) = delete;
    StudyTree& operator=(const StudyTree&) = delete;

    /// Connects to the catalogue and settles what services that are gone have left unfinished; from then on also what
    /// others leave.
    void Open();

    /// Where objects are received.
    IncomingArea& Area() { return *area_; }

    /// Brings a received object that was announced under these UIDs to the disk, looks that it is whole and
    /// reads its header.
    /// Throws a StoreRefusal.
    ObjectHeader Examine(IncomingFile& object, const std::string& sopClassUid, const std::string& sopInstanceUid);

    struct Stored {
        ObjectHeader header;
        std::string path; ///< native
    };
    /// Files an examined object. One whose SOP Instance UID and data set are known already is stored
    /// already. From any thread. Throws a StoreRefusal; then nothing of the object is left.
    /// `from`: where a report's version comes from, which decides whose turn it is.
    Stored Store(IncomingFile& object, const ObjectHeader& header, VersionTurn::From from);

private:
    struct Filing;
    using Filings = std::span<Filing* const>;
    struct FormerName {
        std::filesystem::path path;
        std::filesystem::path seriesFolder; ///< of the name that it has now, or had
    };

    void FileInTurn(Filing& filing);
    void FileAll(Filings filings);
    bool Attempt(Filings filings) noexcept;
    void FileTogether(Filings filings);
    void File(Filing& filing);
    ObjectPlace PlaceFor(const ObjectHeader& header, const ObjectCatalogue::Home& home) const;
    ObjectPlace PlaceOf(const ObjectHeader& header, const ObjectCatalogue::Home& home) const;
    void FileUnderUniqueName(Filing& filing, ObjectPlace place) const;
    void FileUnderNumber(Filing& filing, ObjectPlace place);
    static bool FileDurably(Filing& filing, const ObjectPlace& place, bool onOtherDisk);
    static Linked LinkTo(Filing& filing, const std::filesystem::path& from, const ObjectPlace& place);
    static void TakeBack(Filing& filing);
    void Close(Filing& filing);

    void Connect(Filings filings);
    void Settle(const std::filesystem::path& incoming);
    void SettleNote(const std::filesystem::path& incoming);
    void SettleUniqueName(const std::filesystem::path& incoming);
    std::optional<ObjectHeader> HeaderOf(const std::filesystem::path& incoming);
    void SettleArea(const IncomingArea& area);
    void SettleLeftovers();

    void KeepHouse(const std::stop_token& stop);
    void GiveUpFormerNames();

    std::filesystem::path root_;
    std::filesystem::path incoming_;
    ObjectCatalogue& catalogue_;
    DicomLibrary& library_;
    std::unique_ptr<IncomingArea> area_;
    /// One object at a time is parsed, which bounds the memory; a report waits for one image at most.
    std::mutex waitingImages_; ///< held by the one that is next
    std::mutex examining_;

    std::mutex queue_; ///< guards the next ones
    std::condition_variable turn_;
    std::vector<Filing*> waiting_;
    bool filing_ = false; ///< somebody files what waited

    std::mutex rows_; ///< guards the catalogue and the next ones
    VersionTurn versionTurn_;
    /// Of this service, of which nobody knows whether their rows are there: the connection was lost.
    std::vector<std::filesystem::path> unsettled_;

    std::mutex house_; ///< guards the next ones
    std::condition_variable_any somethingToDo_;
    std::vector<FormerName> formerNames_;
    bool toldOfFault_ = false;
    std::jthread housekeeper_; ///< last: it ends first
};

} // namespace tavrel
