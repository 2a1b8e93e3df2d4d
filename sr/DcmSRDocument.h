#pragma once

#include "host/Global.h"
#include "sr/UnsentVersion.h"
#include "sr/content/ContentNode.h"
#include "sr/content/ObservationContext.h"
#include "sr/content/ReferencedImage.h"

#include <cstdint>
#include <memory>
#include <set>
#include <string>
#include <string_view>
#include <vector>

namespace tavrel {

/// A version that somebody else has put into the report's folder since the document was read.
struct OtherVersion {
    std::string file{};    ///< its name in the folder
    std::string saver{};   ///< who saved it, as the version says; may be empty
    std::string label{};   ///< as in the list of versions; empty when it cannot be read
    bool approved = false; ///< that save was the approval
    std::string barrier{}; ///< why no version can be written after it, in a sentence; empty as a rule
};

/// A report: a Basic Text SR document (DICOM PS3.3, A.35.1) whose saved states are kept in order as
/// data sets, and the content being edited as plain objects. Version indexes are 0-based; lists of
/// observers, findings, diagnoses and labels are numbered from 1. Unless said otherwise a failure is
/// an `Error` for the caller.
class DcmSRDocument {
public:
    enum Status : int { Approved = 0, Pending = 1 };

    explicit DcmSRDocument(Global& global);

    /// An empty report: no versions, pending.
    void Clear();
    /// A new report of one unwritten version for the study of an image.
    void CreateFromDDO(const DataSetList& images, std::int16_t imageIndex);

    /// Loads one SR file as the only version. Content that a file does not hold stays as it was.
    void LoadFile(std::string_view path);
    /// As `LoadFile`, but a failure is the caller's and nothing is shown.
    void OpenFile(std::string_view path);
    /// Loads every "*.dcm" of a folder as the versions, in the order in which they were written, and shows the last
    /// one. Cost grows with the size of the files, which are checked whole; as a rule only the last one is parsed.
    /// Says what could not be read, which `Damage` keeps; the rest can be looked at.
    void LoadSeries(std::string_view folder);
    /// As `LoadSeries`, but nothing is shown. Answers the last file that was read, empty when there is none.
    std::string OpenSeries(std::string_view folder);

    /// Writes a new version and files the version at `VersionIndex`. Reports its own failures.
    void Save(std::string_view path);
    /// Writes a new version and sends it to the workstation's storage service, or keeps it as a file. Reports its
    /// own failures. A version that is neither stored nor kept is taken out of the report again, and so is one that the
    /// service refused because the report has `Others`, of which nothing is shown here.
    Delivery Send();

    /// Looks into the report's folder for versions that the document has neither read nor written: names first, and
    /// only new files are read. `file` names one besides, which the folder's list may not show yet. Answers all that
    /// wait to be taken in, in the order of their files, an approved one last. A folder that cannot be read has none.
    const std::vector<OtherVersion>& LookForOthers(std::string_view file = {});
    const std::vector<OtherVersion>& Others() const { return others_; }
    /// Why no version can be written after one of the others; empty as a rule.
    std::string OthersBarrier() const;
    /// Makes the others the last versions, which the next one follows. What is being edited stays.
    void TakeInOthers();
    /// The storage service has told where it stored a version.
    void StoredAs(std::string_view sopInstanceUid, std::string_view path);

    std::shared_ptr<DataSetList> Series() const { return series_; }
    void Series(std::shared_ptr<DataSetList> versions) { series_ = std::move(versions); }

    std::int16_t NumVersions() const;
    std::int16_t VersionIndex() const { return versionIndex_; }
    void VersionIndex(std::int16_t index);
    /// Makes a version the current one and reads its content; the labels stay.
    void GotoVersion(std::int16_t index);
    std::int16_t VersionCount() const;
    /// The label of a version, numbered from 1.
    const std::string& Version(std::int16_t index) const;

    bool Updated() const { return updated_; }
    void Updated(bool updated) { updated_ = updated; }
    int status() const { return status_; }
    void status(int status);
    /// Only the last version of a pending report can be edited.
    bool ReadOnly() const;
    /// Whether the version holds what this program cannot show, and so must not write anew.
    bool HoldsMore() const { return holdsMore_; }
    /// What of the report could not be read, in words; empty as a rule. Nothing is written after a version that
    /// nobody has seen.
    const std::string& Damage() const { return damage_; }
    bool LoadedComplete() const { return loadedComplete_; }
    bool IsProprietary() const { return false; }

    /// The physician who saved the report last, before any approval; none when nobody has.
    const ObservationContext* Referring() const;
    /// The physician who approved the report; none while it is pending.
    const ObservationContext* Approver() const;
    const std::vector<ObservationContext>& Observers() const { return observers_; }

    /// What of the patient's and the study's own data no version can hold, in words; empty as a rule.
    std::string UnwritablePatient() const;
    /// The Series Instance UID, by which the storage service and the catalogue know the report.
    std::string SeriesUid() const;
    std::string PatientName() const;
    std::string PatientSex() const;
    DateTime PatientBirthday() const;
    std::string PatientID() const;
    DateTime StudyDate() const;
    std::string StudyDescription() const;
    std::string ReferringPhysician() const;

    void GetTitle(std::string& scheme, std::string& code, std::string& meaning, std::string& annotation) const;
    /// Changes nothing when only the meaning differs: the code stands for it.
    void SetTitle(std::string_view scheme, std::string_view code, std::string_view meaning,
                  std::string_view annotation);
    /// Puts a heading that has no code into the title.
    void FreeHeading(std::string_view meaning);
    void GetBodyPart(std::string& scheme, std::string& code, std::string& meaning) const;
    /// Changes nothing when only the meaning differs: the code stands for it.
    void SetBodyPart(std::string_view scheme, std::string_view code, std::string_view meaning);
    const ContentNode& BodyPartNode() const { return bodyPartNode_; }

    const std::string& Reading() const { return reading_; }
    void Reading(std::string_view text);

    /// Whether the version last read is one that holds body part, findings, diagnoses and images, even if it has
    /// none. Another one leaves those that the document has.
    bool HoldsCodedEntries() const { return holdsCodedEntries_; }
    void PutCodedEntries(ContentNode bodyPart, std::vector<ContentNode> findings, std::vector<ContentNode> diagnoses);
    const std::vector<ContentNode>& Findings() const { return findings_; }
    const std::vector<ContentNode>& Diagnoses() const { return diagnoses_; }

    /// The images that the version refers to; none when it is one that holds no coded entries.
    const std::vector<ReferencedImage>& Images() const { return images_; }
    void Images(std::vector<ReferencedImage> images);

    std::int16_t GetFindingCount() const;
    void DeleteFinding(std::int16_t index);
    void GetFinding(std::int16_t index, std::string& scheme, std::string& code, std::string& meaning,
                    std::string& annotation) const;
    /// Edits the entry at `index`; an index below 0 or above the count appends one.
    void SetFinding(std::int16_t index, std::string_view scheme, std::string_view code, std::string_view meaning,
                    std::string_view annotation);
    std::int16_t GetDiagnosisCount() const;
    void DeleteDiagnosis(std::int16_t index);
    void GetDiagnosis(std::int16_t index, std::string& scheme, std::string& code, std::string& meaning,
                      std::string& annotation) const;
    void SetDiagnosis(std::int16_t index, std::string_view scheme, std::string_view code, std::string_view meaning,
                      std::string_view annotation);

private:
    void ReadContent(const DicomDataSet& dataSet);
    void BuildVersionLabels();
    static std::string LabelOf(const DataSetList& versions, int index);
    /// Appends a version's file. One that does not yield what makes its label and orders it is damaged.
    static void AddFile(DataSetList& versions, const std::string& path);
    std::string ReportFolder() const;
    OtherVersion ReadOther(const std::string& file, const DataSetList& read) const;
    /// Of the document's versions the first `own` count as its own.
    const std::vector<OtherVersion>& LookForOthersThan(int own, std::string_view file);
    bool Knows(int own, const DataSetList& read) const;
    /// The versions of `files` in the order in which they were written.
    void PutInOrder(const std::vector<std::string>& files);
    /// Appends a version and writes the content into it. A failure is the caller's and leaves no version.
    void AppendVersion();
    /// The version appended stays: it stands for the one not yet written, where there is one.
    void KeepAppended();
    void TakeBackAppended();
    /// The versions. An error when `Series` has been set to no object.
    DataSetList& Versions() const;
    std::int16_t LastVersion() const;
    Value CurrentValue(const Attribute& attribute) const;

    Global& global_;
    std::int16_t versionIndex_ = -1;
    bool updated_ = false;
    bool loadedComplete_ = false;
    bool holdsMore_ = false;
    std::string damage_;
    std::vector<ObservationContext> observers_;
    int status_ = Pending;
    ContentNode titleNode_;
    ContentNode bodyPartNode_;
    std::string reading_;
    std::vector<ContentNode> diagnoses_;
    std::vector<ContentNode> findings_;
    std::vector<ReferencedImage> images_;
    bool holdsCodedEntries_ = false;
    std::vector<std::string> versionLabels_;
    std::string folder_;               ///< of the report's files, as soon as it is known
    std::set<std::string> knownFiles_; ///< names in that folder
    std::vector<OtherVersion> others_;
    /// The last data set is a version not yet written: the next write takes its place.
    bool freshVersion_ = true;
    std::shared_ptr<DataSetList> series_;
};

} // namespace tavrel
