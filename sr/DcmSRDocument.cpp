#include "sr/DcmSRDocument.h"

#include "host/Catalogue.h"
#include "host/ErrorReport.h"
#include "host/Text.h"
#include "platform/attributes.h"
#include "platform/paths.h"
#include "sr/VersionOrder.h"
#include "sr/WrittenVersion.h"
#include "sr/forms/VersionForm.h"

#include <algorithm>
#include <charconv>
#include <limits>
#include <utility>

namespace tavrel {

namespace {

/// One more than the highest series number of the study, whatever the modality.
std::string NextSeriesNumber(Connection& catalogue, const std::string& studyUid) {
    const auto highest = catalogue.OpenResultSet(
        "SELECT Max(SeriesNumber) as SRCount From Series WHERE StudyInstanceUID='" + InQuotes(studyUid) + "'");
    const std::string number(highest->Field("SRCount").value_or("0"));
    highest->Close();
    std::int32_t value = 0; // the range of an integer string (DICOM PS3.5, 6.2)
    const auto [end, fault] = std::from_chars(number.data(), number.data() + number.size(), value);
    if (fault != std::errc() || end != number.data() + number.size() || value == std::numeric_limits<int>::max())
        throw Error(Fault::TypeMismatch, "DcmSRDocument",
                    "A new report of this study cannot be numbered: the highest series number that the catalogue has "
                    "for the study is \"" +
                        number + "\"");
    return std::to_string(value + 1);
}

std::string LabelPart(const Value& value, std::string (*text)(const DateTime&)) {
    const auto* dateTime = std::get_if<DateTime>(&value);
    return dateTime ? text(*dateTime) : TextOf(value);
}

} // namespace

DcmSRDocument::DcmSRDocument(Global& global) : global_(global) {
    Clear();
}

void DcmSRDocument::Clear() {
    status_ = Pending;
    versionIndex_ = -1;
    series_ = global_.ports.dicom.NewDataSetList();
    updated_ = false;
    observers_.clear();
    titleNode_ = {};
    bodyPartNode_ = {};
    reading_.clear();
    loadedComplete_ = false;
    holdsMore_ = false;
    damage_.clear();
    freshVersion_ = true;
    versionLabels_.clear();
    diagnoses_.clear();
    findings_.clear();
    images_.clear();
    holdsCodedEntries_ = false;
    folder_.clear();
    knownFiles_.clear();
    others_.clear();
}

void DcmSRDocument::CreateFromDDO(const DataSetList& images, std::int16_t imageIndex) {
    Clear();
    series_->AddDataSet(-1);
    const int version = series_->Count() - 1;
    versionIndex_ = 0;

    const auto form = FormOf(global_);
    form->TakeFromImage(*images.Item(imageIndex), series_->Item(version));

    const auto make = [&](const Attribute& attribute, const std::string& value) {
        series_->SetElementValue(version, attribute, 0, value);
    };
    // The study is asked of the first image, whichever image the report is made from.
    const auto studyUid = [&] { return TextOf(images.GetElementValue(version, attribute::StudyInstanceUid)); };
    make(attribute::Modality, "SR");
    make(attribute::SeriesInstanceUid, form->NewSeriesUid());
    make(attribute::SeriesNumber, NextSeriesNumber(Catalogue(global_), studyUid()));
    make(attribute::InstitutionName, global_.organization);
    make(attribute::ManufacturerModelName, "Orbenta/Refert");
    make(attribute::SoftwareVersions, TAVREL_VERSION);

    updated_ = true;
    freshVersion_ = true;
    versionIndex_ = 0;
}

void DcmSRDocument::AddFile(DataSetList& versions, const std::string& path) {
    versions.LoadFile(path);
    const int index = versions.Count() - 1;
    try {
        static_cast<void>(versions.GetElementValue(index, attribute::ContentDate));
    } catch (...) {
        versions.RemoveDataSet(index);
        throw;
    }
    versions.Arrange(0);
}

void DcmSRDocument::LoadFile(std::string_view path) {
    const std::string prefix = "SRDocument.LoadFile(" + std::string(path) + ") : ";
    TrapShort(global_.ports.windows, prefix, [&] { OpenFile(path); });
}

void DcmSRDocument::OpenFile(std::string_view path) {
    DicomLibrary& dicom = global_.ports.dicom;
    series_ = dicom.NewDataSetList();
    damage_.clear();
    series_->LoadFile(path);
    series_->Arrange(0);
    versionIndex_ = LastVersion();
    ReadContent(versionIndex_ < 0 ? *dicom.NewDataSet() : *series_->Item(versionIndex_));
    BuildVersionLabels();
}

void DcmSRDocument::LoadSeries(std::string_view folder) {
    const std::string prefix = "SRDocument.LoadSeries(" + std::string(folder) + ") : ";
    TrapShort(global_.ports.windows, prefix, [&] {
        if (const std::string last = OpenSeries(folder); !last.empty())
            global_.report->filePath = last;
        if (!damage_.empty())
            throw Error(Fault::Missing, "DcmSRDocument", damage_);
    });
}

std::string DcmSRDocument::OpenSeries(std::string_view folder) {
    Clear();
    freshVersion_ = false;
    folder_ = folder;
    std::vector<std::string> files;
    int damaged = 0;
    const auto note = [&](const Error& error) {
        if (++damaged == 1)
            damage_ = error.description;
    };
    Trap(
        [&] {
            for (const std::string& name : global_.ports.files.List(folder, ".dcm")) {
                const std::string path = std::string(folder) + "\\" + name;
                knownFiles_.insert(name);
                if (Trap([&] { AddFile(*series_, path); }, note))
                    files.push_back(path);
            }
            PutInOrder(files);
        },
        note);
    // What only its parsing shows to be damaged is no version either.
    while (series_->Count() > 0 && !Trap([&] { ReadContent(*series_->Item(LastVersion())); }, note))
        series_->RemoveDataSet(LastVersion());
    versionIndex_ = LastVersion();
    BuildVersionLabels();
    if (damaged > 1)
        damage_ += " (" + std::to_string(damaged) + " files of the report cannot be read.)";
    else if (damaged == 0 && versionIndex_ < 0)
        damage_ = "The folder " + NativePath(std::string(folder)) + " holds no version of a report.";
    return files.empty() ? "" : files.back();
}

void DcmSRDocument::PutInOrder(const std::vector<std::string>& files) {
    const auto order = OrderOfVersions(global_.ports.dicom, *series_, files);
    if (std::ranges::is_sorted(order))
        return;
    const auto ordered = global_.ports.dicom.NewDataSetList();
    for (const int index : order)
        AddFile(*ordered, files[static_cast<std::size_t>(index)]);
    series_ = ordered;
}

std::int16_t DcmSRDocument::NumVersions() const {
    return static_cast<std::int16_t>(Versions().Count());
}

void DcmSRDocument::VersionIndex(std::int16_t index) {
    if (index < 0 || index >= Versions().Count())
        throw Error(Fault::BadVersionIndex, "DcmSRDocument", "Bad IOD index");
    versionIndex_ = index;
}

void DcmSRDocument::GotoVersion(std::int16_t index) {
    versionIndex_ = index;
    ReadContent(*Versions().Item(index));
}

void DcmSRDocument::status(int status) {
    status_ = status;
    updated_ = true;
}

bool DcmSRDocument::ReadOnly() const {
    return status_ != Pending || versionIndex_ != Versions().Count() - 1 || holdsMore_ || !damage_.empty() ||
           !OthersBarrier().empty();
}

const ObservationContext* DcmSRDocument::Referring() const {
    if (observers_.empty())
        return nullptr;
    const bool approved = status_ == Approved;
    return approved && observers_.size() >= 2 ? &observers_.at(observers_.size() - 2) : &observers_.back();
}

const ObservationContext* DcmSRDocument::Approver() const {
    return status_ == Approved && !observers_.empty() ? &observers_.back() : nullptr;
}

void DcmSRDocument::ReadContent(const DicomDataSet& dataSet) {
    WrittenVersion version = ReadVersion(dataSet);
    observers_ = std::move(version.savers);
    loadedComplete_ = version.complete;
    status_ = loadedComplete_ ? Approved : Pending;
    titleNode_ = std::move(version.title);
    // A version without a reading leaves the one that stood there.
    if (version.reading)
        reading_ = *std::move(version.reading);
    holdsMore_ = version.more;
    images_ = std::move(version.images);
    holdsCodedEntries_ = version.coded;
    if (holdsCodedEntries_) {
        bodyPartNode_ = std::move(version.bodyPart);
        findings_ = std::move(version.findings);
        diagnoses_ = std::move(version.diagnoses);
    }
    freshVersion_ = false;
    updated_ = false;
}

void DcmSRDocument::BuildVersionLabels() {
    versionLabels_.clear();
    if (!series_)
        return;
    for (int index = 0; index < series_->Count(); ++index)
        versionLabels_.push_back(LabelOf(*series_, index));
}

std::string DcmSRDocument::LabelOf(const DataSetList& versions, int index) {
    const Value date = versions.GetElementValue(index, attribute::ContentDate);
    const Value time = versions.GetElementValue(index, attribute::ContentTime);
    return LabelPart(date, DateText) + " " + LabelPart(time, TimeText);
}

DataSetList& DcmSRDocument::Versions() const {
    if (!series_)
        throw Error(Fault::Missing, "DcmSRDocument", "The report holds no list of versions");
    return *series_;
}

std::int16_t DcmSRDocument::LastVersion() const {
    return static_cast<std::int16_t>(Versions().ItemCount() - 1);
}

} // namespace tavrel
