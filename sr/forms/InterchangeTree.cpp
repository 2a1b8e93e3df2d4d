#include "sr/forms/InterchangeTree.h"

#include "platform/attributes.h"
#include "platform/text.h"
#include "sr/forms/Concepts.h"
#include "sr/forms/InterchangeContent.h"

#include <algorithm>
#include <array>

namespace tavrel {
namespace {

struct NamedLanguage {
    std::string_view tag;
    std::string_view name;
};

/// DICOM PS3.16, CID 5000, without the countries.
constexpr std::array NamedLanguages = {
    NamedLanguage{"ar", "Arabic"},     NamedLanguage{"bg", "Bulgarian"},
    NamedLanguage{"ca", "Catalan"},    NamedLanguage{"cs", "Czech"},
    NamedLanguage{"da", "Danish"},     NamedLanguage{"de", "German"},
    NamedLanguage{"el", "Greek"},      NamedLanguage{"en", "English"},
    NamedLanguage{"es", "Spanish"},    NamedLanguage{"et", "Estonian"},
    NamedLanguage{"eu", "Basque"},     NamedLanguage{"fa", "Persian"},
    NamedLanguage{"fi", "Finnish"},    NamedLanguage{"fr", "French"},
    NamedLanguage{"ga", "Irish"},      NamedLanguage{"he", "Hebrew"},
    NamedLanguage{"hi", "Hindi"},      NamedLanguage{"hr", "Croatian"},
    NamedLanguage{"hu", "Hungarian"},  NamedLanguage{"id", "Indonesian"},
    NamedLanguage{"is", "Icelandic"},  NamedLanguage{"it", "Italian"},
    NamedLanguage{"ja", "Japanese"},   NamedLanguage{"ka", "Georgian"},
    NamedLanguage{"ko", "Korean"},     NamedLanguage{"lt", "Lithuanian"},
    NamedLanguage{"lv", "Latvian"},    NamedLanguage{"mk", "Macedonian"},
    NamedLanguage{"mt", "Maltese"},    NamedLanguage{"nb", "Norwegian Bokmål"},
    NamedLanguage{"nl", "Dutch"},      NamedLanguage{"nn", "Norwegian Nynorsk"},
    NamedLanguage{"no", "Norwegian"},  NamedLanguage{"pl", "Polish"},
    NamedLanguage{"pt", "Portuguese"}, NamedLanguage{"ro", "Romanian"},
    NamedLanguage{"ru", "Russian"},    NamedLanguage{"sk", "Slovak"},
    NamedLanguage{"sl", "Slovenian"},  NamedLanguage{"sq", "Albanian"},
    NamedLanguage{"sr", "Serbian"},    NamedLanguage{"sv", "Swedish"},
    NamedLanguage{"th", "Thai"},       NamedLanguage{"tr", "Turkish"},
    NamedLanguage{"uk", "Ukrainian"},  NamedLanguage{"vi", "Vietnamese"},
    NamedLanguage{"zh", "Chinese"},
};

std::string_view TextOrNone(std::string_view text) {
    return std::ranges::all_of(text, IsBlank) ? NoText : text;
}

ItemBuilder AppendItem(const ItemBuilder& holder, std::string_view relationship, std::string_view valueType) {
    auto item = holder.Append(attribute::ContentSequence);
    item.Set(attribute::RelationshipType, std::string(relationship));
    item.Set(attribute::ValueType, std::string(valueType));
    return item;
}

ItemBuilder AppendItem(const ItemBuilder& holder, std::string_view relationship, std::string_view valueType,
                       const Concept& name) {
    auto item = AppendItem(holder, relationship, valueType);
    item.AppendCode(attribute::ConceptNameCodeSequence, name.Node());
    return item;
}

ItemBuilder AppendText(const ItemBuilder& holder, std::string_view relationship, const Concept& name,
                       std::string_view text) {
    auto item = AppendItem(holder, relationship, "TEXT", name);
    item.Set(attribute::TextValue, std::string(TextOrNone(text)));
    return item;
}

ItemBuilder AppendCode(const ItemBuilder& holder, std::string_view relationship, const Concept& name,
                       const ContentNode& code) {
    auto item = AppendItem(holder, relationship, "CODE", name);
    item.AppendCode(attribute::ConceptCodeSequence, code);
    return item;
}

/// As text where it has no code.
void AppendEntry(const ItemBuilder& holder, const Concept& name, const ContentNode& entry) {
    const auto item = entry.Code.empty() ? AppendText(holder, "CONTAINS", name, entry.CodeMeaning)
                                         : AppendCode(holder, "CONTAINS", name, entry);
    if (!std::ranges::all_of(entry.Annotation, IsBlank))
        AppendText(item, "HAS CONCEPT MOD", concepts::Comment, entry.Annotation);
}

void AppendEntries(const ItemBuilder& version, const Concept& name, const Concept& entryName,
                   const std::vector<ContentNode>& entries) {
    if (entries.empty())
        return;
    const auto list = AppendItem(version, "CONTAINS", "CONTAINER", name);
    list.Set(attribute::ContinuityOfContent, "SEPARATE");
    for (const auto& entry : entries)
        AppendEntry(list, entryName, entry);
}

void AppendReference(const ItemBuilder& holder, const std::string& classUid, const std::string& instanceUid) {
    holder.Set(attribute::ReferencedSopClassUid, classUid);
    holder.Set(attribute::ReferencedSopInstanceUid, instanceUid);
}

void AppendImage(const ItemBuilder& version, const ReferencedImage& image) {
    const auto reference = AppendItem(version, "CONTAINS", "IMAGE").Append(attribute::ReferencedSopSequence);
    AppendReference(reference, image.sopClassUid, image.sopInstanceUid);
    if (image.frame > 0)
        reference.Set(attribute::ReferencedFrameNumber, std::to_string(image.frame));
    if (!image.presentationSopInstanceUid.empty())
        AppendReference(reference.Append(attribute::ReferencedSopSequence), image.presentationSopClassUid,
                        image.presentationSopInstanceUid);
}

/// A heading without a code has a standard one, and its words beside it.
void WriteHeading(const ItemBuilder& version, const ContentNode& heading) {
    const bool coded = !heading.Code.empty();
    version.AppendCode(attribute::ConceptNameCodeSequence, coded ? heading : concepts::DiagnosticImagingReport.Node());
}

void AppendLanguage(const ItemBuilder& version, std::string_view language) {
    const auto* named = std::ranges::find(NamedLanguages, language, &NamedLanguage::tag);
    if (named != NamedLanguages.end())
        AppendCode(version, "HAS CONCEPT MOD", concepts::Language, Concept{"RFC5646", named->tag, named->name}.Node());
}

/// PS3.16, TID 1002 and TID 1003.
void AppendObserver(const ItemBuilder& version, const ObservationContext& author) {
    AppendCode(version, "HAS OBS CONTEXT", concepts::ObserverType, concepts::Person.Node());
    AppendItem(version, "HAS OBS CONTEXT", "PNAME", concepts::PersonObserverName)
        .Set(attribute::PersonName, PersonNameValue(author.ObserverName));
    if (!author.ObserverOrganization.empty())
        AppendText(version, "HAS OBS CONTEXT", concepts::ObserverOrganization, author.ObserverOrganization);
}

} // namespace

void WriteInterchangeTree(const ItemBuilder& version, const VersionContent& content, const ObservationContext& author,
                          std::string_view language) {
    version.Set(attribute::ValueType, "CONTAINER");
    version.Set(attribute::ContinuityOfContent, "SEPARATE");
    WriteHeading(version, content.title);
    const auto used = version.Append(attribute::ContentTemplateSequence);
    used.Set(attribute::MappingResource, "DCMR");
    used.Set(attribute::TemplateIdentifier, std::string(DiagnosticReportTemplate));

    AppendText(version, "CONTAINS", concepts::DocumentTitle, content.title.Annotation);
    AppendText(version, "CONTAINS", concepts::Impression, content.reading);
    AppendLanguage(version, language);
    if (content.title.Code.empty())
        AppendText(version, "HAS CONCEPT MOD", concepts::EquivalentMeaning, content.title.CodeMeaning);
    AppendObserver(version, author);
    if (!content.bodyPart.Code.empty() || !content.bodyPart.CodeMeaning.empty())
        AppendEntry(version, concepts::TargetRegion, content.bodyPart);
    AppendEntries(version, concepts::Findings, concepts::Finding, content.findings);
    AppendEntries(version, concepts::Conclusions, concepts::Conclusion, content.diagnoses);
    for (const auto& image : content.images)
        if (!image.sopInstanceUid.empty())
            AppendImage(version, image);
}

std::string PersonNameValue(std::string_view name) {
    if (name.find_first_not_of(" ^=") == std::string_view::npos)
        return PersonNameValue("Unknown");
    std::string value(Trimmed(name));
    if (value.find_first_of("^=") == std::string::npos)
        value += '^';
    return value;
}

} // namespace tavrel
