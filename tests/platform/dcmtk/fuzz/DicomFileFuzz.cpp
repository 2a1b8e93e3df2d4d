#include "DicomFileFuzz.h"

#include "platform/attributes.h"
#include "platform/dcmtk/DcmtkLibrary.h"
#include "platform/error.h"

#include <array>
#include <cstdlib>
#include <string>

#include <sys/mman.h>
#include <unistd.h>

namespace {

using namespace tavrel;

/// A file without a place in a folder.
class MemoryFile {
public:
    MemoryFile(const std::uint8_t* bytes, std::size_t size) : handle_(::memfd_create("report", MFD_CLOEXEC)) {
        if (handle_ < 0 || ::write(handle_, bytes, size) != static_cast<ssize_t>(size))
            std::abort();
    }
    MemoryFile(const MemoryFile&) = delete;
    MemoryFile& operator=(const MemoryFile&) = delete;
    ~MemoryFile() { ::close(handle_); }

    std::string Path() const { return "/proc/self/fd/" + std::to_string(handle_); }

private:
    int handle_;
};

void ReadItems(const DicomDataSet& dataSet, int depth) {
    constexpr std::array sequences{attribute::ContentSequence, attribute::VerifyingObserverSequence,
                                   attribute::ConceptNameCodeSequence, attribute::ReferencedSeriesSequence};
    constexpr std::array values{attribute::TextValue, attribute::VerificationDateTime, attribute::PatientName,
                                attribute::FormerStudyElement};
    for (const Tag tag : values)
        dataSet.GetValue({tag, "LO"});
    if (depth == 0)
        return;
    for (const Tag tag : sequences)
        for (int index = 0; const auto item = dataSet.GetSequenceItem(tag, index); ++index)
            ReadItems(*item, depth - 1);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size) {
    static DcmtkLibrary library;
    const MemoryFile file{bytes, size};
    const std::array paths{file.Path()};
    try {
        library.OpenImageSeries(paths)->GetElementString(0, attribute::PatientName);
    } catch (const Error&) {
    }
    try {
        const auto list = library.NewDataSetList();
        list->LoadFile(file.Path());
        list->GetElementValue(0, attribute::ContentDate);
        ReadItems(*list->Item(0), 6);
        list->AddDataSet(0);
        list->Item(1)->SaveToFile("/dev/null/nowhere");
    } catch (const Error&) {
    }
    return 0;
}
