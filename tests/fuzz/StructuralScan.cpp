// The structural scan alone, which stands before every parser: of a block of memory, and of a file in small pieces.

#include "platform/dcmtk/StructuralScan.h"
#include "tests/fuzz/Entry.h"

#include <fcntl.h>

#include <array>
#include <optional>

namespace {

using namespace tavrel;

std::optional<DicomLayout> Scanned(ByteWindow window, std::uint16_t lastGroup) try {
    return ScanDicom(window, lastGroup);
} catch (const StructureFault&) {
    return std::nullopt;
}

bool Same(const DicomLayout& one, const DicomLayout& other) {
    return one.metaBegin == other.metaBegin && one.dataBegin == other.dataBegin && one.earlyEnd == other.earlyEnd &&
           one.dataEnd == other.dataEnd && one.elements == other.elements &&
           one.transferSyntax == other.transferSyntax && one.explicitVr == other.explicitVr &&
           one.bigEndian == other.bigEndian;
}

/// Its parts lie in their order and within the file.
bool Fits(const DicomLayout& layout, std::size_t size) {
    return layout.metaBegin <= layout.dataBegin && layout.dataBegin <= layout.earlyEnd &&
           layout.earlyEnd <= layout.dataEnd && layout.dataEnd <= size;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size) {
    constexpr std::size_t smallPiece = 64;
    constexpr std::uint16_t identifyingGroups = 0x0020;
    const test::MemoryFile file{bytes, size};
    const int opened = open(file.Path().c_str(), O_RDONLY | O_CLOEXEC);
    for (const std::uint16_t lastGroup : std::array{EveryGroup, LastHeaderGroup, identifyingGroups}) {
        const auto ofMemory = Scanned(ByteWindow(std::span(bytes, size)), lastGroup);
        const auto ofFile = Scanned(ByteWindow(opened, size, smallPiece), lastGroup);
        test::Require(ofMemory.has_value() == ofFile.has_value());
        test::Require(!ofMemory || (Same(*ofMemory, *ofFile) && Fits(*ofMemory, size)));
    }
    close(opened);
    return 0;
}
