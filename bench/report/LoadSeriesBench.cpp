// Opens a report once: `tavrel` by LoadSeries, `dcmtk` by a bare loop of loadFile that keeps every
// version. One process for each, so that its memory is its own.

#include "bench/report/Measurement.h"
#include "bench/report/Program.h"

#include "platform/paths.h"
#include "sr/DcmSRDocument.h"
#include "tests/support/Workstation.h"

#include <dcmtk/config/osconfig.h>

#include <dcmtk/dcmdata/dcfilefo.h>

#include <stdexcept>

namespace tavrel {
namespace {

void LoadWithTavrel(const std::filesystem::path& folder) {
    const auto files = FilesOf(folder);
    test::Workstation station;
    DcmSRDocument document(station.global);
    document.OpenFile(InsidePath(files.front())); // the program is warm: its dictionaries are loaded

    Measurement::StartAtRest();
    const Measurement measurement;
    document.LoadSeries(InsidePath(folder));
    measurement.Print("tavrel");

    RequireSilence(station.windows);
    if (static_cast<std::size_t>(document.NumVersions()) != files.size())
        throw std::runtime_error("not every version was loaded");
}

std::unique_ptr<DcmFileFormat> LoadFile(const std::filesystem::path& file) {
    auto version = std::make_unique<DcmFileFormat>();
    if (const OFCondition outcome = version->loadFile(file.c_str()); outcome.bad())
        throw std::runtime_error(file.string() + ": " + outcome.text());
    return version;
}

void LoadWithDcmtk(const std::filesystem::path& folder) {
    LoadFile(FilesOf(folder).front());

    Measurement::StartAtRest();
    const Measurement measurement;
    std::vector<std::unique_ptr<DcmFileFormat>> versions;
    for (const auto& file : FilesOf(folder))
        versions.push_back(LoadFile(file));
    measurement.Print("dcmtk");
}

} // namespace
} // namespace tavrel

int main(int argc, char** argv) {
    return tavrel::RunProgram(argc, argv, "bench_load_series tavrel|dcmtk FOLDER", [](tavrel::Arguments arguments) {
        const auto folder = std::filesystem::absolute(arguments[1]);
        if (arguments[0] == "tavrel")
            tavrel::LoadWithTavrel(folder);
        else
            tavrel::LoadWithDcmtk(folder);
    });
}
