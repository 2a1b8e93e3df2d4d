#include "suite/lumaret/Orientation.h"

#include <QObject>

#include <algorithm>
#include <cmath>
#include <span>
#include <utility>

namespace tavrel {
namespace {

// Of the patient's axes x, y and z (C.7.6.2.1.1): where each rises to, and where it comes from.
constexpr std::array<char, 3> Rising = {'L', 'P', 'H'};
constexpr std::array<char, 3> Falling = {'R', 'A', 'F'};

// Cosines are written with few digits, but nothing else than rounding may bend a plane.
constexpr double Rounding = 0.01;
constexpr double LeastShare = 0.1; // of a direction, that a letter tells of

using Direction = std::span<const double, 3>;

double Product(Direction one, Direction other) {
    return one[0] * other[0] + one[1] * other[1] + one[2] * other[2];
}

QString LettersOf(Direction direction) {
    std::array<std::size_t, 3> axes = {0, 1, 2};
    std::ranges::stable_sort(axes, std::greater(), [&](std::size_t axis) { return std::abs(direction[axis]); });
    QString letters;
    for (const std::size_t axis : axes)
        if (std::abs(direction[axis]) >= LeastShare)
            letters += QLatin1Char((direction[axis] > 0 ? Rising : Falling).at(axis));
    return letters;
}

/// The axis of a letter and its sign there; no axis for a letter that is none of them.
struct AxisOfLetter {
    std::size_t axis = Rising.size();
    double sign = 0;
};

AxisOfLetter AxisOf(QChar letter) {
    for (std::size_t axis = 0; axis < Rising.size(); ++axis) {
        if (letter == QLatin1Char(Rising.at(axis)))
            return {axis, 1};
        if (letter == QLatin1Char(Falling.at(axis)))
            return {axis, -1};
    }
    return {};
}

/// Letters of a person, each axis once at most.
bool AreLetters(const QString& letters) {
    std::array<bool, Rising.size()> seen{};
    for (const QChar letter : letters) {
        const std::size_t axis = AxisOf(letter).axis;
        if (axis == seen.size() || std::exchange(seen.at(axis), true))
            return false;
    }
    return !letters.isEmpty();
}

QString Opposite(const QString& letters) {
    QString opposite;
    for (const QChar letter : letters) {
        const AxisOfLetter found = AxisOf(letter);
        opposite += QLatin1Char((found.sign > 0 ? Falling : Rising).at(found.axis));
    }
    return opposite;
}

} // namespace

std::optional<Orientation> OrientationOfPlane(const std::array<double, 6>& cosines) {
    const Direction row(cosines.data(), 3), column(cosines.data() + 3, 3);
    const auto nearly = [](double value, double wanted) { return std::abs(value - wanted) <= Rounding; };
    if (!nearly(Product(row, row), 1) || !nearly(Product(column, column), 1) || !nearly(Product(row, column), 0))
        return std::nullopt;
    return Orientation{LettersOf(row), LettersOf(column)};
}

std::optional<Orientation> OrientationOfLetters(const QStringList& values) {
    if (values.size() != 2 || !AreLetters(values[0]) || !AreLetters(values[1]) ||
        AxisOf(values[0].front()).axis == AxisOf(values[1].front()).axis)
        return std::nullopt;
    return Orientation{values[0], values[1]};
}

bool Agree(const std::array<double, 6>& cosines, const Orientation& letters) {
    const auto leads = [&](const QString& direction, std::size_t from) {
        const AxisOfLetter first = AxisOf(direction.front());
        return cosines.at(from + first.axis) * first.sign > 0;
    };
    return leads(letters.alongRow, 0) && leads(letters.downColumn, 3);
}

std::optional<EdgeMarks> MarksAtEdges(const Orientation& orientation, const QTransform& imageToView) {
    const double rowToRight = imageToView.m11(), rowToBottom = imageToView.m12();
    const double columnToRight = imageToView.m21(), columnToBottom = imageToView.m22();
    const auto ends = [](const QString& letters, double towards) {
        return towards > 0 ? std::pair(Opposite(letters), letters) : std::pair(letters, Opposite(letters));
    };
    EdgeMarks marks;
    if (rowToBottom == 0 && columnToRight == 0 && rowToRight != 0 && columnToBottom != 0) {
        std::tie(marks.left, marks.right) = ends(orientation.alongRow, rowToRight);
        std::tie(marks.top, marks.bottom) = ends(orientation.downColumn, columnToBottom);
        return marks;
    }
    if (rowToRight == 0 && columnToBottom == 0 && rowToBottom != 0 && columnToRight != 0) {
        std::tie(marks.left, marks.right) = ends(orientation.downColumn, columnToRight);
        std::tie(marks.top, marks.bottom) = ends(orientation.alongRow, rowToBottom);
        return marks;
    }
    return std::nullopt;
}

QString TurnInWords(const ViewParameters& view) {
    // Up and down exchanged is left and right exchanged and half a turn more.
    const bool flipped = view.flipHorizontal != view.flipVertical;
    const int degrees = ((view.rotation % 360 + (view.flipVertical ? 180 : 0)) % 360 + 360) % 360;
    const QString turned = degrees == 0     ? QString()
                           : degrees == 180 ? QObject::tr("turned by 180°")
                           : degrees < 180  ? QObject::tr("turned right by %1°").arg(degrees)
                                            : QObject::tr("turned left by %1°").arg(360 - degrees);
    QStringList words;
    if (flipped && degrees == 180)
        return QObject::tr("Flipped vertically");
    if (flipped)
        words += QObject::tr("flipped horizontally");
    if (degrees != 0)
        words += turned;
    QString sentence = words.join(", ");
    if (!sentence.isEmpty())
        sentence.front() = sentence.front().toUpper();
    return sentence;
}

} // namespace tavrel
