#include "suite/lumaret/ImageView.h"
#include "tests/suite/lumaret/SampleImage.h"

#include <QSignalSpy>
#include <QTemporaryDir>
#include <QTest>
#include <QWheelEvent>

#include <gtest/gtest.h>

#include <fstream>
#include <limits>

namespace tavrel::test {
namespace {

using Area = ViewParameters::Area;

class ImageViewTest : public testing::Test {
protected:
    ImageViewTest() { view.resize(640, 480); }

    QString Write(const SampleImage& image, const QString& name = "image.dcm") const {
        WriteImage(folder.filePath(name), image);
        return folder.filePath(name);
    }
    void Open(const SampleImage& image = {}) { view.Open(Write(image), 0, false); }
    void Drag(Qt::MouseButton button, QPoint by, Qt::KeyboardModifiers modifiers = {}) {
        QTest::mousePress(&view, button, modifiers, {100, 100});
        QMouseEvent move(QEvent::MouseMove, QPoint(100, 100) + by, view.mapToGlobal(QPoint(100, 100) + by), button,
                         button, modifiers);
        QCoreApplication::sendEvent(&view, &move);
        QTest::mouseRelease(&view, button, modifiers, QPoint(100, 100) + by);
    }
    void Wheel(int delta, QPoint at = {320, 240}, Qt::KeyboardModifiers modifiers = {}) {
        QWheelEvent event(at, view.mapToGlobal(at), {}, {0, delta}, Qt::NoButton, modifiers, Qt::NoScrollPhase, false);
        QCoreApplication::sendEvent(&view, &event);
    }
    /// The image pixel in the middle of the view.
    QPointF Middle() const {
        const ViewGeometry geometry{view.size(), view.FrameImage().size(), 1};
        return geometry.ImageToView(view.View()).inverted().map(QPointF(320, 240));
    }

    QTemporaryDir folder;
    ImageView view;
};

TEST_F(ImageViewTest, AnImageIsShownWholeWithItsOwnWindow) {
    Open();
    EXPECT_EQ(view.View().zoom, 10);
    EXPECT_EQ(view.View().displayedArea, (Area{0, 0, 64, 48}));
    EXPECT_EQ(view.View().windowCenter, 512);
    EXPECT_EQ(view.View().windowWidth, 1024);
}

TEST_F(ImageViewTest, AnImageWithoutAWindowShowsTheRangeOfItsValues) {
    Open({.width = 0});
    EXPECT_EQ(view.View().windowWidth, 16 * 63 + 47 + 1);
    EXPECT_EQ(view.View().windowCenter, (16 * 63 + 47 + 1) / 2.0F);
}

TEST_F(ImageViewTest, ALongNameIsSeenToItsEndOnANarrowImage) {
    view.resize(265, 480);
    const auto drawn = [&](const std::string& end) {
        const std::string name = std::string(50, 'W') + end;
        SampleImage image;
        image.patientName = name.c_str();
        view.Clear();
        Open(image);
        return view.grab().toImage();
    };
    EXPECT_NE(drawn("A"), drawn("B"));
}

TEST_F(ImageViewTest, AtItsOwnSizeTheScreenShowsTheRenderedPixels) {
    for (const bool smoothed : {false, true}) {
        view.resize(301, 262); // an odd margin on both sides
        Open({.columns = 160, .rows = 80});
        view.Smooth(smoothed);
        view.ActualSize();
        const QImage screen = view.grab(QRect(80, 91, 100, 60)).toImage().convertToFormat(QImage::Format_RGB32);
        const QPoint first = ViewGeometry{view.size(), {160, 80}, 1}.ImageToView(view.View()).map(QPoint(0, 0));
        const QImage rendered = view.FrameImage().copy(QRect(QPoint(80, 91) - first, screen.size()));
        EXPECT_EQ(screen, rendered.convertToFormat(QImage::Format_RGB32)) << smoothed;
    }
}

TEST_F(ImageViewTest, AFittedImageFollowsTheSizeOfTheView) {
    Open();
    view.show();
    view.resize(320, 480);
    EXPECT_EQ(view.View().zoom, 5);
}

TEST_F(ImageViewTest, AZoomKeepsWhatIsInTheMiddle) {
    Open();
    Drag(Qt::RightButton, {100, 50});
    const QPointF middle = Middle();
    view.Zoom(2);
    EXPECT_NEAR(Middle().x(), middle.x(), 0.1);
    EXPECT_NEAR(Middle().y(), middle.y(), 0.1);
}

TEST_F(ImageViewTest, TheWheelWithCtrlZoomsAboutThePointer) {
    Open();
    const auto underPointer = [&] {
        return ViewGeometry{view.size(), {64, 48}, 1}.ImageToView(view.View()).inverted().map(QPointF(100, 80));
    };
    const QPointF before = underPointer();
    Wheel(240, {100, 80}, Qt::ControlModifier);
    EXPECT_GT(view.View().zoom, 13);
    EXPECT_NEAR(underPointer().x(), before.x(), 0.1);
    EXPECT_NEAR(underPointer().y(), before.y(), 0.1);
}

TEST_F(ImageViewTest, FlipsAndTurnsKeepWhatIsInTheMiddle) {
    Open();
    view.Zoom(2);
    Drag(Qt::MiddleButton, {60, -40});
    const QPointF middle = Middle();
    for (const auto& change : {std::function<void()>([&] { view.FlipHorizontal(); }),
                               {[&] { view.Rotate(90); }},
                               {[&] { view.FlipVertical(); }},
                               {[&] { view.Rotate(-90); }}}) {
        change();
        EXPECT_NEAR(Middle().x(), middle.x(), 0.1);
        EXPECT_NEAR(Middle().y(), middle.y(), 0.1);
    }
}

TEST_F(ImageViewTest, AFlipIsOneOfTheScreenHoweverTheImageIsTurned) {
    Open();
    view.Rotate(90);
    view.FlipHorizontal();
    EXPECT_FALSE(view.View().flipHorizontal);
    EXPECT_TRUE(view.View().flipVertical);
}

TEST_F(ImageViewTest, FourQuarterTurnsAreNone) {
    Open();
    const ViewParameters before = view.View();
    for (int turn = 0; turn < 4; ++turn)
        view.Rotate(90);
    EXPECT_EQ(view.View(), before);
    view.Rotate(-90);
    EXPECT_EQ(view.View().rotation, 270);
}

TEST_F(ImageViewTest, InvertingExchangesBlackAndWhite) {
    Open();
    const QImage before = view.FrameImage();
    view.Invert();
    for (const QPoint pixel : {QPoint(0, 0), QPoint(20, 20), QPoint(63, 47)})
        EXPECT_NEAR(qGray(view.FrameImage().pixel(pixel)), 255 - qGray(before.pixel(pixel)), 1);
}

TEST_F(ImageViewTest, DraggingChangesTheWindow) {
    Open();
    Drag(Qt::LeftButton, {10, -5});
    EXPECT_EQ(view.View().windowWidth, 1024 + 4 * 10);
    EXPECT_EQ(view.View().windowCenter, 512 - 4 * 5);
    Drag(Qt::LeftButton, {-2000, 0});
    EXPECT_EQ(view.View().windowWidth, 1);
}

TEST_F(ImageViewTest, DraggingWithShiftMovesTheImage) {
    Open();
    Drag(Qt::LeftButton, {10, -5}, Qt::ShiftModifier);
    EXPECT_EQ(view.View().panX, 10);
    EXPECT_EQ(view.View().panY, -5);
    EXPECT_EQ(view.View().windowWidth, 1024);
}

TEST_F(ImageViewTest, AColourImageHasNoWindowToDrag) {
    Open({.colour = true});
    Drag(Qt::LeftButton, {10, -5});
    EXPECT_EQ(view.View().windowWidth, 0);
    EXPECT_EQ(view.FrameImage().pixelColor(20, 10), QColor(80, 50, 0));
}

TEST_F(ImageViewTest, ResetShowsTheImageAsItWasAtFirst) {
    Open();
    const ViewParameters first = view.View();
    Drag(Qt::LeftButton, {10, 10});
    Drag(Qt::RightButton, {10, 10});
    view.Rotate(90);
    view.Invert();
    view.Reset();
    EXPECT_EQ(view.View(), first);
}

TEST_F(ImageViewTest, TheNextSliceKeepsTheView) {
    Open();
    view.Zoom(2);
    view.Rotate(90);
    const QString next = Write({.instance = 2}, "next.dcm");
    const ViewParameters before = view.View();
    view.Open(next, 0, true);
    EXPECT_EQ(view.View(), before);
}

TEST_F(ImageViewTest, ASliceOfAnotherSizeIsShownWhole) {
    Open();
    view.Zoom(2);
    view.Open(Write({.columns = 32, .rows = 32}, "next.dcm"), 0, true);
    EXPECT_EQ(view.View().displayedArea, (Area{0, 0, 32, 32}));
}

TEST_F(ImageViewTest, ASliceBringsItsOwnWindowUntilSomebodyChangesIt) {
    const QString next = Write({.center = 300, .width = 200}, "next.dcm");
    Open();
    view.Open(next, 0, true);
    EXPECT_EQ(view.View().windowWidth, 200);
    Drag(Qt::LeftButton, {7, 0});
    view.Open(Write({.center = 100, .width = 50}, "third.dcm"), 0, true);
    EXPECT_EQ(view.View().windowWidth, 207);
}

TEST_F(ImageViewTest, TheViewOutlivesASliceThatCannotBeShown) {
    Open();
    view.Zoom(2);
    view.Open(folder.filePath("missing.dcm"), 0, true);
    EXPECT_FALSE(view.HasImage());
    view.Open(folder.filePath("image.dcm"), 0, true);
    EXPECT_EQ(view.View().zoom, 20);
}

TEST_F(ImageViewTest, EveryFrameIsShown) {
    Open({.frames = 3, .width = 0});
    const QImage first = view.FrameImage();
    view.Open(folder.filePath("image.dcm"), 2, true);
    EXPECT_EQ(view.FrameCount(), 3);
    EXPECT_EQ(view.View().frame, 2);
    EXPECT_NE(view.FrameImage(), first);
}

TEST_F(ImageViewTest, AFrameThatIsNotThereIsSaid) {
    ViewParameters parameters;
    parameters.frame = std::numeric_limits<std::int32_t>::max();
    view.Open(Write({}), parameters);
    EXPECT_EQ(view.Failure(), "image.dcm cannot be shown: it has no frame 2147483648");
}

TEST_F(ImageViewTest, TheWheelTurnsASliceForEachNotch) {
    QSignalSpy turned(&view, &ImageView::Turned);
    for (const int delta : {120, -240, 40, 40, 40}) // the last three are a touch pad's
        Wheel(delta);
    EXPECT_EQ(turned, (QList<QVariantList>{{-1}, {2}, {-1}}));
}

TEST_F(ImageViewTest, KeysTurnSlices) {
    QSignalSpy turned(&view, &ImageView::Turned);
    for (const Qt::Key key : {Qt::Key_Down, Qt::Key_Left, Qt::Key_PageDown, Qt::Key_PageUp})
        QTest::keyClick(&view, key);
    EXPECT_EQ(turned, (QList<QVariantList>{{1}, {-1}, {10}, {-10}}));
}

ViewParameters SomeView() {
    ViewParameters parameters;
    parameters.zoom = 17.3F;
    parameters.flipHorizontal = true;
    parameters.inverted = true;
    parameters.smoothed = true;
    parameters.rotation = 270;
    parameters.windowCenter = 300.25F;
    parameters.windowWidth = 411;
    parameters.panX = 33;
    parameters.panY = -21.5F;
    parameters.gamma = 1.4F;
    parameters.sharpness = 0.5F;
    return parameters;
}

TEST_F(ImageViewTest, AHandedViewLooksAsItDid) {
    view.Open(Write({}), SomeView());
    view.Smooth(true); // somebody works with it: the area is that of this screen from now on
    const ViewParameters left = view.View();
    const QImage before = view.grab().toImage();
    ImageView other;
    other.resize(view.size());
    other.Open(folder.filePath("image.dcm"), left);
    EXPECT_EQ(other.View(), left);
    EXPECT_EQ(other.grab().toImage(), before);
    other.Smooth(true);
    EXPECT_EQ(other.View(), left);
}

TEST_F(ImageViewTest, AnotherSizeOfScreenShowsTheSameArea) {
    view.Open(Write({}), SomeView());
    view.Smooth(true);
    const ViewParameters left = view.View();
    ImageView other;
    other.resize(1000, 900);
    other.Open(folder.filePath("image.dcm"), left);
    EXPECT_EQ(other.View(), left); // nobody has changed it
    other.Smooth(true);
    const Area shown = other.View().displayedArea;
    EXPECT_LE(shown.left, left.displayedArea.left);
    EXPECT_LE(shown.top, left.displayedArea.top);
    EXPECT_GE(shown.right, left.displayedArea.right);
    EXPECT_GE(shown.bottom, left.displayedArea.bottom);
    EXPECT_TRUE(shown.left == left.displayedArea.left || shown.top == left.displayedArea.top);
}

TEST_F(ImageViewTest, AHandedViewFollowsTheSizeOfTheScreen) {
    ViewParameters part = SomeView();
    part.displayedArea = {10, 10, 30, 25};
    view.show();
    view.Open(Write({}), part);
    view.resize(320, 240);
    view.resize(900, 700);
    view.Smooth(true);
    const Area shown = view.View().displayedArea;
    EXPECT_TRUE(shown.left == 10 || shown.top == 10);
}

/// The middle of an image whose right half is brighter, drawn with that sharpness.
class SharpnessTest : public ImageViewTest {
protected:
    QImage Drawn(float sharpness, bool colour = false) {
        ViewParameters parameters;
        parameters.windowCenter = 512;
        parameters.windowWidth = 1024;
        parameters.sharpness = sharpness;
        view.Open(Write({.frames = 1, .colour = colour, .steps = true}), parameters);
        return view.FrameImage();
    }
    static int Grey(const QImage& image, int x, int y = 20) { return qGray(image.pixel(x, y)); }
};

TEST_F(SharpnessTest, OfNoneLeavesEachPixelAsItIs) {
    const QImage plain = ImageFile(Write({.steps = true})).Render(0, {512, 1024}, false);
    EXPECT_EQ(Drawn(0), plain.convertToFormat(QImage::Format_RGB32));
}

TEST_F(SharpnessTest, MakesAnEdgeStandOutByItsMeasureAndLeavesPlainsAlone) {
    const QImage plain = Drawn(0), sharp = Drawn(0.5F), sharper = Drawn(1.5F);
    const int step = Grey(plain, 32) - Grey(plain, 31); // three of the nine pixels around lie across it
    EXPECT_NEAR(Grey(sharp, 32) - Grey(plain, 32), step * 0.5 / 3, 1);
    EXPECT_NEAR(Grey(plain, 31) - Grey(sharp, 31), step * 0.5 / 3, 1);
    EXPECT_NEAR(Grey(sharper, 32) - Grey(plain, 32), step * 1.5 / 3, 1);
    for (const int x : {0, 10, 29, 34, 63})
        EXPECT_EQ(Grey(sharper, x), Grey(plain, x)) << x;
}

TEST_F(SharpnessTest, BelowNoneSoftensAnEdge) {
    const QImage plain = Drawn(0), soft = Drawn(-1);
    const int step = Grey(plain, 32) - Grey(plain, 31);
    EXPECT_NEAR(Grey(plain, 32) - Grey(soft, 32), step / 3.0, 1);
    EXPECT_EQ(Drawn(-99), soft);
}

TEST_F(SharpnessTest, OfAColourImageIsThatOfEachColour) {
    const QImage plain = Drawn(0, true), sharp = Drawn(0.5F, true);
    EXPECT_NEAR(qRed(sharp.pixel(32, 20)) - qRed(plain.pixel(32, 20)), 60 * 0.5 / 3, 1);
    EXPECT_EQ(qBlue(sharp.pixel(32, 20)), qBlue(plain.pixel(32, 20)));
}

TEST_F(SharpnessTest, OfNoNumberIsNone) {
    EXPECT_EQ(Drawn(std::numeric_limits<float>::quiet_NaN()), Drawn(0));
    EXPECT_EQ(Drawn(std::numeric_limits<float>::infinity()), Drawn(0));
}

TEST_F(ImageViewTest, ExtremeParametersComeBackAsTheyWere) {
    using Float = std::numeric_limits<float>;
    using Short = std::numeric_limits<std::int16_t>;
    for (const float extreme : {Float::max(), Float::lowest(), Float::denorm_min(), -0.0F}) {
        ViewParameters odd;
        odd.zoom = odd.panX = odd.panY = odd.gamma = odd.sharpness = odd.windowCenter = odd.windowWidth = extreme;
        odd.rotation = std::numeric_limits<std::int32_t>::min();
        odd.displayedArea = {Short::min(), Short::min(), Short::max(), Short::max()};
        view.Open(Write({}), odd);
        EXPECT_TRUE(view.HasImage()) << view.Failure().toStdString();
        EXPECT_EQ(view.View(), odd);
        view.grab();
    }
}

TEST_F(ImageViewTest, AMissingFileIsSaidInTheImagesPlace) {
    view.Open(folder.filePath("gone.dcm"), 0, false);
    EXPECT_EQ(view.Failure(), "gone.dcm cannot be shown: The file " + folder.filePath("gone.dcm") +
                                  " cannot be read: No such file or directory.");
    EXPECT_EQ(view.FrameImage(), QImage());
}

TEST_F(ImageViewTest, WhatIsNoImageIsSaid) {
    std::ofstream(folder.filePath("text.dcm").toStdString()) << "no image at all";
    view.Open(folder.filePath("text.dcm"), 0, false);
    EXPECT_TRUE(view.Failure().startsWith("text.dcm cannot be shown: ")) << view.Failure().toStdString();
}

TEST_F(ImageViewTest, EachOfItsWordsHasALineOfItsOwn) {
    Open({.patientName = "", .patientId = ""}); // its date and kind remain
    const int line = view.fontMetrics().height();
    const auto below = [&](const QStringList& caption) {
        view.Caption(caption);
        return view.grab(QRect(0, 8 + 3 * line, 640, 2 * line)).toImage();
    };
    EXPECT_NE(below({"Third"}), below({"Third", "Fourth", "Fifth"}));
    EXPECT_EQ(below({"Third"}), below({"3"}));
}

TEST_F(ImageViewTest, ItSaysWhoseImageItIs) {
    WriteImage(folder.filePath("name.dcm"), {.patientName = "M\xC3\xBCller^J\xC3\xBCrgen=\xE5\xB1\xB1"});
    ImageFile file(folder.filePath("name.dcm"));
    EXPECT_EQ(file.Description(), (QStringList{"Müller, Jürgen (山)", "P1", "14/11/2026", "CT"}));
}

} // namespace
} // namespace tavrel::test
