#include "sr/forms/ClassicVersion.h"

#include "host/Text.h"
#include "platform/attributes.h"
#include "platform/uid.h"
#include "sr/forms/Concepts.h"
#include "sr/forms/InterchangeContent.h"

#include <array>

namespace tavrel {
namespace {

enum class Copy { Value, Text };

struct CopiedAttribute {
    Attribute attribute;
    Copy how;
};

/// What a new report takes from an image of its study.
constexpr std::array CopiedAttributes = {
    CopiedAttribute{attribute::PatientName, Copy::Text},
    CopiedAttribute{attribute::PatientId, Copy::Value},
    CopiedAttribute{attribute::PatientBirthDate, Copy::Value},
    CopiedAttribute{attribute::PatientSex, Copy::Value},
    CopiedAttribute{attribute::StudyDate, Copy::Value},
    CopiedAttribute{attribute::StudyTime, Copy::Value},
    CopiedAttribute{attribute::ReferringPhysicianName, Copy::Value},
    CopiedAttribute{attribute::ReferringPhysicianName, Copy::Text},
    CopiedAttribute{attribute::AccessionNumber, Copy::Value},
    CopiedAttribute{attribute::StudyDescription, Copy::Value},
    CopiedAttribute{attribute::StudyInstanceUid, Copy::Value},
    CopiedAttribute{attribute::FormerStudyElement, Copy::Value},
};

/// What the first version of a report has besides.
constexpr std::array SeriesAttributes = {
    attribute::Modality,        attribute::SeriesInstanceUid,     attribute::SeriesNumber,
    attribute::InstitutionName, attribute::ManufacturerModelName, attribute::SoftwareVersions};

} // namespace

std::string ClassicVersion::Typed(std::string_view text) const {
    return PlainText(text);
}

std::string ClassicVersion::NewSeriesUid() const {
    return global_.baseUid + ".2." + TimeStamp(global_.ports.clock);
}

void ClassicVersion::TakeFromImage(const DicomDataSet& image, const DataSetHandle& version) const {
    for (const auto& [attribute, how] : CopiedAttributes) {
        Value value = image.GetValue(attribute);
        if (how == Copy::Text && !std::holds_alternative<std::string>(value))
            value = std::string();
        version->SetValue(attribute, 0, value);
    }
}

void ClassicVersion::RequireWritable(const VersionContent& content) const {
    RequireSingleValues({{"title", content.title.Annotation},
                         {"heading", content.title.CodeMeaning},
                         {"heading's code", content.title.Code},
                         {"heading's coding scheme", content.title.CodeScheme},
                         {"signature", global_.userSignature},
                         {"name of the organization", global_.organization}});
}

void ClassicVersion::AppendTo(DataSetList& versions) const {
    const int last = versions.Count() - 1;
    if (last < 0 || !IsInterchange(*versions.Item(last)))
        return versions.AddDataSet(last);
    versions.AddDataSet(-1);
    const DataSetHandle former = versions.Item(last), version = versions.Item(last + 1);
    TakeFromImage(*former, version);
    for (const Attribute& attribute : SeriesAttributes)
        version->SetValue(attribute, 0, former->GetValue(attribute));
    for (const auto& saver : SaversOf(*former))
        AppendSaver(*version, saver);
}

void ClassicVersion::AppendSaver(DicomDataSet& version, const ObservationContext& saver) const {
    version.SetSequenceItem(attribute::VerifyingObserverSequence,
                            version.GetSequenceItemCount(attribute::VerifyingObserverSequence),
                            saver.DicomObject(Dicom()));
}

void ClassicVersion::WriteTextItem(DicomDataSet& version, int index, const ContentNode& content) const {
    const DataSetHandle item = NewItem(version, attribute::ContentSequence, index);
    item->SetValue(attribute::RelationshipType, 0, "CONTAINS");
    item->SetValue(attribute::ValueType, 0, "TEXT");
    std::int16_t appended = -1;
    content.ConceptMacroAppend(Dicom(), *item, appended);
    item->SetValue(attribute::TextValue, 0, content.Annotation);
}

void ClassicVersion::Write(const VersionContent& content, const DataSetList& versions, int earlier) const {
    const DataSetHandle version = versions.Item(versions.Count() - 1);
    const DateTime now = global_.ports.clock.Now();
    const auto write = [&](const Attribute& attribute, const Value& value) { version->SetValue(attribute, 0, value); };

    write(attribute::TransferSyntaxUid, "1.2.840.10008.1.2.1"); // explicit VR little endian
    write(attribute::SopClassUid, std::string(BasicTextSr));
    write(attribute::SopInstanceUid, global_.baseUid + ".1." + TimeStamp(global_.ports.clock));
    write(attribute::SeriesDescription, content.title.Annotation);
    write(attribute::InstanceNumber, std::int16_t{1});
    write(attribute::ContentDate, now);
    write(attribute::ContentTime, now);
    write(attribute::Manufacturer, "Mervanti");
    write(attribute::SpecificCharacterSet, std::string(CharacterSet()));
    write(attribute::ValueType, "CONTAINER");
    write(attribute::ContinuityOfContent, "SEPARATE");
    std::int16_t root = 0;
    content.title.ConceptMacroAppend(Dicom(), *version, root);
    write(attribute::CompletionFlag, content.approved ? "COMPLETE" : "PARTIAL");
    write(attribute::VerificationFlag, content.approved ? "VERIFIED" : "UNVERIFIED");
    AppendSaver(*version, {global_.userSignature, global_.organization, now});
    WritePredecessors(*version, versions, earlier);
    WriteTextItem(*version, 0, concepts::Title.Node(content.title.Annotation));
    WriteTextItem(*version, 1, concepts::Impression.Node(content.reading));
}

} // namespace tavrel
