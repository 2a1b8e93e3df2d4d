#include "sr/PresentationState.h"
#include "platform/dcmtk/DcmtkLibrary.h"
#include "suite/lumaret/ImageView.h"
#include "tests/foreign/lumaret/GreyImage.h"

#include <QDir>
#include <QProcess>
#include <QTemporaryDir>

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <functional>

namespace tavrel::test {
namespace {

/// A view by the words that name its test.
struct NamedView {
    const char* name;
    ViewParameters view;
};

constexpr ViewParameters::Area Whole, Part{5, 3, 30, 20};

const std::vector<NamedView>& Views() {
    static const std::vector<NamedView> views = {
        {"plain", {}},
        {"flipped", {.flipHorizontal = true, .displayedArea = Whole}},
        {"upside_down", {.flipVertical = true, .displayedArea = Whole}},
        {"turned_right", {.displayedArea = Whole, .rotation = 90}},
        {"turned_left", {.displayedArea = Whole, .rotation = 270}},
        {"turned_by_a_negative_angle", {.displayedArea = Whole, .rotation = -90}},
        {"flipped_and_turned", {.flipHorizontal = true, .displayedArea = Part, .rotation = 90}},
        {"upside_down_and_turned", {.flipVertical = true, .displayedArea = Part, .rotation = 270}},
        {"flipped_twice", {.flipHorizontal = true, .flipVertical = true, .displayedArea = Part, .rotation = 180}},
        {"a_part", {.displayedArea = Part}},
        {"a_part_turned", {.displayedArea = Part, .rotation = 90}},
        {"inverted", {.displayedArea = Whole, .inverted = true}},
        {"narrow_window", {.displayedArea = Whole, .windowCenter = 60.5F, .windowWidth = 33}},
        {"inverted_in_a_window", {.displayedArea = Whole, .inverted = true, .windowCenter = 700, .windowWidth = 1500}},
        {"brighter", {.displayedArea = Whole, .windowCenter = 128, .windowWidth = 256, .gamma = 2.2F}},
        {"darker_and_inverted",
         {.displayedArea = Whole, .inverted = true, .windowCenter = 128, .windowWidth = 256, .gamma = 0.7F}},
        {"all_at_once",
         {.flipVertical = true,
          .displayedArea = Part,
          .inverted = true,
          .rotation = 90,
          .windowCenter = 90,
          .windowWidth = 120.25F,
          .gamma = 1.4F}},
    };
    return views;
}

const std::vector<std::pair<const char*, GreyImage>>& Images() {
    static const std::vector<std::pair<const char*, GreyImage>> images = {
        {"grey", {}},
        {"eight_bits", {.bits = 8}},
        {"monochrome1", {.monochrome1 = true}},
        {"monochrome1_of_eight_bits", {.bits = 8, .monochrome1 = true}},
        {"twelve_of_sixteen_bits", {.stored = 12}},
        {"signed", {.isSigned = true}},
        {"rescaled", {.slope = "0.5", .intercept = "-24"}},
        {"signed_and_rescaled_monochrome1",
         {.isSigned = true, .monochrome1 = true, .slope = "2", .intercept = "-1024"}},
        {"second_of_three_frames", {.frames = 3, .frame = 1}},
        {"pixels_higher_than_wide", {.pixelSpacing = "1.5\\0.75"}},
    };
    return images;
}

/// What DCMTK's own program shows of a frame through a presentation state, its area aside, which it only tells.
QImage ShownByDcmtk(const QString& image, const QString& state, int frame) {
    const QTemporaryDir folder;
    const QString picture = folder.filePath("picture.pgm");
    if (QProcess::execute("dcmp2pgm", {"-f", QString::number(frame + 1), "-p", state, image, picture}) != 0)
        return {};
    return QImage(picture);
}

/// What DCMTK prints of an image through a presentation state: its area, in 12 bits, without inversion and gamma,
/// which it leaves to the printer.
QImage PrintedByDcmtk(const QString& image, const QString& state) {
    const QTemporaryDir folder;
    for (const char* below : {"database", "spool", "log", "lut"})
        QDir(folder.path()).mkdir(below);
    QProcess program;
    program.setWorkingDirectory(folder.path());
    program.start("dcmpsprt", {"-c", DCMPSPRT_SETTINGS, "+p", state, image});
    program.waitForFinished();
    const QDir printed(folder.filePath("database"), "HG_*.dcm");
    if (printed.entryList().isEmpty())
        return {};
    return ImageFile(printed.filePath(printed.entryList().first())).Render(0, {2048, 4096}, false);
}

int Level(const QImage& picture, int x, int y) {
    return qGray(picture.pixel(x, y));
}

/// As the viewer draws a frame, at its own size.
QImage TurnedAsIn(const ViewParameters& view, const QImage& frame) {
    return frame.mirrored(view.flipHorizontal, view.flipVertical).transformed(QTransform().rotate(view.rotation));
}

class APresentationState : public testing::Test {
protected:
    void Make(const GreyImage& image, ViewParameters shown) {
        WriteGreyImage(path, image);
        view = shown;
        view.frame = image.frame;
        const auto header = library.OpenImageSeries(std::array{path.toStdString()});
        MakePresentationState(library, *header->Item(0), {view, ""},
                              {"1.2.999.3.1", "1.2.999.4.1", "2", 1, "Rossi^Mario", {2026, 11, 14, 8, 0, 0}})
            ->SaveToFile(state.toStdString());
    }
    QImage FrameAs(const ViewParameters& shown) {
        viewer.Open(path, shown);
        return TurnedAsIn(view, viewer.FrameImage());
    }

    DcmtkLibrary library;
    QTemporaryDir folder;
    QString path = folder.filePath("image.dcm"), state = folder.filePath("state.dcm");
    ViewParameters view;
    ImageView viewer;
};

/// Of an image, of every view.
class PresentationStates : public APresentationState, public testing::WithParamInterface<std::size_t> {
protected:
    void OfEachView(const std::function<void()>& isRight) {
        for (const auto& [name, seen] : Views()) {
            SCOPED_TRACE(name);
            Make(Images()[GetParam()].second, seen);
            isRight();
        }
    }
};

/// The level that the viewer's gamma makes of `level`.
int Bent(int level, float gamma) {
    return static_cast<int>(
        std::lround(255 * std::pow(std::clamp(level, 0, 255) / 255.0, 1 / static_cast<double>(gamma))));
}

/// The bound: one grey level before the gamma curve, and one after it where there is a curve. The two programs turn a
/// window round at either end of a level.
bool AreClose(int theirs, int oursBefore, float gamma) {
    const int after = gamma == 1 ? 0 : 1;
    return Bent(oursBefore - 1, gamma) - after <= theirs && theirs <= Bent(oursBefore + 1, gamma) + after;
}

TEST_P(PresentationStates, ShowInDcmtkWhatTheViewerShows) {
    OfEachView([this] {
        ViewParameters straight = view;
        straight.gamma = 1;
        const QImage theirs = ShownByDcmtk(path, state, view.frame), ours = FrameAs(straight), bent = FrameAs(view);
        ASSERT_EQ(theirs.size(), bent.size());
        int equal = 0;
        for (int y = 0; y < theirs.height(); ++y)
            for (int x = 0; x < theirs.width(); ++x) {
                equal += Level(theirs, x, y) == Level(bent, x, y);
                ASSERT_PRED3(AreClose, Level(theirs, x, y), Level(ours, x, y), view.gamma) << x << "," << y;
            }
        EXPECT_GE(equal, theirs.width() * theirs.height() * 2 / 5); // not all of them off by one
    });
}

class ThePart : public APresentationState, public testing::WithParamInterface<std::tuple<int, bool, bool>> {};

TEST_P(ThePart, OfAPresentationStateIsInDcmtkTheOneThatTheViewerShows) {
    const auto& [rotation, horizontal, vertical] = GetParam();
    Make({}, {.flipHorizontal = horizontal, .flipVertical = vertical, .displayedArea = Part, .rotation = rotation});
    viewer.Open(path, view);
    const QImage part = viewer.FrameImage().copy(Part.left, Part.top, Part.right - Part.left, Part.bottom - Part.top);
    const QImage theirs = PrintedByDcmtk(path, state), ours = TurnedAsIn(view, part);
    ASSERT_EQ(theirs.size(), ours.size());
    for (int y = 0; y < theirs.height(); ++y)
        for (int x = 0; x < theirs.width(); ++x)
            ASSERT_NEAR(Level(theirs, x, y), Level(ours, x, y), 1) << x << "," << y;
}

INSTANTIATE_TEST_SUITE_P(Turns, ThePart,
                         testing::Combine(testing::Values(0, 90, 180, 270), testing::Bool(), testing::Bool()));

/// Everything that a program says, and its status when that is not 0.
QString Said(const QString& name, const QStringList& arguments) {
    QProcess program;
    program.setProcessChannelMode(QProcess::MergedChannels);
    program.start(name, arguments);
    program.waitForFinished();
    return QString::fromUtf8(program.readAll()).trimmed() +
           (program.exitCode() == 0 ? QString() : QString(" status %1").arg(program.exitCode()));
}

TEST_P(PresentationStates, AreWholeAndValidToTheValidator) {
    OfEachView([this] { EXPECT_EQ(Said("dciodvfy", {state}).toStdString(), "GrayscaleSoftcopyPresentationState"); });
}

TEST_P(PresentationStates, ComeBackAsAViewOfTheSamePicture) {
    OfEachView([this] {
        const auto stored = library.NewDataSetList();
        stored->LoadFile(state.toStdString());
        const auto header = library.OpenImageSeries(std::array{path.toStdString()});
        const ViewParameters back = ReadPresentationState(*stored->Item(0), *header->Item(0), view.frame).view;
        const QImage before = FrameAs(view);
        view = back;
        EXPECT_EQ(FrameAs(view), before);
    });
}

TEST_F(APresentationState, NamesThePatientWhole) {
    Make({}, {});
    const QString said = Said("dcmdump", {"+P", "0010,0010", "+P", "0008,0005", "+P", "0008,1030", state});
    for (const char* text : {"[ISO_IR 192]", "[Groß^Jürgen]", "[Schädel]"})
        EXPECT_TRUE(said.contains(text)) << said.toStdString();
}

INSTANTIATE_TEST_SUITE_P(Images, PresentationStates, testing::Range<std::size_t>(0, Images().size()),
                         [](const auto& image) { return std::string(Images()[image.param].first); });

} // namespace
} // namespace tavrel::test
