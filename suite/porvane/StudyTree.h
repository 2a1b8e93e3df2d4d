#pragma once

#include "platform/dicom.h"
#include "suite/porvane/IncomingFile.h"
#include "suite/porvane/ObjectCatalogue.h"
#include "suite/porvane/ObjectHeader.h"

#include <atomic>
#include <cstdint>
#include <filesystem>
#include <map>
#include <mutex>
#include <optional>
#include <string>

namespace tavrel {

/// The studies on disk and their rows, which always agree: what is answered as stored is durable in
/// both, and what was interrupted is taken back, at once or by the next `Open`.
///
/// An object's way: it is received into the folder ".incoming" of the studies' root and synced; a
/// note of where it is about to go is left there (a symbolic link, whose text is that place); it
/// gets its final name and the folder is synced; its rows are committed; the note goes away. A note
/// that is found later tells which file may be without its row, once no transaction that could still
/// write that row is left.
class StudyTree {
public:
    /// Why a path cannot be that of the studies' folder; empty when it can.
    static std::string PathFault(const std::string& root);

    /// Makes the folder `root` where it is missing and keeps other services out of it. Throws a
    /// std::exception with words for the person who started the service.
    StudyTree(const std::filesystem::path& root, ObjectCatalogue& catalogue, DicomLibrary& library);
    ~StudyTree();
    StudyTree(const StudyTree&) = delete;
    StudyTree& operator=(const StudyTree&) = delete;

    /// Connects to the catalogue and takes back what an earlier run left unfinished.
    void Open();

    /// A fresh name to receive an object under.
    std::filesystem::path NewIncomingPath();

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
    Stored Store(IncomingFile& object, const ObjectHeader& header);

private:
    std::string File(IncomingFile& object, const ObjectHeader& header);
    void Connect();
    std::uint32_t Number() const;
    ObjectPlace FolderFor(const ObjectHeader& header);
    void Settle(const std::filesystem::path& note);
    int NextFreeNumber(const std::filesystem::path& folder);

    std::filesystem::path root_;
    std::filesystem::path incoming_;
    ObjectCatalogue& catalogue_;
    DicomLibrary& library_;
    int lock_ = -1; ///< a file, which holds the tree's number too
    std::atomic<unsigned long> received_ = 0;
    /// One object at a time is parsed, which bounds the memory; a report waits for one image at most.
    std::mutex waitingImages_; ///< held by the one that is next
    std::mutex examining_;
    std::mutex filing_;     ///< guards the catalogue and what follows
    bool notesLeft_ = true; ///< of an earlier run, or of a commit that failed
    std::map<std::filesystem::path, int> lastNumbers_;
};

} // namespace tavrel
