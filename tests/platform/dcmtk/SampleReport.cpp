#include "SampleReport.h"

#include <fstream>

namespace tavrel::test {
namespace {

constexpr DateTime Saved{2026, 11, 15, 8, 5, 12};
const std::string BasicTextSr = "1.2.840.10008.5.1.4.1.1.88.11";

struct Written {
    Attribute attribute;
    Value value;
};

void Write(DicomDataSet& dataSet, const std::vector<Written>& elements) {
    for (const auto& [attribute, value] : elements)
        dataSet.SetValue(attribute, 0, value);
}

/// A new item at the end of a sequence.
DataSetHandle Append(DicomLibrary& library, DicomDataSet& dataSet, Tag sequence) {
    auto item = library.NewDataSet();
    dataSet.SetSequenceItem(sequence, dataSet.GetSequenceItemCount(sequence), item);
    return item;
}

void AppendConcept(DicomLibrary& library, DicomDataSet& dataSet, const std::string& scheme, const std::string& code,
                   const std::string& meaning) {
    Write(
        *Append(library, dataSet, attribute::ConceptNameCodeSequence),
        {{attribute::CodeValue, code}, {attribute::CodingSchemeDesignator, scheme}, {attribute::CodeMeaning, meaning}});
}

void AppendText(DicomLibrary& library, DicomDataSet& report, const std::string& scheme, const std::string& code,
                const std::string& meaning, const std::string& text) {
    const auto item = Append(library, report, attribute::ContentSequence);
    Write(*item, {{attribute::RelationshipType, "CONTAINS"}, {attribute::ValueType, "TEXT"}});
    AppendConcept(library, *item, scheme, code, meaning);
    Write(*item, {{attribute::TextValue, text}});
}

std::string InstanceUid(int version) {
    return "1.2.826.0.1.3680043.9.1.1.2026.11.15.08.05." + std::to_string(version);
}

} // namespace

std::shared_ptr<DataSetList> TestLibrary::Load(const std::string& path) {
    auto list = dicom.NewDataSetList();
    list->LoadFile(path);
    return list;
}

std::string Text(const Value& value) {
    const auto* text = std::get_if<std::string>(&value);
    return text == nullptr ? std::string{} : *text;
}

std::string Text(const DicomDataSet& dataSet, const Attribute& attribute) {
    return Text(dataSet.GetValue(attribute));
}

void WriteBytes(const std::filesystem::path& path, std::string_view bytes) {
    std::ofstream file{path, std::ios::binary};
    file.write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
}

DataSetHandle MakeReport(DicomLibrary& library, int version) {
    auto report = library.NewDataSet();
    Write(*report, {{attribute::PatientName, "Doe^Jane"},
                    {attribute::PatientId, "PAT-17"},
                    {attribute::PatientBirthDate, DateTime{1961, 2, 28}},
                    {attribute::PatientSex, "F"},
                    {attribute::StudyDate, DateTime{2026, 11, 14}},
                    {attribute::StudyTime, DateTime{0, 0, 0, 7, 30, 0}},
                    {attribute::ReferringPhysicianName, Value{}},
                    {attribute::AccessionNumber, "ACC-1"},
                    {attribute::StudyDescription, "Abdomen CT"},
                    {attribute::StudyInstanceUid, "1.2.826.0.1.3680043.9.1.7"},
                    {attribute::FormerStudyElement, "8"},
                    {attribute::Modality, "SR"},
                    {attribute::SeriesInstanceUid, "1.2.826.0.1.3680043.9.1.2.2026.11.15.08.05.01"},
                    {attribute::SeriesNumber, std::int16_t{8}},
                    {attribute::InstitutionName, "Orbenta General Hospital"},
                    {attribute::ManufacturerModelName, "Orbenta/Refert"},
                    {attribute::SoftwareVersions, "1.4"},
                    {attribute::TransferSyntaxUid, "1.2.840.10008.1.2.1"},
                    {attribute::SopClassUid, BasicTextSr},
                    {attribute::SopInstanceUid, InstanceUid(version)},
                    {attribute::SeriesDescription, "Abdomen"},
                    {attribute::InstanceNumber, std::int16_t{1}},
                    {attribute::ContentDate, Saved},
                    {attribute::ContentTime, Saved},
                    {attribute::Manufacturer, "Mervanti"},
                    {attribute::SpecificCharacterSet, "ISO_IR 100"},
                    {attribute::ValueType, "CONTAINER"},
                    {attribute::ContinuityOfContent, "SEPARATE"},
                    {attribute::CompletionFlag, "PARTIAL"},
                    {attribute::VerificationFlag, "UNVERIFIED"}});
    AppendConcept(library, *report, "99SS", "CT", "CT report");
    for (int observer = 1; observer <= version; ++observer)
        Write(*Append(library, *report, attribute::VerifyingObserverSequence),
              {{attribute::VerifyingObserverName, "Dr. Weber"},
               {attribute::VerifyingOrganization, "Orbenta General Hospital"},
               {attribute::VerificationDateTime, Saved}});
    if (version > 1) {
        const auto study = Append(library, *report, attribute::PredecessorDocumentsSequence);
        study->SetValue(attribute::StudyInstanceUid, 0, report->GetValue(attribute::StudyInstanceUid));
        const auto series = Append(library, *study, attribute::ReferencedSeriesSequence);
        series->SetValue(attribute::SeriesInstanceUid, 0, report->GetValue(attribute::SeriesInstanceUid));
        for (int earlier = 1; earlier < version; ++earlier)
            Write(*Append(library, *series, attribute::ReferencedSopSequence),
                  {{attribute::ReferencedSopClassUid, BasicTextSr},
                   {attribute::ReferencedSopInstanceUid, InstanceUid(earlier)}});
    }
    AppendText(library, *report, "99SS", "SR.TITLE", "Title", "Abdomen");
    AppendText(library, *report, "DCM", "121073", "Impression", "Liver: homogeneous.\r\nNo stones.");
    return report;
}

} // namespace tavrel::test
