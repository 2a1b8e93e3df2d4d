#pragma once

#include "tests/sr/ReportFixture.h"

#include <algorithm>
#include <iterator>

namespace tavrel::test {

/// A report of a site that writes the interchange form.
class InterchangeFixture : public ReportFixture {
protected:
    InterchangeFixture() {
        global.baseUid = "1.2.826.0.1.3680043.9.7777";
        global.reportForm = ReportForm::Interchange;
    }

    static ContentNode CodeOf(const DataSetHandle& dataSet, Tag sequence) {
        ContentNode node;
        node.DicomObject(dataSet->GetSequenceItem(sequence, 0));
        return node;
    }
    int LastCount(Tag sequence) const { return LastVersion()->GetSequenceItemCount(sequence); }
    DataSetHandle LastOf(Tag sequence, int index = 0) const { return LastVersion()->GetSequenceItem(sequence, index); }

    /// The items of the last version's content tree whose concept has this code.
    std::vector<DataSetHandle> ItemsNamed(std::string_view code) const {
        std::vector<DataSetHandle> items;
        for (int index = 0; index < LastCount(attribute::ContentSequence); ++index)
            if (CodeOf(LastItem(index), attribute::ConceptNameCodeSequence).Code == code)
                items.push_back(LastItem(index));
        return items;
    }
    std::vector<std::string> NamesIn(Tag sequence, const Attribute& attribute) const {
        std::vector<std::string> names(static_cast<std::size_t>(LastCount(sequence)));
        for (int index = 0; auto& name : names)
            name = Text(LastOf(sequence, index++), attribute);
        return names;
    }
    std::vector<std::string> Savers() const {
        std::vector<std::string> names;
        std::ranges::transform(document.Observers(), std::back_inserter(names), &ObservationContext::ObserverName);
        return names;
    }
    /// What the report's file gives to a program that has just started.
    DcmSRDocument ReadAgain() {
        LastVersion()->SaveToFile(station.Path("version.dcm"));
        DcmSRDocument read(global);
        read.OpenFile(station.Path("version.dcm"));
        return read;
    }

    const ReferencedImage image{"1.2.3",
                                "1.2.3.1",
                                "1.2.840.10008.5.1.4.1.1.2",
                                "1.2.3.1.1",
                                0,
                                "1.2.826.0.1.3680043.9.7777.4.1",
                                "1.2.840.10008.5.1.4.1.1.11.1",
                                "1.2.826.0.1.3680043.9.7777.3.1"};
    const ContentNode chest{"SCT", "51185008", "Chest", ""};
    const ContentNode effusion{"SCT", "60046008", "Pleural effusion", "small, on the left"};
    const ContentNode mass{"99OGH", "M1", "Mass", ""};
    const ContentNode pneumonia{"I10", "J18.9", "Pneumonia", ""};
};

} // namespace tavrel::test
