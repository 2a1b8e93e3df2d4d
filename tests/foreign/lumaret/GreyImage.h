#pragma once

#include <QString>

namespace tavrel::test {

/// A grey image to be written, 40 by 24 pixels, whose values run over the range of its bits.
struct GreyImage {
    int bits = 16;  ///< allocated
    int stored = 0; ///< all of them when 0
    bool isSigned = false;
    bool monochrome1 = false;
    const char* slope = "";
    const char* intercept = "";
    int frames = 1;
    int frame = 0; ///< the one to look at
    const char* pixelSpacing = "";
};

/// Writes `image` as a DICOM file of the study "1.2.3" of Jürgen Groß.
void WriteGreyImage(const QString& path, const GreyImage& image);

} // namespace tavrel::test
