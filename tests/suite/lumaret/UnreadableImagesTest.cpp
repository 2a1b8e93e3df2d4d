#include "suite/lumaret/ImageView.h"
#include "suite/lumaret/TrialRun.h"
#include "tests/platform/dcmtk/RawDicom.h"

#include <QElapsedTimer>
#include <QTemporaryDir>

#include <gtest/gtest.h>

#include <algorithm>
#include <csignal>
#include <filesystem>
#include <fstream>
#include <functional>

#include <sys/resource.h>
#include <sys/stat.h>

namespace tavrel::test {
namespace {

constexpr auto LongBytes = 3'000'000'000U;
constexpr int TooDeep = 100'000;
constexpr Tag SomeSequence{0x0008, 0x1140};
constexpr Tag BehindThePixels{0x7FE3, 0x0010};

std::string Number(std::uint32_t number, int size) {
    std::string bytes;
    for (int at = 0; at < size; ++at)
        bytes += static_cast<char>(number >> 8 * at & 0xFFU);
    return bytes;
}

RawDicom Header() {
    return RawDicom().Text(attribute::PatientName, "ROSSI^MARIA");
}

/// A square image in grey, as its header says.
RawDicom WithPixels(RawDicom header, std::uint16_t side, std::string_view pixels) {
    for (const auto& [element, number] :
         std::initializer_list<std::pair<std::uint16_t, std::uint16_t>>{{0x0002, 1}, {0x0010, side}, {0x0011, side}})
        header.Text({{0x0028, element}, "US"}, Number(number, 2));
    for (const auto& [element, number] : std::initializer_list<std::pair<std::uint16_t, std::uint16_t>>{
             {0x0100, 16}, {0x0101, 16}, {0x0102, 15}, {0x0103, 0}})
        header.Text({{0x0028, element}, "US"}, Number(number, 2));
    header.Text(attribute::PhotometricInterpretation, "MONOCHROME2");
    return header.Pixels(pixels);
}

RawDicom Deep(RawDicom image, Tag sequence) {
    for (int depth = 0; depth < TooDeep; ++depth)
        image.OpenSequence(sequence);
    return image;
}

/// A file of that name is put down by the case; `words` are said of it.
struct Case {
    std::string name;
    std::function<void(const std::string& path)> put;
    std::string words;
};

void PutBytes(const std::string& path, const std::string& bytes) {
    std::ofstream(path, std::ios::binary) << bytes;
}

/// A file that holds almost nothing but says that it is long, and is.
void PutLongFile(const std::string& path, const std::string& begin) {
    PutBytes(path, begin);
    std::filesystem::resize_file(path, begin.size() + LongBytes);
}

std::string MillionItems() {
    RawDicom image = Header().OpenSequence(SomeSequence);
    const std::string item =
        std::string("\xFE\xFF\x0D\xE0", 4) + Number(0, 4) + std::string("\xFE\xFF\0\xE0", 4) + Number(0xFFFFFFFF, 4);
    std::string items;
    for (int count = 0; count < 1'000'000; ++count)
        items += item;
    return image.Raw(items).File();
}

const std::vector<Case> Cases{
    {"NestedDeeply", [](const auto& path) { PutBytes(path, Deep(Header(), SomeSequence).File()); },
     "nested more than 64 deep"},
    {"AMillionItems", [](const auto& path) { PutBytes(path, MillionItems()); }, "half a million elements"},
    {"ALengthOf4Gigabytes",
     [](const auto& path) {
         PutBytes(path, Header().Raw(std::string("\x10\0\x10\x10UN\0\0", 8) + Number(0xFFFFFFF0, 4)).File());
     },
     "reaches beyond its end"},
    {"ANameOf3Gigabytes",
     [](const auto& path) {
         PutLongFile(path, RawDicom().Raw(std::string("\x10\0\x10\0UN\0\0", 8) + Number(LongBytes, 4)).File());
     },
     "a text in its header is too long"},
    {"ADeflatedFile", [](const auto& path) { PutBytes(path, Header().File("1.2.840.10008.1.2.1.99")); }, "deflated"},
    {"AFrameOf16Gigabytes", [](const auto& path) { PutBytes(path, WithPixels(Header(), 0xFFFF, "00").File()); },
     "too large"},
    {"AFrameWithoutItsPixels", [](const auto& path) { PutBytes(path, WithPixels(Header(), 16384, "00").File()); },
     "pixel"},
    {"AFifo", [](const auto& path) { ASSERT_EQ(::mkfifo(path.c_str(), S_IRUSR | S_IWUSR), 0); }, "no ordinary file"},
    {"ADevice", [](const auto& path) { std::filesystem::create_symlink("/dev/zero", path); }, "no ordinary file"},
    {"AFolder", [](const auto& path) { std::filesystem::create_directory(path); }, "it is a folder"},
    {"ALinkToItself", [](const auto& path) { std::filesystem::create_symlink(path, path); }, "cannot be read"},
};

void ExpectLittleMemory() {
    rusage used{};
    ::getrusage(RUSAGE_SELF, &used);
    EXPECT_LT(used.ru_maxrss, 512L * 1024);
}

/// Sequences nested in the meta information, each of a length of its own.
std::string DeepMetaInformation() {
    std::vector<std::string> heads;
    for (std::uint32_t depth = 0, size = 0; depth < 20'000; ++depth, size += 20)
        heads.push_back(std::string("\2\0\2\1SQ\0\0", 8) + Number(size + 8, 4) + std::string("\xFE\xFF\0\xE0", 4) +
                        Number(size, 4));
    std::string bytes(128, '\0');
    bytes += "DICM";
    std::for_each(heads.rbegin(), heads.rend(), [&](const std::string& head) { bytes += head; });
    return bytes + Header().Bytes();
}

class UnreadableImages : public testing::TestWithParam<Case> {
protected:
    QTemporaryDir folder;
    const QString path = folder.filePath("x.dcm");
    ImageView view;
};

TEST_P(UnreadableImages, AreNamedInTheirPlaceSoon) {
    GetParam().put(path.toStdString());
    QElapsedTimer time;
    time.start();
    view.Open(path, 0, false);
    EXPECT_LT(time.elapsed(), 2000);
    EXPECT_TRUE(view.Failure().startsWith("x.dcm cannot be shown: "));
    EXPECT_TRUE(view.Failure().contains(QString::fromStdString(GetParam().words))) << view.Failure().toStdString();
    ExpectLittleMemory();
}

INSTANTIATE_TEST_SUITE_P(Each, UnreadableImages, testing::ValuesIn(Cases),
                         [](const auto& each) { return each.param.name; });

TEST_F(UnreadableImages, HaveNoneAmongThoseWithAnUnreadableTail) {
    PutBytes(path.toStdString(), Deep(WithPixels(Header(), 2, "01234567"), BehindThePixels).File());
    view.Open(path, 0, false);
    EXPECT_EQ(view.Failure(), "");
    EXPECT_EQ(view.FrameImage().size(), QSize(2, 2));
}

TEST_F(UnreadableImages, WhosePixelsEndTheDecoderEndNoViewer) {
    view.Open(LUMARET_FUZZ_CORPUS "/damaged-rle.dcm", 0, false);
    EXPECT_TRUE(view.Failure().contains("its pixels are damaged")) << view.Failure().toStdString();
}

TEST_F(UnreadableImages, WithSequencesInTheirMetaInformationEndNoViewer) {
    PutBytes(path.toStdString(), DeepMetaInformation());
    EXPECT_EQ(StudyUidOf(path), "");
}

TEST_F(UnreadableImages, AreNotReadWholeForTheirStudy) {
    PutLongFile(path.toStdString(), RawDicom().Raw(std::string("\x10\0\x10\0UN\0\0", 8) + Number(LongBytes, 4)).File());
    EXPECT_EQ(StudyUidOf(path), "");
    ExpectLittleMemory();
}

TEST(TrialRuns, TellWhetherTheWorkComesToItsEnd) {
    EXPECT_TRUE(ComesToItsEnd([] {}));
    EXPECT_TRUE(ComesToItsEnd([] { throw std::runtime_error("a failure is an end too"); }));
    EXPECT_FALSE(ComesToItsEnd([] { std::raise(SIGKILL); }));
}

TEST(TrialRuns, LeaveNothingBehind) {
    int counted = 0;
    EXPECT_TRUE(ComesToItsEnd([&] { ++counted; }));
    EXPECT_EQ(counted, 0);
}

} // namespace
} // namespace tavrel::test
