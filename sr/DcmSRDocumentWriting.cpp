#include "host/ErrorReport.h"
#include "host/Text.h"
#include "platform/attributes.h"
#include "platform/uid.h"
#include "sr/DcmSRDocument.h"
#include "sr/UnwritableText.h"

#include <initializer_list>
#include <utility>

namespace tavrel {

namespace {

/// A new item at `index` of a sequence.
DataSetHandle NewItem(DicomLibrary& dicom, DicomDataSet& dataSet, Tag sequence, int index) {
    DataSetHandle item = dicom.NewDataSet();
    dataSet.SetSequenceItem(sequence, index, item);
    return item;
}

} // namespace

void DcmSRDocument::AppendVersion() {
    RequireSingleValues();
    DataSetList& versions = Versions();
    if (!damage_.empty())
        throw Error(Fault::Missing, "DcmSRDocument",
                    "No version can be written after one that cannot be read. " + damage_);
    if (freshVersion_)
        static_cast<void>(versions.Item(versions.Count() - 1)); // a report without any version has none to write
    versions.AddDataSet(versions.Count() - 1);
    try {
        WriteVersion(*versions.Item(versions.Count() - 1));
    } catch (...) {
        TakeBackAppended();
        throw;
    }
}

void DcmSRDocument::RequireSingleValues() const {
    const std::initializer_list<std::pair<std::string_view, const std::string&>> values{
        {"title", titleNode_.Annotation},     {"heading", titleNode_.CodeMeaning},
        {"heading's code", titleNode_.Code},  {"heading's coding scheme", titleNode_.CodeScheme},
        {"signature", global_.userSignature}, {"name of the organization", global_.organization}};
    for (const auto& [name, value] : values)
        if (value.find('\\') != std::string::npos)
            throw Error(Fault::TypeMismatch, "DcmSRDocument",
                        "The report cannot be stored: the " + std::string(name) +
                            " holds a backslash, which would make two values of it: " + value);
}

std::string DcmSRDocument::UnwritablePatient() const {
    DataSetList& versions = Versions();
    const int last = versions.Count() - 1;
    if (last < 0 || TextOf(versions.GetElementValue(last, attribute::SpecificCharacterSet)) == ReportCharacterSet)
        return {}; // what was written once can be written again
    versions.AddDataSet(last);
    const DataSetHandle trial = versions.Item(last + 1);
    versions.RemoveDataSet(last + 1);
    trial->SetValue(attribute::SpecificCharacterSet, 0, std::string(ReportCharacterSet));
    return WhatCannotBeWrittenOfThePatient(*trial);
}

void DcmSRDocument::KeepAppended() {
    if (freshVersion_)
        Versions().RemoveDataSet(Versions().Count() - 2);
    BuildVersionLabels();
}

void DcmSRDocument::TakeBackAppended() {
    Versions().RemoveDataSet(Versions().Count() - 1);
}

void DcmSRDocument::WriteVersion(DicomDataSet& version) {
    const bool approved = status_ == Approved;
    const DateTime now = global_.ports.clock.Now();
    const auto write = [&](const Attribute& attribute, const Value& value) { version.SetValue(attribute, 0, value); };

    write(attribute::TransferSyntaxUid, "1.2.840.10008.1.2.1"); // explicit VR little endian
    write(attribute::SopClassUid, std::string(BasicTextSr));
    write(attribute::SopInstanceUid, global_.baseUid + ".1." + TimeStamp(global_.ports.clock));
    write(attribute::SeriesDescription, titleNode_.Annotation);
    write(attribute::InstanceNumber, std::int16_t{1});
    write(attribute::ContentDate, now);
    write(attribute::ContentTime, now);
    write(attribute::Manufacturer, "Mervanti");
    write(attribute::SpecificCharacterSet, std::string(ReportCharacterSet));
    write(attribute::ValueType, "CONTAINER");
    write(attribute::ContinuityOfContent, "SEPARATE");
    std::int16_t root = 0;
    titleNode_.ConceptMacroAppend(global_.ports.dicom, version, root);
    write(attribute::CompletionFlag, approved ? "COMPLETE" : "PARTIAL");
    write(attribute::VerificationFlag, approved ? "VERIFIED" : "UNVERIFIED");
    WriteObserver(version, now);
    WritePredecessors(version);
    WriteTextItem(version, 0, {"99SS", "SR.TITLE", "Title", titleNode_.Annotation});
    WriteTextItem(version, 1, {"DCM", "121073", "Impression", reading_});
}

void DcmSRDocument::WriteObserver(DicomDataSet& version, const DateTime& now) const {
    const ObservationContext observer{global_.userSignature, global_.organization, now};
    version.SetSequenceItem(attribute::VerifyingObserverSequence,
                            version.GetSequenceItemCount(attribute::VerifyingObserverSequence),
                            observer.DicomObject(global_.ports.dicom));
}

void DcmSRDocument::WritePredecessors(DicomDataSet& version) const {
    const int earlierVersions = Versions().Count() - (freshVersion_ ? 2 : 1);
    if (earlierVersions < 1)
        return;
    DicomLibrary& dicom = global_.ports.dicom;
    const DataSetHandle study = NewItem(dicom, version, attribute::PredecessorDocumentsSequence, 0);
    study->SetValue(attribute::StudyInstanceUid, 0, version.GetValue(attribute::StudyInstanceUid));
    const DataSetHandle series = NewItem(dicom, *study, attribute::ReferencedSeriesSequence, 0);
    series->SetValue(attribute::SeriesInstanceUid, 0, version.GetValue(attribute::SeriesInstanceUid));
    for (int index = 0; index < earlierVersions; ++index) {
        const DataSetHandle document = NewItem(dicom, *series, attribute::ReferencedSopSequence, index);
        document->SetValue(attribute::ReferencedSopClassUid, 0,
                           Versions().GetElementValue(index, attribute::SopClassUid));
        document->SetValue(attribute::ReferencedSopInstanceUid, 0,
                           Versions().GetElementValue(index, attribute::SopInstanceUid));
    }
}

void DcmSRDocument::WriteTextItem(DicomDataSet& version, int index, const ContentNode& content) const {
    DicomLibrary& dicom = global_.ports.dicom;
    const DataSetHandle item = NewItem(dicom, version, attribute::ContentSequence, index);
    item->SetValue(attribute::RelationshipType, 0, "CONTAINS");
    item->SetValue(attribute::ValueType, 0, "TEXT");
    std::int16_t appended = -1;
    content.ConceptMacroAppend(dicom, *item, appended);
    item->SetValue(attribute::TextValue, 0, content.Annotation);
}

void DcmSRDocument::Save(std::string_view path) {
    TrapShort(global_.ports.windows, "", [&] {
        AppendVersion();
        KeepAppended();
        Versions().Item(versionIndex_)->SaveToFile(path);
        freshVersion_ = false;
        updated_ = false;
    });
}

Delivery DcmSRDocument::Send() {
    Delivery delivery;
    Trap(
        [&] {
            AppendVersion();
            delivery = Deliver();
            if (delivery.fate != Delivery::Fate::NotStored)
                return KeepAppended();
            // Told whole, where the refusal names the first of it: no save pays for the look but one that failed.
            if (auto words = WhatCannotBeWritten(*Versions().Item(Versions().Count() - 1)); !words.empty())
                delivery.why = std::move(words);
            TakeBackAppended();
        },
        [&](const Error& error) { delivery.why = error.description; });
    if (!delivery.why.empty())
        global_.ports.windows.Ask({.text = delivery.why, .title = {}});
    return delivery;
}

Delivery DcmSRDocument::Deliver() {
    const Ports& ports = global_.ports;
    const DataSetHandle version = Versions().Item(Versions().ItemCount() - 1);
    Delivery delivery;
    Trap(
        [&] {
            const auto service = Catalogue(global_).OpenResultSet("SELECT * FROM Port");
            if (service->AtEnd()) {
                delivery = KeepUnsent(ports, *version, "The catalogue names no storage service.");
                if (delivery.fate == Delivery::Fate::Kept)
                    delivery.why.clear(); // nobody is told of a workstation that has none
                return;
            }
            const std::string port = service->Text("Port");
            const std::string aeTitle = service->Text("AETitle");
            service->Close();
            delivery = StoreOrKeep(ports, *version, port, aeTitle);
        },
        [&](const Error& unknown) {
            delivery =
                KeepUnsent(ports, *version, "The storage service could not be asked for: " + unknown.description);
        });
    return delivery;
}

} // namespace tavrel
