// Makes the files of a report that has been saved again and again: version k names k observers and
// k - 1 predecessors, so that 1,000 versions have about 97 MB in the classic form.

#include "bench/report/Program.h"

#include "platform/paths.h"
#include "sr/DcmSRDocument.h"
#include "tests/support/Workstation.h"

namespace tavrel {
namespace {

/// One save a minute.
DateTime TimeOfSave(int version) {
    constexpr int minutesADay = 24 * 60;
    return {2026,
            11,
            static_cast<std::int8_t>(14 + version / minutesADay),
            static_cast<std::int8_t>(version % minutesADay / 60),
            static_cast<std::int8_t>(version % 60),
            0};
}

void MakeVersions(ReportForm form, const std::filesystem::path& folder, int count) {
    constexpr int keptInMemory = 50;
    std::filesystem::create_directories(folder);
    test::Workstation station;
    station.AddExampleStudy();
    station.global.reportForm = form;
    station.global.userSignature = "Dr. Maria Luisa Bianchi";
    station.global.baseUid = "2.25.123456789012345678"; // as long as many a site's
    std::string file;
    station.store.answer = [&](const test::SentVersion& sent) { sent.dataSet->SaveToFile(file); };

    DcmSRDocument document(station.global);
    document.CreateFromDDO(*station.ImageSeries(), 0);
    document.SetTitle("99SS", "T1", "Heading", "Chest radiograph");
    document.SetFinding(-1, "99SS", "F1", "Nodule", "left upper lobe"); // the classic form holds none
    for (int version = 0; version < count; ++version) {
        station.clock.now = TimeOfSave(version);
        file = InsidePath(folder / ("img_" + std::to_string(1000001 + version).substr(1) + ".dcm"));
        document.Reading("Version " + std::to_string(version + 1) + ". Normal heart and lungs.");
        document.Send();
        station.store.sent.clear();
        if (version % keptInMemory == 0)
            document.LoadSeries(InsidePath(folder)); // which lets go of the versions written
        else
            document.GotoVersion(static_cast<std::int16_t>(version));
        RequireSilence(station.windows);
    }
}

} // namespace
} // namespace tavrel

int main(int argc, char** argv) {
    return tavrel::RunProgram(argc, argv, "bench_make_versions FORM FOLDER COUNT", [](tavrel::Arguments arguments) {
        tavrel::MakeVersions(tavrel::FormNamed(arguments[0]), std::filesystem::absolute(arguments[1]),
                             std::stoi(arguments[2]));
    });
}
