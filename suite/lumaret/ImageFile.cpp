#include "suite/lumaret/ImageFile.h"

#include "platform/dcmtk/CharacterSet.h"
#include "platform/dcmtk/DcmtkToolkit.h"
#include "platform/error.h"
#include "platform/paths.h"
#include "suite/lumaret/FoldedText.h"
#include "suite/lumaret/ScreenText.h"
#include "suite/lumaret/TrialRun.h"

#include <dcmtk/config/osconfig.h>

#include <dcmtk/dcmdata/dccodec.h>
#include <dcmtk/dcmdata/dcrledrg.h>
#include <dcmtk/dcmdata/dctk.h>
#include <dcmtk/dcmimage/diregist.h>
#include <dcmtk/dcmimgle/dcmimage.h>
#include <dcmtk/dcmjpeg/djdecode.h>
#include <dcmtk/dcmjpls/djdecode.h>
#include <dcmtk/oflog/oflog.h>

#include <QFileInfo>

#include <vector>

namespace tavrel {
namespace {

// A frame is held decoded; more than this is no image that a workstation shows.
constexpr double LargestFrameBytes = 1024.0 * 1024 * 1024;

// More than this says nothing to a person, and would be drawn with each image.
constexpr Uint32 LongestTextBytes = 4096;

[[noreturn]] void Fail(const QString& path, const std::string& why) {
    throw Error(Fault::OfTheSuite, "Lumaret", QFileInfo(path).fileName().toStdString() + " cannot be shown: " + why);
}

long IntegerOf(DcmDataset& dataSet, const DcmTagKey& tag, long absent) {
    Uint16 small = 0;
    if (dataSet.findAndGetUint16(tag, small).good())
        return small;
    Sint32 number = 0;
    return dataSet.findAndGetSint32(tag, number).good() ? number : absent;
}

std::unique_ptr<DcmDataset> Parsed(const QString& path) {
    try {
        const auto file = DicomFile::Unopened(InsidePath(path.toStdString()));
        return ParseImage(file.Path(), file.ScanImage());
    } catch (const Error& error) {
        Fail(path, error.description);
    }
}

void CheckTexts(DcmDataset& dataSet, const QString& path) {
    for (const DcmTagKey& tag :
         {DCM_SpecificCharacterSet, DCM_PatientName, DCM_PatientID, DCM_IssuerOfPatientID, DCM_StudyInstanceUID,
          DCM_StudyDate, DCM_StudyDescription, DCM_Modality, DCM_SeriesDescription})
        if (DcmElement* text = nullptr;
            dataSet.findAndGetElement(tag, text).good() && text->getLength() > LongestTextBytes)
            Fail(path, "a text in its header is too long");
}

QString TextOf(DcmDataset& dataSet, const DcmTagKey& tag, TextKind kind) {
    OFString declared, bytes;
    dataSet.findAndGetOFStringArray(DCM_SpecificCharacterSet, declared);
    dataSet.findAndGetOFStringArray(tag, bytes);
    const CharacterSet characters(std::string_view(declared.data(), declared.size()));
    return QString::fromStdString(characters.Decode(std::string_view(bytes.data(), bytes.size()), kind)).trimmed();
}

QString UidOf(DcmDataset& dataSet, const DcmTagKey& tag) {
    OFString uid;
    dataSet.findAndGetOFStringArray(tag, uid);
    return QString::fromLatin1(uid.c_str()).trimmed();
}

QStringList DescriptionOf(DcmDataset& dataSet) {
    const auto text = [&](const DcmTagKey& tag) { return TextOf(dataSet, tag, TextKind::Values); };
    QStringList lines = {NameOnScreen(TextOf(dataSet, DCM_PatientName, TextKind::PersonName)), text(DCM_PatientID),
                         DateOnScreen(text(DCM_StudyDate)) + "  " + text(DCM_StudyDescription),
                         text(DCM_Modality) + "  " + text(DCM_SeriesDescription)};
    for (QString& line : lines)
        line = line.trimmed();
    lines.removeAll(QString());
    return lines;
}

QStringList ValuesOf(DcmItem& item, const DcmTagKey& tag) {
    OFString values;
    if (item.findAndGetOFStringArray(tag, values).bad() || values.size() > LongestTextBytes)
        return {};
    QStringList parts = QString::fromLatin1(values.c_str()).split('\\');
    for (QString& part : parts)
        part = part.trimmed();
    return parts.join(QString()).isEmpty() ? QStringList() : parts;
}

/// The values of a frame: its own, those of all frames, or those of the whole image.
QStringList ValuesOfFrame(DcmDataset& dataSet, int frame, const DcmTagKey& group, const DcmTagKey& tag) {
    const auto within = [&](const DcmTagKey& groups, long number) -> QStringList {
        DcmItem *ofFrame = nullptr, *item = nullptr;
        if (dataSet.findAndGetSequenceItem(groups, ofFrame, number).bad() ||
            ofFrame->findAndGetSequenceItem(group, item).bad())
            return {};
        return ValuesOf(*item, tag);
    };
    if (auto own = within(DCM_PerFrameFunctionalGroupsSequence, frame); !own.isEmpty())
        return own;
    if (auto shared = within(DCM_SharedFunctionalGroupsSequence, 0); !shared.isEmpty())
        return shared;
    return ValuesOf(dataSet, tag);
}

std::optional<std::array<double, 6>> CosinesIn(const QStringList& values) {
    std::array<double, 6> cosines{};
    bool right = values.size() == static_cast<qsizetype>(cosines.size());
    for (std::size_t i = 0; right && i < cosines.size(); ++i)
        cosines.at(i) = values[static_cast<qsizetype>(i)].toFloat(&right);
    return right ? std::optional(cosines) : std::nullopt;
}

} // namespace

std::optional<PatientIdentity> PatientIn(const QString& path) {
    try {
        const auto dataSet = Parsed(path);
        CheckTexts(*dataSet, path);
        return PatientIdentity{TextOf(*dataSet, DCM_PatientName, TextKind::PersonName),
                               TextOf(*dataSet, DCM_PatientID, TextKind::Values),
                               TextOf(*dataSet, DCM_IssuerOfPatientID, TextKind::Values)};
    } catch (const Error&) {
        return std::nullopt;
    }
}

bool SamePatient(const PatientIdentity& one, const PatientIdentity& other) {
    return InCatalogue(one.id) == InCatalogue(other.id) &&
           (one.issuer.isEmpty() || other.issuer.isEmpty() || one.issuer == other.issuer);
}

bool SameName(const QString& one, const QString& other) {
    const auto compared = [](const QString& name) {
        return Folded(InCatalogue(name.section('=', 0, 0))).replace('^', ' ').simplified();
    };
    const QString first = compared(one), second = compared(other);
    return first.isEmpty() || second.isEmpty() || first == second;
}

QString StudyUidOf(const QString& path) {
    try {
        return UidOf(*Parse(DicomFile::Unopened(InsidePath(path.toStdString())).TakeEarlyPart()).data,
                     DCM_StudyInstanceUID);
    } catch (const Error&) {
        return {};
    }
}

void ImageFile::RegisterDecoders() {
    struct Decoders {
        Decoders() {
            DJDecoderRegistration::registerCodecs();
            DJLSDecoderRegistration::registerCodecs();
            DcmRLEDecoderRegistration::registerCodecs();
        }
        ~Decoders() {
            DcmRLEDecoderRegistration::cleanup();
            DJLSDecoderRegistration::cleanup();
            DJDecoderRegistration::cleanup();
        }
    };
    static const Decoders decoders;
    OFLog::configure(OFLogger::OFF_LOG_LEVEL); // what cannot be shown says so in its place
}

ImageFile::ImageFile(const QString& path) : path_(path), dataSet_(Parsed(path)) {
    DcmDataset& dataSet = *dataSet_;
    CheckTexts(dataSet, path);
    if (!dataSet.tagExists(DCM_PixelData))
        Fail(path, "it holds no image");
    const long rows = IntegerOf(dataSet, DCM_Rows, 0), columns = IntegerOf(dataSet, DCM_Columns, 0);
    const long samples = IntegerOf(dataSet, DCM_SamplesPerPixel, 1);
    if (rows <= 0 || columns <= 0)
        Fail(path, "the image has no size");
    if (static_cast<double>(rows) * static_cast<double>(columns) * static_cast<double>(samples) * 4 > LargestFrameBytes)
        Fail(path, "the image is too large");
    size_ = QSize(static_cast<int>(columns), static_cast<int>(rows));
    description_ = DescriptionOf(dataSet);
    studyUid_ = UidOf(dataSet, DCM_StudyInstanceUID);
    patient_ = PatientOnScreen(TextOf(dataSet, DCM_PatientName, TextKind::PersonName),
                               TextOf(dataSet, DCM_PatientID, TextKind::Values));
    frameCount_ = static_cast<int>(std::max(1L, IntegerOf(dataSet, DCM_NumberOfFrames, 1)));
    Decode(0);
}

ImageFile::~ImageFile() = default;

std::optional<Orientation> ImageFile::OrientationOf(int frame) const {
    if (ValuesOf(*dataSet_, DCM_AnatomicalOrientationType).value(0) == "QUADRUPED")
        return std::nullopt; // an animal's axes and letters are others
    const QStringList plane =
        ValuesOfFrame(*dataSet_, frame, DCM_PlaneOrientationSequence, DCM_ImageOrientationPatient);
    auto letters = OrientationOfLetters(
        ValuesOfFrame(*dataSet_, frame, DCM_PatientOrientationInFrameSequence, DCM_PatientOrientation));
    if (plane.isEmpty())
        return letters;
    const auto cosines = CosinesIn(plane);
    if (!cosines || (letters && !Agree(*cosines, *letters)))
        return std::nullopt;
    return OrientationOfPlane(*cosines);
}

void ImageFile::Decode(int frame) {
    if (frame == decodedFrame_)
        return;
    if (frame < 0 || frame >= frameCount_)
        Fail(path_, "it has no frame " + std::to_string(frame + 1L));
    const E_TransferSyntax syntax = dataSet_->getOriginalXfer();
    const DcmXfer coding(syntax);
    if (coding.isEncapsulated() && !DcmCodecList::canChangeCoding(syntax, EXS_LittleEndianExplicit))
        Fail(path_, std::string("its compression is not supported (") + coding.getXferName() + ")");
    // The toolkit's decoders fall over damaged pixels; what is not compressed needs none, and no copy at each slice.
    if (coding.isEncapsulated() && !ComesToItsEnd([&] {
            Take(frame);
            Render(frame, OwnWindow(frame), false);
        }))
        Fail(path_, std::string("its pixels are damaged (") + coding.getXferName() + ")");
    Take(frame);
}

void ImageFile::Take(int frame) {
    const E_TransferSyntax syntax = dataSet_->getOriginalXfer();
    auto image = std::make_unique<DicomImage>(dataSet_.get(), syntax, CIF_UsePartialAccessToPixelData,
                                              static_cast<unsigned long>(frame), 1UL);
    if (image->getStatus() != EIS_Normal)
        Fail(path_, std::string("its pixels cannot be read (") + DicomImage::getString(image->getStatus()) + ", " +
                        DcmXfer(syntax).getXferName() + ")");
    image_ = std::move(image);
    decodedFrame_ = frame;
    monochrome_ = image_->isMonochrome();
    pixelAspect_ = image_->getHeightWidthRatio();
}

std::optional<GreyWindow> ImageFile::NamedWindow(int frame) {
    Decode(frame);
    GreyWindow window;
    if (monochrome_ && image_->getWindowCount() > 0 && image_->setWindow(0) &&
        image_->getWindow(window.center, window.width))
        return window;
    return {};
}

GreyWindow ImageFile::OwnWindow(int frame) {
    if (const auto named = NamedWindow(frame))
        return *named;
    double lowest = 0, highest = 0;
    if (!monochrome_ || !image_->getMinMaxValues(lowest, highest))
        return {};
    const double width = highest - lowest + 1;
    return {.center = lowest + width / 2, .width = width};
}

QImage ImageFile::Render(int frame, const GreyWindow& window, bool inverted) {
    Decode(frame);
    if (monochrome_) {
        const GreyWindow used = window.width >= 1 ? window : OwnWindow(frame);
        image_->setWindow(used.center, used.width);
    }
    image_->setPolarity(inverted ? EPP_Reverse : EPP_Normal);

    const unsigned long size = image_->getOutputDataSize(8);
    const auto width = static_cast<int>(image_->getWidth()), height = static_cast<int>(image_->getHeight());
    const int bytesPerLine = width * (monochrome_ ? 1 : 3);
    auto pixels = std::make_unique<std::vector<uchar>>(size);
    if (size < static_cast<unsigned long>(bytesPerLine) * static_cast<unsigned long>(height) ||
        !image_->getOutputData(pixels->data(), size, 8))
        Fail(path_, "its pixels cannot be rendered");
    std::vector<uchar>* held = pixels.release();
    return {held->data(),
            width,
            height,
            bytesPerLine,
            monochrome_ ? QImage::Format_Grayscale8 : QImage::Format_RGB888,
            [](void* vector) { delete static_cast<std::vector<uchar>*>(vector); },
            held};
}

} // namespace tavrel
