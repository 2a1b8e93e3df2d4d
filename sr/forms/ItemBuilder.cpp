#include "sr/forms/ItemBuilder.h"

#include "host/Text.h"
#include "platform/attributes.h"
#include "platform/limits.h"
#include "platform/text.h"
#include "sr/forms/Concepts.h"

#include <algorithm>

namespace tavrel {

void ItemBuilder::SetIfAny(const Attribute& attribute, const Value& value) const {
    if (!TextOf(value).empty())
        Set(attribute, value);
}

void ItemBuilder::SetShort(const Attribute& attribute, std::string_view text, std::size_t longest) const {
    std::string value(FirstCharacters(text, longest));
    std::ranges::replace_if(value, IsBlank, ' ');
    std::ranges::replace(value, '\\', '/');
    Set(attribute, value);
}

ItemBuilder ItemBuilder::Append(Tag sequence) const {
    DataSetHandle item = dicom_->NewDataSet();
    dataSet_->SetSequenceItem(sequence, dataSet_->GetSequenceItemCount(sequence), item);
    return {*dicom_, std::move(item)};
}

void ItemBuilder::AppendCode(Tag sequence, const ContentNode& code) const {
    const auto item = Append(sequence);
    const bool longCode = CountCharacters(code.Code) > longest::CodeValue;
    item.Set(longCode ? attribute::LongCodeValue : attribute::CodeValue, code.Code);
    item.SetShort(attribute::CodingSchemeDesignator, SchemeOf(code), longest::CodeScheme);
    item.SetShort(attribute::CodeMeaning, code.CodeMeaning.empty() ? code.Code : code.CodeMeaning,
                  longest::CodeMeaning);
}

std::string_view SchemeOf(const ContentNode& code) {
    return code.CodeScheme.empty() ? PrivateScheme : std::string_view(code.CodeScheme);
}

} // namespace tavrel
