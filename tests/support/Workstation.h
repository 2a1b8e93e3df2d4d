#pragma once

#include "host/Global.h"
#include "platform/icu/IcuLetters.h"
#include "tests/support/FakeClock.h"
#include "tests/support/FakeProcess.h"
#include "tests/support/FakeServiceEvents.h"
#include "tests/support/FakeViewer.h"
#include "tests/support/FakeWindows.h"
#include "tests/support/ForwardingDatabase.h"
#include "tests/support/InlineBackground.h"
#include "tests/support/RecordingStore.h"
#include "tests/support/TemporaryFolder.h"

#include <filesystem>
#include <memory>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace tavrel::test {

/// A report as it lies in the catalogue and on the disk. Every field has a fitting default.
struct ReportSeed {
    std::string seriesUid = "1.2.3.2.1";
    std::string studyUid = "1.2.3";
    std::string seriesDir = "report1";
    std::string patientName = "ROSSI^MARIA";
    std::string title = "Chest radiograph";
    std::string reading = "Normal heart and lungs.";
    std::string observer = "Dr. Mario Rossi"; ///< who saved each version
    int versions = 1;      ///< files img_000001.dcm and on, saved on 14/11/2026 at 08:00:00, 08:01:00 ...
    bool approved = false; ///< the last version is complete and verified
};

/// A whole workstation in a folder of its own: a real SQLite catalogue, real DICOM files, and a fake
/// for the person, the clock, the process, the viewer and the storage service.
///
/// The catalogue holds one row each in `SiteData` ("1.2.999", "Orbenta General Hospital"),
/// `DicomServer` ("ORBENTA"), `Port` ("10404", "PORVANE") and `Users` ("mrossi", "Dr. Mario Rossi").
class Workstation {
public:
    enum State {
        Started,    ///< start-up has run
        NotStarted, ///< `global` is as the process finds it
    };
    explicit Workstation(State state = Started);
    Workstation(const Workstation&) = delete;
    Workstation& operator=(const Workstation&) = delete;

    /// Outside things for a second `Global` that has one fault in it.
    Ports PortsWith(Database& other);
    Ports PortsWith(DicomLibrary& other);
    Ports PortsWith(Files& other);

    /// A path below the workstation's folder, with the program's separator "\"; `below` may use either.
    std::string Path(std::string_view below = {}) const;
    /// The same for the system.
    std::filesystem::path NativePath(std::string_view below = {}) const;

    /// Runs statements beside the program, on a connection of their own.
    void Execute(std::string_view statement);
    /// Fields of every row of a table, null as empty text, in the order that the rows were made.
    std::vector<std::vector<std::string>> Rows(std::string_view table, const std::vector<std::string>& columns);

    /// Adds a row to a catalogue table. Texts may hold any character.
    using Fields = std::vector<std::pair<std::string, std::string>>;
    void Insert(std::string_view table, const Fields& fields);
    void SetSite(std::string_view baseUid, std::string_view organization);
    void AddUser(std::string_view userName, std::string_view signature);
    void SetPort(std::string_view port, std::string_view aeTitle);
    void AddPatient(std::string_view id, std::string_view name);
    void AddStudy(std::string_view studyUid, std::string_view patientId, std::string_view studyPath);
    void AddSeries(std::string_view seriesUid, std::string_view studyUid, std::string_view modality,
                   std::string_view seriesDir, int number = 1);
    void AddImage(std::string_view seriesUid, std::string_view imageFile);
    void AddCode(std::string_view table, std::string_view scheme, std::string_view value, std::string_view meaning);

    /// Patient "P1" "ROSSI^MARIA" with study "1.2.3" in `Path("study")` and the image series "1.2.3.1",
    /// number 1, in "images".
    void AddExampleStudy();
    /// Files the versions of a report of the example study and catalogues them as the storage service
    /// does. Answers the folder. The last file's version is the newest.
    std::string AddReport(const ReportSeed& seed = {});
    /// `count` images of the example study's series, as the viewer hands them over.
    std::shared_ptr<DataSetList> ImageSeries(int count = 1);

    TemporaryFolder folder; ///< first, so that all that lies in it is closed before it goes
    FakeClock clock;
    IcuLetters letters;
    FakeWindows windows;
    FakeProcess process;
    FakeUsers users;
    FakeViewerLink viewers;
    FakeServiceEvents serviceEvents;
    InlineBackground background;
    CutNetwork network;
    std::unique_ptr<Files> files;
    std::vector<std::string> connectionTexts; ///< what the program opened its connections with
    std::unique_ptr<Database> database;
    std::unique_ptr<DicomLibrary> dicom; ///< with `network`
    RecordingStore store;                ///< `dicom`, and what is sent is recorded; the program uses this one
    Global global;

private:
    std::unique_ptr<Connection> beside_;
};

} // namespace tavrel::test
