#pragma once

#include <QString>

namespace tavrel::test {

/// A structured report; the texts are bytes in its character set.
struct SampleReport {
    const char* characterSet = "ISO_IR 192"; ///< none when empty
    const char* patientName = "ROSSI^MARIA";
    const char* title = "Chest CT";
    const char* reading = "No nodule.";
    const char* date = "20261114"; ///< of the content
    const char* time = "101500";
    bool comprehensive = false; ///< of the class Comprehensive SR, with a measurement and an image
    const char* patientId = "P1";
    const char* issuer = "";      ///< of the identifier
    const char* uid = "";         ///< of the document; one of its own when empty
    const char* predecessor = ""; ///< the document before it, or none
    const char* studyUid = "";    ///< one of its own when empty
};

void WriteReport(const QString& path, const SampleReport& report = {});

} // namespace tavrel::test
