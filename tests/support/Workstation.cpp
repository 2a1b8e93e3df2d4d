#include "tests/support/Workstation.h"

#include "host/Startup.h"
#include "platform/attributes.h"
#include "platform/dcmtk/DcmtkLibrary.h"
#include "platform/odbc/OdbcDatabase.h"
#include "platform/paths.h"
#include "platform/posix/PosixFiles.h"
#include "platform/sql.h"
#include "sr/DcmSRDocument.h"
#include "suite/catalogue/OdbcEntry.h"
#include "suite/catalogue/Rows.h"
#include "suite/catalogue/Schema.h"

#include <functional>
#include <stdexcept>

namespace tavrel::test {

namespace {

/// Opens the workstation's own catalogue, whatever entry is asked for, and notes what was asked.
class OwnCatalogue : public Database {
public:
    OwnCatalogue(std::filesystem::path file, std::vector<std::string>& asked) : file_(std::move(file)), asked_(asked) {}

    std::unique_ptr<Connection> NewConnection() override {
        class OwnConnection : public ForwardingConnection {
        public:
            OwnConnection(OwnCatalogue& owner, std::unique_ptr<Connection> target)
                : ForwardingConnection(std::move(target)), owner_(owner) {}
            void Open(std::string_view connectionText, std::string_view user, std::string_view password) override {
                owner_.asked_.emplace_back(connectionText);
                // The first of two settings counts: no test outlasts the machine, and waiting for the disk takes long.
                ForwardingConnection::Open("SyncPragma=OFF;" + ConnectionText(SqliteEntry({}, owner_.file_)), user,
                                           password);
            }

        private:
            OwnCatalogue& owner_;
        };
        return std::make_unique<OwnConnection>(*this, odbc_.NewConnection());
    }

private:
    OdbcDatabase odbc_;
    std::filesystem::path file_;
    std::vector<std::string>& asked_;
};

} // namespace

Workstation::Workstation(State state)
    : files(std::make_unique<PosixFiles>()),
      database(std::make_unique<OwnCatalogue>(folder.Path() / "catalogue.db", connectionTexts)),
      dicom(std::make_unique<DcmtkLibrary>(network, serviceEvents)), store(*dicom), global(PortsWith(*database)),
      beside_(database->NewConnection()) {
    beside_->Open({}, {}, {});
    CreateSchema(*beside_, Engine::Sqlite);
    Insert("SiteData", {{"BaseUID", "1.2.999"}, {"Organization", "Orbenta General Hospital"}});
    Insert("DicomServer", {{"AETitle", "ORBENTA"}});
    Insert("Port", {{"Port", "10404"}, {"AETitle", "PORVANE"}});
    AddUser("mrossi", "Dr. Mario Rossi");
    connectionTexts.clear();
    process.applicationFolder = Path();
    process.stateFolder = Path("state");
    if (state == Started)
        Init(global);
}

Ports Workstation::PortsWith(Database& other) {
    return {store, other, windows, *files, process, std::ref(users), clock, letters};
}

Ports Workstation::PortsWith(DicomLibrary& other) {
    return {other, *database, windows, *files, process, std::ref(users), clock, letters};
}

Ports Workstation::PortsWith(Files& other) {
    return {store, *database, windows, other, process, std::ref(users), clock, letters};
}

std::string Workstation::Path(std::string_view below) const {
    return InsidePath(NativePath(below));
}

std::filesystem::path Workstation::NativePath(std::string_view below) const {
    return below.empty() ? folder.Path() : folder.Path() / tavrel::NativePath(std::string(below));
}

void Workstation::Execute(std::string_view statement) {
    beside_->OpenResultSet(statement);
}

std::vector<std::vector<std::string>> Workstation::Rows(std::string_view table,
                                                        const std::vector<std::string>& columns) {
    std::vector<std::vector<std::string>> rows;
    for (const auto found = beside_->OpenResultSet("SELECT * FROM " + std::string(table) + " ORDER BY rowid");
         !found->AtEnd(); found->MoveNext()) {
        std::vector<std::string>& row = rows.emplace_back();
        for (const std::string& column : columns)
            row.emplace_back(found->Field(column).value_or(""));
    }
    return rows;
}

void Workstation::Insert(std::string_view table, const Fields& fields) {
    InsertRow(*beside_, table, fields);
}

void Workstation::SetSite(std::string_view baseUid, std::string_view organization) {
    Execute("UPDATE SiteData SET BaseUID = " + Quoted(baseUid) + ", Organization = " + Quoted(organization));
}

void Workstation::AddUser(std::string_view userName, std::string_view signature) {
    Insert("Users", {{"UserName", std::string(userName)}, {"Signature", std::string(signature)}});
}

void Workstation::SetPort(std::string_view port, std::string_view aeTitle) {
    Execute("UPDATE Port SET Port = " + Quoted(port) + ", AETitle = " + Quoted(aeTitle));
}

void Workstation::AddPatient(std::string_view id, std::string_view name) {
    Insert("Patient", {{"ID", std::string(id)}, {"PatientName", std::string(name)}});
}

void Workstation::AddStudy(std::string_view studyUid, std::string_view patientId, std::string_view studyPath) {
    Insert("Study", {{"StudyInstanceUID", std::string(studyUid)},
                     {"IDPatient", std::string(patientId)},
                     {"StudyPath", std::string(studyPath)}});
}

void Workstation::AddSeries(std::string_view seriesUid, std::string_view studyUid, std::string_view modality,
                            std::string_view seriesDir, int number) {
    Insert("Series", {{"SeriesInstanceUID", std::string(seriesUid)},
                      {"StudyInstanceUID", std::string(studyUid)},
                      {"Modality", std::string(modality)},
                      {"SeriesDir", std::string(seriesDir)},
                      {"SeriesNumber", std::to_string(number)}});
}

void Workstation::AddImage(std::string_view seriesUid, std::string_view imageFile) {
    Insert("Image", {{"SeriesInstanceUID", std::string(seriesUid)}, {"ImageFile", std::string(imageFile)}});
}

void Workstation::AddCode(std::string_view table, std::string_view scheme, std::string_view value,
                          std::string_view meaning) {
    Insert(table, {{"CodeScheme", std::string(scheme)},
                   {"CodeValue", std::string(value)},
                   {"CodeMeaning", std::string(meaning)}});
}

void Workstation::AddExampleStudy() {
    AddPatient("P1", "ROSSI^MARIA");
    AddStudy("1.2.3", "P1", Path("study"));
    AddSeries("1.2.3.1", "1.2.3", "CT", "images");
}

std::shared_ptr<DataSetList> Workstation::ImageSeries(int count) {
    auto images = dicom->NewDataSetList();
    for (int index = 0; index < count; ++index) {
        images->AddDataSet(-1);
        const auto set = [&](const Attribute& attribute, const Value& value) {
            images->SetElementValue(index, attribute, 0, value);
        };
        set(attribute::StudyDate, DateTime{2026, 11, 14});
        set(attribute::StudyTime, DateTime{.hour = 7, .minute = 30});
        set(attribute::AccessionNumber, "A1");
        set(attribute::Modality, "CT");
        set(attribute::ReferringPhysicianName, "BIANCHI^ANNA");
        set(attribute::StudyDescription, "Chest");
        set(attribute::PatientName, "ROSSI^MARIA");
        set(attribute::PatientId, "P1");
        set(attribute::PatientBirthDate, DateTime{1960, 5, 20});
        set(attribute::PatientSex, "F");
        set(attribute::StudyInstanceUid, "1.2.3");
        set(attribute::SeriesInstanceUid, "1.2.3.1");
        set(attribute::SopInstanceUid, "1.2.3.1." + std::to_string(index + 1));
    }
    return images;
}

std::string Workstation::AddReport(const ReportSeed& seed) {
    AddSeries(seed.seriesUid, seed.studyUid, "SR", seed.seriesDir, 100);
    const std::string below = "study\\" + seed.seriesDir;
    std::filesystem::create_directories(NativePath(below));

    FakeClock past;
    FakeWindows screen;
    RecordingStore service(*dicom);
    std::string file;
    service.answer = [&](const SentVersion& sent) { sent.dataSet->SaveToFile(Path(below) + "\\" + file); };
    Global writer(Ports{service, *database, screen, *files, process, std::ref(users), past, letters});
    writer.catalogue = database->NewConnection();
    writer.catalogue->Open({}, {}, {});
    writer.baseUid = "1.2.999";
    writer.organization = "Orbenta General Hospital";
    writer.userSignature = seed.observer;

    const auto images = ImageSeries();
    images->SetElementString(0, attribute::PatientName, seed.patientName);
    images->SetElementString(0, attribute::StudyInstanceUid, seed.studyUid);
    DcmSRDocument document(writer);
    document.CreateFromDDO(*images, 0);
    document.Series()->SetElementString(0, attribute::SeriesInstanceUid, seed.seriesUid);
    document.SetTitle("99SS", "T1", "Heading", seed.title);
    document.Reading(seed.reading);
    for (int version = 0; version < seed.versions; ++version) {
        past.now = {2026, 11, 14, 8, static_cast<std::int8_t>(version), 0};
        file = "img_" + std::to_string(1000001 + version).substr(1) + ".dcm";
        if (seed.approved && version == seed.versions - 1)
            document.status(DcmSRDocument::Approved);
        document.Send();
        AddImage(seed.seriesUid, file);
        document.GotoVersion(static_cast<std::int16_t>(version)); // read again, the next save appends a version
    }
    if (!screen.messages.empty())
        throw std::runtime_error("The report could not be made: " + screen.messages.front().text);
    return Path(below);
}

} // namespace tavrel::test
