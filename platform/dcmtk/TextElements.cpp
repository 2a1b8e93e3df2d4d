#include "platform/dcmtk/TextElements.h"

#include "platform/dcmtk/DicomFailure.h"
#include "platform/dcmtk/DicomValues.h"
#include "platform/dcmtk/Elements.h"
#include "platform/text.h"

#include <dcmtk/config/osconfig.h>

#include <dcmtk/dcmdata/dcelem.h>
#include <dcmtk/dcmdata/dcitem.h>
#include <dcmtk/dcmdata/dctag.h>

namespace tavrel {
namespace {

constexpr VrSet TextVrs{"AE AS CS DA DS DT IS LO LT PN SH ST TM UC UI UR UT"};
constexpr VrSet NumberVrs{"AT FD FL SL SS SV UL US UV"};
constexpr VrSet MultipleTextVrs{"LO SH UC"};
constexpr VrSet SingleTextVrs{"LT ST UT"};

std::string_view WithoutPadding(std::string_view text) {
    return TrimmedRight(text, std::string_view{" \0", 2});
}

/// The toolkit's read accessors load values on demand and so are not const.
DcmElement& Accessible(const DcmElement& element) {
    return const_cast<DcmElement&>(element);
}

std::string_view StoredCharacters(const DcmElement& element) {
    char* text = nullptr;
    Uint32 length = 0;
    if (Accessible(element).getString(text, length).bad() || text == nullptr)
        return {};
    return {text, length};
}

} // namespace

std::string_view TextElement::Text() const {
    return WithoutPadding(stored);
}

TextElement StoredText(const DcmElement& element) {
    const auto vr = VrOf(element);
    return {{vr[0], vr[1]}, std::string{StoredCharacters(element)}};
}

std::string_view VrOf(const DcmElement& element) {
    return DcmVR{Accessible(element).getVR()}.getValidVRName();
}

std::string_view DictionaryVrOf(const DcmElement& element) {
    const DcmTag tag{element.getTag().getXTag()};
    return DcmVR{tag.getEVR()}.getValidVRName();
}

std::optional<TextKind> TextKindOf(std::string_view vr) {
    if (vr == "PN")
        return TextKind::PersonName;
    if (MultipleTextVrs.Holds(vr))
        return TextKind::Values;
    if (SingleTextVrs.Holds(vr))
        return TextKind::Plain;
    return std::nullopt;
}

bool IsTextVr(std::string_view vr) {
    return TextVrs.Holds(vr);
}

bool IsNumberVr(std::string_view vr) {
    return NumberVrs.Holds(vr);
}

std::string NumberText(const DcmElement& element) {
    OFString text;
    if (Accessible(element).getOFStringArray(text).bad())
        return {};
    return text;
}

std::string_view RawText(const DcmElement& element) {
    return WithoutPadding(StoredCharacters(element));
}

std::string_view RawBytes(const DcmElement& element) {
    Uint8* bytes = nullptr;
    if (Accessible(element).getUint8Array(bytes).bad() || bytes == nullptr)
        return {};
    return WithoutPadding({reinterpret_cast<const char*>(bytes), Accessible(element).getLength()});
}

void PutText(DcmElement& element, std::string_view text) {
    const OFCondition outcome = element.putString(text.data(), static_cast<Uint32>(text.size()));
    if (outcome.bad()) {
        const Tag tag{element.getGTag(), element.getETag()};
        throw DicomFailure(DicomFault::BadValue, "\"" + std::string{text} + "\" is no value of VR " +
                                                     std::string{VrOf(element)} + " for " + AttributeName(tag) + ".");
    }
}

std::unique_ptr<DcmElement> NewNumber(const Attribute& attribute, std::string_view text) {
    const std::string vr{attribute.vr};
    if (!IsNumberVr(vr))
        throw DicomFailure(DicomFault::BadValue,
                           "A value of VR \"" + vr + "\" cannot be written to " + AttributeName(attribute) + ".");
    DcmElement* made = nullptr;
    const OFCondition outcome =
        DcmItem::newDicomElementWithVR(made, DcmTag{attribute.group, attribute.element, DcmVR{vr.c_str()}});
    std::unique_ptr<DcmElement> element{made};
    if (outcome.bad() || !element)
        throw DicomFailure(DicomFault::BadValue,
                           "The element " + AttributeName(attribute) + " cannot be made: " + outcome.text() + ".");
    if (!text.empty())
        PutText(*element, text);
    return element;
}

std::unique_ptr<DcmElement> CopyOf(const DcmElement& element) {
    return std::unique_ptr<DcmElement>{static_cast<DcmElement*>(element.clone())};
}

} // namespace tavrel
