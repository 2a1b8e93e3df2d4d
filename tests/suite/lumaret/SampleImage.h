#pragma once

#include <QString>

#include <vector>

namespace tavrel::test {

/// An image to be written. Every pixel of a frame has another value, which rises to the right and
/// downwards and by 100 from frame to frame.
struct SampleImage {
    int columns = 64;
    int rows = 48;
    int frames = 1;
    int instance = 1;
    bool colour = false;
    double center = 512; ///< of the window that the file names
    double width = 1024; ///< none when 0
    const char* studyUid = "1.2.3";
    const char* patientName = "ROSSI^MARIA";
    const char* patientId = "P1";
    const char* issuer = "";       ///< of the identifier
    const char* pixelSpacing = ""; ///< "row\column" in mm
    bool steps = false;            ///< two plains instead, the brighter one at the right
    const char* plane = "";        ///< Image Orientation (Patient)
    const char* letters = "";      ///< Patient Orientation
    std::vector<const char*> planesOfFrames{};
};

/// Writes `image` as a DICOM file.
void WriteImage(const QString& path, const SampleImage& image = {});

} // namespace tavrel::test
