#include "suite/catalogue/InstallationCheck.h"

#include "platform/attributes.h"
#include "platform/code_tables.h"
#include "platform/error.h"
#include "platform/limits.h"
#include "platform/paths.h"
#include "platform/person_name.h"
#include "platform/sql.h"
#include "platform/uid.h"
#include "suite/catalogue/DepartmentCheck.h"
#include "suite/catalogue/EditorPlace.h"
#include "suite/catalogue/FolderImport.h"
#include "suite/catalogue/Schema.h"
#include "suite/catalogue/SchemaFaults.h"
#include "suite/catalogue/SchemaParts.h"
#include "suite/catalogue/Settings.h"
#include "suite/catalogue/StoredObjects.h"
#include "suite/catalogue/TextRules.h"
#include "suite/catalogue/UnsentFiles.h"
#include "suite/porvane/forwarding/ArchiveSetting.h"
#include "suite/porvane/forwarding/OutgoingQueue.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <chrono>
#include <ctime>
#include <filesystem>
#include <iterator>
#include <optional>
#include <system_error>
#include <thread>

namespace tavrel {
namespace {

constexpr std::string_view ByOwner = " (by the owner of the tables)";

/// The unsent versions of a study.
struct Waiting {
    std::string owner;     ///< patient and study in words
    bool approved = false; ///< their report is, which takes no further version
    int versions = 0;
    std::int64_t since = 0; ///< when the first was kept, in nanoseconds of the system's clock
};

/// Of another program's file there may be anything in it; a terminal shall not obey it.
std::string OnOneLine(std::string text) {
    std::ranges::replace_if(
        text, [](unsigned char c) { return c < ' ' || c == 0x7F; }, ' ');
    return text;
}

std::string OwnerOf(const UnsentHeader& version) {
    if (version.studyUid.empty())
        return "that cannot be read";
    return OnOneLine("of patient " + WrittenName(version.patientName) + " (" + version.patientId + "), study " +
                     version.studyUid);
}

std::string LocalTime(std::int64_t nanoseconds) {
    const std::time_t seconds = nanoseconds / 1'000'000'000;
    std::tm local{};
    localtime_r(&seconds, &local);
    std::array<char, 32> text{};
    return {text.data(), std::strftime(text.data(), text.size(), "%d/%m/%Y %H:%M:%S", &local)};
}

std::string Duration(std::chrono::seconds time) {
    constexpr std::chrono::hours twoDays{48};
    constexpr std::chrono::minutes twoHours{120};
    constexpr std::chrono::seconds twoMinutes{120};
    if (time >= twoDays)
        return std::to_string(std::chrono::duration_cast<std::chrono::hours>(time).count() / 24) + " days";
    if (time >= twoHours)
        return std::to_string(std::chrono::duration_cast<std::chrono::hours>(time).count()) + " hours";
    if (time >= twoMinutes)
        return std::to_string(std::chrono::duration_cast<std::chrono::minutes>(time).count()) + " minutes";
    return std::to_string(time.count()) + " seconds";
}

class Check {
public:
    Check(Connection& catalogue, DicomLibrary& dicom, std::filesystem::path studies, bool mending)
        : catalogue_(catalogue), dicom_(dicom), studies_(std::move(studies)), mending_(mending),
          engine_(DetectEngine(catalogue)) {}

    std::vector<CheckResult> Run(const ReportingAccount& account) {
        if (Schema()) {
            const bool here = LookAtDepartment(); // or the owner asks, who has no desk
            Form();
            Site();
            if (here) {
                Node();
                Signature(account.name);
            }
            Codes();
            Apostrophes();
            Objects();
            if (!here)
                return std::move(results_);
            Service(account.serviceComesWithin);
            Archive();
        }
        Unsent(account.unsent);
        Log(account);
        return std::move(results_);
    }

private:
    void Well(const std::string& words) { results_.push_back({CheckResult::Kind::Well, words}); }
    void Warn(const std::string& words) { results_.push_back({CheckResult::Kind::Warning, words}); }
    void Missing(const std::string& words) { results_.push_back({CheckResult::Kind::Missing, words}); }

    /// Whether the rest can be looked at.
    bool Schema() {
        const SchemaComparison schema = CompareWithSchema(catalogue_, engine_);
        if (schema.nothingThere) {
            Missing("there is no catalogue yet; \"orbenta-catalogue init\" makes it");
            return false;
        }
        const CatalogueVersion version = schema.Version();
        if (!version.LetsWrite()) {
            Missing(version.Words() + ", too old to write there; install the programs of the catalogue's version");
            return false;
        }
        const auto damage = version.number == 0 ? schema.faults : schema.Damage();
        bool whole = true;
        for (const SchemaFault& fault : damage)
            if (!Mend(fault, version))
                whole =
                    whole && (fault.kind == SchemaFault::Kind::NoIndex || fault.kind == SchemaFault::Kind::ShortType);
        if (version.IsNewer())
            Warn(version.Words() + " and goes on; install the programs of the catalogue's version when you can");
        else if (version.number > 0 && version.IsOlder())
            Warn(version.Words() + "; all goes on as before, and \"orbenta-catalogue upgrade\" brings what came later");
        else if (damage.empty())
            Well("the catalogue has version " + std::to_string(version.number) +
                 ", with all its tables, columns and indexes");
        return whole;
    }

    bool Mend(const SchemaFault& fault, const CatalogueVersion& version) {
        const std::string byOwner = engine_ == Engine::Sqlite ? "" : std::string(ByOwner);
        if (fault.statements.empty()) {
            Missing(fault.words + ", which no statement makes again; put the catalogue back from a backup");
            return false;
        }
        if (!mending_ || version.number == 0) {
            const char* command = version.number == 0 ? "upgrade" : "check --mend";
            Missing(fault.words + "; \"orbenta-catalogue " + command + "\" mends it" + byOwner);
            return false;
        }
        try {
            for (const std::string& statement : fault.statements)
                catalogue_.OpenResultSet(statement);
        } catch (const Error& error) {
            Missing(fault.words + "; it cannot be mended: " + error.description + byOwner);
            return false;
        }
        results_.push_back({CheckResult::Kind::Mended, fault.words});
        return true;
    }

    /// Whether this is a workstation, as it is wherever there is no department.
    bool LookAtDepartment() {
        Department department(catalogue_);
        if (!department.Exists()) {
            MayChange(); // of a department each account has rights of its own
            return true;
        }
        DepartmentCheck check(catalogue_, department);
        const auto workstation = check.Here();
        auto found = workstation ? check.OfWorkstation(*workstation) : check.OfAll(mending_);
        std::ranges::move(found, std::back_inserter(results_));
        treeFault_ = check.TreeFault();
        if (treeFault_)
            results_.push_back({workstation ? CheckResult::Kind::Missing : CheckResult::Kind::Warning,
                                *treeFault_ + ", so that rows and files are not compared"});
        byOwner_ = ByOwner;
        return workstation.has_value();
    }

    /// Tried with changes of no row, which any engine refuses who may not make others: by its file or by its role.
    void MayChange() {
        const int version = ReadCatalogueVersion(catalogue_).value_or(CatalogueVersion{1, OldestWriter}).number;
        auto tables = schema::Tables();
        std::erase_if(tables, [&](const schema::Table& table) { return table.since > version; });
        std::vector<std::string> lacking;
        std::string why;
        for (const std::string right : {"INSERT", "UPDATE", "DELETE"}) {
            const std::string on = right + " on ";
            std::vector<std::string> refused;
            for (const auto& [table, columns, since] : tables)
                if (const auto words = WhyRefused(right, table, std::string(columns.front().name))) {
                    refused.push_back(on + table);
                    why = *words;
                }
            if (refused.size() == tables.size())
                refused = {on + "every table"};
            std::ranges::move(refused, std::back_inserter(lacking));
        }
        if (lacking.empty())
            Well("this account may change what is in the catalogue");
        else if (engine_ == Engine::Sqlite)
            Missing(why);
        else
            Missing("this account's role on the server lacks " + Listed(lacking) + " (" + why +
                    "); the server's administrator grants it");
    }

    std::optional<std::string> WhyRefused(const std::string& right, const std::string& table,
                                          const std::string& column) try {
        const std::string change =
            right == "INSERT"   ? "INSERT INTO " + table + " (" + column + ") SELECT " + column + " FROM " + table
            : right == "UPDATE" ? "UPDATE " + table + " SET " + column + "=" + column
                                : "DELETE FROM " + table;
        catalogue_.OpenResultSet(change + " WHERE 1=0");
        return std::nullopt;
    } catch (const Error& error) {
        return error.description;
    }

    void OneRow(OneRowTable& table, const char* name, const char* remedy) {
        if (const int rows = table.Rows(); rows != 1)
            Missing("table " + std::string(name) + " has " + std::to_string(rows) + " rows and must have one; " +
                    remedy);
    }

    void Form() try {
        form_ = SiteReportForm(catalogue_);
        Well(form_ == ReportForm::Classic ? "reports are written in the classic form"
                                          : "reports are written in the interchange form");
    } catch (const Error& error) {
        Missing(error.description + "; \"orbenta-catalogue site --reports classic|interchange\" sets it" + byOwner_);
    }

    void Site() {
        OneRowTable site(catalogue_, "SiteData");
        OneRow(site, "SiteData", "\"orbenta-catalogue site --base-uid UID --organization NAME\" sets it");
        const std::string uid = site.Value("BaseUID").value_or("");
        if (!IsStandardUid(uid))
            Missing("the site's BaseUID \"" + uid + "\" is no UID");
        else if (uid.size() > longest::BaseUid)
            Missing("the site's BaseUID has " + std::to_string(uid.size()) + " characters; with more than " +
                    std::to_string(longest::BaseUid) + " the UIDs of reports grow too long");
        else
            Well("reports get UIDs under " + uid);
        const auto organization = site.Value("Organization");
        if (!organization)
            Missing("the site has no Organization; \"orbenta-catalogue site --organization NAME\" sets it" + byOwner_);
        else if (!FitsReports(*organization, form_))
            Missing("the site's Organization has characters that classic reports (ISO_IR 100) cannot hold");
    }

    void Node() {
        if (OneRowTable(catalogue_, "DicomServer").Value("AETitle").value_or("").empty())
            Missing("table DicomServer names no AE title for the audit trail; \"orbenta-catalogue site --node AE\" "
                    "sets it");
        else
            Well("the audit trail has its node name");
    }

    void Signature(const std::string& userName) {
        const auto users = ReadUsers(catalogue_);
        const auto user = std::ranges::find(users, userName, &User::name);
        if (user == users.end() || user->signature.empty())
            Missing("user " + userName + " has no signature; \"orbenta-catalogue user " + userName +
                    " --signature NAME\" sets it" + byOwner_);
        else if (!FitsReports(user->signature, form_))
            Missing("the signature of " + userName + " has characters that classic reports (ISO_IR 100) cannot hold");
        else
            Well(userName + " signs as " + user->signature);
    }

    void Codes() {
        for (const std::string_view table : code_table::All)
            if (catalogue_.OpenResultSet("SELECT CodeValue FROM " + std::string(table))->AtEnd())
                Missing("table " + std::string(table) + " has no codes; \"orbenta-catalogue codes import\" fills it");
            else
                Well(std::string(table) + " has codes");
    }

    /// Statements put these between single quotes as they are.
    void Apostrophes() {
        const auto rows = catalogue_.OpenResultSet("SELECT ID, PatientName FROM Patient"
                                                   " WHERE ID LIKE '%''%' OR PatientName LIKE '%''%'");
        if (rows->AtEnd())
            Well("no patient's name holds an apostrophe");
        for (; !rows->AtEnd(); rows->MoveNext())
            Missing("patient " + std::string(rows->Field("PatientName").value_or("")) +
                    " holds an apostrophe, so no report can be opened; write a back-quote (`) in its place");
    }

    void Objects() {
        if (treeFault_)
            return;
        auto found = CheckStoredObjects(catalogue_, dicom_, studies_, mending_);
        std::ranges::move(found, std::back_inserter(results_));
    }

    static std::string Awaited(const ServiceAddress& service, std::chrono::seconds patience) {
        const auto end = std::chrono::steady_clock::now() + patience;
        for (;;) {
            std::string fault = ServiceFault(service);
            if (fault.empty() || std::chrono::steady_clock::now() >= end)
                return fault;
            std::this_thread::sleep_for(std::chrono::milliseconds(100));
        }
    }

    void Service(std::chrono::seconds patience) {
        OneRowTable table(catalogue_, "Port");
        OneRow(table, "Port", "\"orbenta-catalogue port --port N --ae-title AE\" sets it");
        const std::string port = table.Value("Port").value_or("");
        ServiceAddress service{0, table.Value("AETitle").value_or("")};
        std::from_chars(port.data(), port.data() + port.size(), service.port);
        if (service.port < 1 || service.port > 0xFFFF)
            Missing("table Port holds \"" + port + "\", which is no port");
        else if (service.aeTitle.empty() || service.aeTitle.size() > longest::AeTitle)
            Missing("the storage service's AE title \"" + service.aeTitle + "\" must have 1 to " +
                    std::to_string(longest::AeTitle) + " characters");
        else if (const std::string fault = Awaited(service, patience); !fault.empty())
            Missing("the storage service does not answer on port " + port + " of this machine (" + fault +
                    "); start porvane");
        else
            Well("the storage service answers as " + service.aeTitle + " on port " + port);
    }

    /// What lies here alone.
    void Archive() {
        if (!OutgoingQueue::IsThere(catalogue_))
            return;
        const auto archive = ReadArchive(catalogue_);
        OutgoingQueue queue(catalogue_, engine_, {});
        const auto states = queue.States();
        bool whole = true;
        for (const auto& [name, meaning] : {std::pair(outgoing::Waiting, "to be sent to the archive"),
                                            std::pair(outgoing::Sent, "sent to the archive and not committed by it"),
                                            std::pair(outgoing::Refused, "refused by the archive; \"orbenta-catalogue "
                                                                         "archive --retry\" has it tried again")}) {
            const auto state = states.find(std::string(name));
            if (state == states.end())
                continue;
            whole = false;
            const auto& [count, oldest, lastWords] = state->second;
            Warn(std::to_string(count) + (count == 1 ? " object is " : " objects are ") + meaning +
                 ", the oldest for " + Duration(oldest.value_or(std::chrono::seconds(0))) +
                 (lastWords.empty() ? std::string() : ": " + OnOneLine(lastWords)));
        }
        if (const int never = archive ? queue.NeverQueued() : 0; never > 0) {
            whole = false;
            Warn(std::to_string(never) +
                 (never == 1 ? " report or presentation state was" : " reports and presentation states were") +
                 " stored before there was an archive; \"orbenta-catalogue archive --queue-all\" sends them");
        }
        if (archive && whole)
            Well("the archive " + archive->Address() + " has all reports");
    }

    /// One line for each study, in the order in which their first versions were kept.
    void Unsent(const std::filesystem::path& folder) try {
        std::vector<Waiting> studies;
        for (const UnsentFile& file : ListUnsentFiles(folder)) {
            const UnsentHeader version = ReadUnsentHeader(dicom_, file.path);
            const std::string owner = OwnerOf(version);
            const bool approved = IsApproved(version.seriesUid);
            auto study = std::ranges::find_if(
                studies, [&](const Waiting& each) { return each.owner == owner && each.approved == approved; });
            if (study == studies.end())
                study = studies.insert(study, {owner, approved, 0, file.kept});
            ++study->versions;
        }
        for (const Waiting& study : studies) {
            const bool one = study.versions == 1;
            std::string words = std::to_string(study.versions) + (one ? " version " : " versions ") + study.owner;
            if (study.approved)
                words += one ? " stays unstored" : " stay unstored";
            else
                words += one ? " waits to be stored" : " wait to be stored";
            words += " since " + LocalTime(study.since) + " in " + folder.string();
            if (study.approved)
                words += ": the report was approved meanwhile and takes no further version";
            Warn(words);
        }
        if (studies.empty())
            Well("no version waits to be stored in " + folder.string());
    } catch (const std::system_error& failure) {
        Warn(std::string("whether versions wait to be stored is not known: ") + failure.what());
    }

    void Log(const ReportingAccount& account) {
        if (!account.editorLog)
            return;
        if (const auto why = WhyNothingIsLogged(*account.editorLog, account.name))
            Warn(*why);
        else
            Well("the editor logs to " + account.editorLog->string());
    }

    /// Whether a report that is stored is approved. What cannot be asked or read is not.
    bool IsApproved(const std::string& seriesUid) try {
        if (!IsUid(seriesUid))
            return false; // another program's file may say anything
        const auto file = catalogue_.OpenResultSet(
            "SELECT Study.StudyPath, Series.SeriesDir, Image.ImageFile FROM Image, Series, Study"
            " WHERE Image.SeriesInstanceUID=" +
            Quoted(seriesUid) +
            " AND Series.SeriesInstanceUID=Image.SeriesInstanceUID"
            " AND Study.StudyInstanceUID=Series.StudyInstanceUID ORDER BY Image.ImageID DESC");
        for (; !file->AtEnd(); file->MoveNext()) {
            const std::string path =
                NativePath(file->Text("StudyPath") + "\\" + file->Text("SeriesDir") + "\\" + file->Text("ImageFile"));
            if (dicom_.OpenImageSeries(std::array{path})->GetElementString(0, attribute::VerificationFlag) ==
                "VERIFIED")
                return true;
        }
        return false;
    } catch (const Error&) {
        return false;
    }

    Connection& catalogue_;
    DicomLibrary& dicom_;
    std::filesystem::path studies_;
    bool mending_;
    Engine engine_;
    ReportForm form_ = ReportForm::Classic;
    std::optional<std::string> treeFault_;
    std::string byOwner_; ///< behind what a workstation of a department may not do itself
    std::vector<CheckResult> results_;
};

} // namespace

std::vector<CheckResult> CheckInstallation(Connection& catalogue, DicomLibrary& dicom, const ReportingAccount& account,
                                           const std::filesystem::path& studies, bool mending) {
    return Check(catalogue, dicom, studies, mending).Run(account);
}

} // namespace tavrel
