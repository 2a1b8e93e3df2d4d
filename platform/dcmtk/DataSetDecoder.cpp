#include "platform/dcmtk/DataSetDecoder.h"

#include "platform/dcmtk/CharacterSet.h"
#include "platform/dcmtk/DicomValues.h"
#include "platform/dcmtk/TextElements.h"

#include <utility>

namespace tavrel {
namespace {

/// Decodes an item and those in it that declare no character set of their own.
class Decoder {
public:
    explicit Decoder(std::string declared) : declared_(std::move(declared)), set_(declared_) {}

    DcmtkElements Decode(ReadItem source) const {
        DcmtkElements elements;
        for (auto& from = source.elements; !from.empty(); from.pop_front())
            elements.emplace(from.front().tag,
                             std::visit([&](auto& each) { return Decoded(std::move(each)); }, from.front().value));
        return elements;
    }

private:
    DcmtkElement Decoded(TextElement text) const { return DecodeText(std::move(text), set_); }

    static DcmtkElement Decoded(OtherElement other) { return other; }

    DcmtkElement Decoded(std::list<ReadItem> source) const {
        DcmtkSequence items;
        items.reserve(source.size());
        for (; !source.empty(); source.pop_front()) {
            auto& item = source.front();
            const std::string declared = item.characterSet.value_or(declared_);
            items.push_back(std::make_shared<DcmtkDataSet>());
            items.back()->Adopt(
                declared == declared_ ? Decode(std::move(item)) : Decoder{declared}.Decode(std::move(item)), declared);
        }
        return items;
    }

    std::string declared_;
    CharacterSet set_;
};

} // namespace

TextElement DecodeText(TextElement element, const CharacterSet& set) {
    if (const auto kind = TextKindOf(element.Vr())) {
        std::string text = WithCrLf(set.Decode(element.Text(), *kind));
        if (text != element.Text())
            element.stored = std::move(text);
    }
    return element;
}

DcmtkElements DecodeElements(ReadItem source, const std::string& declaredSet) {
    return Decoder{declaredSet}.Decode(std::move(source));
}

} // namespace tavrel
