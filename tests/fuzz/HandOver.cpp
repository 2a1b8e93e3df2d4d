// The file "SR.dat" beside a report: what is read of it can be written and read again.

#include "tests/editor/HandOverFile.h"
#include "tests/editor/ReportingStation.h"
#include "tests/fuzz/Entry.h"

using namespace tavrel;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size) {
    static test::ReportingStation station;
    static test::HandOverFile file;
    static Global global(station.PortsWith(file));
    global.report->filePath = "x\\y.dcm";
    global.report->pendingImages = std::make_shared<ImageList>();
    file.contents = test::AsText(bytes, size);
    station.windows.messages.clear();

    ImageHandOver handOver(global);
    handOver.Load(&station.automation);
    test::Require(station.windows.messages.size() <= 1);
    const ImageList loaded = *global.report->pendingImages;
    if (loaded.empty())
        return 0;
    handOver.Write();
    handOver.Load(&station.automation);
    test::Require(global.report->pendingImages->size() == loaded.size());
    for (std::size_t i = 0; i < loaded.size(); ++i) {
        const auto& again = (*global.report->pendingImages)[i];
        test::Require(again.Filename == loaded[i].Filename && *again.ViewPars == *loaded[i].ViewPars);
    }
    return 0;
}
