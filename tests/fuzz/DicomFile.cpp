// A file is loaded, read and written as a report is: behind the structural scan the decoder and the encoder. It is read
// as a presentation state too.

#include "platform/attributes.h"
#include "platform/dcmtk/DcmtkLibrary.h"
#include "platform/error.h"
#include "sr/PresentationState.h"
#include "tests/fuzz/Entry.h"

#include <array>

namespace {

using namespace tavrel;

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

/// As a presentation state of itself, for want of another image.
void ReadState(const DicomDataSet& state) {
    try {
        ReadPresentationState(state, state, 0);
    } catch (const Error&) {
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size) {
    static DcmtkLibrary library;
    const test::MemoryFile file{bytes, size};
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
        ReadState(*list->Item(0));
        list->AddDataSet(0);
        list->Item(1)->SaveToFile("/dev/null/nowhere");
    } catch (const Error&) {
    }
    return 0;
}
