#include "platform/dcmtk/TextElements.h"

#include "platform/dcmtk/Elements.h"
#include "platform/text.h"

namespace tavrel {
namespace {

constexpr VrSet MultipleTextVrs{"LO SH UC"};
constexpr VrSet SingleTextVrs{"LT ST UT"};

} // namespace

std::string_view WithoutPadding(std::string_view value) {
    return TrimmedRight(value, std::string_view{" \0", 2});
}

std::string_view TextElement::Text() const {
    return WithoutPadding(stored);
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

} // namespace tavrel
