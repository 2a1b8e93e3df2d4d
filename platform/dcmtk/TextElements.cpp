#include "platform/dcmtk/TextElements.h"

#include "platform/dcmtk/DicomFailure.h"
#include "platform/dcmtk/DicomValues.h"
#include "platform/text.h"

#include <dcmtk/config/osconfig.h>

#include <dcmtk/dcmdata/dcelem.h>
#include <dcmtk/dcmdata/dcitem.h>
#include <dcmtk/dcmdata/dctag.h>

namespace tavrel {
namespace {

constexpr std::string_view TextVrs = "AE AS CS DA DS DT IS LO LT PN SH ST TM UC UI UR UT ";
constexpr std::string_view NumberVrs = "AT FD FL SL SS SV UL US UV ";

bool Holds(std::string_view vrs, std::string_view vr) {
    const auto at = vrs.find(vr);
    return vr.size() == 2 && at != std::string_view::npos && at % 3 == 0;
}

std::string_view WithoutPadding(std::string_view text) {
    return TrimmedRight(text, std::string_view{" \0", 2});
}

/// The toolkit's read accessors load values on demand and so are not const.
DcmElement& Accessible(const DcmElement& element) {
    return const_cast<DcmElement&>(element);
}

} // namespace

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
    if (Holds("LO SH UC ", vr))
        return TextKind::Values;
    if (Holds("LT ST UT ", vr))
        return TextKind::Plain;
    return std::nullopt;
}

bool IsTextVr(std::string_view vr) {
    return Holds(TextVrs, vr);
}

bool IsNumberVr(std::string_view vr) {
    return Holds(NumberVrs, vr);
}

std::string NumberText(const DcmElement& element) {
    OFString text;
    if (Accessible(element).getOFStringArray(text).bad())
        return {};
    return text;
}

std::string_view RawText(const DcmElement& element) {
    char* text = nullptr;
    Uint32 length = 0;
    if (Accessible(element).getString(text, length).bad() || text == nullptr)
        return {};
    return WithoutPadding({text, length});
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

std::unique_ptr<DcmElement> NewElement(const Attribute& attribute, std::string_view text) {
    const std::string vr{attribute.vr};
    if (!Holds(TextVrs, vr) && !Holds(NumberVrs, vr))
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
