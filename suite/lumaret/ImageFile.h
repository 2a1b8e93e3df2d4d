#pragma once

#include "suite/lumaret/Orientation.h"

#include <QImage>
#include <QSize>
#include <QString>
#include <QStringList>

#include <memory>
#include <optional>

class DcmDataset;
class DicomImage;

namespace tavrel {

/// A grey-scale window in the image's own values (DICOM PS3.3, C.11.2). A width below 1 is none.
struct GreyWindow {
    double center = 0;
    double width = 0;
    bool operator==(const GreyWindow&) const = default;
};

/// Who a file says that its patient is.
struct PatientIdentity {
    QString name; ///< as DICOM writes it
    QString id;
    QString issuer; ///< of the identifier; mostly empty
};
/// Nothing when the file cannot be read.
std::optional<PatientIdentity> PatientIn(const QString& path);
/// Whether the identifiers are one patient's: the same, and not of two issuers.
bool SamePatient(const PatientIdentity& one, const PatientIdentity& other);
/// Whether two names are one, whatever their letter case and accents; a name that is not there is no other one.
bool SameName(const QString& one, const QString& other);

/// The Study Instance UID in the header of a DICOM file; empty when it cannot be read.
QString StudyUidOf(const QString& path);

/// One DICOM image file. One frame at a time is decoded and held. Every failure is an `Error` in
/// words that can stand on the screen in place of the image.
///
/// Grey images of 8 to 16 bits, signed or not, and colour; compressed ones as far as the toolkit's
/// decoders go, each frame after a trial: a decoder may end its process over damaged pixels. A file that is deflated as
/// a whole is refused: it can grow without bound.
class ImageFile {
public:
    /// Registers the decoders of the compressed transfer syntaxes (JPEG, JPEG-LS, RLE), once, and
    /// silences the toolkit.
    static void RegisterDecoders();

    explicit ImageFile(const QString& path);
    ~ImageFile();

    const QString& Path() const { return path_; }
    int FrameCount() const { return frameCount_; }
    /// Pixels of a frame.
    QSize Size() const { return size_; }
    /// Height of a pixel by its width, as it is to be shown.
    double PixelAspect() const { return pixelAspect_; }
    bool Monochrome() const { return monochrome_; }
    /// Whose image it is, of which study and series, as the file itself tells it: one string a line.
    const QStringList& Description() const { return description_; }

    /// Of which study and patient the image is, as the file itself tells it.
    const QString& StudyUid() const { return studyUid_; }
    const QString& Patient() const { return patient_; }

    /// Where the patient lies in a frame, by its plane or else by its letters; nothing where the file does not tell, or
    /// contradicts itself.
    std::optional<Orientation> OrientationOf(int frame) const;

    /// The first window that the file names for a frame, if any.
    std::optional<GreyWindow> NamedWindow(int frame);
    /// The named window; the range of the frame's values when there is none. Colour images have no
    /// window.
    GreyWindow OwnWindow(int frame);

    /// A frame (from 0) in 8 bits a sample, exactly as the toolkit renders it: grey or RGB. Without a
    /// window the frame has its own.
    QImage Render(int frame, const GreyWindow& window, bool inverted);

private:
    void Decode(int frame);
    void Take(int frame);

    QString path_;
    std::unique_ptr<DcmDataset> dataSet_;
    std::unique_ptr<DicomImage> image_; ///< of the frame decoded last
    int decodedFrame_ = -1;
    int frameCount_ = 0;
    QSize size_;
    double pixelAspect_ = 1;
    QStringList description_;
    QString studyUid_;
    QString patient_;
    bool monochrome_ = true;
};

} // namespace tavrel
