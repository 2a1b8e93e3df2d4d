#include "suite/catalogue/StoredObjects.h"

#include "platform/attributes.h"
#include "platform/error.h"
#include "platform/limits.h"
#include "platform/paths.h"
#include "platform/sql.h"
#include "platform/text.h"
#include "suite/catalogue/Rows.h"
#include "suite/catalogue/TextRules.h"

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

std::string Catalogued(const DataSetList& object, const Attribute& attribute, std::size_t longest) {
    return std::string(FirstCharacters(ForCatalogue(object.GetElementString(0, attribute)), longest));
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

using Identity = std::pair<dev_t, ino_t>;

std::optional<Identity> IdentityOf(const fs::path& file) {
    struct stat state {};
    return stat(file.c_str(), &state) == 0 ? std::optional(Identity(state.st_dev, state.st_ino)) : std::nullopt;
}

class StoredObjects {
public:
    StoredObjects(Connection& catalogue, DicomLibrary& dicom, bool mending)
        : catalogue_(catalogue), dicom_(dicom), mending_(mending) {}

    std::vector<CheckResult> Check() {
        ReadStudies();
        ReadSeries();
        ListFiles(); // before the rows: a file is there before its row
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

    void ListFiles() {
        std::set<fs::path> roots;
        for (const auto& [uid, study] : studies_) {
            roots.insert(study.folder.parent_path());
            std::error_code failure;
            for (auto folder = fs::directory_iterator(study.folder, failure);
                 !failure && folder != fs::directory_iterator(); folder.increment(failure))
                for (const std::string& name : ObjectFiles(folder->path()))
                    files_.push_back(folder->path() / name);
        }
        std::ranges::sort(files_);
        for (const fs::path& root : roots)
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
            known_.insert(images_.back().sopInstanceUid);
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
                Missing("the object " + image.sopInstanceUid + " belongs to series " + image.seriesUid +
                        ", which the catalogue does not know" + std::string(FromBackup));
                continue;
            }
            newest_[image.seriesUid] = image.fileName;
            const fs::path file = FolderOf(series->second) / image.fileName;
            if (!named_.insert(file).second) {
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

    void FilesWithoutRow() {
        std::map<fs::path, std::string> folders;
        for (const auto& [uid, series] : series_)
            folders[FolderOf(series)] = uid;
        for (const fs::path& file : files_) {
            if (named_.contains(file) || IsUnderWay(file))
                continue;
            const auto folder = folders.find(file.parent_path());
            if (folder == folders.end())
                Missing("the file " + file.string() + " lies in a folder that the catalogue does not know; " +
                        "\"orbenta-catalogue import\" stores it again");
            else
                FileWithoutRow(file, folder->second);
        }
    }

    void FileWithoutRow(const fs::path& file, const std::string& seriesUid) try {
        const std::string what = "the file " + file.string() + " has no row";
        const auto object = Load(file);
        const std::string uid = object ? TextOf(*object, attribute::SopInstanceUid) : "";
        if (uid.empty() || TextOf(*object, attribute::SeriesInstanceUid) != seriesUid)
            return Missing(what + " and is no object of its series; look into it and move it away");
        if (known_.contains(uid))
            return Missing(what + " and holds an object that is stored already; it can be removed");
        // The last row of a report stands for its newest version.
        if (series_[seriesUid].report && file.filename().string() < newest_[seriesUid])
            return Missing(what + " and is an older version, which could only be entered as the newest; "
                                  "put its row back from a backup");
        Mend(what, [&] { Enter(file, seriesUid, uid, *object); });
    } catch (const Error& error) {
        Missing("the file " + file.string() + " has no row and cannot be read (" + error.description +
                "); look into it and move it away");
    }

    void Enter(const fs::path& file, const std::string& seriesUid, const std::string& uid, const DataSetList& object) {
        ColumnTexts row = {{"SeriesInstanceUID", seriesUid},
                           {"ImageFile", file.filename().string()},
                           {"SOPInstanceUID", uid},
                           {"SOPClassUID", TextOf(object, attribute::SopClassUid)}};
        if (const std::string number = TextOf(object, attribute::InstanceNumber);
            !number.empty() && number.size() < 10 && number.find_first_not_of("0123456789") == std::string::npos)
            row.emplace_back("InstanceNumber", number);
        InsertRow(catalogue_, "Image", row);
        newest_[seriesUid] = file.filename().string();
        known_.insert(uid);
        images_.push_back({});
    }

    void RowsWithoutTheirOwner() {
        for (const auto& [uid, series] : series_)
            if (!studies_.contains(series.studyUid))
                Missing("the series " + uid + " belongs to study " + series.studyUid +
                        ", which the catalogue does not know" + std::string(FromBackup));
        for (const auto& [uid, study] : studies_) {
            const std::string query = "SELECT ID FROM Patient WHERE ID = " + Quoted(study.patientId);
            if (catalogue_.OpenResultSet(query)->AtEnd())
                Mend("the study " + uid + " is of patient " + study.patientId + ", whom the catalogue does not know",
                     [&, uid = uid, patientId = study.patientId] { EnterPatient(uid, patientId); });
        }
    }

    void EnterPatient(const std::string& studyUid, const std::string& patientId) {
        for (const fs::path& file : files_) {
            const auto object = file.parent_path().parent_path() == studies_[studyUid].folder ? Load(file) : nullptr;
            const bool theirs =
                object && TextOf(*object, attribute::StudyInstanceUid) == studyUid &&
                (Catalogued(*object, attribute::PatientId, longest::LongString) == patientId || patientId == studyUid);
            if (theirs)
                return InsertRow(catalogue_, "Patient",
                                 {{"ID", patientId},
                                  {"PatientName", Catalogued(*object, attribute::PatientName, longest::TextColumn)},
                                  {"Sex", Catalogued(*object, attribute::PatientSex, longest::ShortColumn)}});
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
    bool mending_;
    std::vector<CheckResult> results_;

    std::map<std::string, StudyRow> studies_;
    std::map<std::string, SeriesRow> series_;
    std::vector<ImageRow> images_;
    std::vector<fs::path> files_;
    std::set<fs::path> underWay_;
    std::set<Identity> received_;
    std::set<std::string> receivedNames_;       ///< that what was received gets
    std::set<fs::path> named_;                  ///< files that have a row
    std::set<std::string> known_;               ///< objects that have a row
    std::map<std::string, std::string> newest_; ///< the file of a series' last row
};

} // namespace

std::vector<CheckResult> CheckStoredObjects(Connection& catalogue, DicomLibrary& dicom, bool mending) {
    return StoredObjects(catalogue, dicom, mending).Check();
}

} // namespace tavrel
