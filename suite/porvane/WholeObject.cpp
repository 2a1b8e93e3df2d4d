#include "suite/porvane/WholeObject.h"

#include "platform/dcmtk/StructuralScan.h"
#include "suite/porvane/StoreRefusal.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <string>
#include <system_error>

namespace tavrel {
namespace {

using Status = StoreRefusal::Status;

constexpr std::size_t Piece = 65536;
constexpr std::uint64_t MostReportBytes = 8UL * 1024 * 1024;
constexpr std::uint64_t MostHeaderBytes = 2UL * 1024 * 1024;
constexpr std::uint16_t LastIdentifyingGroup = 0x0020;
/// Each costs the parser some 300 bytes.
constexpr std::size_t MostParsedElements = 50'000;

class OpenFile {
public:
    explicit OpenFile(const std::filesystem::path& path) : descriptor_(open(path.c_str(), O_RDONLY | O_CLOEXEC)) {
        if (descriptor_ < 0)
            throw StoreRefusal(Status::OutOfResources,
                               "cannot read the file: " + std::generic_category().message(errno));
    }
    ~OpenFile() { close(descriptor_); }
    OpenFile(const OpenFile&) = delete;
    OpenFile& operator=(const OpenFile&) = delete;

    DicomLayout Scan(std::uint64_t size, std::uint16_t lastGroup) const {
        ByteWindow window(descriptor_, size, Piece);
        return ScanDicom(window, lastGroup);
    }

private:
    int descriptor_;
};

} // namespace

void RequireWhole(const std::filesystem::path& path, bool report) {
    const auto size = std::filesystem::file_size(path);
    const OpenFile file(path);
    try {
        file.Scan(size, EveryGroup);
        const DicomLayout parsed = file.Scan(size, report ? EveryGroup : LastIdentifyingGroup);
        if (parsed.dataEnd > (report ? MostReportBytes : MostHeaderBytes) || parsed.elements > MostParsedElements)
            throw StoreRefusal(Status::CannotUnderstand,
                               report ? "the report is too large" : "its header is too large");
    } catch (const StructureFault& fault) {
        throw StoreRefusal(Status::CannotUnderstand, std::string("not whole: ") + fault.what());
    }
}

} // namespace tavrel
