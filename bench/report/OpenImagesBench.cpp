// Opens the report of an image series by its files, as the viewer hands them over, from the call to
// the editor on screen: a few files and many, in turns.

#include "bench/report/Measurement.h"
#include "bench/report/Program.h"

#include "platform/paths.h"
#include "tests/editor/ReportingStation.h"

#include <dcmtk/config/osconfig.h>

#include <dcmtk/dcmdata/dcdeftag.h>
#include <dcmtk/dcmdata/dcfilefo.h>

#include <array>
#include <stdexcept>

namespace tavrel {
namespace {

/// Files of the example study's series with pixels, 8 KB each.
std::vector<std::string> MakeImages(test::ReportingStation& station, int count) {
    constexpr std::array<Uint16, 64UL * 64> pixels{};
    const auto folder = station.NativePath("study/images");
    std::filesystem::create_directories(folder);
    const auto pattern = folder / "img_000000.dcm";
    station.ImageSeries()->Item(0)->SaveToFile(InsidePath(pattern));

    DcmFileFormat image;
    image.loadFile(pattern.c_str());
    image.getDataset()->putAndInsertUint16Array(DCM_PixelData, pixels.data(), pixels.size());
    std::vector<std::string> files;
    for (int number = 1; number <= count; ++number) {
        const auto file = folder / ("img_" + std::to_string(1000000 + number).substr(1) + ".dcm");
        const std::string uid = "1.2.3.1." + std::to_string(number);
        image.getDataset()->putAndInsertString(DCM_SOPInstanceUID, uid.c_str());
        if (const OFCondition outcome = image.saveFile(file.c_str(), EXS_LittleEndianExplicit); outcome.bad())
            throw std::runtime_error(file.string() + ": " + outcome.text());
        files.push_back(InsidePath(file));
    }
    return files;
}

void Open(test::ReportingStation& station, std::span<const std::string> files, std::string_view name) {
    const Measurement measurement;
    station.automation.LoadForImgSeries(files);
    if (!name.empty())
        measurement.Print(name);
    RequireSilence(station.windows);
}

void OpenInTurns(std::size_t few, std::size_t many, int times) {
    test::ReportingStation station;
    station.AddReport({.versions = 3});
    const auto files = MakeImages(station, static_cast<int>(many));
    const std::span all(files);
    Open(station, all, {}); // the first one of a process loads dictionaries
    for (int turn = 0; turn < times; ++turn) {
        Open(station, all.first(few), "few");
        Open(station, all, "many");
    }
}

} // namespace
} // namespace tavrel

int main(int argc, char** argv) {
    return tavrel::RunProgram(argc, argv, "bench_open_images FEW MANY TIMES", [](tavrel::Arguments arguments) {
        tavrel::OpenInTurns(std::stoul(arguments[0]), std::stoul(arguments[1]), std::stoi(arguments[2]));
    });
}
