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

/// Decodes an item and those in it that declare no character set of their own.
class Decoder {
public:
    explicit Decoder(std::string declared) : declared_(std::move(declared)), set_(declared_) {}

    DcmtkElements Decode(DcmItem& source) const {
        DcmtkElements elements;
        while (std::unique_ptr<DcmElement> element{source.remove(0UL)}) {
            const Tag tag{element->getGTag(), element->getETag()};
            if (tag.element == 0) // group lengths, which writing makes anew
                continue;
            if (element->ident() == EVR_SQ) {
                elements.emplace(tag, DecodeItems(static_cast<DcmSequenceOfItems&>(*element)));
                continue;
            }
            if (IsTextVr(VrOf(*element)))
                elements.emplace(tag, DecodeText(StoredText(*element), set_));
            else
                elements.emplace(tag, std::move(element));
        }
        return elements;
    }

private:
    DcmtkSequence DecodeItems(DcmSequenceOfItems& source) const {
        DcmtkSequence items;
        items.reserve(source.card());
        while (const std::unique_ptr<DcmItem> item{source.remove(0UL)}) {
            const std::string declared = DeclaredCharacterSet(*item, declared_);
            items.push_back(std::make_shared<DcmtkDataSet>());
            items.back()->Adopt(declared == declared_ ? Decode(*item) : Decoder{declared}.Decode(*item), declared);
        }
        return items;
    }

    std::string declared_;
    CharacterSet set_;
};

} // namespace

std::string DeclaredCharacterSet(DcmItem& source, const std::string& inheritedSet) {
    OFString declared;
    if (source.findAndGetOFStringArray(DCM_SpecificCharacterSet, declared).bad())
        return inheritedSet;
    return declared;
}

TextElement DecodeText(TextElement element, const CharacterSet& set) {
    if (const auto kind = TextKindOf(element.Vr())) {
        std::string text = WithCrLf(set.Decode(element.Text(), *kind));
        if (text != element.Text())
            element.stored = std::move(text);
    }
    return element;
}

DcmtkElements DecodeElements(DcmItem& source, const std::string& declaredSet) {
    return Decoder{declaredSet}.Decode(source);
}

} // namespace tavrel
