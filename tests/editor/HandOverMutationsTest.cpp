#include "tests/editor/HandOverFile.h"
#include "tests/editor/ReportingStation.h"

#include <gtest/gtest.h>

#include <random>

namespace tavrel::test {
namespace {

std::string ThreeImages(Global& global, HandOverFile& file) {
    global.report->pendingImages = std::make_shared<ImageList>(ImageList{
        {"C:\\img\\1.dcm", SomeView(), "Bone"}, {"a, \"b\"\r\nc.dcm", SomeView(), ""}, {"3.dcm", nullptr, "Hot Iron"}});
    global.report->filePath = "x\\y.dcm";
    ImageHandOver(global).Write();
    return file.contents.value();
}

std::string Mutated(std::string text, std::mt19937& random) {
    constexpr std::string_view alphabet = "\",#\r\n -.0129eETUNn\0\xC3\xFF";
    const auto position = [&] { return random() % (text.size() + 1); };
    for (auto changes = 1 + random() % 4; changes > 0; --changes)
        switch (random() % 4) {
        case 0:
            text.insert(position(), 1, alphabet[random() % alphabet.size()]);
            break;
        case 1:
            text.erase(position(), 1 + random() % 3);
            break;
        case 2:
            text.resize(position());
            break;
        default:
            text.insert(position(), text.substr(position(), random() % 40));
        }
    return text;
}

/// Whatever stands in the file, a load ends with images that can be written and read again, and says
/// so when it left something out.
TEST(HandOverMutations, NoFileHarmsTheProgram) {
    ReportingStation station;
    HandOverFile file;
    Global global(station.PortsWith(file));
    const auto whole = ThreeImages(global, file);
    ImageHandOver handOver(global);
    std::mt19937 random(20261115);
    int refused = 0;
    for (int round = 0; round < 20000; ++round) {
        file.contents = Mutated(whole, random);
        station.windows.messages.clear();
        handOver.Load(&station.automation);
        ASSERT_LE(station.windows.messages.size(), 1U);
        refused += station.windows.messages.empty() ? 0 : 1;
        if (global.report->pendingImages->empty())
            continue;
        const auto loaded = *global.report->pendingImages;
        handOver.Write();
        handOver.Load(&station.automation);
        ASSERT_EQ(global.report->pendingImages->size(), loaded.size());
        for (std::size_t i = 0; i < loaded.size(); ++i) {
            ASSERT_EQ((*global.report->pendingImages)[i].Filename, loaded[i].Filename);
            ASSERT_EQ(*(*global.report->pendingImages)[i].ViewPars, *loaded[i].ViewPars);
        }
    }
    EXPECT_GT(refused, 10000);
    EXPECT_LT(refused, 20000);
}

} // namespace
} // namespace tavrel::test
