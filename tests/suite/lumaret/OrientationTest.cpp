#include "suite/lumaret/Orientation.h"
#include "suite/lumaret/ImageView.h"
#include "tests/suite/lumaret/SampleImage.h"

#include <QTemporaryDir>

#include <gtest/gtest.h>

#include <limits>
#include <map>
#include <ostream>
#include <set>

namespace tavrel {

std::ostream& operator<<(std::ostream& out, const EdgeMarks& marks) {
    return out << marks.left.toStdString() << " | " << marks.right.toStdString() << " | " << marks.top.toStdString()
               << " | " << marks.bottom.toStdString();
}

namespace {

using test::SampleImage;

struct Plane {
    const char* name;
    std::array<double, 6> cosines;
    const char* alongRow;
    const char* downColumn;
};

class Planes : public testing::TestWithParam<Plane> {};

TEST_P(Planes, AreLetteredAsPeopleDo) {
    const auto orientation = OrientationOfPlane(GetParam().cosines);
    ASSERT_TRUE(orientation);
    EXPECT_EQ(orientation->alongRow, GetParam().alongRow);
    EXPECT_EQ(orientation->downColumn, GetParam().downColumn);
}

INSTANTIATE_TEST_SUITE_P(Orientation, Planes,
                         testing::Values(Plane{"Axial", {1, 0, 0, 0, 1, 0}, "L", "P"},
                                         Plane{"AxialProne", {-1, 0, 0, 0, -1, 0}, "R", "A"},
                                         Plane{"Coronal", {1, 0, 0, 0, 0, -1}, "L", "F"},
                                         Plane{"Sagittal", {0, 1, 0, 0, 0, -1}, "P", "F"},
                                         Plane{"HeadDown", {0, -1, 0, 0, 0, 1}, "A", "H"},
                                         Plane{"Tilted", {1, 0, 0, 0, 0.9397, -0.3420}, "L", "PF"},
                                         Plane{"HardlyTilted", {1, 0, 0, 0, 0.9986, -0.0523}, "L", "P"},
                                         Plane{"Oblique", {0.7071, 0.5, -0.5, 0, -0.7071, -0.7071}, "LPF", "AF"},
                                         Plane{"FewDigits", {0.71, 0.71, 0, 0, 0, -1}, "LP", "F"}),
                         [](const auto& plane) { return plane.param.name; });

TEST(Orientation, NumbersThatAreNoPlaneHaveNoLetters) {
    constexpr double none = std::numeric_limits<double>::quiet_NaN();
    for (const std::array<double, 6>& numbers : {std::array<double, 6>{0, 0, 0, 0, 0, 0},
                                                 {1, 0, 0, 1, 0, 0},
                                                 {2, 0, 0, 0, 1, 0},
                                                 {1, 0, 0, 0.5, 0.8660, 0},
                                                 {none, 0, 0, 0, 1, 0},
                                                 {1, 0, 0, 0, std::numeric_limits<double>::infinity(), 0}})
        EXPECT_FALSE(OrientationOfPlane(numbers)) << numbers[0] << ' ' << numbers[3];
}

TEST(Orientation, LettersAreTakenAsTheyStand) {
    EXPECT_EQ(OrientationOfLetters({"A", "FR"}), (Orientation{"A", "FR"}));
    EXPECT_EQ(OrientationOfLetters({"LPF", "AF"}), (Orientation{"LPF", "AF"}));
}

TEST(Orientation, LettersOfNoPersonAndOfNoPictureAreNone) {
    for (const QStringList& values : {QStringList{},
                                      {"L"},
                                      {"L", ""},
                                      {"", "F"},
                                      {"L", "F", "A"},
                                      {"L", "R"},
                                      {"L", "L"},
                                      {"LR", "F"},
                                      {"l", "f"},
                                      {"CR", "D"},
                                      {"L", "X"}})
        EXPECT_FALSE(OrientationOfLetters(values)) << values.join('\\').toStdString();
}

ViewParameters Turned(int rotation, bool horizontal = false, bool vertical = false) {
    ViewParameters turn;
    turn.rotation = rotation;
    turn.flipHorizontal = horizontal;
    turn.flipVertical = vertical;
    return turn;
}

/// Each way to flip and turn an image by quarters; every picture comes twice.
std::vector<ViewParameters> AllTurns() {
    std::vector<ViewParameters> turns;
    for (const bool horizontal : {false, true})
        for (const bool vertical : {false, true})
            for (const int rotation : {0, 90, 180, 270})
                turns.push_back(Turned(rotation, horizontal, vertical));
    return turns;
}

EdgeMarks MarksOf(const ViewParameters& turn) {
    const ViewGeometry geometry{.view = {640, 480}, .image = {64, 48}, .pixelAspect = 1};
    return MarksAtEdges({"L", "F"}, geometry.ImageToView(turn)).value();
}

TEST(Marks, OfTheEightPicturesAreThoseOfATable) {
    // As they hang on a wall: an image from the front with the patient's right at its left, and what becomes of it.
    const std::map<QString, EdgeMarks> expected = {{"", {"R", "L", "H", "F"}},
                                                   {"Turned right by 90°", {"F", "H", "R", "L"}},
                                                   {"Turned by 180°", {"L", "R", "F", "H"}},
                                                   {"Turned left by 90°", {"H", "F", "L", "R"}},
                                                   {"Flipped horizontally", {"L", "R", "H", "F"}},
                                                   {"Flipped horizontally, turned right by 90°", {"F", "H", "L", "R"}},
                                                   {"Flipped vertically", {"R", "L", "F", "H"}},
                                                   {"Flipped horizontally, turned left by 90°", {"H", "F", "R", "L"}}};
    std::set<QString> seen;
    for (const ViewParameters& turn : AllTurns()) {
        const QString words = TurnInWords(turn);
        seen.insert(words);
        ASSERT_TRUE(expected.contains(words)) << words.toStdString();
        EXPECT_EQ(MarksOf(turn), expected.at(words)) << words.toStdString();
    }
    EXPECT_EQ(seen.size(), expected.size());
}

TEST(Marks, OfAnImageThatStandsAslantAreNone) {
    const ViewGeometry geometry{.view = {640, 480}, .image = {64, 48}, .pixelAspect = 1};
    for (const int rotation : {1, 45, 89, 91, 359}) {
        EXPECT_FALSE(MarksAtEdges({"L", "F"}, geometry.ImageToView(Turned(rotation)))) << rotation;
        EXPECT_NE(TurnInWords(Turned(rotation)), QString());
    }
    EXPECT_EQ(TurnInWords(Turned(-45)), "Turned left by 45°");
}

/// A view of an image whose grey rises steeply along its rows and gently down its columns.
class MarksOnScreen : public testing::Test {
protected:
    MarksOnScreen() { view.resize(640, 480); }

    void Open(const SampleImage& image) {
        path = folder.filePath(QString::number(++written) + ".dcm");
        test::WriteImage(path, image);
        view.Open(path, 0, false);
    }
    /// What the pixels themselves say, of an image whose rows run to the left of the patient and its columns to the
    /// feet.
    EdgeMarks ByThePixels() {
        const QImage screen = view.grab().toImage();
        const auto grey = [&](int x, int y) { return qGray(screen.pixel(320 + x, 240 + y)); };
        const int across = grey(90, 0) - grey(-90, 0), down = grey(0, 90) - grey(0, -90);
        const bool upright = std::abs(across) > std::abs(down);
        const auto pair = [](int rising, const char* from, const char* to) {
            return rising > 0 ? std::pair(from, to) : std::pair(to, from);
        };
        const auto [left, right] = upright ? pair(across, "R", "L") : pair(across, "H", "F");
        const auto [top, bottom] = upright ? pair(down, "H", "F") : pair(down, "R", "L");
        return {left, right, top, bottom};
    }

    QTemporaryDir folder;
    QString path;
    int written = 0;
    ImageView view;
};

constexpr auto Coronal = R"(1\0\0\0\0\-1)";

TEST_F(MarksOnScreen, AreThoseOfThePixelsInEachTurnThatIsHandedOver) {
    Open({.plane = Coronal});
    for (ViewParameters turn : AllTurns()) {
        turn.zoom = 7;
        turn.windowCenter = 512;
        turn.windowWidth = 1024;
        view.Open(path, turn);
        EXPECT_EQ(view.Marks(), ByThePixels()) << TurnInWords(turn).toStdString();
    }
}

TEST_F(MarksOnScreen, TurnAtOnceWithEveryFlipAndTurn) {
    Open({.plane = Coronal});
    using Step = void (*)(ImageView&);
    constexpr std::array<Step, 4> steps = {
        [](ImageView& image) { image.FlipHorizontal(); }, [](ImageView& image) { image.Rotate(90); },
        [](ImageView& image) { image.FlipVertical(); }, [](ImageView& image) { image.Rotate(-90); }};
    for (std::size_t i = 0; i < 64; ++i) {
        steps.at((i * i + i / 4) % steps.size())(view);
        ASSERT_EQ(view.Marks(), ByThePixels()) << "step " << i;
    }
}

TEST_F(MarksOnScreen, AreDrawnAtTheEdges) {
    Open({.plane = Coronal});
    const QImage with = view.grab().toImage();
    Open({});
    const QImage without = view.grab().toImage();
    for (const QRect& edge : {QRect(8, 225, 24, 30), QRect(608, 225, 24, 30), QRect(308, 6, 24, 30)})
        EXPECT_NE(with.copy(edge), without.copy(edge)) << edge.x();
    EXPECT_EQ(with.copy(QRect(50, 200, 540, 80)), without.copy(QRect(50, 200, 540, 80)));
}

TEST_F(MarksOnScreen, OfAnImageThatDoesNotTellAreNoneAndThatIsSaid) {
    for (const SampleImage& silent : {SampleImage{},
                                      {.plane = R"(1\0\0\0\0)"},
                                      {.plane = R"(1\0\0\1\0\0)", .letters = R"(L\F)"},
                                      {.plane = "x"},
                                      {.letters = R"(\)"},
                                      {.letters = "L"}}) {
        Open(silent);
        EXPECT_FALSE(view.Marks()) << silent.plane << ' ' << silent.letters;
        EXPECT_TRUE(view.accessibleDescription().endsWith(". Orientation not known"));
    }
}

TEST_F(MarksOnScreen, OfAFileThatContradictsItselfAreNone) {
    Open({.plane = Coronal, .letters = R"(R\F)"});
    EXPECT_FALSE(view.Marks());
    Open({.plane = Coronal, .letters = R"(L\FA)"});
    EXPECT_TRUE(view.Marks());
}

TEST_F(MarksOnScreen, OfAnImageWithoutAPlaneAreItsLetters) {
    Open({.letters = R"(A\FR)"});
    EXPECT_EQ(view.Marks(), (EdgeMarks{"P", "A", "HL", "FR"}));
}

TEST_F(MarksOnScreen, AreThoseOfTheFrame) {
    Open({.frames = 2, .planesOfFrames = {Coronal, R"(0\1\0\0\0\-1)"}});
    EXPECT_EQ(view.Marks(), (EdgeMarks{"R", "L", "H", "F"}));
    view.Open(path, 1, true);
    EXPECT_EQ(view.Marks(), (EdgeMarks{"A", "P", "H", "F"}));
}

TEST_F(MarksOnScreen, NeverOutliveTheirImage) {
    Open({.plane = Coronal});
    test::WriteImage(folder.filePath("silent.dcm"), {.instance = 2});
    view.Open(folder.filePath("silent.dcm"), 0, true);
    EXPECT_FALSE(view.Marks());
    Open({.plane = Coronal});
    view.Open(folder.filePath("missing.dcm"), 0, true);
    EXPECT_FALSE(view.Marks());
    Open({.plane = Coronal});
    view.Clear();
    EXPECT_FALSE(view.Marks());
    EXPECT_EQ(view.accessibleDescription(), "");
}

TEST_F(MarksOnScreen, AreHeardWithHowTheImageIsTurned) {
    Open({.plane = Coronal});
    view.FlipHorizontal();
    EXPECT_TRUE(view.accessibleDescription().endsWith(
        ". Flipped horizontally. Left edge L, right edge R, upper edge H, lower edge F"));
}

} // namespace
} // namespace tavrel
