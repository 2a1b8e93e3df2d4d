// A file is shown as a structured report, and printed.

#include "platform/dcmtk/DcmtkLibrary.h"
#include "platform/error.h"
#include "suite/lumaret/ImageFile.h"
#include "suite/lumaret/ReportFile.h"
#include "suite/paper/ReportVersions.h"
#include "tests/fuzz/Entry.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size) {
    using namespace tavrel;
    ImageFile::RegisterDecoders(); // silences the toolkit
    const test::MemoryFile file{bytes, size};
    const QString path = QString::fromStdString(file.Path());
    VersionsOf({path});
    try {
        ReportAsHtml(path);
    } catch (const Error&) {
    }
    try {
        DcmtkLibrary library;
        ReportVersions(library, {file.Path()}).Page(1);
    } catch (const Error&) {
    }
    return 0;
}
