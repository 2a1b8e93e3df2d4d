#include "tests/sr/ReportFixture.h"
#include "tests/support/ElementDump.h"
#include "tests/support/ReadBytes.h"

#include <filesystem>

namespace tavrel::test {
namespace {

class ClassicForm;

struct Case {
    std::string_view name;
    void (*write)(ClassicForm&);
    friend void PrintTo(const Case& each, std::ostream* out) { *out << each.name; }
};

/// The versions of a report as the storage service receives them, each a second after the former.
class ClassicForm : public ReportFixture, public testing::WithParamInterface<Case> {
public:
    ClassicForm() {
        station.store.answer = [this](const SentVersion& sent) {
            sent.dataSet->SaveToFile(station.Path("sent.dcm"));
            versions +=
                "version " + std::to_string(++count) + "\n" + DumpElements(ReadBytes(station.NativePath("sent.dcm")));
        };
    }

    void Write(std::string_view heading, std::string_view title, std::string_view reading) {
        document.SetTitle("99SS", "T1", heading, title);
        document.Reading(reading);
    }
    std::string versions;
    int count = 0;
    using ReportFixture::CreateReport;
    using ReportFixture::document;
    using ReportFixture::global;
    using ReportFixture::LoadReport;
    using ReportFixture::SendAndRead;
    using ReportFixture::station;
};

const std::vector<Case> Cases = {
    Case{"FirstSecondApproved",
         [](ClassicForm& report) {
             report.CreateReport();
             report.Write("Radiograph", "Chest", "Normal heart and lungs.");
             report.SendAndRead();
             report.document.Reading("Normal heart.\r\nSmall effusion on the left.");
             report.SendAndRead();
             report.global.userSignature = "Dr. Anna Bianchi";
             report.document.status(DcmSRDocument::Approved);
             report.SendAndRead();
         }},
    Case{"NewReportSentTwice",
         [](ClassicForm& report) {
             report.CreateReport();
             report.Write("Radiograph", "Chest", "First.");
             report.document.Send();
             ++report.station.clock.now.second;
             report.document.Reading("Second.");
             report.document.Send();
         }},
    Case{"ApprovedAtOnce",
         [](ClassicForm& report) {
             report.CreateReport();
             report.Write("Radiograph", "Chest", "Normal.");
             report.document.status(DcmSRDocument::Approved);
             report.document.Send();
         }},
    Case{"FreeHeading",
         [](ClassicForm& report) {
             report.CreateReport();
             report.document.SetTitle("", "", "Seen on the ward", "Chest");
             report.document.FreeHeading("Seen on the ward");
             report.document.Send();
         }},
    Case{"EmptyTexts",
         [](ClassicForm& report) {
             report.CreateReport();
             report.SendAndRead();
             report.document.Send();
         }},
    Case{"LatinOneCharacters",
         [](ClassicForm& report) {
             report.global.userSignature = "Dr. Jérôme Müller";
             report.global.organization = "Hôpital de Genève";
             report.CreateReport();
             report.Write("Röntgen", "Größe", "5 µm ± 1\r\nKein Erguß.");
             report.document.Send();
         }},
    Case{"CodedEntriesStayOut",
         [](ClassicForm& report) {
             report.CreateReport();
             report.Write("Radiograph", "Chest", "Normal.");
             report.document.SetBodyPart("99SS", "B1", "Chest");
             report.document.SetFinding(-1, "99SS", "F1", "Effusion", "small");
             report.document.SetDiagnosis(-1, "99SS", "D1", "Pneumonia", "");
             report.document.Send();
         }},
    Case{"ImageWithNothing",
         [](ClassicForm& report) {
             const auto images = report.station.dicom->NewDataSetList();
             images->AddDataSet(-1);
             images->SetElementString(0, attribute::StudyInstanceUid, "1.2.3");
             report.document.CreateFromDDO(*images, 0);
             report.document.Send();
         }},
    Case{"ImageWithMore",
         [](ClassicForm& report) {
             const auto images = report.station.ImageSeries();
             images->SetElementString(0, attribute::FormerStudyElement, "kept");
             images->SetElementString(0, attribute::PatientName, "ROSSI^MARIA=\u7F85\u897F=ROSSI");
             images->SetElementString(0, {{0x0020, 0x0010}, "SH"}, "S1");
             report.document.CreateFromDDO(*images, 0);
             report.document.Send();
         }},
    Case{"LoadedAndSavedOn",
         [](ClassicForm& report) {
             report.LoadReport({.observer = "Dr. Anna Bianchi", .versions = 2});
             report.Write("Radiograph", "Chest", "Changed.");
             report.SendAndRead();
             report.document.status(DcmSRDocument::Approved);
             report.SendAndRead();
         }},
};

/// What archives hold of these reports must come from every later program in the same way.
TEST_P(ClassicForm, IsWrittenAsItAlwaysWas) {
    GetParam().write(*this);

    const std::string name(GetParam().name);
    EXPECT_EQ(versions, ReadBytes(std::filesystem::path(GOLDEN_FOLDER) / (name + ".txt")));
}

INSTANTIATE_TEST_SUITE_P(, ClassicForm, testing::ValuesIn(Cases), testing::PrintToStringParamName());

} // namespace
} // namespace tavrel::test
