#include "tests/support/SampleVersions.h"

#include "host/Text.h"
#include "platform/attributes.h"

#include <stdexcept>
#include <utility>

namespace tavrel::test {

namespace {

const std::string Root = "2.25.81537309261840295517";
const std::string Study = Root + ".9.1";
const std::string Series = Root + ".9.2";
const std::string CtImage = "1.2.840.10008.5.1.4.1.1.2";
const std::string MultiframeImage = "1.2.840.10008.5.1.4.1.1.3.1";
const std::string PresentationState = "1.2.840.10008.5.1.4.1.1.11.1";

ReferencedImage Image(int number) {
    ReferencedImage image;
    image.studyUid = Study;
    image.seriesUid = Series;
    image.sopClassUid = CtImage;
    image.sopInstanceUid = Series + "." + std::to_string(number);
    return image;
}

ReferencedImage Shown(ReferencedImage image) {
    image.presentationSeriesUid = Series + ".4";
    image.presentationSopClassUid = PresentationState;
    image.presentationSopInstanceUid = image.sopInstanceUid + ".4";
    return image;
}

ReferencedImage Frame(ReferencedImage image, int frame) {
    image.sopClassUid = MultiframeImage;
    image.sopInstanceUid += ".5";
    image.frame = frame;
    return image;
}

} // namespace

/// One report, whose versions are kept as files as they are saved.
class SampleReports::Report {
public:
    Report(SampleReports& reports, const std::shared_ptr<DataSetList>& images)
        : reports_(reports), station_(reports.station_), document_(station_.global) {
        document_.CreateFromDDO(*images, 0);
    }

    DcmSRDocument& operator*() { return document_; }
    DcmSRDocument* operator->() { return &document_; }

    /// Saves as the editor does: the version is read back.
    void Save(std::string state) {
        const std::string name = "version" + std::to_string(reports_.versions_.size()) + ".dcm";
        station_.store.answer = [&](const SentVersion& sent) { sent.dataSet->SaveToFile(station_.Path(name)); };
        document_.Send();
        if (!station_.windows.messages.empty())
            throw std::runtime_error(state + ": " + station_.windows.messages.front().text);
        ++station_.clock.now.second;
        document_.GotoVersion(static_cast<std::int16_t>(document_.NumVersions() - 1));
        reports_.versions_.push_back({std::move(state), station_.NativePath(name),
                                      TextOf(station_.store.sent.back().dataSet->GetValue(attribute::SopInstanceUid))});
    }

private:
    SampleReports& reports_;
    Workstation& station_;
    DcmSRDocument document_;
};

SampleReports::SampleReports(Workstation& station, ReportForm form) : station_(station), form_(form) {
    station_.AddExampleStudy();
    station_.global.baseUid = Root;
    station_.global.userSignature = "Rossi^Mario";
    station_.global.reportForm = form;
}

std::shared_ptr<DataSetList> SampleReports::Images(const std::string& patientName) const {
    auto images = station_.ImageSeries();
    const auto set = [&](const Attribute& attribute, const std::string& text) {
        images->SetElementString(0, attribute, text);
    };
    set(attribute::PatientName, patientName);
    set(attribute::StudyInstanceUid, Study);
    set(attribute::SeriesInstanceUid, Series);
    set(attribute::SopInstanceUid, Series + ".1");
    set(attribute::StudyId, "S1");
    set(attribute::SpecificCharacterSet, "ISO_IR 192");
    return images;
}

/// An image that tells of its patient, its request and its procedure all that a report can take.
std::shared_ptr<DataSetList> SampleReports::TellingImages() const {
    auto images = Images("Yamada^Tarou=山田^太郎=やまだ^たろう");
    images->SetElementString(0, attribute::IssuerOfPatientId, "Orbenta");
    const auto append = [&](DicomDataSet& holder, Tag sequence) {
        auto item = station_.dicom->NewDataSet();
        holder.SetSequenceItem(sequence, 0, item);
        return item;
    };
    const auto code = [&](DicomDataSet& holder, Tag sequence) {
        std::int16_t appended = -1;
        AppendCodeItem(*station_.dicom, holder, sequence, "LN", "24627-2", "Chest CT", appended);
    };
    const DataSetHandle image = images->Item(0);
    code(*image, attribute::ProcedureCodeSequence);
    const auto request = append(*image, attribute::RequestAttributesSequence);
    request->SetValue(attribute::RequestedProcedureId, 0, "R1");
    request->SetValue(attribute::RequestedProcedureDescription, 0, "Chest CT");
    code(*request, attribute::RequestedProcedureCodeSequence);
    return images;
}

SampleVersion SampleReports::Of(const std::string& patientName, const std::string& reading) {
    Report report(*this, Images(patientName));
    report->SetTitle("LN", "18748-4", "Diagnostic Imaging Report", "Chest");
    report->Reading(reading);
    report.Save(patientName);
    return versions_.back();
}

std::vector<SampleVersion> SampleReports::InEveryState() {
    const auto other = form_ == ReportForm::Classic ? ReportForm::Interchange : ReportForm::Classic;
    {
        Report report(*this, Images("Rüdiger^Änne"));
        report->SetTitle("LN", "18748-4", "Diagnostic Imaging Report", "Thorax, 2 Ebenen");
        report->Reading("Größe: 3 µm.\r\nKein Erguß.");
        report.Save("new");
        report->PutCodedEntries(
            {"SCT", "51185008", "Chest", ""},
            {{"SCT", "60046008", "Pleural effusion", "small"}, {"RADLEX", "RID50149", "Pulmonary nodule", ""}},
            {{"SCT", "233604007", "Pneumonia", "on the left"}, {"SCT", "72704001", "Fracture", ""}});
        report->Images({Shown(Image(1)), Image(2), Shown(Frame(Image(3), 2))});
        report.Save("with every entry");
        report->PutCodedEntries({"", "", "Left thumb", ""}, {{"", "", "Scar", "old"}}, {{"", "", "Unclear", ""}});
        report->Images({});
        report.Save("with entries without codes");
        report->PutCodedEntries({"99SS", "B1", "Left thumb", ""}, {{"99SS", "F12345678901234567", "Cyst", ""}}, {});
        report.Save("with codes of the site's own");
        report->PutCodedEntries({}, {}, {});
        station_.global.userSignature = "Bianchi^Anna";
        report->status(DcmSRDocument::Approved);
        report.Save("approved");
    }
    {
        const auto images = station_.dicom->NewDataSetList();
        images->AddDataSet(-1);
        images->SetElementString(0, attribute::StudyInstanceUid, Study);
        Report report(*this, images);
        report->SetTitle("", "", "Seen on the ward", "");
        report->FreeHeading("Seen on the ward");
        report->status(DcmSRDocument::Approved);
        report.Save("approved at once, of an image that tells nothing, without texts");
    }
    {
        Report report(*this, TellingImages());
        report->SetTitle("LN", "18748-4", "Diagnostic Imaging Report", form_ == ReportForm::Classic ? "Chest" : "胸部");
        report->Reading(form_ == ReportForm::Classic ? "Normal." : "異常所見なし。");
        station_.process.language = "ja";
        report.Save("of an image that tells much, where the desktop speaks a language");
        station_.process.language.clear();
    }
    {
        station_.global.reportForm = other;
        Report report(*this, Images("Rüdiger^Änne"));
        report->SetTitle("LN", "18748-4", "Diagnostic Imaging Report", "Chest");
        report->Reading("First.");
        report.Save("");
        versions_.pop_back(); // it is of the other form
        station_.global.reportForm = form_;
        report->Reading("Second.");
        report.Save("after one of the other form");
    }
    return versions_;
}

} // namespace tavrel::test
