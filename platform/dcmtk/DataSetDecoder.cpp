#include "platform/dcmtk/DataSetDecoder.h"

#include "platform/dcmtk/CharacterSet.h"
#include "platform/dcmtk/DicomValues.h"
#include "platform/dcmtk/TextElements.h"

#include <dcmtk/config/osconfig.h>

#include <dcmtk/dcmdata/dcdeftag.h>
#include <dcmtk/dcmdata/dcelem.h>
#include <dcmtk/dcmdata/dcitem.h>
#include <dcmtk/dcmdata/dcsequen.h>

namespace tavrel {
namespace {

void DecodeText(DcmElement& element, const CharacterSet& set) {
    const auto kind = TextKindOf(VrOf(element));
    if (!kind)
        return;
    const std::string_view raw = RawText(element);
    std::string text = WithCrLf(set.Decode(raw, *kind));
    if (text != raw)
        PutText(element, text);
}

DcmtkSequence DecodeItems(DcmSequenceOfItems& source, const std::string& inheritedSet,
                          const std::shared_ptr<const DcmtkServices>& services) {
    DcmtkSequence items;
    items.reserve(source.card());
    while (const std::unique_ptr<DcmItem> item{source.remove(0UL)}) {
        const std::string declared = DeclaredCharacterSet(*item, inheritedSet);
        items.push_back(std::make_shared<DcmtkDataSet>(services));
        items.back()->Adopt(DecodeElements(*item, declared, services), declared);
    }
    return items;
}

} // namespace

std::string DeclaredCharacterSet(DcmItem& source, const std::string& inheritedSet) {
    OFString declared;
    if (source.findAndGetOFStringArray(DCM_SpecificCharacterSet, declared).bad())
        return inheritedSet;
    return declared.c_str();
}

DcmtkElements DecodeElements(DcmItem& source, const std::string& inheritedSet,
                             const std::shared_ptr<const DcmtkServices>& services) {
    const std::string declared = DeclaredCharacterSet(source, inheritedSet);
    const CharacterSet set{declared};
    DcmtkElements elements;
    while (std::unique_ptr<DcmElement> element{source.remove(0UL)}) {
        const Tag tag{element->getGTag(), element->getETag()};
        if (tag.element == 0) // group lengths, which writing makes anew
            continue;
        if (element->ident() == EVR_SQ) {
            auto& sequence = static_cast<DcmSequenceOfItems&>(*element);
            elements.emplace(tag, DecodeItems(sequence, declared, services));
            continue;
        }
        DecodeText(*element, set);
        elements.emplace(tag, std::move(element));
    }
    return elements;
}

} // namespace tavrel
