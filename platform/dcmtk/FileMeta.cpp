#include "platform/dcmtk/FileMeta.h"

#include "platform/dcmtk/Elements.h"
#include "platform/dcmtk/Implementation.h"

namespace tavrel {
namespace {

/// Explicit little endian, a VR whose length has 16 bits.
std::string Element(std::uint16_t element, std::string_view vr, std::string_view value) {
    return (LittleEndian(2, 2) + LittleEndian(element, 2))
        .append(vr)
        .append(LittleEndian(static_cast<std::uint32_t>(value.size()), 2))
        .append(value);
}

std::string Uid(std::uint16_t element, std::string_view uid) {
    return Element(element, "UI", Padded(uid, '\0'));
}

} // namespace

std::string FileMeta(std::string_view sopClassUid, std::string_view sopInstanceUid, std::string_view transferSyntax,
                     std::string_view sourceAe) {
    constexpr std::size_t preamble = 128;
    const std::string version = (LittleEndian(2, 2) + LittleEndian(1, 2) + "OB")
                                    .append(LittleEndian(0, 2) + LittleEndian(2, 4) + std::string("\0\1", 2));
    const std::string elements = version + Uid(0x0002, sopClassUid) + Uid(0x0003, sopInstanceUid) +
                                 Uid(0x0010, transferSyntax) + Uid(0x0012, ImplementationClassUid) +
                                 Element(0x0013, "SH", Padded(ImplementationVersionName(), ' ')) +
                                 (sourceAe.empty() ? "" : Element(0x0016, "AE", Padded(sourceAe, ' ')));
    return std::string(preamble, '\0') + "DICM" +
           Element(0x0000, "UL", LittleEndian(static_cast<std::uint32_t>(elements.size()), 4)) + elements;
}

} // namespace tavrel
