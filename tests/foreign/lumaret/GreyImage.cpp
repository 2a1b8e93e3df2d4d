#include "tests/foreign/lumaret/GreyImage.h"

#include <dcmtk/config/osconfig.h>

#include <dcmtk/dcmdata/dctk.h>

#include <QFile>

#include <stdexcept>
#include <vector>

namespace tavrel::test {
namespace {

constexpr int Columns = 40, Rows = 24;

void PutTexts(DcmDataset& dataSet) {
    const std::initializer_list<std::pair<DcmTagKey, const char*>> texts = {
        {DCM_SpecificCharacterSet, "ISO_IR 100"},
        {DCM_SOPClassUID, UID_MultiframeGrayscaleWordSecondaryCaptureImageStorage},
        {DCM_SOPInstanceUID, "1.2.3.1.1"},
        {DCM_StudyInstanceUID, "1.2.3"},
        {DCM_SeriesInstanceUID, "1.2.3.1"},
        {DCM_PatientName, "Gro\xDF^J\xFCrgen"},
        {DCM_PatientID, "P1"},
        {DCM_PatientBirthDate, "19600520"},
        {DCM_PatientSex, "M"},
        {DCM_StudyDate, "20261114"},
        {DCM_StudyTime, "073000"},
        {DCM_StudyID, "S1"},
        {DCM_AccessionNumber, "A1"},
        {DCM_ReferringPhysicianName, "Bianchi^Anna"},
        {DCM_StudyDescription, "Sch\xE4"
                               "del"},
        {DCM_Modality, "CT"},
        {DCM_BodyPartExamined, "CHEST"},
    };
    for (const auto& [tag, text] : texts)
        dataSet.putAndInsertString(tag, text);
}

/// Values that run over the whole range, each pixel another.
void PutPixels(DcmDataset& dataSet, const GreyImage& image, int stored) {
    const int range = (1 << stored) - 1, count = Columns * Rows;
    std::vector<Uint8> bytes;
    std::vector<Uint16> words;
    for (int frame = 0; frame < image.frames; ++frame)
        for (int at = 0; at < count; ++at) {
            // Half of them low, where the windows of the views lie.
            const int value = at % 2 == 0 ? at / 2 % (range + 1) : static_cast<int>(1L * at * range / count);
            const int shifted = (value + 20 * frame) & range;
            bytes.push_back(static_cast<Uint8>(shifted));
            words.push_back(static_cast<Uint16>(shifted));
        }
    if (image.bits == 8)
        dataSet.putAndInsertUint8Array(DCM_PixelData, bytes.data(), bytes.size());
    else
        dataSet.putAndInsertUint16Array(DCM_PixelData, words.data(), words.size());
}

} // namespace

void WriteGreyImage(const QString& path, const GreyImage& image) {
    DcmFileFormat file;
    DcmDataset& dataSet = *file.getDataset();
    PutTexts(dataSet);
    const int stored = image.stored > 0 ? image.stored : image.bits;
    const std::initializer_list<std::pair<DcmTagKey, int>> numbers = {
        {DCM_Rows, Rows},
        {DCM_Columns, Columns},
        {DCM_SamplesPerPixel, 1},
        {DCM_BitsAllocated, image.bits},
        {DCM_BitsStored, stored},
        {DCM_HighBit, stored - 1},
        {DCM_PixelRepresentation, image.isSigned ? 1 : 0},
    };
    for (const auto& [tag, number] : numbers)
        dataSet.putAndInsertUint16(tag, static_cast<Uint16>(number));
    dataSet.putAndInsertString(DCM_PhotometricInterpretation, image.monochrome1 ? "MONOCHROME1" : "MONOCHROME2");
    if (image.frames > 1)
        dataSet.putAndInsertString(DCM_NumberOfFrames, std::to_string(image.frames).c_str());
    dataSet.putAndInsertString(DCM_WindowCenter, "100");
    dataSet.putAndInsertString(DCM_WindowWidth, "200");
    if (*image.pixelSpacing)
        dataSet.putAndInsertString(DCM_PixelSpacing, image.pixelSpacing);
    if (*image.slope) {
        dataSet.putAndInsertString(DCM_RescaleSlope, image.slope);
        dataSet.putAndInsertString(DCM_RescaleIntercept, image.intercept);
        dataSet.putAndInsertString(DCM_RescaleType, "HU");
    }
    PutPixels(dataSet, image, stored);
    if (const OFCondition saved = file.saveFile(QFile::encodeName(path).constData(), EXS_LittleEndianExplicit);
        saved.bad())
        throw std::runtime_error(saved.text());
}

} // namespace tavrel::test
