// A file is shown as an image.

#include "platform/error.h"
#include "suite/lumaret/ImageFile.h"
#include "tests/fuzz/Entry.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size) {
    using namespace tavrel;
    ImageFile::RegisterDecoders();
    const test::MemoryFile file{bytes, size};
    const QString path = QString::fromStdString(file.Path());
    StudyUidOf(path);
    PatientIn(path);
    try {
        ImageFile image(path);
        image.Render(0, image.OwnWindow(0), false);
        image.OrientationOf(0);
        image.Render(image.FrameCount() - 1, {}, true);
    } catch (const Error&) {
    }
    return 0;
}
