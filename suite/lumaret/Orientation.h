#pragma once

#include "platform/viewer.h"

#include <QString>
#include <QStringList>
#include <QTransform>

#include <array>
#include <optional>

namespace tavrel {

/// Where the patient lies in an image, in the standard's letters (A, P, R, L, H, F), of which the first weighs most:
/// the side of the patient that a row runs to, and the one that a column runs to.
struct Orientation {
    QString alongRow;
    QString downColumn;
    bool operator==(const Orientation&) const = default;
};

/// The letters of a plane by its direction cosines, those of a row and those of a column (DICOM PS3.3, C.7.6.2.1.1).
/// A letter stands where the plane leans that way by six degrees or more. Nothing for numbers that are no plane.
std::optional<Orientation> OrientationOfPlane(const std::array<double, 6>& cosines);

/// The letters of Patient Orientation (C.7.6.1.1.1) as they stand there. Nothing for others than a person's, or when
/// they cannot be those of a picture.
std::optional<Orientation> OrientationOfLetters(const QStringList& values);

/// Whether the two may be of one image: no direction of the one leads the other way in the other.
bool Agree(const std::array<double, 6>& cosines, const Orientation& letters);

/// What stands at the edges of a view. A wrong mark is worse than none.
struct EdgeMarks {
    QString left, right, top, bottom;
    bool operator==(const EdgeMarks&) const = default;
};

/// The marks of a view that draws the image through `imageToView`; nothing unless each edge of the image runs along
/// one of the view.
std::optional<EdgeMarks> MarksAtEdges(const Orientation& orientation, const QTransform& imageToView);

/// How the image is flipped and turned, in words; empty when it is as it was taken. Equal pictures have equal words.
QString TurnInWords(const ViewParameters& view);

} // namespace tavrel
