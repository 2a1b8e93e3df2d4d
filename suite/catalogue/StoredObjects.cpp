#include "suite/catalogue/StoredObjects.h"

#include "platform/attributes.h"
#include "platform/error.h"
#include "platform/paths.h"
#include "platform/sql.h"
#include "suite/catalogue/Rows.h"
#include "suite/porvane/ObjectRows.h"
#include "suite/porvane/SameDataSet.h"
#include "suite/porvane/StoreRefusal.h"

#include <sys/stat.h>

#include <algorithm>
#include <array>
#include <filesystem>
#include <functional>
#include <map>
#include <optional>
#include <set>
#include <string>
#include <system_error>
#include <utility>

namespace tavrel {
namespace {

namespace fs = std::filesystem;

constexpr std::string_view FromBackup = "; put it back from a backup";

struct StudyRow {
    std::string patientId;
    fs::path folder;
    bool there = false;
};
struct SeriesRow {
    std::string studyUid;
    std::string folderName;
    bool report = false;
};
struct ImageRow {
    std::string id;
    std::string seriesUid;
    std::string fileName;
    std::string sopInstanceUid;
};

std::string TextOf(const DataSetList& object, const Attribute& attribute) {
    const Value value = object.GetElementValue(0, attribute);
    if (const auto* number = std::get_if<std::int16_t>(&value))
        return std::to_string(*number);
    const auto* text = std::get_if<std::string>(&value);
    return text ? *text : std::string();
}

std::vector<std::string> ObjectFiles(const fs::path& folder) {
    std::vector<std::string> names;
    std::error_code failure;
    for (auto file = fs::directory_iterator(folder, failure); !failure && file != fs::directory_iterator();
         file.increment(failure))
        if (file->path().extension() == ".dcm")
            names.push_back(file->path().filename().string());
    std::ranges::sort(names);
    return names;
}

/// Without those that are hidden, as the services' own are.
std::vector<fs::path> FoldersIn(const fs::path& folder) {
    std::vector<fs::path> folders;
    std::error_code failure;
    for (auto entry = fs::directory_iterator(folder, failure); !failure && entry != fs::directory_iterator();
         entry.increment(failure))
        if (std::error_code gone; entry->is_directory(gone) && !entry->path().filename().string().starts_with('.'))
            folders.push_back(entry->path());
    return folders;
}

/// Without links on its way; as it is where it cannot be followed.
fs::path Resolved(const fs::path& folder) {
    std::error_code failure;
    auto resolved = fs::canonical(folder, failure);
    return failure ? folder : resolved;
}

using Identity = std::pair<dev_t, ino_t>;

std::optional<Identity> IdentityOf(const fs::path& file) {
    struct stat state {};
    return stat(file.c_str(), &state) == 0 ? std::optional(Identity(state.st_dev, state.st_ino)) : std::nullopt;
}

class StoredObjects {
public:
    StoredObjects(Connection& catalogue, DicomLibrary& dicom, fs::path root, bool mending)
        : catalogue_(catalogue), dicom_(dicom), root_(std::move(root)), mending_(mending),
          numbersTwins_(catalogue.OpenResultSet("SELECT * FROM Image WHERE 1=0")->HasField("Twin")) {}

    std::vector<CheckResult> Check() {
        ReadStudies(); // which say where to look
        ListFiles();   // before the rows: a file is there before its row
        ReadStudies();
        ReadSeries();
        ReadImages();

        StudyFolders();
        Images();
        FilesWithoutRow();
        RowsWithoutTheirOwner();
        RowsWithNothing();
        if (std::ranges::none_of(results_,
                                 [](const auto& result) { return result.kind == CheckResult::Kind::Missing; }))
            results_.push_back({CheckResult::Kind::Well, "the catalogue and the files of all studies agree (" +
                                                             std::to_string(studies_.size()) + " studies, " +
                                                             std::to_string(images_.size()) + " objects)"});
        return std::move(results_);
    }

private:
    void ReadStudies() {
        studies_.clear();
        const auto rows = catalogue_.OpenResultSet("SELECT StudyInstanceUID, StudyPath, IDPatient FROM Study");
        for (; !rows->AtEnd(); rows->MoveNext()) {
            const fs::path folder = NativePath(TextOrEmpty(*rows, "StudyPath"));
            std::error_code ignored;
            studies_[rows->Text("StudyInstanceUID")] = {TextOrEmpty(*rows, "IDPatient"), folder,
                                                        fs::is_directory(folder, ignored)};
        }
    }

    void ReadSeries() {
        const auto rows =
            catalogue_.OpenResultSet("SELECT SeriesInstanceUID, StudyInstanceUID, SeriesDir, Modality FROM Series");
        for (; !rows->AtEnd(); rows->MoveNext())
            series_[rows->Text("SeriesInstanceUID")] = {TextOrEmpty(*rows, "StudyInstanceUID"),
                                                        TextOrEmpty(*rows, "SeriesDir"),
                                                        TextOrEmpty(*rows, "Modality") == "SR"};
    }

    /// In the folders of all studies, also of those that no row names: the others of a study that one does. A folder
    /// that can be reached under several names is one, of which nobody shall remove a file as another's copy: it has
    /// the name that the catalogue gives it.
    void ListFiles() {
        std::map<fs::path, fs::path> roots, folders;
        for (const auto& [uid, study] : studies_) {
            roots.try_emplace(Resolved(study.folder.parent_path()), study.folder.parent_path());
            folders.try_emplace(Resolved(study.folder), study.folder);
        }
        if (!root_.empty())
            roots.try_emplace(Resolved(root_), root_.lexically_normal());
        std::set<fs::path> listed;
        for (const auto& [resolved, root] : roots)
            for (const fs::path& study : FoldersIn(root))
                for (const fs::path& series : FoldersIn(folders.try_emplace(Resolved(study), study).first->second))
                    if (listed.insert(Resolved(series)).second)
                        for (const std::string& name : ObjectFiles(series))
                            files_.push_back(series / name);
        std::ranges::sort(files_);
        for (const auto& [resolved, root] : roots)
            UnderWay(root / ".incoming");
    }

    /// What storage services have received there, and their notes of where something is about to go. It stays until it
    /// has its row: this is read after the files and before the rows.
    void UnderWay(const fs::path& incoming) {
        std::error_code failure;
        for (auto entry = fs::directory_iterator(incoming, failure); !failure && entry != fs::directory_iterator();
             entry.increment(failure)) {
            std::error_code gone;
            if (entry->is_directory(gone)) {
                UnderWay(entry->path());
            } else if (entry->path().extension() == ".part") {
                if (const auto identity = IdentityOf(entry->path()))
                    received_.insert(*identity);
                receivedNames_.insert("img_" + entry->path().stem().string() + ".dcm");
            } else if (std::string place = fs::read_symlink(entry->path(), gone).string(); !gone) {
                std::ranges::replace(place, '\n', '\\');
                underWay_.insert(NativePath(place));
            }
        }
    }

    bool IsUnderWay(const fs::path& file) const {
        const auto identity = IdentityOf(file);
        return underWay_.contains(file) || (identity && received_.contains(*identity));
    }

    void ReadImages() {
        const auto rows = catalogue_.OpenResultSet(
            "SELECT ImageID, SeriesInstanceUID, ImageFile, SOPInstanceUID FROM Image ORDER BY ImageID");
        for (; !rows->AtEnd(); rows->MoveNext()) {
            images_.push_back({rows->Text("ImageID"), TextOrEmpty(*rows, "SeriesInstanceUID"),
                               TextOrEmpty(*rows, "ImageFile"), TextOrEmpty(*rows, "SOPInstanceUID")});
        }
    }

    void StudyFolders() {
        for (const auto& [uid, study] : studies_)
            if (!study.there)
                Missing("the folder of study " + uid + " is not there: " + study.folder.string() +
                        std::string(FromBackup));
    }

    void Images() {
        for (const ImageRow& image : images_) {
            const auto series = series_.find(image.seriesUid);
            if (series == series_.end()) {
                known_.emplace(image.sopInstanceUid, nullptr);
                Missing("the object " + image.sopInstanceUid + " belongs to series " + image.seriesUid +
                        ", which the catalogue does not know" + std::string(FromBackup));
                continue;
            }
            newest_[image.seriesUid] = image.fileName;
            const fs::path file = FolderOf(series->second) / image.fileName;
            const auto [named, isNew] = named_.insert(file);
            known_.emplace(image.sopInstanceUid, &*named);
            if (!isNew) {
                Mend("the file " + file.string() + " has two rows",
                     [&] { RunChange(catalogue_, "DELETE FROM Image WHERE ImageID = " + image.id, {}); });
                continue;
            }
            const auto study = studies_.find(series->second.studyUid);
            if (study == studies_.end() || !study->second.there)
                continue; // told for all of it
            if (const std::string fault = FaultOf(file, image); !fault.empty())
                Missing(KindOf(series->second) + image.seriesUid + " " + fault + ": " + file.string() +
                        std::string(FromBackup));
        }
    }

    /// Empty when the file holds the object of its row.
    std::string FaultOf(const fs::path& file, const ImageRow& image) {
        std::error_code failure;
        const auto size = fs::file_size(file, failure);
        if (failure == std::errc::no_such_file_or_directory && receivedNames_.contains(image.fileName))
            return ""; // a power failure took its name; the storage service's next start gives it again
        if (failure)
            return failure == std::errc::no_such_file_or_directory ? "is gone" : "cannot be read, " + failure.message();
        if (size == 0)
            return "is empty";
        try {
            const auto object = Load(file);
            return !object || TextOf(*object, attribute::SopInstanceUid) == image.sopInstanceUid
                       ? ""
                       : "holds another object than " + image.sopInstanceUid;
        } catch (const Error& error) {
            return "cannot be read (" + error.description + ")";
        }
    }

    /// Nothing for a file that is compressed as a whole, which nobody here can look into.
    std::shared_ptr<DataSetList> Load(const fs::path& file) {
        try {
            auto object = dicom_.NewDataSetList();
            object->LoadFile(file.string());
            return object;
        } catch (const Error& error) {
            if (error.description.find("(deflated)") != std::string::npos)
                return nullptr;
            throw;
        }
    }

    /// Nothing for a file that nobody here can look into.
    std::optional<ObjectHeader> HeaderOf(const fs::path& file) try {
        const auto object = Load(file);
        return object ? std::optional(ReadObjectHeader(dicom_, file.string(), TextOf(*object, attribute::SopClassUid)))
                      : std::nullopt;
    } catch (const StoreRefusal& refusal) {
        throw Error(Fault::OfTheSuite, "Catalogue", refusal.what());
    }

    void FilesWithoutRow() {
        std::map<fs::path, std::string> folders;
        for (const auto& [uid, series] : series_)
            folders[FolderOf(series)] = uid;
        std::map<fs::path, std::vector<fs::path>> unknown;
        for (const fs::path& file : files_) {
            if (named_.contains(file) || IsUnderWay(file))
                continue;
            const auto folder = folders.find(file.parent_path());
            if (folder == folders.end())
                unknown[file.parent_path()].push_back(file);
            else if (const auto header = HeaderOfStray(file))
                FileWithoutRow(file, folder->second, *header);
        }
        for (const auto& [folder, files] : unknown)
            FolderWithoutRow(folder, files);
    }

    /// Whether a file that has a row holds the very same.
    bool IsStored(const fs::path& file, const ObjectHeader& header) const {
        const auto [first, last] = known_.equal_range(header.sopInstanceUid);
        return std::any_of(first, last,
                           [&](const auto& known) { return known.second && SameDataSet(file, *known.second); });
    }

    /// What a file without a row holds. Nothing where it can have none, which is told.
    std::optional<ObjectHeader> HeaderOfStray(const fs::path& file) try {
        auto header = HeaderOf(file);
        if (header && IsStored(file, *header))
            Missing("the file " + file.string() +
                    " has no row and holds an object that is stored already; it can be removed");
        else if (header && known_.contains(header->sopInstanceUid))
            Missing("the file " + file.string() +
                    " has no row, and what is stored under its UID is not the same or cannot be read; move it out of "
                    "the studies, and \"orbenta-catalogue import\" stores it again");
        else if (header)
            return header;
        else
            Missing("the file " + file.string() +
                    " has no row and is compressed as a whole, so nobody here can look "
                    "into it; move it away");
        return std::nullopt;
    } catch (const Error& error) {
        Missing("the file " + file.string() + " has no row and cannot be read (" + error.description +
                "); look into it and move it away");
        return std::nullopt;
    }

    void FileWithoutRow(const fs::path& file, const std::string& seriesUid, const ObjectHeader& header) {
        const std::string what = "the file " + file.string() + " has no row";
        if (header.seriesUid != seriesUid)
            return Missing(what + " and is no object of its series; look into it and move it away");
        // The last row of a report stands for its newest version.
        if (series_[seriesUid].report && file.filename().string() < newest_[seriesUid])
            return Missing(what + " and is an older version, which could only be entered as the newest; "
                                  "put its row back from a backup");
        Mend(what, [&] { Enter(file, header); });
    }

    /// A series that came after the catalogue's backup, say. What lies in its folder besides stays beside it.
    void FolderWithoutRow(const fs::path& folder, const std::vector<fs::path>& files) {
        std::vector<std::pair<fs::path, ObjectHeader>> objects;
        for (const fs::path& file : files)
            if (auto header = HeaderOfStray(file))
                objects.emplace_back(file, std::move(*header));
        if (objects.empty())
            return;
        const std::string what = "the folder " + folder.string() + " with " + std::to_string(objects.size()) +
                                 (objects.size() == 1 ? " object" : " objects") + " is in no row";
        if (const std::string why = WhyNotEntered(folder, objects); !why.empty())
            return Missing(what + " and " + why +
                           "; move it out of the studies, and \"orbenta-catalogue import\" stores it again");
        Mend(what, [&] { EnterFolder(folder, objects); });
    }

    /// Empty when the folder can be a series where it is.
    std::string WhyNotEntered(const fs::path& folder, const std::vector<std::pair<fs::path, ObjectHeader>>& objects) {
        const ObjectHeader& first = objects.front().second;
        if (std::ranges::any_of(objects, [&](const auto& object) {
                return object.second.seriesUid != first.seriesUid || object.second.studyUid != first.studyUid;
            }))
            return "holds objects of several series";
        if (series_.contains(first.seriesUid))
            return "holds objects of series " + first.seriesUid + ", whose folder is another one";
        if (std::ranges::any_of(studies_, [&](const auto& study) {
                return (study.first == first.studyUid) != (study.second.folder == folder.parent_path());
            }))
            return "holds objects of study " + first.studyUid + ", whose folder is another one";
        return {};
    }

    void EnterFolder(const fs::path& folder, const std::vector<std::pair<fs::path, ObjectHeader>>& objects) {
        const ObjectHeader& first = objects.front().second;
        const bool newStudy = !studies_.contains(first.studyUid);
        UnlessAnotherDid(objects.front().first, first, [&] {
            catalogue_.BeginTransaction();
            if (newStudy) {
                if (!HasPatient(first.patientId))
                    InsertPatientRow(catalogue_, first);
                InsertStudyRow(catalogue_, first, InsidePath(folder.parent_path().string()));
            }
            InsertSeriesRow(catalogue_, first, folder.filename().string());
            std::map<std::string, int> twins;
            for (const auto& [file, header] : objects)
                EnterImage(file, header, twins[header.sopInstanceUid]++);
            catalogue_.Commit();
        });
        if (newStudy)
            studies_[first.studyUid] = {first.patientId, folder.parent_path(), true};
        series_[first.seriesUid] = {first.studyUid, folder.filename().string(), first.IsReport()};
        for (const auto& [file, header] : objects)
            Entered(file, header);
    }

    void Enter(const fs::path& file, const ObjectHeader& header) {
        UnlessAnotherDid(file, header, [&] { EnterImage(file, header, 0); });
        Entered(file, header);
    }

    /// Who mends at the same time may have been first, and the catalogue takes no object twice.
    void UnlessAnotherDid(const fs::path& file, const ObjectHeader& header, const std::function<void()>& enter) {
        try {
            enter();
        } catch (const Error&) {
            if (catalogue_
                    .OpenResultSet("SELECT ImageID FROM Image WHERE SeriesInstanceUID = " + Quoted(header.seriesUid) +
                                   " AND ImageFile = " + Quoted(file.filename().string()))
                    ->AtEnd())
                throw;
        }
    }

    void EnterImage(const fs::path& file, const ObjectHeader& header, int twin) {
        InsertImageRow(catalogue_, header, file.filename().string(),
                       numbersTwins_ ? std::optional(twin) : std::nullopt);
    }

    void Entered(const fs::path& file, const ObjectHeader& header) {
        newest_[header.seriesUid] = file.filename().string();
        known_.emplace(header.sopInstanceUid, &*named_.insert(file).first);
        images_.push_back({});
    }

    void RowsWithoutTheirOwner() {
        for (const auto& [uid, series] : series_)
            if (!studies_.contains(series.studyUid))
                Missing("the series " + uid + " belongs to study " + series.studyUid +
                        ", which the catalogue does not know" + std::string(FromBackup));
        for (const auto& [uid, study] : studies_) {
            if (!HasPatient(study.patientId))
                Mend("the study " + uid + " is of patient " + study.patientId + ", whom the catalogue does not know",
                     [&, uid = uid, patientId = study.patientId] { EnterPatient(uid, patientId); });
        }
    }

    bool HasPatient(const std::string& id) {
        return !catalogue_.OpenResultSet("SELECT ID FROM Patient WHERE ID = " + Quoted(id))->AtEnd();
    }

    void EnterPatient(const std::string& studyUid, const std::string& patientId) {
        for (const fs::path& file : files_) {
            const bool there = file.parent_path().parent_path() == studies_[studyUid].folder;
            const auto header = there ? HeaderOf(file) : std::nullopt;
            if (header && header->studyUid == studyUid && header->patientId == patientId)
                return InsertPatientRow(catalogue_, *header);
        }
        throw Error(Fault::OfTheSuite, "Catalogue", "no file of the study names the patient");
    }

    /// In the order in which one leaves the next with nothing. A row of whose folder there are files still stays.
    void RowsWithNothing() {
        const auto below = [this](const fs::path& folder) {
            return std::ranges::any_of(files_, [&](const fs::path& file) {
                return file.parent_path() == folder || file.parent_path().parent_path() == folder;
            });
        };
        Empty("series", "Series", "SeriesInstanceUID", "Image", "SeriesInstanceUID", "object",
              [&](const std::string& uid) { return below(FolderOf(series_[uid])); });
        Empty("study", "Study", "StudyInstanceUID", "Series", "StudyInstanceUID", "series",
              [&](const std::string& uid) { return below(studies_[uid].folder); });
        Empty("patient", "Patient", "ID", "Study", "IDPatient", "study", [](const std::string&) { return false; });
    }

    void Empty(const std::string& name, const std::string& table, const std::string& key, const std::string& belonging,
               const std::string& reference, const std::string& whatIsLacking,
               const std::function<bool(const std::string& uid)>& files) {
        const std::string nothing = " NOT EXISTS (SELECT * FROM " + belonging + " WHERE " + belonging + "." +
                                    reference + " = " + table + "." + key + ")";
        std::vector<std::string> keys;
        const auto rows = catalogue_.OpenResultSet("SELECT " + key + " FROM " + table + " WHERE" + nothing);
        for (; !rows->AtEnd(); rows->MoveNext())
            keys.push_back(rows->Text(key));
        rows->Close();
        std::erase_if(keys, files);
        const std::string removal = "DELETE FROM " + table + " WHERE " + key + " = ? AND" + nothing;
        const auto words = [&](const std::string& uid) {
            return "the " + name + " " + uid + " has no " + whatIsLacking;
        };
        for (const std::string& uid : keys)
            Mend(words(uid), [&] { RunChange(catalogue_, removal, std::array{uid}); });
    }

    fs::path FolderOf(const SeriesRow& series) const {
        const auto study = studies_.find(series.studyUid);
        return (study == studies_.end() ? fs::path() : study->second.folder) / series.folderName;
    }

    static std::string KindOf(const SeriesRow& series) {
        return series.report ? "the file of a version of report " : "the file of an object of series ";
    }

    void Missing(const std::string& words) { results_.push_back({CheckResult::Kind::Missing, words}); }

    void Mend(const std::string& words, const std::function<void()>& mend) try {
        if (!mending_)
            return Missing(words + "; \"orbenta-catalogue check --mend\" mends it");
        mend();
        results_.push_back({CheckResult::Kind::Mended, words});
    } catch (const Error& error) {
        Missing(words + "; it cannot be mended: " + error.description);
    }

    Connection& catalogue_;
    DicomLibrary& dicom_;
    fs::path root_;
    bool mending_;
    bool numbersTwins_; ///< so that of several who enter an object at once one does
    std::vector<CheckResult> results_;

    std::map<std::string, StudyRow> studies_;
    std::map<std::string, SeriesRow> series_;
    std::vector<ImageRow> images_;
    std::vector<fs::path> files_;
    std::set<fs::path> underWay_;
    std::set<Identity> received_;
    std::set<std::string> receivedNames_;               ///< that what was received gets
    std::set<fs::path> named_;                          ///< files that have a row
    std::multimap<std::string, const fs::path*> known_; ///< objects that have a row, and its file or none
    std::map<std::string, std::string> newest_;         ///< the file of a series' last row
};

} // namespace

std::vector<CheckResult> CheckStoredObjects(Connection& catalogue, DicomLibrary& dicom, const fs::path& studies,
                                            bool mending) {
    return StoredObjects(catalogue, dicom, studies, mending).Check();
}

} // namespace tavrel
