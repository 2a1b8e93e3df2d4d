#include "sr/forms/InterchangeVersion.h"

#include "host/Text.h"
#include "platform/attributes.h"
#include "platform/error.h"
#include "platform/limits.h"
#include "platform/text.h"
#include "platform/uid.h"
#include "sr/content/Items.h"
#include "sr/content/NewUid.h"
#include "sr/forms/Concepts.h"
#include "sr/forms/InterchangeContent.h"
#include "sr/forms/InterchangeTree.h"

#include <algorithm>
#include <array>
#include <map>
#include <set>
#include <span>

namespace tavrel {
namespace {

struct HeaderAttribute {
    Attribute attribute;
    bool required = true; ///< stands in every version, if need be without a value
};

/// What every version of a report has of the patient and the study (DICOM PS3.3, C.7.1.1, C.7.2.1).
constexpr std::array HeaderAttributes = {
    HeaderAttribute{attribute::PatientName},
    HeaderAttribute{attribute::PatientId},
    HeaderAttribute{attribute::IssuerOfPatientId, false},
    HeaderAttribute{attribute::PatientBirthDate},
    HeaderAttribute{attribute::PatientSex},
    HeaderAttribute{attribute::StudyInstanceUid},
    HeaderAttribute{attribute::StudyDate},
    HeaderAttribute{attribute::StudyTime},
    HeaderAttribute{attribute::ReferringPhysicianName},
    HeaderAttribute{attribute::StudyId},
    HeaderAttribute{attribute::AccessionNumber},
    HeaderAttribute{attribute::StudyDescription, false},
};

/// What the first version has besides, of the series and the equipment.
constexpr std::array SeriesHeader = {
    HeaderAttribute{attribute::Modality},
    HeaderAttribute{attribute::SeriesInstanceUid},
    HeaderAttribute{attribute::SeriesNumber},
    HeaderAttribute{attribute::InstitutionName, false},
    HeaderAttribute{attribute::ManufacturerModelName, false},
    HeaderAttribute{attribute::SoftwareVersions, false},
};

void CopyHeader(const DicomDataSet& source, const ItemBuilder& version, std::span<const HeaderAttribute> attributes) {
    for (const auto& [attribute, required] : attributes) {
        const Value value = source.GetValue(attribute);
        required ? version.Set(attribute, value) : version.SetIfAny(attribute, value);
    }
}

/// Those codes that are whole.
void CopyCodes(const DicomDataSet& source, Tag from, const ItemBuilder& target, Tag to) {
    target.SetEmptySequence(to);
    const int count = source.GetSequenceItemCount(from);
    for (int index = 0; index < count; ++index) {
        ContentNode code;
        code.DicomObject(source.GetSequenceItem(from, index));
        if (!code.Code.empty() && !code.CodeScheme.empty() && !code.CodeMeaning.empty())
            target.AppendCode(to, code);
    }
}

/// `request` tells what is known of it; the study and its number are the version's.
void AppendRequest(const ItemBuilder& version, const DicomDataSet& request) {
    const auto item = version.Append(attribute::ReferencedRequestSequence);
    for (const Attribute& attribute : {attribute::StudyInstanceUid, attribute::AccessionNumber})
        item.Set(attribute, version.DataSet().GetValue(attribute));
    item.SetEmptySequence(attribute::ReferencedStudySequence);
    for (const Attribute& attribute : {attribute::PlacerOrderNumber, attribute::FillerOrderNumber,
                                       attribute::RequestedProcedureId, attribute::RequestedProcedureDescription})
        item.Set(attribute, request.GetValue(attribute));
    CopyCodes(request, attribute::RequestedProcedureCodeSequence, item, attribute::RequestedProcedureCodeSequence);
}

void CopyRequests(const DicomDataSet& source, Tag from, const ItemBuilder& version) {
    ForEachItem(source, from, [&](const DicomDataSet& request) { AppendRequest(version, request); });
    if (source.GetSequenceItemCount(from) == 0 && !TextOf(source, attribute::AccessionNumber).empty())
        AppendRequest(version, source);
}

/// The identified person of PS3.3, table 10-2.
void WritePerson(const ItemBuilder& item, const ObservationContext& person) {
    item.Set(attribute::ObserverType, "PSN");
    item.Set(attribute::PersonName, PersonNameValue(person.ObserverName));
    item.SetEmptySequence(attribute::PersonIdentificationCodeSequence);
    item.SetShort(attribute::InstitutionName, person.ObserverOrganization, longest::LongString);
    item.SetEmptySequence(attribute::InstitutionCodeSequence);
}

void AppendParticipant(const ItemBuilder& version, const ObservationContext& saver) {
    const auto item = version.Append(attribute::ParticipantSequence);
    item.Set(attribute::ParticipationType, "ENT");
    item.Set(attribute::ParticipationDateTime, saver.ObservationDateTime);
    WritePerson(item, saver);
}

void WriteVerifier(const ItemBuilder& version, const ObservationContext& approver) {
    const auto item = version.Append(attribute::VerifyingObserverSequence);
    item.Set(attribute::VerifyingObserverName, PersonNameValue(approver.ObserverName));
    item.SetEmptySequence(attribute::VerifyingObserverIdentificationCodeSequence);
    item.SetShort(attribute::VerifyingOrganization,
                  approver.ObserverOrganization.empty() ? "Unknown organization" : approver.ObserverOrganization,
                  longest::LongString);
    item.Set(attribute::VerificationDateTime, approver.ObservationDateTime);
}

/// The private coding schemes that appear.
void WriteSchemes(const ItemBuilder& version, const VersionContent& content, const std::string& organization) {
    std::set<std::string_view> schemes;
    const auto note = [&](const ContentNode& code) {
        if (!code.Code.empty() && SchemeOf(code).starts_with("99"))
            schemes.insert(FirstCharacters(SchemeOf(code), longest::CodeScheme));
    };
    note(content.title);
    note(content.bodyPart);
    std::ranges::for_each(content.findings, note);
    std::ranges::for_each(content.diagnoses, note);
    for (const auto scheme : schemes) {
        const auto item = version.Append(attribute::CodingSchemeIdentificationSequence);
        item.Set(attribute::CodingSchemeDesignator, std::string(scheme));
        item.SetIfAny(attribute::CodingSchemeResponsibleOrganization, organization);
    }
}

/// Every referenced instance under its study and series, each once (PS3.3, C.17.2.1).
void WriteEvidence(const ItemBuilder& version, const std::vector<ReferencedImage>& images) {
    std::map<std::string, ItemBuilder> studies, series;
    std::set<std::string> instances;
    const auto add = [&](const std::string& studyUid, const std::string& seriesUid, const std::string& classUid,
                         const std::string& instanceUid) {
        // Of a file that does not tell where an instance lies nothing is made up.
        if (studyUid.empty() || seriesUid.empty() || instanceUid.empty() || !instances.insert(instanceUid).second)
            return;
        auto study = studies.find(studyUid);
        if (study == studies.end()) {
            study =
                studies.emplace(studyUid, version.Append(attribute::CurrentRequestedProcedureEvidenceSequence)).first;
            study->second.Set(attribute::StudyInstanceUid, studyUid);
        }
        auto holder = series.find(seriesUid);
        if (holder == series.end()) {
            holder = series.emplace(seriesUid, study->second.Append(attribute::ReferencedSeriesSequence)).first;
            holder->second.Set(attribute::SeriesInstanceUid, seriesUid);
        }
        const auto instance = holder->second.Append(attribute::ReferencedSopSequence);
        instance.Set(attribute::ReferencedSopClassUid, classUid);
        instance.Set(attribute::ReferencedSopInstanceUid, instanceUid);
    };
    for (const auto& image : images) {
        add(image.studyUid, image.seriesUid, image.sopClassUid, image.sopInstanceUid);
        add(image.studyUid, image.presentationSeriesUid, image.presentationSopClassUid,
            image.presentationSopInstanceUid);
    }
}

/// PS3.5, 6.2.1.
bool IsPersonName(std::string_view name) {
    if (std::ranges::count(name, '=') > 2)
        return false;
    for (std::string_view rest = name;;) {
        const auto writing = rest.substr(0, rest.find('='));
        if (std::ranges::count(writing, '^') > 4 || CountCharacters(writing) >= longest::LongString)
            return false;
        if (writing.size() == rest.size())
            return true;
        rest.remove_prefix(writing.size() + 1);
    }
}

} // namespace

std::string InterchangeVersion::NewSeriesUid() const {
    return NewUid(global_.baseUid, UidKind::ReportSeries);
}

void InterchangeVersion::TakeFromImage(const DicomDataSet& image, const DataSetHandle& version) const {
    const ItemBuilder builder(Dicom(), version);
    CopyHeader(image, builder, HeaderAttributes);
    CopyRequests(image, attribute::RequestAttributesSequence, builder);
    CopyCodes(image, attribute::ProcedureCodeSequence, builder, attribute::PerformedProcedureCodeSequence);
}

void InterchangeVersion::RequireWritable(const VersionContent& content) const {
    const auto require = [](const ContentNode& code) {
        if (!code.Code.empty())
            RequireSingleValues({{"coding scheme", code.CodeScheme}, {"code", code.Code}});
    };
    require(content.title);
    require(content.bodyPart);
    std::ranges::for_each(content.findings, require);
    std::ranges::for_each(content.diagnoses, require);
    RequireSingleValues({{"signature", global_.userSignature}});
    if (!IsPersonName(global_.userSignature))
        throw Error(Fault::TypeMismatch, "DcmSRDocument",
                    "The report cannot be stored: the signature is no person's name of at most 63 characters, with at "
                    "most five parts divided by ^ and three writings divided by =: " +
                        global_.userSignature);
}

void InterchangeVersion::AppendTo(DataSetList& versions) const {
    const int last = versions.Count() - 1;
    versions.AddDataSet(-1);
    if (last < 0)
        return;
    const DataSetHandle former = versions.Item(last);
    const ItemBuilder version(Dicom(), versions.Item(last + 1));
    CopyHeader(*former, version, HeaderAttributes);
    CopyHeader(*former, version, SeriesHeader);
    CopyRequests(*former, attribute::ReferencedRequestSequence, version);
    CopyCodes(*former, attribute::PerformedProcedureCodeSequence, version, attribute::PerformedProcedureCodeSequence);
    for (const auto& saver : SaversOf(*former))
        AppendParticipant(version, saver);
}

ObservationContext InterchangeVersion::Saver(const DateTime& now) const {
    const std::string& name = global_.userSignature.empty() ? global_.currentUserName : global_.userSignature;
    return {name, global_.organization, now};
}

void InterchangeVersion::Write(const VersionContent& content, const DataSetList& versions, int earlier) const {
    const DataSetHandle written = versions.Item(versions.Count() - 1);
    const ItemBuilder version(Dicom(), written);
    const DateTime now = global_.ports.clock.Now();
    const auto saver = Saver(now);
    const auto saversBefore = content.approved ? Participants(*written) : std::vector<ObservationContext>();
    const auto& author = !saversBefore.empty() ? saversBefore.back() : saver;

    version.Set(attribute::SpecificCharacterSet, std::string(CharacterSet()));
    version.Set(attribute::SopClassUid, std::string(BasicTextSr));
    version.Set(attribute::SopInstanceUid, NewUid(global_.baseUid, UidKind::Version));
    WriteSchemes(version, content, global_.organization);

    version.SetShort(attribute::SeriesDescription, content.title.Annotation, longest::LongString);
    version.SetEmptySequence(attribute::ReferencedPerformedProcedureStepSequence);
    version.Set(attribute::Manufacturer, "Mervanti");
    version.SetShort(attribute::InstitutionName, TextOf(*written, attribute::InstitutionName), longest::LongString);

    version.Set(attribute::InstanceNumber, std::to_string(earlier + 1));
    version.Set(attribute::CompletionFlag, content.approved ? "COMPLETE" : "PARTIAL");
    version.Set(attribute::VerificationFlag, content.approved ? "VERIFIED" : "UNVERIFIED");
    version.Set(attribute::ContentDate, now);
    version.Set(attribute::ContentTime, now);
    if (content.approved)
        WriteVerifier(version, saver);
    WritePerson(version.Append(attribute::AuthorObserverSequence), author);
    AppendParticipant(version, saver);
    WritePredecessors(*written, versions, earlier);
    WriteEvidence(version, content.images);
    WriteInterchangeTree(version, content, author, global_.ports.process.Language());
}

} // namespace tavrel
