#include "sr/WrittenVersion.h"

#include "host/Text.h"
#include "platform/attributes.h"
#include "sr/ForeignContent.h"
#include "sr/forms/InterchangeContent.h"
#include "sr/forms/VersionForm.h"

#include <utility>

namespace tavrel {

WrittenVersion ReadVersion(const DicomDataSet& version) {
    WrittenVersion written;
    written.savers = SaversOf(version);
    // "SC" is no VR; the library answers by the element's own.
    written.complete = TextOf(version, {attribute::CompletionFlag, "SC"}) == "COMPLETE";
    const DataSetHandle reading = version.GetSequenceItem(attribute::ContentSequence, 1);
    written.coded = IsInterchange(version);
    if (!written.coded) {
        written.title.DicomObject(version.GetSequenceItem(attribute::ConceptNameCodeSequence, 0));
        const DataSetHandle title = version.GetSequenceItem(attribute::ContentSequence, 0);
        written.title.Annotation = title ? TextOf(*title, attribute::TextValue) : "";
        if (reading)
            written.reading = TextOf(*reading, attribute::TextValue);
        written.more = HoldsMoreThanAReport(version);
        return written;
    }
    auto content = ReadInterchange(version);
    written.title = std::move(content.title);
    if (reading)
        written.reading = InterchangeText(*reading);
    written.bodyPart = std::move(content.bodyPart);
    written.findings = std::move(content.findings);
    written.diagnoses = std::move(content.diagnoses);
    written.images = std::move(content.images);
    written.more = content.more;
    return written;
}

} // namespace tavrel
