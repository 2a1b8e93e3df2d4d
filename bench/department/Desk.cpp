// One desk of a department, without a screen: the report editor's core on its real adapters, at work beside a storage
// service of its own, whose session bus and catalogue entry it finds in its environment (bench/department/workstation).
//
// A visit to a patient has 19 steps: an opening, then twelve released keys in the search box of the codes and six
// saves, two keys before each save. Every second visit is to the patient before, whose report is opened by its series,
// and is approved and printed right after the last save. The first two visits, which load what is loaded once, and some
// steps of the third, another number at each desk, are made at the start. Then the desk says "ready" and reads how to
// work:
//
//     SECONDS SECONDS_A_VISIT PHASE
//
// For so long it takes its steps, evenly spread over the time of a visit, or one right after the other where that is 0;
// the first one comes later by that share (0 to 1) of a step. Then it is "ready" again, until there is nothing more to
// read.
//
// FOLDER/actions has a line for each action, with tabs between: the moment it began (monotonic clock), what, how long
// it took and how late it began (milliseconds), then in the program's own words what was told in messages and what the
// editor's band said; of a save the UIDs of version, series and study and the reading that was saved.

#include "bench/report/Program.h"
#include "codes/frmBase.h"
#include "editor/frmReport.h"
#include "host/automation/CTavrel.h"
#include "host/chooser/frmSRSeriesChoice.h"
#include "platform/attributes.h"
#include "platform/dbus/DbusServiceEvents.h"
#include "platform/dcmtk/DcmtkLibrary.h"
#include "platform/error.h"
#include "platform/icu/IcuLetters.h"
#include "platform/odbc/OdbcDatabase.h"
#include "platform/odbc/OdbcReportWatch.h"
#include "platform/paths.h"
#include "platform/posix/PosixFiles.h"
#include "sr/DcmSRDocument.h"
#include "tests/support/FakeProcess.h"
#include "tests/support/FakeReportPrinter.h"
#include "tests/support/FakeServiceEvents.h"
#include "tests/support/FakeTimer.h"
#include "tests/support/FakeViewer.h"
#include "tests/support/FakeWindows.h"
#include "tests/support/InlineBackground.h"

#include <QCoreApplication>
#include <QEventLoop>
#include <QTimer>

#include <array>
#include <chrono>
#include <ctime>
#include <fstream>
#include <functional>
#include <iomanip>
#include <iostream>
#include <optional>
#include <stdexcept>

namespace tavrel {
namespace {

using Moment = std::chrono::steady_clock::time_point;
using Seconds = std::chrono::duration<double>;

constexpr Seconds VisitOfADay{180};
constexpr int SavesAVisit = 6;
constexpr int StepsASave = 3; ///< the last of them
constexpr int StepsAVisit = 1 + SavesAVisit * StepsASave;

/// Tells the time of the day that is pressed together, in which a visit takes three minutes.
class DaysClock final : public Clock {
public:
    void Pass(Seconds seconds) { now_ += seconds; }
    DateTime Now() const override {
        const std::time_t time = start_ + static_cast<std::time_t>(now_.count());
        std::tm parts{};
        localtime_r(&time, &parts);
        const auto small = [](int part) { return static_cast<std::int8_t>(part); };
        return {static_cast<std::int16_t>(parts.tm_year + 1900),
                small(parts.tm_mon + 1),
                small(parts.tm_mday),
                small(parts.tm_hour),
                small(parts.tm_min),
                small(parts.tm_sec)};
    }

private:
    std::time_t start_ = std::time(nullptr);
    Seconds now_{0};
};

/// When the physician takes each step.
class Pace {
public:
    void Begin(Seconds aVisit, double phase) {
        aStep_ = aVisit / StepsAVisit;
        next_ = Clock::now() + Whole(aStep_ * phase);
    }
    /// Waits for the next step's moment. Answers how late it is.
    Seconds Await() {
        if (aStep_.count() == 0) {
            QCoreApplication::processEvents();
            return {};
        }
        const auto moment = next_;
        next_ += Whole(aStep_);
        const auto late = Clock::now() - moment;
        if (late < Clock::duration::zero())
            Rest(-late);
        return std::max<Seconds>(late, Seconds{});
    }
    /// Meanwhile the program is told of what happens.
    static void Rest(Seconds seconds) {
        QEventLoop meanwhile;
        QTimer::singleShot(std::chrono::ceil<std::chrono::milliseconds>(seconds), &meanwhile, &QEventLoop::quit);
        meanwhile.exec();
    }
    static Moment Until(Seconds seconds) { return Clock::now() + Whole(seconds); }

private:
    using Clock = std::chrono::steady_clock;
    static Clock::duration Whole(Seconds seconds) { return std::chrono::duration_cast<Clock::duration>(seconds); }

    Seconds aStep_{0};
    Moment next_;
};

/// The editor as the program builds it, with nobody but the physician below at its windows.
struct Editor {
    Editor(const std::string& user, const std::string& folder) : dicom(background, serviceEvents) {
        users.userName = user;
        process.applicationFolder = InsidePath(folder);
        process.stateFolder = InsidePath(folder + "/state");
    }

    test::InlineBackground background;
    DbusServiceEvents serviceEvents{QDBusConnection::sessionBus()};
    DcmtkLibrary dicom;
    OdbcDatabase database;
    PosixFiles files;
    DaysClock clock;
    IcuLetters letters;
    test::FakeWindows windows;
    test::FakeProcess process;
    test::FakeUsers users;
    test::FakeViewerLink viewers;
    test::FakeReportPrinter printer;
    OdbcReportWatch watch{std::string(CatalogueConnectionText), [](std::function<void()> act) {
                              QMetaObject::invokeMethod(qApp, std::move(act), Qt::QueuedConnection);
                          }};
    test::FakeTimer draftTimer;
    Global global{{dicom, database, windows, files, process, std::ref(users), clock, letters}};
    frmBase codeTables{global};
    frmSRSeriesChoice chooser{global, [this] { editor.cmdNew_Click(); }};
    frmReport editor{global, serviceEvents, chooser, codeTables, printer, draftTimer, watch};
    CTavrel automation{global, viewers, chooser, editor};
};

/// The modality that sends a study's image, and the viewer that finds its file.
class Images {
public:
    explicit Images(Database& database) : catalogue_(database.NewConnection()) {}

    struct Study {
        std::string uid, patientId, patientName;
    };
    void Send(const Study& study) {
        if (!catalogue_->IsOpen())
            catalogue_->Open(CatalogueConnectionText);
        const auto service = catalogue_->OpenResultSet("SELECT * FROM Port");
        const auto image = dicom_.NewDataSet();
        const auto set = [&](const Attribute& attribute, const std::string& text) {
            image->SetValue(attribute, 0, text);
        };
        set(attribute::SopClassUid, "1.2.840.10008.5.1.4.1.1.2");
        set(attribute::SopInstanceUid, study.uid + ".1.1");
        set(attribute::StudyInstanceUid, study.uid);
        set(attribute::SeriesInstanceUid, study.uid + ".1");
        set(attribute::Modality, "CT");
        set(attribute::PatientId, study.patientId);
        set(attribute::PatientName, study.patientName);
        set(attribute::PatientSex, "F");
        set(attribute::StudyDescription, "CT of the chest");
        set(attribute::ReferringPhysicianName, "BIANCHI^ANNA");
        image->SetValue(attribute::PatientBirthDate, 0, DateTime{1960, 5, 20});
        image->SetValue(attribute::StudyDate, 0, DateTime{2026, 11, 14});
        image->StoreToNode("localhost", service->Text("Port"), "MODALITY", service->Text("AETitle"), true);
    }

    std::vector<std::string> FilesOf(const Study& study) {
        const auto rows = catalogue_->OpenResultSet(
            "SELECT StudyPath, SeriesDir, ImageFile FROM Image, Series, Study"
            " WHERE Image.SeriesInstanceUID=Series.SeriesInstanceUID AND Modality='CT'"
            " AND Series.StudyInstanceUID=Study.StudyInstanceUID AND Study.StudyInstanceUID='" +
            study.uid + "'");
        std::vector<std::string> files;
        for (; !rows->AtEnd(); rows->MoveNext())
            files.push_back(rows->Text("StudyPath") + "\\" + rows->Text("SeriesDir") + "\\" + rows->Text("ImageFile"));
        return files;
    }

private:
    std::unique_ptr<Connection> catalogue_;
    test::InlineBackground background_;
    test::FakeServiceEvents nobody_;
    DcmtkLibrary dicom_{background_, nobody_};
};

class Physician {
    static constexpr Seconds OnTime{0}; ///< of what follows another action at once

public:
    Physician(const std::string& number, const std::string& folder)
        : number_(number), editor_("desk" + number, folder), images_(editor_.database), actions_(folder + "/actions") {
        constexpr int decimals = 3;
        actions_ << std::fixed << std::setprecision(decimals);
        editor_.windows.onModal = [this](Form&) { LookForCode(); };
        if (editor_.process.failed > 0)
            throw std::runtime_error(editor_.windows.messages.front().text);
    }

    void WorkFor(Seconds seconds, Seconds aVisit, double phase) {
        pace_.Begin(aVisit, phase);
        for (const Moment end = Pace::Until(seconds); std::chrono::steady_clock::now() < end;)
            Step();
    }

    void Step() {
        if (step_ == 0) {
            again_ = !series_.empty() && ++visitsOfPatient_ == 2;
            if (!(again_ ? OpenAgain() : OpenNew()))
                return;
        } else if (step_ % StepsASave != 0) {
            editor_.editor.cmdFnAdd.Press();
        } else {
            Save();
        }
        step_ = (step_ + 1) % StepsAVisit;
        if (step_ == 0 && again_) {
            Approve();
            Print();
        }
    }

private:
    /// Does something at its moment and writes down how it went. `work` answers what is wrong with the outcome.
    bool Act(const char* what, const std::function<std::string()>& work) { return Act(what, pace_.Await(), work); }
    bool Act(const char* what, Seconds late, const std::function<std::string()>& work) {
        editor_.clock.Pass(VisitOfADay / StepsAVisit); // two versions of one second would have one name
        auto& messages = editor_.windows.messages;
        messages.clear();
        const Moment begin = std::chrono::steady_clock::now();
        std::string wrong = Outcome(work);
        const Seconds taken = std::chrono::steady_clock::now() - begin;
        for (const MessageBox& message : messages)
            if (message.buttons != Buttons::YesNo)
                wrong += (wrong.empty() ? "" : " / ") + message.text;
        constexpr int milliseconds = 1000;
        actions_ << Seconds(begin.time_since_epoch()).count() << '\t' << what << '\t' << taken.count() * milliseconds
                 << '\t' << late.count() * milliseconds << '\t' << OneLine(wrong) << '\t'
                 << OneLine(editor_.editor.lblState.Text());
        for (const std::string& field : std::exchange(saved_, {}))
            actions_ << '\t' << field;
        actions_ << std::endl; // an action that the desk does not outlive is known up to here
        constexpr Seconds toRead{0.2};
        if (!wrong.empty())
            Pace::Rest(toRead);
        return wrong.empty();
    }
    static std::string Outcome(const std::function<std::string()>& work) try {
        return work();
    } catch (const Error& error) {
        return error.description;
    }
    static std::string OneLine(std::string text) {
        for (char& character : text)
            if (character == '\t' || character == '\r' || character == '\n')
                character = ' ';
        return text;
    }

    bool OpenNew() {
        ++patients_;
        visitsOfPatient_ = 1;
        const std::string patient = std::to_string(patients_);
        study_ = {"2.999.7." + number_ + "." + patient, "D" + number_ + "P" + patient,
                  "DESK" + number_ + "^PATIENT" + patient};
        reading_ = "";
        series_.clear();
        std::vector<std::string> files;
        if (!Act("receive", OnTime, [&] {
                images_.Send(study_);
                files = images_.FilesOf(study_);
                return files.size() == 1 ? std::string() : std::to_string(files.size()) + " images";
            }))
            return false;
        return Act("open", [&] {
            editor_.automation.LoadForImgSeries(files);
            return WrongOnScreen();
        });
    }

    bool OpenAgain() {
        return Act("reopen", [&] {
            editor_.automation.LoadSRSeries(series_);
            return WrongOnScreen();
        });
    }

    /// Whether another's is on the screen, or an older one.
    std::string WrongOnScreen() {
        if (editor_.editor.ShownStudyUid() != study_.uid || editor_.editor.txtPtPatientID.Text() != study_.patientId)
            return "on the screen is " + editor_.editor.txtPtName.Text();
        return !reading_ || Reading() == *reading_ ? std::string() : "the reading is \"" + Reading() + "\"";
    }
    const std::string& Reading() const { return editor_.editor.txtReportAnnotation.Text(); }

    /// In the window of the codes: releases a key, and before a save chooses one of the codes found.
    void LookForCode() {
        constexpr std::array<const char*, 4> typed = {"no", "nod", "ef", "eff"};
        auto& manager = editor_.codeTables;
        const auto search = static_cast<std::size_t>(++searches_);
        Act("search", [&] {
            manager.txtFind.Typed(typed.at(search % typed.size()));
            manager.txtFind_KeyUp();
            return manager.lstTable.Count() > 0 ? std::string() : "no code was found";
        });
        if (step_ % StepsASave == StepsASave - 1 && manager.lstTable.Count() > 0) {
            manager.lstTable.Select(searches_ % manager.lstTable.Count());
            manager.cmdAdd.Press();
        }
        manager.cmdClose.Press();
    }

    void Save() {
        constexpr std::string_view findings =
            " The lungs are clear. No effusion, no pneumothorax. Heart and mediastinum are of normal size.";
        constexpr int sentences = 4;
        auto& editor = editor_.editor;
        std::string reading = "Desk " + number_ + ", save " + std::to_string(++saves_) + ".";
        for (int sentence = 0; sentence < sentences; ++sentence)
            reading += findings;
        editor.cmbReportTitle.TypeIn(editor.cmbReportTitle.Item(0));
        editor.txtReportTitle.TypeIn("CT of the chest");
        editor.txtReportAnnotation.TypeIn(reading);
        Act("save", [&] {
            editor.cmdSave.Press();
            return Saved(reading);
        });
    }

    void Approve() {
        editor_.windows.answers.assign({Answer::Yes});
        Act("approve", OnTime, [&] {
            editor_.editor.cmdApprove.Press();
            return Saved(Reading());
        });
    }

    std::string Saved(const std::string& reading) {
        const auto& versions = *editor_.global.report->document->Series();
        const auto last = [&](const Attribute& attribute) {
            return versions.Count() > 0 ? versions.GetElementString(versions.Count() - 1, attribute) : std::string();
        };
        reading_.reset();
        if (editor_.windows.messages.empty() || editor_.windows.messages.back().buttons == Buttons::YesNo)
            reading_ = reading;
        series_ = last(attribute::SeriesInstanceUid);
        saved_ = {last(attribute::SopInstanceUid), series_, study_.uid, reading};
        return {};
    }

    void Print() {
        editor_.printer.shown.clear();
        Act("print", OnTime, [&]() -> std::string {
            editor_.editor.cmdPrint.Press();
            if (editor_.printer.shown.size() != 1 || editor_.printer.shown.front().rows.size() != 1)
                return "no page was shown";
            auto& row = editor_.printer.shown.front().rows.front();
            return row["PATIENTID"] == study_.patientId && row["READING"] == reading_ ? std::string()
                                                                                      : "the page is another's";
        });
    }

    std::string number_;
    Editor editor_;
    Images images_;
    Pace pace_;
    std::ofstream actions_;
    Images::Study study_;
    std::string series_;
    std::optional<std::string> reading_; ///< of the report as last stored; none when nobody was told what is
    std::vector<std::string> saved_;
    int step_ = 0, visitsOfPatient_ = 0, patients_ = 0, saves_ = 0, searches_ = 0;
    bool again_ = false; ///< the visit is the patient's second
};

void Work(Physician& physician, int number) {
    constexpr int apart = 7; // so that the steps of a few desks differ, too
    for (int step = 0; step < 2 * StepsAVisit + number * apart % StepsAVisit; ++step)
        physician.Step();
    std::cout << "ready" << std::endl;
    for (double seconds = 0, aVisit = 0, phase = 0; std::cin >> seconds >> aVisit >> phase;) {
        physician.WorkFor(Seconds(seconds), Seconds(aVisit), phase);
        std::cout << "ready" << std::endl;
    }
}

} // namespace
} // namespace tavrel

int main(int argc, char** argv) {
    const QCoreApplication application(argc, argv); // the session bus needs one
    return tavrel::RunProgram(argc, argv, "bench_desk NUMBER FOLDER", [](tavrel::Arguments arguments) {
        tavrel::Physician physician(arguments[0], arguments[1]);
        tavrel::Work(physician, std::stoi(arguments[0]));
    });
}
