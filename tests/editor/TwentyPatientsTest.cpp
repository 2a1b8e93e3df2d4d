// One physician, one run of the program, twenty patients in any order: nothing of one may reach another.

#include "host/Text.h"
#include "platform/attributes.h"
#include "platform/paths.h"
#include "tests/editor/ReportingStation.h"

#include <gtest/gtest.h>

#include <map>
#include <random>
#include <regex>
#include <set>

namespace tavrel::test {
namespace {

constexpr int Patients = 20;
constexpr int Deeds = 300;

using Marks = std::set<std::string>;

/// Everything of a patient bears the patient's mark.
std::string MarkOf(int patient) {
    return "MARK" + std::to_string(100 + patient).substr(1);
}

Marks MarksIn(const std::string& text) {
    static const std::regex mark("MARK[0-9][0-9]");
    return {std::sregex_token_iterator(text.begin(), text.end(), mark), {}};
}

class Ward : public ReportingStation {
public:
    explicit Ward(unsigned seed) : random_(seed) {
        for (int patient = 0; patient < Patients; ++patient) {
            AddPatient(MarkOf(patient), MarkOf(patient) + "^ANY");
            AddStudy(StudyOf(patient), MarkOf(patient), Path(MarkOf(patient)));
            AddSeries(StudyOf(patient) + ".1", StudyOf(patient), "CT", "images");
        }
        store.answer = [this](const SentVersion& version) { Store(version); };
        automation.RemoveImagesFromSR();
    }

    /// One deed of anyone: the physician, the viewer, the storage service.
    void DoSomething() {
        windows.messages.clear();
        windows.answers = {Answer::Yes};
        windows.onModal = [this](Form&) { AnswerChooser(); };
        Pass(1);
        static const std::vector<void (Ward::*)()> deeds{
            &Ward::OpenImages, &Ward::OpenImages, &Ward::OpenReport, &Ward::FailToOpen, &Ward::Write,  &Ward::Write,
            &Ward::AddImage,   &Ward::AddImage,   &Ward::AddCodes,   &Ward::Save,       &Ward::Save,   &Ward::Approve,
            &Ward::Print,      &Ward::New,        &Ward::Others,     &Ward::GoBack,     &Ward::Deliver};
        (this->*deeds[Any(deeds.size())])();
    }

    void ExpectNothingMixed() {
        const auto shown = OnScreen();
        ASSERT_LE(shown.size(), 1U) << "on the screen";
        if (!shown.empty() && std::stoi(shown.begin()->substr(4)) % 2 == 0) {
            ASSERT_EQ(editor.txtPtAge.Text(), "....") << "this patient has no birth date";
        }
        std::string handed;
        for (const auto& image : viewers.images)
            handed += image + " ";
        ASSERT_LE(MarksIn(handed).size(), 1U) << handed;
        for (const auto& entry : std::filesystem::recursive_directory_iterator(folder.Path()))
            if (entry.path().extension() == ".dcm" || entry.path().filename() == "SR.dat")
                ExpectOne(entry.path());
        ExpectPrintTable();
    }

    std::size_t stored = 0, kept = 0, printed = 0;

private:
    static std::string StudyOf(int patient) { return "1.2.3." + std::to_string(100 + patient); }
    std::size_t Any(std::size_t count) { return random_() % count; }
    bool Chance(int percent) { return Any(100) < static_cast<std::size_t>(percent); }
    void Pass(int seconds) {
        second_ += seconds;
        clock.now = {2026,
                     11,
                     15,
                     static_cast<std::int8_t>(8 + second_ / 3600),
                     static_cast<std::int8_t>(second_ / 60 % 60),
                     static_cast<std::int8_t>(second_ % 60)};
    }

    Marks OnScreen() const {
        std::string all;
        for (const Control* control : editor.Controls()) {
            if (const auto* label = dynamic_cast<const Label*>(control))
                all += label->Text() + "\n";
            else if (const auto* box = dynamic_cast<const TextBox*>(control))
                all += box->Text() + "\n";
            else if (const auto* combo = dynamic_cast<const ComboBox*>(control))
                all += combo->Text() + "\n";
            else if (const auto* list = dynamic_cast<const ListView*>(control))
                for (const auto& row : list->Items())
                    all += row.text + row.tag + row.subItems[0] + row.subItems[1] + "\n";
        }
        return MarksIn(all);
    }
    std::string ShownMark() const {
        const auto marks = MarksIn(editor.txtPtName.Text());
        return marks.empty() ? "" : *marks.begin();
    }

    /// Whether a file names one patient, the one in whose folder it lies.
    void ExpectOne(const std::filesystem::path& file) {
        const auto marks = MarksIn(ReadBytes(file));
        ASSERT_LE(marks.size(), 1U) << file;
        const auto place = MarksIn(file.parent_path().string());
        if (!place.empty() && !marks.empty()) {
            ASSERT_EQ(marks, place) << file;
        }
    }
    void ExpectPrintTable() {
        for (const auto& row :
             Rows("Report", {"PatientName", "PatientID", "StudyDescription", "ReportTitle", "Reading"}))
            ASSERT_LE(MarksIn(row[0] + row[1] + row[2] + row[3] + row[4]).size(), 1U);
    }

    std::shared_ptr<DataSetList> ImagesOf(int patient) {
        auto images = ImageSeries(2);
        for (int index = 0; index < 2; ++index) {
            images->SetElementString(index, attribute::PatientName, MarkOf(patient) + "^ANY");
            images->SetElementString(index, attribute::PatientId, MarkOf(patient));
            images->SetElementString(index, attribute::StudyDescription, "Of " + MarkOf(patient));
            images->SetElementString(index, attribute::StudyInstanceUid, StudyOf(patient));
            images->SetElementString(index, attribute::SeriesInstanceUid, StudyOf(patient) + ".1");
            if (patient % 2 == 0)
                images->SetElementValue(index, attribute::PatientBirthDate, 0, "");
        }
        return images;
    }

    void AnswerChooser() {
        std::string rows;
        for (const auto& row : chooser.lstSRSeries.Items())
            rows += row.text;
        EXPECT_LE(MarksIn(rows).size(), 1U) << rows;
        if (Chance(40)) {
            chooser.lstSRSeries.Select(static_cast<int>(Any(static_cast<std::size_t>(chooser.lstSRSeries.Count()))));
            chooser.cmdOk.Press();
        } else if (Chance(30)) {
            chooser.cmdNew.Press();
        } else if (Chance(30)) {
            chooser.cmdCancel.Press(); // it sticks
        } else {
            chooser.FrameClosed();
        }
    }

    void OpenImages() { automation.LoadForImgSeries(ImagesOf(static_cast<int>(Any(Patients)))); }
    void OpenReport() {
        if (!series_.empty())
            automation.LoadSRSeries(std::next(series_.begin(), static_cast<long>(Any(series_.size())))->first);
    }
    void FailToOpen() {
        if (Chance(50))
            automation.LoadForImgSeries(ImageSeries(0));
        else
            automation.LoadSRSeries("9.9.9");
    }
    void Write() {
        if (!editor.cmdSave.Enabled())
            return;
        editor.txtReportTitle.Typed("Title " + ShownMark());
        editor.txtReportAnnotation.Typed("Reading of " + ShownMark() + ", " + std::to_string(second_));
    }
    void AddImage() {
        if (Chance(30))
            automation.RemoveImagesFromSR();
        automation.AddImageToSR("/" + ShownMark() + "/" + std::to_string(second_) + ".dcm", SomeView(), "");
    }
    void AddCodes() {
        editor.lstFinding.Add({ShownMark(), "99SS", {"Meaning", "Note"}});
        editor.lstDiagnosis.Add({"D" + ShownMark(), "99SS", {"Meaning", "Note"}});
        editor.cmbBodyPart.Typed(ShownMark());
    }
    void Save() {
        ExpectSentForTheShown([this] { editor.cmdSave.Press(); });
    }
    void Approve() {
        ExpectSentForTheShown([this] { editor.cmdApprove.Press(); });
    }
    void ExpectSentForTheShown(const std::function<void()>& act) {
        const auto mark = ShownMark();
        const auto before = store.sent.size();
        act();
        for (auto sent = before; sent < store.sent.size(); ++sent)
            EXPECT_EQ(MarksIn(TextOf(store.sent[sent].dataSet->GetValue(attribute::PatientName))), Marks{mark});
        EXPECT_EQ(ShownMark(), mark);
    }
    void Print() {
        if (ShownMark().empty())
            return;
        const auto before = printer.shown.size();
        editor.cmdPrint.Press();
        if (printer.shown.size() == before)
            return;
        ++printed;
        std::string page;
        for (const auto& [column, text] : printer.shown.back().rows.at(0))
            page += text + " ";
        EXPECT_EQ(MarksIn(page), Marks{ShownMark()});
    }
    void New() { editor.cmdNew.Press(); }
    void Others() { editor.cmdOthers.Press(); }
    void GoBack() {
        if (editor.lstHistory.ListCount() > 0)
            editor.lstHistory.ListIndex(static_cast<int>(Any(static_cast<std::size_t>(editor.lstHistory.ListCount()))));
    }
    /// The storage service tells of a report that waited: anyone's.
    void Deliver() {
        if (series_.empty())
            return;
        const auto& [uid, place] = *std::next(series_.begin(), static_cast<long>(Any(series_.size())));
        serviceEvents.RaiseStore(uid, place + "\\img_000001.dcm");
    }

    void Store(const SentVersion& version) {
        if (Chance(15)) {
            ++kept;
            throw Error(static_cast<int>(DicomFault::NotStored), "DICOM", "The service is down.");
        }
        const auto text = [&](const Attribute& attribute) { return TextOf(version.dataSet->GetValue(attribute)); };
        const auto seriesUid = text(attribute::SeriesInstanceUid), studyUid = text(attribute::StudyInstanceUid);
        if (!series_.contains(seriesUid)) {
            const auto dir = "report" + std::to_string(series_.size());
            series_[seriesUid] = Path(MarkOf(std::stoi(studyUid.substr(6)) - 100)) + "\\" + dir;
            std::filesystem::create_directories(tavrel::NativePath(series_[seriesUid]));
            AddSeries(seriesUid, studyUid, "SR", dir, 100);
        }
        const auto file = "img_" + std::to_string(1000001 + stored++).substr(1) + ".dcm";
        version.dataSet->SaveToFile(series_[seriesUid] + "\\" + file);
        Workstation::AddImage(seriesUid, file);
        serviceEvents.RaiseStore(seriesUid, series_[seriesUid] + "\\" + file);
    }

    std::mt19937 random_;
    int second_ = 0;
    std::map<std::string, std::string> series_; ///< of the reports, with their folders
};

class TwentyPatients : public testing::TestWithParam<unsigned> {};

TEST_P(TwentyPatients, InAnyOrderNeverMix) {
    Ward ward(GetParam());
    for (int deed = 0; deed < Deeds; ++deed) {
        ward.DoSomething();
        ASSERT_NO_FATAL_FAILURE(ward.ExpectNothingMixed()) << "after deed " << deed;
        ASSERT_FALSE(testing::Test::HasFailure()) << "at deed " << deed;
    }
    EXPECT_GT(ward.stored, 20U);
    EXPECT_GT(ward.kept, 0U);
    EXPECT_GT(ward.printed, 0U);
}

INSTANTIATE_TEST_SUITE_P(Days, TwentyPatients, testing::Values(1U, 2U, 3U));

} // namespace
} // namespace tavrel::test
