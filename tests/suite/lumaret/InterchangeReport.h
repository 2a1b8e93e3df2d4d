#pragma once

#include <QString>

namespace tavrel::test {

/// Texts of a report in the interchange form, in UTF-8.
struct InterchangeReport {
    const char* patientName = "ROSSI^MARIA";
    const char* title = "Chest CT";
    const char* reading = "No nodule.";
    const char* finding = "Nodule";
    const char* annotation = "left upper lobe, 4 mm";
    int images = 2;
    bool oneImage = false; ///< in so many views
};

/// Writes it as a report of the form is written: a body part, a finding and a diagnosis with their annotations, and
/// images in their presentation states, of which the second is a frame.
void WriteInterchangeReport(const QString& path, const InterchangeReport& report = {});

} // namespace tavrel::test
