#include "tests/platform/qt/PdfStation.h"

#include <QPainter>

namespace tavrel::test {
namespace {

/// A station with this picture as its logo.
class LogoStation : public PdfStation {
public:
    explicit LogoStation(QSize size, const char* format = "BMP") {
        QImage logo(size, QImage::Format_RGB32);
        logo.fill(Qt::white);
        QPainter painter(&logo);
        painter.setBrush(QColor(28, 103, 159));
        painter.drawEllipse(QRect({}, size).adjusted(1, 1, -2, -2));
        painter.end();
        logo.save(QString::fromStdString(NativePath("Logo.bmp").string()), format);
    }
};

/// Width and height of the picture in the PDF, in millimetres.
std::pair<double, double> PrintedSize(const std::string& file) {
    int width = 0, height = 0;
    double horizontal = 0, vertical = 0;
    const auto list = RunShell("pdfimages -list '" + file + "' | tail -n 1 | awk '{print $4, $5, $13, $14}'").out;
    std::sscanf(list.c_str(), "%d %d %lf %lf", &width, &height, &horizontal, &vertical);
    return {width / horizontal * 25.4, height / vertical * 25.4};
}

TEST(Logos, TakeThePlaceOfTheTitle) {
    LogoStation station({400, 120});
    const auto text = station.TextWith("Normal.");
    EXPECT_EQ(station.windows.Texts(), Texts{});
    EXPECT_TRUE(text.starts_with("Relazione clinica\nPaziente\n")) << text;
}

TEST(Logos, WideOnesKeepTheirProportion) {
    LogoStation station({1600, 200});
    station.Print();
    const auto [width, height] = PrintedSize(station.file);
    EXPECT_NEAR(width, 80, 1);
    EXPECT_NEAR(height, 10, 0.5);
}

TEST(Logos, TallOnesKeepTheirProportion) {
    LogoStation station({300, 600});
    station.Print();
    const auto [width, height] = PrintedSize(station.file);
    EXPECT_NEAR(width, 11, 0.5);
    EXPECT_NEAR(height, 22, 0.5);
}

TEST(Logos, OfManyPixelsAreNoFinerThanPaperShows) {
    LogoStation station({5000, 4000});
    station.Print();
    const auto [width, height] = PrintedSize(station.file);
    EXPECT_NEAR(width, 27.5, 0.5);
    EXPECT_NEAR(height, 22, 0.5);
    EXPECT_LE(std::stoi(RunShell("pdfimages -list '" + station.file + "' | tail -n 1 | awk '{print $4}'").out), 1890);
}

TEST(Logos, OfAnotherFormatUnderTheSameNameArePrinted) {
    LogoStation station({400, 120}, "PNG");
    station.Print();
    EXPECT_EQ(station.windows.Texts(), Texts{});
}

class BrokenLogos : public testing::TestWithParam<std::pair<std::string, std::string>> {};

TEST_P(BrokenLogos, AreToldAndThePageIsPrintedWithItsTitle) {
    PdfStation station;
    station.WriteFile("Logo.bmp", GetParam().second);
    station.Print();
    ASSERT_EQ(station.windows.messages.size(), 1U);
    const auto& text = station.windows.messages[0].text;
    EXPECT_TRUE(text.starts_with("CmdPrint: The picture " + station.Path("Logo.bmp") + " cannot be printed: ")) << text;
    EXPECT_TRUE(text.ends_with(". The title stands in its place.")) << text;
    EXPECT_TRUE(std::filesystem::exists(station.file));
}

/// The headers of a bitmap of this size, with 24 bits a pixel; no pixels follow.
std::string Bitmap(std::uint32_t width, std::uint32_t height) {
    const auto number = [](std::uint32_t value) {
        std::string bytes;
        for (int shift = 0; shift < 32; shift += 8)
            bytes += static_cast<char>(value >> shift & 0xFF);
        return bytes;
    };
    return "BM" + number(54) + number(0) + number(54) + number(40) + number(width) + number(height) +
           std::string{1, 0, 24, 0} + std::string(24, '\0');
}

INSTANTIATE_TEST_SUITE_P(, BrokenLogos,
                         testing::Values(std::pair("Empty", ""), std::pair("Text", "no picture at all"),
                                         std::pair("Cut", "BM"), std::pair("WithoutPixels", Bitmap(100, 100)),
                                         std::pair("Huge", Bitmap(60000, 60000)),
                                         std::pair("Negative", Bitmap(0x80000000U, 0x80000000U)),
                                         std::pair("Endless", Bitmap(0x7FFFFFFFU, 0x7FFFFFFFU))),
                         [](const auto& logo) { return logo.param.first; });

TEST(Logos, ThatAreHugeAreToldWithTheirSize) {
    PdfStation station;
    station.WriteFile("Logo.bmp", Bitmap(9000, 8000));
    station.Print();
    EXPECT_EQ(station.windows.Texts(), Texts{"CmdPrint: The picture " + station.Path("Logo.bmp") +
                                             " cannot be printed: it has 9000 x 8000 pixels, at most 25 million can "
                                             "be printed. The title stands in its place."});
}

TEST(Logos, ThatAreAFolderAreTold) {
    PdfStation station;
    std::filesystem::create_directory(station.NativePath("Logo.bmp"));
    station.Print();
    EXPECT_EQ(station.windows.Texts(), Texts{"CmdPrint: The picture " + station.Path("Logo.bmp") +
                                             " cannot be printed: it is no file. The title "
                                             "stands in its place."});
}

TEST(Logos, AfterABrokenOneTheNextPrintWorks) {
    PdfStation station;
    station.WriteFile("Logo.bmp", "no picture at all");
    station.Print();
    std::filesystem::remove(station.NativePath("Logo.bmp"));
    EXPECT_NE(station.TextWith("Normal.").find("Printing report"), std::string::npos);
}

} // namespace
} // namespace tavrel::test
