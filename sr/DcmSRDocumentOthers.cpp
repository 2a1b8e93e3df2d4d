// The versions of a report that others have saved since it was read.

#include "host/Catalogue.h"
#include "host/ErrorReport.h"
#include "host/Text.h"
#include "platform/attributes.h"
#include "platform/paths.h"
#include "platform/person_name.h"
#include "platform/text.h"
#include "sr/DcmSRDocument.h"
#include "sr/ForeignContent.h"
#include "sr/forms/InterchangeContent.h"
#include "sr/forms/VersionForm.h"

#include <algorithm>
#include <utility>

namespace tavrel {
namespace {

std::string SaverOf(const DicomDataSet& version) {
    const auto savers = SaversOf(version);
    return savers.empty() ? std::string() : std::string(Trimmed(savers.back().ObserverName));
}

bool HoldsMoreThanIsShown(const DicomDataSet& version) {
    return IsInterchange(version) ? ReadInterchange(version).more : HoldsMoreThanAReport(version);
}

bool Same(const DicomDataSet& left, const DicomDataSet& right, const Attribute& attribute) {
    return Trimmed(TextOf(left, attribute)) == Trimmed(TextOf(right, attribute));
}

} // namespace

/// A report that was new when it was opened lies where the storage service has put it.
std::string DcmSRDocument::ReportFolder() const {
    if (!folder_.empty() || versionLabels_.empty())
        return folder_;
    const auto row = Catalogue(global_).OpenResultSet(
        "SELECT Study.StudyPath, Series.SeriesDir FROM Series, Study WHERE Series.SeriesInstanceUID='" +
        InQuotes(SeriesUid()) + "' AND Study.StudyInstanceUID=Series.StudyInstanceUID");
    std::string folder = row->AtEnd() ? std::string() : row->Text("StudyPath") + "\\" + row->Text("SeriesDir");
    row->Close();
    return folder;
}

const std::vector<OtherVersion>& DcmSRDocument::LookForOthers(std::string_view file) {
    return LookForOthersThan(Versions().Count(), file);
}

const std::vector<OtherVersion>& DcmSRDocument::LookForOthersThan(int own, std::string_view file) {
    const auto ignore = [](const Error&) {}; // what cannot be asked now is judged by the storage service
    std::vector<std::string> names;
    Trap([&] { folder_ = ReportFolder(); }, ignore);
    if (folder_.empty())
        return others_;
    Trap([&] { names = global_.ports.files.List(folder_, ".dcm"); }, ignore);
    if (!file.empty() && std::ranges::find(names, file) == names.end())
        names.emplace_back(file);
    for (const std::string& name : names) {
        const std::string path = folder_ + "\\" + name;
        if (!knownFiles_.insert(name).second)
            continue;
        Trap(
            [&] {
                const auto read = global_.ports.dicom.NewDataSetList();
                AddFile(*read, path);
                if (!Knows(own, *read))
                    others_.push_back(ReadOther(name, *read));
            },
            [&](const Error& error) {
                if (!global_.ports.files.Exists(path))
                    knownFiles_.erase(name); // it was taken back, and another may get its name
                else
                    others_.push_back(
                        {.file = name,
                         .barrier = error.description + " No version can be written after one that cannot be read."});
            });
    }
    std::ranges::stable_sort(others_, {}, [](const OtherVersion& each) { return std::pair(each.approved, each.file); });
    return others_;
}

/// Of two versions that were saved in the same second the UIDs may be the same.
bool DcmSRDocument::Knows(int own, const DataSetList& read) const {
    const DataSetHandle version = read.Item(0);
    for (int index = own - 1; index >= 0; --index)
        if (const auto each = Versions().Item(index);
            Same(*each, *version, attribute::SopInstanceUid) && SaverOf(*each) == SaverOf(*version))
            return true;
    return false;
}

OtherVersion DcmSRDocument::ReadOther(const std::string& file, const DataSetList& read) const {
    const DataSetHandle version = read.Item(0);
    OtherVersion other{.file = file, .saver = SaverOf(*version), .label = LabelOf(read, 0)};
    other.approved = TextOf(*version, attribute::CompletionFlag) == "COMPLETE";
    if (other.approved)
        other.barrier = "An approved report takes no further version.";
    else if (HoldsMoreThanIsShown(*version))
        other.barrier = "It holds contents that are not shown here: no version can be written after it here.";
    if (Versions().Count() == 0)
        return other;
    const DataSetHandle own = Versions().Item(Versions().Count() - 1);
    for (const auto& identity : {attribute::PatientId, attribute::PatientName, attribute::StudyInstanceUid})
        if (!Same(*own, *version, identity))
            other.barrier = "It does not name the patient and the study of this report, but " +
                            WrittenName(TextOf(*version, attribute::PatientName)) +
                            ": no version can be written after it unseen.";
    return other;
}

std::string DcmSRDocument::OthersBarrier() const {
    const auto barrier = std::ranges::find_if(others_, [](const auto& each) { return !each.barrier.empty(); });
    return barrier == others_.end() ? std::string() : barrier->barrier;
}

void DcmSRDocument::TakeInOthers() {
    for (const OtherVersion& other : std::exchange(others_, {}))
        Trap([&] { AddFile(Versions(), folder_ + "\\" + other.file); },
             [&](const Error& error) { damage_ = error.description; }); // as an opening would find it
    freshVersion_ = false;
    versionIndex_ = LastVersion();
    BuildVersionLabels();
}

void DcmSRDocument::StoredAs(std::string_view sopInstanceUid, std::string_view path) {
    DataSetList& versions = Versions();
    const int last = versions.Count() - 1;
    const std::string folder(path.substr(0, path.rfind('\\')));
    if (last < 0 || TextOf(versions.GetElementValue(last, attribute::SopInstanceUid)) != sopInstanceUid)
        return;
    if (folder_.empty())
        folder_ = folder;
    if (folder == folder_)
        knownFiles_.insert(std::string(path.substr(path.rfind('\\') + 1)));
}

} // namespace tavrel
