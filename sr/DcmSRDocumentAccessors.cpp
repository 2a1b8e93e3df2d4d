#include "host/Text.h"
#include "platform/attributes.h"
#include "platform/error.h"
#include "sr/DcmSRDocument.h"

#include <utility>

namespace tavrel {

namespace {

/// The entry at `index`, counted from 1.
template <typename List> auto& Entry(List& list, std::int16_t index) {
    if (index < 1 || static_cast<std::size_t>(index) > list.size())
        throw Error(Fault::NoSuchEntry, "DcmSRDocument",
                    "No entry " + std::to_string(index) + " in a list of " + std::to_string(list.size()));
    return list[static_cast<std::size_t>(index) - 1];
}

template <typename List> std::int16_t CountOf(const List& list) {
    return static_cast<std::int16_t>(list.size());
}

void DeleteEntry(std::vector<ContentNode>& list, std::int16_t index, bool& updated) {
    if (index > CountOf(list))
        return;
    list.erase(list.begin() + (&Entry(list, index) - list.data()));
    updated = true;
}

void SetEntry(std::vector<ContentNode>& list, std::int16_t index, ContentNode wanted, bool& updated) {
    if (index < 0 || index > CountOf(list)) {
        list.emplace_back();
        index = CountOf(list);
        updated = true;
    }
    ContentNode& entry = Entry(list, index);
    if (entry == wanted)
        return;
    entry = std::move(wanted);
    updated = true;
}

ContentNode Node(std::string_view scheme, std::string_view code, std::string_view meaning,
                 std::string_view annotation) {
    return {std::string(scheme), std::string(code), std::string(meaning), std::string(annotation)};
}

void Take(const ContentNode& node, std::string& scheme, std::string& code, std::string& meaning,
          std::string& annotation) {
    scheme = node.CodeScheme;
    code = node.Code;
    meaning = node.CodeMeaning;
    annotation = node.Annotation;
}

} // namespace

std::int16_t DcmSRDocument::VersionCount() const {
    return CountOf(versionLabels_);
}

const std::string& DcmSRDocument::Version(std::int16_t index) const {
    return Entry(versionLabels_, index);
}

Value DcmSRDocument::CurrentValue(const Attribute& attribute) const {
    return versionIndex_ < 0 ? Value() : Versions().GetElementValue(versionIndex_, attribute);
}

std::string DcmSRDocument::SeriesUid() const {
    return TextOf(CurrentValue(attribute::SeriesInstanceUid));
}

std::string DcmSRDocument::PatientName() const {
    return TextOf(CurrentValue(attribute::PatientName));
}

std::string DcmSRDocument::PatientSex() const {
    return TextOf(CurrentValue(attribute::PatientSex));
}

DateTime DcmSRDocument::PatientBirthday() const {
    return DateTimeOf(CurrentValue(attribute::PatientBirthDate));
}

std::string DcmSRDocument::PatientID() const {
    return TextOf(CurrentValue(attribute::PatientId));
}

DateTime DcmSRDocument::StudyDate() const {
    return DateTimeOf(CurrentValue(attribute::StudyDate));
}

std::string DcmSRDocument::StudyDescription() const {
    return TextOf(CurrentValue(attribute::StudyDescription));
}

std::string DcmSRDocument::ReferringPhysician() const {
    return TextOf(CurrentValue(attribute::ReferringPhysicianName));
}

void DcmSRDocument::GetTitle(std::string& scheme, std::string& code, std::string& meaning,
                             std::string& annotation) const {
    Take(titleNode_, scheme, code, meaning, annotation);
}

void DcmSRDocument::SetTitle(std::string_view scheme, std::string_view code, std::string_view meaning,
                             std::string_view annotation) {
    if (titleNode_.CodeScheme == scheme && titleNode_.Code == code && titleNode_.Annotation == annotation)
        return;
    titleNode_ = Node(scheme, code, meaning, annotation);
    updated_ = true;
}

void DcmSRDocument::FreeHeading(std::string_view meaning) {
    if (titleNode_.CodeMeaning == meaning)
        return;
    titleNode_.CodeMeaning = meaning;
    updated_ = true;
}

void DcmSRDocument::GetBodyPart(std::string& scheme, std::string& code, std::string& meaning) const {
    scheme = bodyPartNode_.CodeScheme;
    code = bodyPartNode_.Code;
    meaning = bodyPartNode_.CodeMeaning;
}

void DcmSRDocument::SetBodyPart(std::string_view scheme, std::string_view code, std::string_view meaning) {
    if (bodyPartNode_.CodeScheme == scheme && bodyPartNode_.Code == code)
        return;
    bodyPartNode_ = Node(scheme, code, meaning, {});
    updated_ = true;
}

void DcmSRDocument::Reading(std::string_view text) {
    if (reading_ == text)
        return;
    reading_ = text;
    updated_ = true;
}

void DcmSRDocument::PutCodedEntries(ContentNode bodyPart, std::vector<ContentNode> findings,
                                    std::vector<ContentNode> diagnoses) {
    updated_ = updated_ || bodyPart != bodyPartNode_ || findings != findings_ || diagnoses != diagnoses_;
    bodyPartNode_ = std::move(bodyPart);
    findings_ = std::move(findings);
    diagnoses_ = std::move(diagnoses);
}

void DcmSRDocument::Images(std::vector<ReferencedImage> images) {
    updated_ = updated_ || images != images_;
    images_ = std::move(images);
}

std::int16_t DcmSRDocument::GetFindingCount() const {
    return CountOf(findings_);
}

void DcmSRDocument::DeleteFinding(std::int16_t index) {
    DeleteEntry(findings_, index, updated_);
}

void DcmSRDocument::GetFinding(std::int16_t index, std::string& scheme, std::string& code, std::string& meaning,
                               std::string& annotation) const {
    Take(Entry(findings_, index), scheme, code, meaning, annotation);
}

void DcmSRDocument::SetFinding(std::int16_t index, std::string_view scheme, std::string_view code,
                               std::string_view meaning, std::string_view annotation) {
    SetEntry(findings_, index, Node(scheme, code, meaning, annotation), updated_);
}

std::int16_t DcmSRDocument::GetDiagnosisCount() const {
    return CountOf(diagnoses_);
}

void DcmSRDocument::DeleteDiagnosis(std::int16_t index) {
    DeleteEntry(diagnoses_, index, updated_);
}

void DcmSRDocument::GetDiagnosis(std::int16_t index, std::string& scheme, std::string& code, std::string& meaning,
                                 std::string& annotation) const {
    Take(Entry(diagnoses_, index), scheme, code, meaning, annotation);
}

void DcmSRDocument::SetDiagnosis(std::int16_t index, std::string_view scheme, std::string_view code,
                                 std::string_view meaning, std::string_view annotation) {
    SetEntry(diagnoses_, index, Node(scheme, code, meaning, annotation), updated_);
}

} // namespace tavrel
