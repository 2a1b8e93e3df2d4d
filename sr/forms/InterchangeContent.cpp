#include "sr/forms/InterchangeContent.h"

#include "host/Text.h"
#include "platform/attributes.h"
#include "platform/text.h"
#include "platform/uid.h"
#include "sr/content/Items.h"
#include "sr/forms/Concepts.h"

#include <algorithm>
#include <charconv>
#include <map>
#include <optional>

namespace tavrel {
namespace {

/// The first code of a sequence.
ContentNode CodeOf(const DicomDataSet& dataSet, Tag sequence) {
    ContentNode node;
    const DataSetHandle item = dataSet.GetSequenceItem(sequence, 0);
    node.DicomObject(item);
    if (item && node.Code.empty())
        node.Code = TextOf(*item, attribute::LongCodeValue);
    return node;
}

ContentNode NameOf(const DicomDataSet& item) {
    return CodeOf(item, attribute::ConceptNameCodeSequence);
}

/// Where the referenced instances lie, by their UIDs.
class Evidence {
public:
    explicit Evidence(const DicomDataSet& version) {
        ForEachItem(version, attribute::CurrentRequestedProcedureEvidenceSequence, [&](const DicomDataSet& study) {
            const auto studyUid = TextOf(study, attribute::StudyInstanceUid);
            ForEachItem(study, attribute::ReferencedSeriesSequence, [&](const DicomDataSet& series) {
                const auto seriesUid = TextOf(series, attribute::SeriesInstanceUid);
                ForEachItem(series, attribute::ReferencedSopSequence, [&](const DicomDataSet& instance) {
                    places_[TextOf(instance, attribute::ReferencedSopInstanceUid)] = {studyUid, seriesUid};
                });
            });
        });
    }
    std::string StudyOf(const std::string& instanceUid) const { return Find(instanceUid).first; }
    std::string SeriesOf(const std::string& instanceUid) const { return Find(instanceUid).second; }

private:
    using Uids = std::pair<std::string, std::string>;
    Uids Find(const std::string& instanceUid) const {
        const auto found = places_.find(instanceUid);
        return found == places_.end() ? Uids() : found->second;
    }

    std::map<std::string, Uids> places_;
};

/// Reads the tree's items one by one.
class Tree {
public:
    explicit Tree(const DicomDataSet& version) : version_(version), evidence_(version) {}

    InterchangeContent Read() {
        content_.title = NameOf(version_);
        int index = 0;
        ForEachItem(version_, attribute::ContentSequence, [&](const DicomDataSet& item) {
            if (!Take(index++, item))
                content_.more = true;
        });
        return std::move(content_);
    }

private:
    /// Whether the item is of this kind, under this name, without items that it cannot have.
    static bool Is(const DicomDataSet& item, std::string_view relationship, std::string_view valueType,
                   const Concept& name, int mostItems = 0) {
        return TextOf(item, attribute::RelationshipType) == relationship &&
               TextOf(item, attribute::ValueType) == valueType && name.Is(NameOf(item)) &&
               item.GetSequenceItemCount(attribute::ContentSequence) <= mostItems;
    }

    /// Whether the item is known.
    bool Take(int index, const DicomDataSet& item) {
        if (index < 2)
            return TakeText(index, item);
        return IsContext(item) || TakeHeading(item) || TakeBodyPart(item) || TakeImage(item) ||
               TakeEntries(item, concepts::Findings, concepts::Finding, content_.findings) ||
               TakeEntries(item, concepts::Conclusions, concepts::Conclusion, content_.diagnoses);
    }

    bool TakeText(int index, const DicomDataSet& item) {
        if (index == 0)
            content_.title.Annotation = InterchangeText(item);
        return Is(item, "CONTAINS", "TEXT", index == 0 ? concepts::DocumentTitle : concepts::Impression);
    }

    /// What is written anew with each version.
    static bool IsContext(const DicomDataSet& item) {
        return Is(item, "HAS CONCEPT MOD", "CODE", concepts::Language) ||
               Is(item, "HAS OBS CONTEXT", "CODE", concepts::ObserverType) ||
               Is(item, "HAS OBS CONTEXT", "PNAME", concepts::PersonObserverName) ||
               Is(item, "HAS OBS CONTEXT", "TEXT", concepts::ObserverOrganization);
    }

    bool TakeHeading(const DicomDataSet& item) {
        // Another code would be lost: it is not written beside such words.
        if (!Is(item, "HAS CONCEPT MOD", "TEXT", concepts::EquivalentMeaning) ||
            !concepts::DiagnosticImagingReport.Is(content_.title))
            return false;
        content_.title.CodeScheme.clear();
        content_.title.Code.clear();
        content_.title.CodeMeaning = InterchangeText(item);
        return true;
    }

    bool TakeBodyPart(const DicomDataSet& item) {
        auto entry = EntryOf(item, concepts::TargetRegion);
        if (!entry || content_.bodyPart != ContentNode())
            return false;
        content_.bodyPart = std::move(*entry);
        return true;
    }

    bool TakeEntries(const DicomDataSet& list, const Concept& name, const Concept& entryName,
                     std::vector<ContentNode>& entries) {
        if (!Is(list, "CONTAINS", "CONTAINER", name, list.GetSequenceItemCount(attribute::ContentSequence)))
            return false;
        ForEachItem(list, attribute::ContentSequence, [&](const DicomDataSet& item) {
            if (auto entry = EntryOf(item, entryName))
                entries.push_back(std::move(*entry));
            else
                content_.more = true;
        });
        return true;
    }

    /// A coded entry, or one that has no code, with its annotation.
    static std::optional<ContentNode> EntryOf(const DicomDataSet& item, const Concept& name) {
        ContentNode entry;
        if (Is(item, "CONTAINS", "CODE", name, 1))
            entry = CodeOf(item, attribute::ConceptCodeSequence);
        else if (Is(item, "CONTAINS", "TEXT", name, 1))
            entry.CodeMeaning = InterchangeText(item);
        else
            return std::nullopt;
        if (const DataSetHandle annotation = item.GetSequenceItem(attribute::ContentSequence, 0)) {
            if (!Is(*annotation, "HAS CONCEPT MOD", "TEXT", concepts::Comment))
                return std::nullopt;
            entry.Annotation = InterchangeText(*annotation);
        }
        return entry;
    }

    bool TakeImage(const DicomDataSet& item) {
        if (TextOf(item, attribute::RelationshipType) != "CONTAINS" || TextOf(item, attribute::ValueType) != "IMAGE" ||
            item.GetSequenceItemCount(attribute::ContentSequence) != 0 ||
            item.GetSequenceItemCount(attribute::ConceptNameCodeSequence) != 0 ||
            item.GetSequenceItemCount(attribute::ReferencedSopSequence) != 1)
            return false;
        const DataSetHandle reference = item.GetSequenceItem(attribute::ReferencedSopSequence, 0);
        if (!TextOf(reference->GetValue(attribute::ReferencedFrameNumber, 1)).empty())
            return false; // several frames
        auto& image = content_.images.emplace_back();
        image.sopClassUid = TextOf(*reference, attribute::ReferencedSopClassUid);
        image.sopInstanceUid = TextOf(*reference, attribute::ReferencedSopInstanceUid);
        image.studyUid = evidence_.StudyOf(image.sopInstanceUid);
        image.seriesUid = evidence_.SeriesOf(image.sopInstanceUid);
        const std::string frame = TextOf(*reference, attribute::ReferencedFrameNumber);
        std::from_chars(frame.data(), frame.data() + frame.size(), image.frame);
        image.frame = std::max(image.frame, 0);
        if (const DataSetHandle state = reference->GetSequenceItem(attribute::ReferencedSopSequence, 0)) {
            image.presentationSopClassUid = TextOf(*state, attribute::ReferencedSopClassUid);
            image.presentationSopInstanceUid = TextOf(*state, attribute::ReferencedSopInstanceUid);
            image.presentationSeriesUid = evidence_.SeriesOf(image.presentationSopInstanceUid);
        }
        return true;
    }

    const DicomDataSet& version_;
    Evidence evidence_;
    InterchangeContent content_;
};

} // namespace

bool IsInterchange(const DicomDataSet& version) {
    const DataSetHandle used = version.GetSequenceItem(attribute::ContentTemplateSequence, 0);
    const DataSetHandle first = version.GetSequenceItem(attribute::ContentSequence, 0);
    return TextOf(version, attribute::SopClassUid) == BasicTextSr && used &&
           TextOf(*used, attribute::TemplateIdentifier) == DiagnosticReportTemplate && first &&
           concepts::DocumentTitle.Is(NameOf(*first));
}

InterchangeContent ReadInterchange(const DicomDataSet& version) {
    return Tree(version).Read();
}

std::string InterchangeText(const DicomDataSet& item) {
    auto text = TextOf(item, attribute::TextValue);
    return text == NoText ? std::string() : text;
}

std::vector<ObservationContext> Participants(const DicomDataSet& version) {
    std::vector<ObservationContext> savers;
    ForEachItem(version, attribute::ParticipantSequence, [&](const DicomDataSet& item) {
        if (TextOf(item, attribute::ParticipationType) != "ENT")
            return;
        savers.push_back({std::string(TrimmedRight(TextOf(item, attribute::PersonName), "^")),
                          TextOf(item, attribute::InstitutionName),
                          DateTimeOf(item.GetValue(attribute::ParticipationDateTime))});
    });
    return savers;
}

} // namespace tavrel
