#include "suite/lumaret/ViewGeometry.h"

#include <gtest/gtest.h>

#include <limits>

namespace tavrel {
namespace {

using Area = ViewParameters::Area;

const ViewGeometry Square{.view = {400, 400}, .image = {100, 50}, .pixelAspect = 1};

ViewParameters Zoomed(float zoom) {
    ViewParameters parameters;
    parameters.zoom = zoom;
    return parameters;
}

/// Where the middle of an image pixel lies in the view.
QPointF Place(const ViewParameters& parameters, double x, double y) {
    return Square.ImageToView(parameters).map(QPointF(x + 0.5, y + 0.5));
}

TEST(ViewGeometry, AFittedImageTouchesTheNearerEdges) {
    EXPECT_EQ(Square.FittingZoom(0), 4);
    EXPECT_EQ(Square.DisplayedArea(Zoomed(4)), (Area{0, 0, 100, 50}));
}

TEST(ViewGeometry, AQuarterTurnExchangesTheEdges) {
    const ViewGeometry wide{.view = {400, 100}, .image = {100, 50}, .pixelAspect = 1};
    EXPECT_EQ(wide.FittingZoom(0), 2);
    EXPECT_EQ(wide.FittingZoom(90), 1);
    EXPECT_EQ(wide.FittingZoom(-270), 1);
}

TEST(ViewGeometry, PixelsThatAreNotSquareAreShownSo) {
    const ViewGeometry tall{.view = {400, 400}, .image = {100, 50}, .pixelAspect = 4};
    EXPECT_EQ(tall.FittingZoom(0), 2);
    EXPECT_EQ(tall.ImageToView(Zoomed(2)).map(QPointF(0, 50)), QPointF(100, 400));
}

TEST(ViewGeometry, AFlippedImageIsItsMirrorImage) {
    ViewParameters parameters = Zoomed(1);
    EXPECT_EQ(Place(parameters, 0, 0), QPointF(150.5, 175.5));
    parameters.flipHorizontal = true;
    EXPECT_EQ(Place(parameters, 0, 0), QPointF(249.5, 175.5));
    parameters.flipVertical = true;
    EXPECT_EQ(Place(parameters, 0, 0), QPointF(249.5, 224.5));
}

TEST(ViewGeometry, AQuarterTurnIsClockwise) {
    ViewParameters parameters = Zoomed(1);
    parameters.rotation = 90;
    EXPECT_EQ(Place(parameters, 0, 0), QPointF(224.5, 150.5));
}

TEST(ViewGeometry, APanMovesTheImageByViewPixels) {
    ViewParameters parameters = Zoomed(4);
    parameters.panX = 40;
    parameters.panY = -100;
    EXPECT_EQ(Square.DisplayedArea(parameters), (Area{0, 0, 90, 50}));
    parameters.panY = -200;
    EXPECT_EQ(Square.DisplayedArea(parameters), (Area{0, 25, 90, 50}));
}

TEST(ViewGeometry, AnImageOutOfSightShowsNoArea) {
    ViewParameters parameters = Zoomed(1);
    parameters.panX = 5000;
    EXPECT_EQ(Square.DisplayedArea(parameters), Area{});
}

TEST(ViewGeometry, AnAreaIsShownAsLargeAsItCanBe) {
    for (const int rotation : {0, 90, 180, 270}) {
        ViewParameters turned;
        turned.rotation = rotation;
        turned.flipHorizontal = true;
        const ViewParameters shown = Square.Showing({20, 10, 40, 30}, turned);
        EXPECT_EQ(shown.zoom, 20) << rotation;
        EXPECT_EQ(Square.DisplayedArea(shown), (Area{20, 10, 40, 30})) << rotation;
    }
}

TEST(ViewGeometry, AnEmptyAreaChangesNothing) {
    EXPECT_EQ(Square.Showing({40, 10, 20, 30}, Zoomed(3)), Zoomed(3));
}

class OddNumbers : public testing::TestWithParam<std::pair<const char*, float>> {};

TEST_P(OddNumbers, AreDrawnAsSomethingThatCanBeSeen) {
    ViewParameters odd;
    odd.zoom = odd.panX = odd.panY = odd.windowCenter = odd.windowWidth = GetParam().second;
    odd.rotation = std::numeric_limits<std::int32_t>::min();
    const ViewParameters drawn = Square.Drawable(odd);
    EXPECT_GE(drawn.zoom, SmallestZoom);
    EXPECT_LE(drawn.zoom, LargestZoom);
    EXPECT_TRUE(Square.ImageToView(drawn).isInvertible());
    EXPECT_LE(std::abs(drawn.windowWidth), 1e7F);
}

using Float = std::numeric_limits<float>;
INSTANTIATE_TEST_SUITE_P(ViewGeometry, OddNumbers,
                         testing::Values(std::pair("Zero", 0.0F), std::pair("Negative", -1.0F),
                                         std::pair("Largest", Float::max()), std::pair("Lowest", Float::lowest()),
                                         std::pair("Smallest", Float::denorm_min()),
                                         std::pair("Infinite", Float::infinity()),
                                         std::pair("NoNumber", Float::quiet_NaN())),
                         [](const auto& number) { return number.param.first; });

} // namespace
} // namespace tavrel
