#include "suite/porvane/StudyTree.h"

#include "platform/error.h"
#include "platform/paths.h"
#include "platform/posix/WholeFile.h"
#include "platform/uid.h"
#include "suite/porvane/SameDataSet.h"
#include "suite/porvane/ServiceLog.h"
#include "suite/porvane/StoreRefusal.h"
#include "suite/porvane/WholeObject.h"

#include <fcntl.h>
#include <sys/file.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <charconv>
#include <cstdio>
#include <functional>
#include <random>
#include <stdexcept>
#include <system_error>
#include <vector>

namespace tavrel {
namespace {

namespace fs = std::filesystem;
using Status = StoreRefusal::Status;

constexpr std::string_view NoteExtension = ".note";
constexpr std::string_view FilePrefix = "img_";

fs::path NativeFolder(const ObjectPlace& place) {
    return NativePath(place.studyPath + "\\" + place.seriesDir);
}

fs::path NativeFile(const ObjectPlace& place) {
    return NativePath(place.Path());
}

std::string FileName(int number) {
    std::array<char, 32> name{};
    std::snprintf(name.data(), name.size(), "img_%06d.dcm", number);
    return name.data();
}

/// Makes a folder in an existing one. One that holds objects already is durable; of any other the maker may have been
/// killed before it was.
void MakeFolder(const fs::path& folder, bool inUse) {
    std::error_code failure;
    const bool made = fs::create_directory(folder, failure);
    if (failure)
        throw StoreRefusal(Status::OutOfResources,
                           "cannot make the folder " + folder.string() + ": " + failure.message());
    if (made || !inUse)
        KeepNames(folder.parent_path());
}

/// Takes back a file, and the folders that were made for it alone. It is gone for good before its note may go.
void Forget(const ObjectPlace& place) {
    const fs::path folder = NativeFolder(place);
    unlink(NativeFile(place).c_str());
    SyncFolder(folder.string());
    rmdir(folder.c_str());
    rmdir(folder.parent_path().c_str());
}

/// Takes something back at the end of its scope, unless it is dropped before.
class Undo {
public:
    explicit Undo(std::function<void()> action) : action_(std::move(action)) {}
    ~Undo() {
        if (action_)
            action_();
    }
    Undo(const Undo&) = delete;
    Undo& operator=(const Undo&) = delete;
    void Drop() { action_ = nullptr; }

private:
    std::function<void()> action_;
};

void LeaveNote(const fs::path& note, const ObjectPlace& place) {
    const std::string text = place.studyPath + "\n" + place.seriesDir + "\n" + place.imageFile;
    if (symlink(text.c_str(), note.c_str()) != 0)
        throw StoreRefusal(Status::OutOfResources, "cannot file the object: " + std::generic_category().message(errno));
    KeepNames(note.parent_path());
}

/// What a database says of a failure can repeat the values of a row.
std::string WithoutPatient(std::string text, const ObjectHeader& header) {
    for (const std::string& value : {header.patientName, header.patientId, header.accessionNumber, header.birthDate})
        for (auto at = text.find(value); !value.empty() && at != std::string::npos; at = text.find(value, at + 1))
            text.replace(at, value.size(), "*");
    return text;
}

ObjectPlace ReadNote(const fs::path& note) {
    const std::string text = fs::read_symlink(note).string();
    const auto first = text.find('\n');
    const auto second = text.find('\n', first + 1);
    return {text.substr(0, first), text.substr(first + 1, second - first - 1), text.substr(second + 1)};
}

} // namespace

std::string StudyTree::PathFault(const std::string& root) {
    if (root.empty())
        return "The studies' folder must have a name";
    if (root.find_first_of("'\\\n") != std::string::npos)
        return "The path of the studies' folder must hold no apostrophe and no backslash: " + root;
    return {};
}

StudyTree::StudyTree(const fs::path& root, ObjectCatalogue& catalogue, DicomLibrary& library)
    : root_(fs::absolute(root).lexically_normal()), incoming_(root_ / ".incoming"), catalogue_(catalogue),
      library_(library) {
    if (const std::string fault = PathFault(root_.string()); !fault.empty())
        throw std::runtime_error(fault);
    MakeLastingFolder(root_);
    MakeLastingFolder(incoming_);
    lock_ = open((incoming_ / "lock").c_str(), O_RDWR | O_CREAT | O_CLOEXEC, S_IRUSR | S_IWUSR);
    if (lock_ < 0)
        throw std::runtime_error("Cannot write in the studies' folder \"" + root_.string() +
                                 "\": " + std::generic_category().message(errno));
    if (flock(lock_, LOCK_EX | LOCK_NB) != 0) {
        close(lock_);
        throw std::runtime_error("Another storage service works in the studies' folder \"" + root_.string() + "\"");
    }
    catalogue_.OfTree(Number());
}

StudyTree::~StudyTree() {
    close(lock_);
}

void StudyTree::Open() {
    const std::lock_guard guard(filing_);
    for (const auto& entry : fs::directory_iterator(incoming_))
        if (entry.path().extension() == ".part")
            fs::remove(entry.path());
    Connect();
}

fs::path StudyTree::NewIncomingPath() {
    return incoming_ / (std::to_string(++received_) + ".part");
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

StudyTree::Stored StudyTree::Store(IncomingFile& object, const ObjectHeader& header) try {
    for (std::vector<ObjectPlace> others;;) { // that have the same UID and other contents
        std::unique_lock guard(filing_);
        Connect();
        const auto known = catalogue_.PlacesOf(header.sopInstanceUid);
        const auto next = std::ranges::find_if(
            known, [&others](const auto& place) { return std::ranges::find(others, place) == others.end(); });
        if (next == known.end()) {
            if (!others.empty())
                LogLine("object " + header.sopInstanceUid +
                        " is known with other contents; this one is kept beside it");
            return {header, File(object, header)};
        }
        guard.unlock(); // large objects are compared while others are filed
        if (SameDataSet(object.Path(), NativeFile(*next)))
            return {header, NativeFile(*next)};
        others.push_back(*next);
    }
} catch (const Error& error) {
    throw StoreRefusal(Status::ProcessingFailure, "catalogue: " + WithoutPatient(error.description, header));
}

void StudyTree::Connect() {
    catalogue_.Open();
    if (!notesLeft_)
        return;
    std::vector<fs::path> notes;
    for (const auto& entry : fs::directory_iterator(incoming_))
        if (entry.path().extension() == NoteExtension)
            notes.push_back(entry.path());
    if (!notes.empty())
        catalogue_.EndFormerTransaction();
    std::ranges::for_each(notes, [this](const fs::path& note) { Settle(note); });
    notesLeft_ = false;
}

/// Made by the first service that works here.
std::uint32_t StudyTree::Number() const {
    constexpr std::uint32_t largest = 0x7FFFFFFF; // the databases take it for any kind of integer
    std::array<char, 16> text{};
    std::uint32_t number = 0;
    if (pread(lock_, text.data(), text.size() - 1, 0) > 0)
        std::from_chars(text.data(), text.data() + text.size(), number);
    if (number != 0)
        return number;
    std::random_device random;
    number = std::uniform_int_distribution<std::uint32_t>(1, largest)(random);
    const std::string written = std::to_string(number);
    if (pwrite(lock_, written.data(), written.size(), 0) != static_cast<ssize_t>(written.size()) || fsync(lock_) != 0)
        throw std::runtime_error("Cannot write in the studies' folder \"" + root_.string() +
                                 "\": " + std::generic_category().message(errno));
    return number;
}

/// A file whose row is not there was never answered as stored.
void StudyTree::Settle(const fs::path& note) {
    const ObjectPlace place = ReadNote(note);
    if (!catalogue_.Holds(place)) {
        LogLine("took back " + NativeFile(place).string() + ", whose storing was interrupted");
        Forget(place);
    }
    fs::remove(note);
}

std::string StudyTree::File(IncomingFile& object, const ObjectHeader& header) {
    ObjectPlace place = FolderFor(header);
    const fs::path folder = NativeFolder(place);
    place.imageFile = FileName(NextFreeNumber(folder));
    const fs::path file = NativeFile(place);

    const fs::path note = object.Path().string() + std::string(NoteExtension);
    Undo removeNote([&] { unlink(note.c_str()); });
    LeaveNote(note, place);
    if (!object.FileAs(file))
        throw StoreRefusal(Status::OutOfResources, "cannot file the object: another program made " + file.string());
    Undo takeBack([&] {
        Forget(place);
        lastNumbers_.erase(folder);
    });
    KeepNames(folder);
    catalogue_.Add(header, place);

    // From here on only the catalogue knows whether the object is stored.
    takeBack.Drop();
    try {
        catalogue_.Commit();
    } catch (const Error&) {
        removeNote.Drop();
        if (catalogue_.IsOpen())
            Settle(note);
        else
            notesLeft_ = true;
        throw;
    }
    return file.string();
}

/// The place of the object, still without a file name; its folders exist.
ObjectPlace StudyTree::FolderFor(const ObjectHeader& header) {
    const auto series = catalogue_.Series(header.seriesUid);
    if (series && series->studyUid != header.studyUid)
        throw StoreRefusal(Status::DoesNotMatchClass, "the series belongs to another study");
    if (series && series->modality == ReportModality && !header.IsReport())
        throw StoreRefusal(Status::DoesNotMatchClass, "the series holds reports and nothing else");
    if (const auto patient = catalogue_.PatientOf(header.studyUid); patient && *patient != header.patientId)
        LogLine("object " + header.sopInstanceUid + " names another patient than its study " + header.studyUid);

    const auto studyPath = catalogue_.StudyPath(header.studyUid);
    ObjectPlace place{studyPath.value_or(InsidePath((root_ / header.studyUid).string())),
                      series ? series->seriesDir : header.seriesUid,
                      {}};
    if (!studyPath)
        MakeFolder(NativePath(place.studyPath), false);
    MakeFolder(NativeFolder(place), series.has_value());
    return place;
}

int StudyTree::NextFreeNumber(const fs::path& folder) {
    const auto [entry, isNew] = lastNumbers_.try_emplace(folder, 0);
    int& last = entry->second;
    std::error_code ignored;
    for (auto file = fs::directory_iterator(folder, ignored); isNew && file != fs::directory_iterator();
         file.increment(ignored)) {
        const std::string name = file->path().filename().string();
        int number = 0;
        if (name.starts_with(FilePrefix))
            std::from_chars(name.data() + FilePrefix.size(), name.data() + name.size(), number);
        last = std::max(last, number);
    }
    // Another program's file keeps its name.
    while (fs::exists(folder / FileName(++last)))
        ;
    return last;
}

} // namespace tavrel
