#include "sr/forms/VersionForm.h"

#include "platform/attributes.h"
#include "platform/error.h"
#include "platform/text.h"
#include "sr/forms/ClassicVersion.h"
#include "sr/forms/InterchangeContent.h"
#include "sr/forms/InterchangeVersion.h"

namespace tavrel {

std::unique_ptr<const VersionForm> FormOf(Global& global) {
    if (global.reportForm == ReportForm::Interchange)
        return std::make_unique<InterchangeVersion>(global);
    return std::make_unique<ClassicVersion>(global);
}

std::vector<ObservationContext> SaversOf(const DicomDataSet& version) {
    const bool interchange = IsInterchange(version);
    auto savers = interchange ? Participants(version) : std::vector<ObservationContext>();
    if (!savers.empty())
        return savers;
    // Another maker's interchange version may name its verifier alone.
    const int count = version.GetSequenceItemCount(attribute::VerifyingObserverSequence);
    for (int index = 0; index < count; ++index) {
        auto& saver = savers.emplace_back();
        saver.DicomObject(version.GetSequenceItem(attribute::VerifyingObserverSequence, index));
        if (interchange)
            saver.ObserverName = TrimmedRight(saver.ObserverName, "^");
    }
    return savers;
}

DataSetHandle VersionForm::NewItem(DicomDataSet& dataSet, Tag sequence, int index) const {
    DataSetHandle item = global_.ports.dicom.NewDataSet();
    dataSet.SetSequenceItem(sequence, index, item);
    return item;
}

void VersionForm::WritePredecessors(DicomDataSet& version, const DataSetList& versions, int earlier) const {
    if (earlier < 1)
        return;
    const DataSetHandle study = NewItem(version, attribute::PredecessorDocumentsSequence, 0);
    study->SetValue(attribute::StudyInstanceUid, 0, version.GetValue(attribute::StudyInstanceUid));
    const DataSetHandle series = NewItem(*study, attribute::ReferencedSeriesSequence, 0);
    series->SetValue(attribute::SeriesInstanceUid, 0, version.GetValue(attribute::SeriesInstanceUid));
    for (int index = 0; index < earlier; ++index) {
        const DataSetHandle document = NewItem(*series, attribute::ReferencedSopSequence, index);
        document->SetValue(attribute::ReferencedSopClassUid, 0,
                           versions.GetElementValue(index, attribute::SopClassUid));
        document->SetValue(attribute::ReferencedSopInstanceUid, 0,
                           versions.GetElementValue(index, attribute::SopInstanceUid));
    }
}

void VersionForm::RequireSingleValues(std::initializer_list<Named> values) {
    for (const auto& [name, value] : values)
        if (value.find('\\') != std::string_view::npos)
            throw Error(Fault::TypeMismatch, "DcmSRDocument",
                        "The report cannot be stored: the " + std::string(name) +
                            " holds a backslash, which would make two values of it: " + std::string(value));
}

} // namespace tavrel
