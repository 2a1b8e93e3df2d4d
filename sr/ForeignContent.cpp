#include "sr/ForeignContent.h"

#include "host/Text.h"
#include "platform/attributes.h"
#include "platform/uid.h"
#include "sr/forms/Concepts.h"

#include <array>
#include <string_view>

namespace tavrel {
namespace {

/// The code values of the concepts of a report's items, in their order.
constexpr std::array<std::string_view, 2> Concepts = {concepts::Title.code, concepts::Impression.code};

/// What an item does not say is no reason to doubt it.
bool Holds(const std::string& text, std::string_view expected) {
    return text.empty() || text == expected;
}

bool IsItem(const DicomDataSet& item, std::string_view conceptCode) {
    const DataSetHandle name = item.GetSequenceItem(attribute::ConceptNameCodeSequence, 0);
    return Holds(TextOf(item, attribute::ValueType), "TEXT") &&
           (!name || Holds(TextOf(*name, attribute::CodeValue), conceptCode)) &&
           item.GetSequenceItemCount(attribute::ContentSequence) == 0;
}

} // namespace

bool HoldsMoreThanAReport(const DicomDataSet& version) {
    if (!Holds(TextOf(version, attribute::SopClassUid), BasicTextSr))
        return true;
    const int items = version.GetSequenceItemCount(attribute::ContentSequence);
    if (items > static_cast<int>(Concepts.size()))
        return true;
    for (int index = 0; index < items; ++index)
        if (!IsItem(*version.GetSequenceItem(attribute::ContentSequence, index),
                    Concepts.at(static_cast<std::size_t>(index))))
            return true;
    return false;
}

} // namespace tavrel
