#include "platform/dcmtk/OtherElements.h"

#include "platform/dcmtk/DicomFailure.h"
#include "platform/dcmtk/DicomValues.h"
#include "platform/dcmtk/Elements.h"

#include <algorithm>
#include <bit>
#include <charconv>
#include <cstring>

namespace tavrel {
namespace {

constexpr VrSet NumberVrs{"FD FL SL SS SV UL US UV"};

static_assert(std::endian::native == std::endian::little, "numbers are kept as they are written");

/// Calls `use` with a number of the VR's kind (PS3.5, table 6.2-1).
template <typename Use> auto WithNumberOf(std::string_view vr, Use use) {
    if (vr == "FD")
        return use(double{});
    if (vr == "FL")
        return use(float{});
    if (vr == "SL")
        return use(std::int32_t{});
    if (vr == "SS")
        return use(std::int16_t{});
    if (vr == "SV")
        return use(std::int64_t{});
    if (vr == "UL")
        return use(std::uint32_t{});
    return vr == "UV" ? use(std::uint64_t{}) : use(std::uint16_t{});
}

} // namespace

bool IsNumberVr(std::string_view vr) {
    return NumberVrs.Holds(vr);
}

std::string NumberText(const OtherElement& element) {
    return WithNumberOf(element.Vr(), [rest = std::string_view{element.value}](auto number) mutable {
        std::string text;
        for (; rest.size() >= sizeof number; rest.remove_prefix(sizeof number)) {
            std::memcpy(&number, rest.data(), sizeof number);
            std::array<char, 32> digits{};
            auto* end = std::to_chars(digits.data(), digits.data() + digits.size(), number).ptr;
            text.append(text.empty() ? "" : "\\").append(digits.data(), end);
        }
        return text;
    });
}

OtherElement NewNumber(const Attribute& attribute, std::string_view text) {
    const std::string vr{attribute.vr};
    if (!IsNumberVr(vr))
        throw DicomFailure(DicomFault::BadValue,
                           "A value of VR \"" + vr + "\" cannot be written to " + AttributeName(attribute) + ".");
    OtherElement element{{vr[0], vr[1]}, {}, {}};
    const bool numbers = WithNumberOf(vr, [&element, rest = text](auto number) mutable {
        while (!rest.empty()) {
            const auto part = rest.substr(0, rest.find('\\'));
            const auto [end, failure] = std::from_chars(part.data(), part.data() + part.size(), number);
            if (failure != std::errc{} || end != part.data() + part.size())
                return false;
            std::array<char, sizeof number> bytes{};
            std::memcpy(bytes.data(), &number, sizeof number);
            element.value.append(bytes.data(), bytes.size());
            rest.remove_prefix(std::min(part.size() + 1, rest.size()));
        }
        return true;
    });
    if (!numbers)
        throw DicomFailure(DicomFault::BadValue, "\"" + std::string{text} + "\" is no value of VR " + vr + " for " +
                                                     AttributeName(attribute) + ".");
    return element;
}

} // namespace tavrel
