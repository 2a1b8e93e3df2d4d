#include "tests/suite/lumaret/InterchangeReport.h"

#include "platform/attributes.h"
#include "sr/DcmSRDocument.h"
#include "tests/support/Workstation.h"

#include <stdexcept>

namespace tavrel::test {

void WriteInterchangeReport(const QString& path, const InterchangeReport& report) {
    Workstation station;
    station.AddExampleStudy();
    station.global.userSignature = "Dr. Mario Rossi";
    station.global.reportForm = ReportForm::Interchange;
    const auto images = station.ImageSeries();
    images->SetElementString(0, attribute::PatientName, report.patientName);
    DcmSRDocument document(station.global);
    document.CreateFromDDO(*images, 0);
    document.SetTitle("LN", "24627-2", "CT Chest", report.title);
    document.Reading(report.reading);
    document.SetBodyPart("SCT", "51185008", "Chest");
    document.SetFinding(-1, "SCT", "27925004", report.finding, report.annotation);
    document.SetDiagnosis(-1, "SCT", "254637007", "Non-small cell lung cancer", "suspected");
    std::vector<ReferencedImage> named;
    for (int number = 1; number <= report.images; ++number) {
        ReferencedImage& image = named.emplace_back();
        image.studyUid = "1.2.3";
        image.seriesUid = "1.2.3.1";
        image.sopClassUid = "1.2.840.10008.5.1.4.1.1.2";
        image.sopInstanceUid = "1.2.3.1." + std::to_string(report.oneImage ? 1 : number);
        image.frame = number == 2 && !report.oneImage ? 7 : 0;
        image.presentationSeriesUid = "1.2.999.4.1";
        image.presentationSopClassUid = "1.2.840.10008.5.1.4.1.1.11.1";
        image.presentationSopInstanceUid = "1.2.999.3." + std::to_string(number);
    }
    document.Images(std::move(named));
    document.Save(path.toStdString());
    if (!station.windows.messages.empty())
        throw std::runtime_error(station.windows.messages.front().text);
}

} // namespace tavrel::test
