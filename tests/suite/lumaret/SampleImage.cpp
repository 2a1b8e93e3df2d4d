#include "tests/suite/lumaret/SampleImage.h"

#include <dcmtk/config/osconfig.h>

#include <dcmtk/dcmdata/dctk.h>

#include <QFile>

#include <stdexcept>
#include <vector>

namespace tavrel::test {
namespace {

void PutPixels(DcmDataset& dataSet, const SampleImage& image) {
    const auto value = [&](int frame, int x, int y) {
        return image.steps ? (2 * x < image.columns ? 400 : 640) : 100 * frame + 16 * x + y;
    };
    const auto red = [&](int x) { return image.steps ? (2 * x < image.columns ? 100 : 160) : 4 * x; };
    std::vector<Uint8> bytes;
    std::vector<Uint16> words;
    for (int frame = 0; frame < image.frames; ++frame)
        for (int y = 0; y < image.rows; ++y)
            for (int x = 0; x < image.columns; ++x)
                if (image.colour)
                    for (const int part : {red(x), 5 * y, 40 * frame})
                        bytes.push_back(static_cast<Uint8>(part));
                else
                    words.push_back(static_cast<Uint16>(value(frame, x, y)));
    if (image.colour)
        dataSet.putAndInsertUint8Array(DCM_PixelData, bytes.data(), bytes.size());
    else
        dataSet.putAndInsertUint16Array(DCM_PixelData, words.data(), words.size());
}

void PutOrientation(DcmDataset& dataSet, const SampleImage& image) {
    if (*image.plane)
        dataSet.putAndInsertString(DCM_ImageOrientationPatient, image.plane);
    if (*image.letters)
        dataSet.putAndInsertString(DCM_PatientOrientation, image.letters);
    for (std::size_t frame = 0; frame < image.planesOfFrames.size(); ++frame) {
        DcmItem *groups = nullptr, *plane = nullptr;
        dataSet.findOrCreateSequenceItem(DCM_PerFrameFunctionalGroupsSequence, groups, static_cast<long>(frame));
        groups->findOrCreateSequenceItem(DCM_PlaneOrientationSequence, plane);
        plane->putAndInsertString(DCM_ImageOrientationPatient, image.planesOfFrames[frame]);
    }
}

} // namespace

void WriteImage(const QString& path, const SampleImage& image) {
    DcmFileFormat file;
    DcmDataset& dataSet = *file.getDataset();
    dataSet.putAndInsertString(DCM_SpecificCharacterSet, "ISO_IR 192");
    dataSet.putAndInsertString(DCM_SOPClassUID, UID_SecondaryCaptureImageStorage);
    dataSet.putAndInsertString(DCM_SOPInstanceUID, ("1.2.3.1." + std::to_string(image.instance)).c_str());
    dataSet.putAndInsertString(DCM_StudyInstanceUID, image.studyUid);
    dataSet.putAndInsertString(DCM_SeriesInstanceUID, "1.2.3.1");
    dataSet.putAndInsertString(DCM_PatientName, image.patientName);
    dataSet.putAndInsertString(DCM_PatientID, image.patientId);
    if (*image.issuer)
        dataSet.putAndInsertString(DCM_IssuerOfPatientID, image.issuer);
    dataSet.putAndInsertString(DCM_StudyDate, "20261114");
    dataSet.putAndInsertString(DCM_Modality, "CT");
    dataSet.putAndInsertUint16(DCM_Rows, static_cast<Uint16>(image.rows));
    dataSet.putAndInsertUint16(DCM_Columns, static_cast<Uint16>(image.columns));
    const Uint16 bits = image.colour ? 8 : 16;
    dataSet.putAndInsertUint16(DCM_SamplesPerPixel, image.colour ? 3 : 1);
    dataSet.putAndInsertString(DCM_PhotometricInterpretation, image.colour ? "RGB" : "MONOCHROME2");
    if (image.colour)
        dataSet.putAndInsertUint16(DCM_PlanarConfiguration, 0);
    dataSet.putAndInsertUint16(DCM_BitsAllocated, bits);
    dataSet.putAndInsertUint16(DCM_BitsStored, bits);
    dataSet.putAndInsertUint16(DCM_HighBit, static_cast<Uint16>(bits - 1));
    dataSet.putAndInsertUint16(DCM_PixelRepresentation, 0);
    dataSet.putAndInsertString(DCM_NumberOfFrames, std::to_string(image.frames).c_str());
    PutOrientation(dataSet, image);
    if (*image.pixelSpacing)
        dataSet.putAndInsertString(DCM_PixelSpacing, image.pixelSpacing);
    if (image.width > 0) {
        dataSet.putAndInsertString(DCM_WindowCenter, std::to_string(image.center).substr(0, 16).c_str());
        dataSet.putAndInsertString(DCM_WindowWidth, std::to_string(image.width).substr(0, 16).c_str());
    }
    PutPixels(dataSet, image);
    if (const OFCondition saved = file.saveFile(QFile::encodeName(path).constData(), EXS_LittleEndianExplicit);
        saved.bad())
        throw std::runtime_error(saved.text());
}

} // namespace tavrel::test
