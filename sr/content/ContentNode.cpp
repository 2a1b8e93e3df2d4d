#include "sr/content/ContentNode.h"

#include "host/Text.h"
#include "platform/attributes.h"

namespace tavrel {

void AppendCodeItem(DicomLibrary& dicom, DicomDataSet& dataSet, Tag sequence, std::string_view codeScheme,
                    std::string_view codeValue, std::string_view codeMeaning, std::int16_t& itemIndex) {
    if (itemIndex < 0)
        itemIndex = static_cast<std::int16_t>(dataSet.GetSequenceItemCount(sequence));
    const DataSetHandle item = dicom.NewDataSet();
    dataSet.SetSequenceItem(sequence, itemIndex, item);
    item->SetValue(attribute::CodeValue, 0, std::string(codeValue));
    item->SetValue(attribute::CodingSchemeDesignator, 0, std::string(codeScheme));
    item->SetValue(attribute::CodeMeaning, 0, std::string(codeMeaning));
}

void ContentNode::DicomObject(const DataSetHandle& codeItem) {
    const auto read = [&](const Attribute& attribute) {
        return codeItem ? TextOf(*codeItem, attribute) : std::string();
    };
    Code = read(attribute::CodeValue);
    CodeScheme = read(attribute::CodingSchemeDesignator);
    CodeMeaning = read(attribute::CodeMeaning);
}

DataSetHandle ContentNode::DicomObject(DicomLibrary& dicom) const {
    DataSetHandle item = dicom.NewDataSet();
    item->SetValue(attribute::ValueType, 0, "TEXT");
    std::int16_t position = -1;
    ConceptMacroAppend(dicom, *item, position);
    // LO in this form of an item; the items of a document's own content have UT.
    item->SetValue({attribute::TextValue, "LO"}, 0, Annotation);
    return item;
}

void ContentNode::ConceptMacroAppend(DicomLibrary& dicom, DicomDataSet& dataSet, std::int16_t& position) const {
    AppendCodeItem(dicom, dataSet, attribute::ConceptNameCodeSequence, CodeScheme, Code, CodeMeaning, position);
}

} // namespace tavrel
