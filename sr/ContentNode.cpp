#include "sr/ContentNode.h"

#include "host/Catalogue.h"
#include "host/Text.h"
#include "platform/attributes.h"

namespace tavrel {

void ContentNode::DicomObject(const DataSetHandle& codeItem) {
    const auto read = [&](const Attribute& attribute) {
        return codeItem ? TextOf(codeItem->GetValue(attribute)) : std::string();
    };
    Code = read(attribute::CodeValue);
    CodeScheme = read(attribute::CodingSchemeDesignator);
    CodeMeaning = read(attribute::CodeMeaning);
}

DataSetHandle ContentNode::DicomObject(DicomLibrary& dicom) const {
    const DataSetHandle item = dicom.NewDataSet();
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
