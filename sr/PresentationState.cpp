#include "sr/PresentationState.h"

#include "host/Text.h"
#include "platform/attributes.h"
#include "platform/error.h"
#include "platform/limits.h"
#include "platform/text.h"
#include "sr/forms/ItemBuilder.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <limits>
#include <optional>
#include <utility>

namespace tavrel {
namespace {

namespace a = attribute;

constexpr int QuarterTurn = 90;
constexpr int GammaEntries = 256; // the viewer's own grey levels
constexpr double LargestP = 65535;
constexpr int MostLutEntries = 65536;
constexpr int MostFramesRead = 1000; // each is looked for from the first on
constexpr std::string_view Utf8 = "ISO_IR 192";
constexpr std::string_view LutNamePrefix = "Look-up table: ";

/// What a presentation state takes from its image, empty where that says nothing.
constexpr std::array RequiredAttributes = {
    a::StudyDate, a::StudyTime,        a::AccessionNumber, a::ReferringPhysicianName, a::PatientName,
    a::PatientId, a::PatientBirthDate, a::PatientSex,      a::StudyInstanceUid,       a::StudyId};

/// Where an image says how large its pixels are, in the order in which viewers look.
constexpr std::array PixelSizes = {a::PixelSpacing, a::ImagerPixelSpacing, a::NominalScannedPixelSpacing};

std::optional<double> NumberOf(const DicomDataSet& dataSet, const Attribute& attribute, int valueIndex = 0) {
    const std::string value = TextOf(dataSet.GetValue(attribute, valueIndex));
    const std::string_view text = Trimmed(value);
    const char* begin = text.data() + (text.starts_with('+') ? 1 : 0);
    const char* end = text.data() + text.size();
    double number = 0;
    const auto [stop, fault] = std::from_chars(begin, end, number);
    return fault == std::errc() && stop == end && std::isfinite(number) ? std::optional(number) : std::nullopt;
}

int IntegerOf(const DicomDataSet& dataSet, const Attribute& attribute, int absent, int valueIndex = 0) {
    const auto number = NumberOf(dataSet, attribute, valueIndex);
    return number && std::abs(*number) <= std::numeric_limits<int>::max() ? static_cast<int>(*number) : absent;
}

/// No more than 16 characters, as a decimal string must be.
std::string Decimal(float number) {
    std::array<char, 32> text{};
    return {text.data(), std::to_chars(text.data(), text.data() + text.size(), number).ptr};
}

std::string Pair(int first, int second) {
    return std::to_string(first) + '\\' + std::to_string(second);
}

/// White is the lowest value.
bool IsMonochrome1(const DicomDataSet& image) {
    return TextOf(image, a::PhotometricInterpretation) == "MONOCHROME1";
}

// A view is flipped and then turned, a presentation state turned and then flipped left to right.
struct Turn {
    int rotation = 0; ///< 0 to 270 degrees clockwise
    bool flipped = false;
};

int WithinFullTurn(int degrees) {
    return (degrees % 360 + 360) % 360;
}

Turn TurnOf(const ViewParameters& view) {
    const int nearest = (WithinFullTurn(view.rotation % 360) + QuarterTurn / 2) / QuarterTurn * QuarterTurn;
    const bool flipped = view.flipHorizontal != view.flipVertical;
    const int upsideDown = view.flipVertical ? 2 * QuarterTurn : 0;
    return {WithinFullTurn(upsideDown + (flipped ? -nearest : nearest)), flipped};
}

/// The image pixels that are shown, 1-based, the first and the last.
struct Corners {
    int left, top, right, bottom;
};

Corners CornersOf(const ViewParameters::Area& area, const DicomDataSet& image) {
    if (area.right > area.left && area.bottom > area.top)
        return {area.left + 1, area.top + 1, area.right, area.bottom};
    return {1, 1, IntegerOf(image, a::Columns, 1), IntegerOf(image, a::Rows, 1)};
}

/// A side that nobody tells is left empty only where no body part says that there is none (PS3.3, C.7.3.1).
void WriteBodyPart(const ItemBuilder& state, const DicomDataSet& image) {
    const std::string bodyPart = TextOf(image, a::BodyPartExamined), ofImage = TextOf(image, a::ImageLaterality);
    const std::string side = ofImage == "L" || ofImage == "R" ? ofImage : TextOf(image, a::Laterality);
    state.SetIfAny(a::BodyPartExamined, bodyPart);
    if (!side.empty() || bodyPart.empty())
        state.Set(a::Laterality, side);
}

void WriteReference(const ItemBuilder& state, const DicomDataSet& image, std::int32_t frame) {
    const auto series = state.Append(a::ReferencedSeriesSequence);
    series.Set(a::SeriesInstanceUid, image.GetValue(a::SeriesInstanceUid));
    const auto reference = series.Append(a::ReferencedImageSequence);
    reference.Set(a::ReferencedSopClassUid, image.GetValue(a::SopClassUid));
    reference.Set(a::ReferencedSopInstanceUid, image.GetValue(a::SopInstanceUid));
    if (IntegerOf(image, a::NumberOfFrames, 1) > 1)
        reference.Set(a::ReferencedFrameNumber, std::to_string(frame + 1L));
}

/// The pixels' size, or their shape where nobody tells their size.
void WritePixelSize(const ItemBuilder& area, const DicomDataSet& image) {
    for (const Attribute& size : PixelSizes) {
        const auto height = NumberOf(image, size, 0), width = NumberOf(image, size, 1);
        if (height && width && *height > 0 && *width > 0)
            return area.Set(a::PresentationPixelSpacing,
                            Decimal(static_cast<float>(*height)) + '\\' + Decimal(static_cast<float>(*width)));
    }
    const int height = IntegerOf(image, a::PixelAspectRatio, 1, 0), width = IntegerOf(image, a::PixelAspectRatio, 1, 1);
    area.Set(a::PresentationPixelAspectRatio, height > 0 && width > 0 ? Pair(height, width) : Pair(1, 1));
}

void WriteDisplayedArea(const ItemBuilder& state, const DicomDataSet& image, const ViewParameters& view,
                        const Turn& turn) {
    const auto area = state.Append(a::DisplayedAreaSelectionSequence);
    const auto [left, top, right, bottom] = CornersOf(view.displayedArea, image);
    // The image's pixel that is at the top left when it has been turned and flipped.
    int x = turn.flipped ? 1 : -1, y = -1;
    for (int turned = 0; turned < turn.rotation; turned += QuarterTurn)
        x = std::exchange(y, -x);
    const bool fromLeft = x < 0, fromTop = y < 0;
    area.Set(a::DisplayedAreaTopLeft, Pair(fromLeft ? left : right, fromTop ? top : bottom));
    area.Set(a::DisplayedAreaBottomRight, Pair(fromLeft ? right : left, fromTop ? bottom : top));
    area.Set(a::PresentationSizeMode, "SCALE TO FIT");
    WritePixelSize(area, image);
}

/// Values of X-ray angiography that stand for beam intensity are shown as they are (DICOM PS3.3, C.8.7.1.1.2).
bool ShownUntransformed(const DicomDataSet& image) {
    constexpr std::array classes = {"1.2.840.10008.5.1.4.1.1.12.1", "1.2.840.10008.5.1.4.1.1.12.2",
                                    "1.2.840.10008.5.1.4.1.1.12.3"};
    const std::string relationship = TextOf(image, a::PixelIntensityRelationship);
    return std::ranges::find(classes, TextOf(image, a::SopClassUid)) != classes.end() &&
           (relationship == "LOG" || relationship == "DISP");
}

/// A presentation state's replaces the image's, so that one without any would show other values.
void WriteModalityTransform(const ItemBuilder& state, DicomDataSet& target, const DicomDataSet& image) {
    if (ShownUntransformed(image))
        return;
    if (const DataSetHandle table = image.GetSequenceItem(a::ModalityLutSequence, 0))
        return target.SetSequenceItem(a::ModalityLutSequence, 0, table);
    if (!NumberOf(image, a::RescaleSlope) || !NumberOf(image, a::RescaleIntercept))
        return;
    state.Set(a::RescaleIntercept, image.GetValue(a::RescaleIntercept));
    state.Set(a::RescaleSlope, image.GetValue(a::RescaleSlope));
    const std::string type = TextOf(image, a::RescaleType);
    state.Set(a::RescaleType, type.empty() ? "US" : type);
}

void WriteWindow(const ItemBuilder& state, const DicomDataSet& image, const ViewParameters& view) {
    float center = view.windowCenter, width = view.windowWidth;
    if (!(std::isfinite(center) && std::isfinite(width) && width >= 1)) { // the image's own
        const auto ownCenter = NumberOf(image, a::WindowCenter), ownWidth = NumberOf(image, a::WindowWidth);
        if (!ownCenter || !ownWidth || *ownWidth < 1)
            return;
        center = static_cast<float>(*ownCenter);
        width = static_cast<float>(*ownWidth);
    }
    const auto window = state.Append(a::SoftcopyVoiLutSequence);
    window.Set(a::WindowCenter, Decimal(center));
    window.Set(a::WindowWidth, Decimal(width));
}

void WriteGreyLevels(const ItemBuilder& state, const DicomDataSet& image, const ViewParameters& view) {
    const bool inverse = IsMonochrome1(image) != view.inverted;
    const auto gamma = static_cast<double>(view.gamma);
    if (gamma == 1 || !std::isfinite(gamma) || gamma <= 0)
        return state.Set(a::PresentationLutShape, inverse ? "INVERSE" : "IDENTITY");
    const auto table = state.Append(a::PresentationLutSequence);
    table.Set(a::LutDescriptor, std::to_string(GammaEntries) + R"(\0\16)");
    table.Set(a::LutExplanation, "Gamma " + Decimal(view.gamma));
    std::string data;
    for (int entry = 0; entry < GammaEntries; ++entry) {
        const double level = (inverse ? GammaEntries - 1 - entry : entry) / (GammaEntries - 1.0);
        data += (entry == 0 ? "" : "\\") + std::to_string(std::lround(LargestP * std::pow(level, 1 / gamma)));
    }
    table.Set(a::LutData, std::move(data));
}

std::string DescriptionOf(DicomLibrary& dicom, const std::string& lutName) {
    std::string description = std::string(LutNamePrefix) + lutName;
    const bool fits = !lutName.empty() && CountCharacters(description) <= longest::LongString &&
                      lutName.find_first_of("\\\r\n") == std::string::npos &&
                      dicom.FindUnwritable(lutName, Utf8).empty();
    return fits ? description : std::string();
}

void RequireThatItIsOf(const DicomDataSet& state, const DicomDataSet& image) {
    const std::string wanted = TextOf(image, a::SopInstanceUid);
    for (int series = 0; const auto seriesItem = state.GetSequenceItem(a::ReferencedSeriesSequence, series); ++series)
        for (int at = 0; const auto reference = seriesItem->GetSequenceItem(a::ReferencedImageSequence, at); ++at)
            if (TextOf(*reference, a::ReferencedSopInstanceUid) == wanted)
                return;
    throw Error(Fault::Missing, "PresentationState", "The presentation state is of another image");
}

/// The item of a sequence that holds for the frame: the first one that names no images, or names this one.
DataSetHandle ItemFor(const DicomDataSet& state, const Attribute& sequence, const std::string& image,
                      std::int32_t frame) {
    const auto names = [&](const DicomDataSet& reference) {
        if (TextOf(reference, a::ReferencedSopInstanceUid) != image)
            return false;
        for (int at = 0; at < MostFramesRead; ++at) {
            const int named = IntegerOf(reference, a::ReferencedFrameNumber, 0, at);
            if (named == 0 || named == frame + 1)
                return at == 0 || named != 0;
        }
        return false;
    };
    for (int index = 0; auto item = state.GetSequenceItem(sequence, index); ++index) {
        if (item->GetSequenceItemCount(a::ReferencedImageSequence) == 0)
            return item;
        for (int at = 0; const auto reference = item->GetSequenceItem(a::ReferencedImageSequence, at); ++at)
            if (names(*reference))
                return item;
    }
    return nullptr;
}

std::int16_t Pixel(int value) {
    using Limits = std::numeric_limits<std::int16_t>;
    return static_cast<std::int16_t>(std::clamp<int>(value, Limits::min(), Limits::max()));
}

void ReadArea(const DicomDataSet& item, ViewParameters& view) {
    const auto of = [&](const Attribute& corner, int axis) { return IntegerOf(item, corner, 0, axis); };
    const auto columns = std::minmax({of(a::DisplayedAreaTopLeft, 0), of(a::DisplayedAreaBottomRight, 0)});
    const auto rows = std::minmax({of(a::DisplayedAreaTopLeft, 1), of(a::DisplayedAreaBottomRight, 1)});
    view.displayedArea = {Pixel(columns.first - 1), Pixel(rows.first - 1), Pixel(columns.second), Pixel(rows.second)};
}

/// A table is taken for a gamma curve through its middle, and for inverse when it falls.
void ReadTable(const DicomDataSet& table, ViewParameters& view, bool& inverse) {
    const int described = IntegerOf(table, a::LutDescriptor, 0, 0);
    const int entries = described == 0 ? MostLutEntries : described; // 16 bits cannot say as many
    const double first = NumberOf(table, a::LutData, 0).value_or(0);
    const double last = NumberOf(table, a::LutData, entries - 1).value_or(0);
    inverse = last < first;
    const int middle = entries / 2;
    const double level = static_cast<double>(inverse ? entries - 1 - middle : middle) / (entries - 1.0);
    const double share = NumberOf(table, a::LutData, middle).value_or(0) / std::max(first, last);
    const double gamma = std::log(level) / std::log(share);
    constexpr double thousandths = 1000;
    if (std::isfinite(gamma) && gamma > 0)
        view.gamma = static_cast<float>(std::round(gamma * thousandths) / thousandths);
}

} // namespace

bool ShowsGreyLevels(const DicomDataSet& image) {
    return TextOf(image, a::PhotometricInterpretation) == "MONOCHROME2" || IsMonochrome1(image);
}

DataSetHandle MakePresentationState(DicomLibrary& dicom, const DicomDataSet& image, const Presentation& presentation,
                                    const NewPresentationState& identity) {
    const auto made = dicom.NewDataSetList();
    made->AddDataSet(-1);
    DataSetHandle target = made->Item(0);
    const ItemBuilder state(dicom, target);
    state.Set(a::SpecificCharacterSet, std::string(Utf8));
    state.Set(a::SopClassUid, std::string(GrayscalePresentationState));
    state.Set(a::SopInstanceUid, identity.sopInstanceUid);
    for (const Attribute& attribute : RequiredAttributes)
        state.Set(attribute, image.GetValue(attribute));
    for (const Attribute& attribute : {a::StudyDescription, a::IssuerOfPatientId})
        state.SetIfAny(attribute, image.GetValue(attribute));
    state.Set(a::Modality, "PR");
    state.Set(a::Manufacturer, "Mervanti");
    state.Set(a::SeriesInstanceUid, identity.seriesUid);
    state.Set(a::SeriesDescription, "Images of reports as they were shown");
    state.Set(a::SeriesNumber, identity.seriesNumber);
    WriteBodyPart(state, image);
    state.Set(a::InstanceNumber, std::to_string(identity.instanceNumber));

    state.Set(a::ContentLabel, "REPORT");
    state.Set(a::ContentDescription, DescriptionOf(dicom, presentation.lutName));
    state.Set(a::PresentationCreationDate, identity.made);
    state.Set(a::PresentationCreationTime, identity.made);
    state.Set(a::ContentCreatorName, identity.creator);
    const ViewParameters& view = presentation.view;
    WriteReference(state, image, view.frame);

    const Turn turn = TurnOf(view);
    WriteDisplayedArea(state, image, view, turn);
    state.Set(a::ImageHorizontalFlip, turn.flipped ? "Y" : "N");
    state.Set(a::ImageRotation, std::to_string(turn.rotation));
    WriteModalityTransform(state, *target, image);
    WriteWindow(state, image, view);
    WriteGreyLevels(state, image, view);
    return target;
}

Presentation ReadPresentationState(const DicomDataSet& state, const DicomDataSet& image, std::int32_t frame) {
    RequireThatItIsOf(state, image);
    Presentation presentation;
    ViewParameters& view = presentation.view;
    view.frame = frame;
    view.smoothed = true; // as the viewer shows any image at first
    if (const std::string words = TextOf(state, a::ContentDescription); words.starts_with(LutNamePrefix))
        presentation.lutName = words.substr(LutNamePrefix.size());

    const std::string imageUid = TextOf(image, a::SopInstanceUid);
    if (const auto area = ItemFor(state, a::DisplayedAreaSelectionSequence, imageUid, frame))
        ReadArea(*area, view);
    view.flipHorizontal = TextOf(state, a::ImageHorizontalFlip) == "Y";
    const int rotation = IntegerOf(state, a::ImageRotation, 0) / QuarterTurn * QuarterTurn;
    view.rotation = WithinFullTurn(view.flipHorizontal ? -rotation : rotation);
    if (const auto window = ItemFor(state, a::SoftcopyVoiLutSequence, imageUid, frame)) {
        view.windowCenter = static_cast<float>(NumberOf(*window, a::WindowCenter).value_or(0));
        view.windowWidth = static_cast<float>(NumberOf(*window, a::WindowWidth).value_or(0));
    }
    bool inverse = TextOf(state, a::PresentationLutShape) == "INVERSE";
    if (const auto table = state.GetSequenceItem(a::PresentationLutSequence, 0))
        ReadTable(*table, view, inverse);
    view.inverted = inverse != IsMonochrome1(image);
    return presentation;
}

} // namespace tavrel
