#include "platform/dcmtk/DcmtkLibrary.h"
#include "platform/error.h"
#include "platform/limits.h"
#include "platform/odbc/OdbcDatabase.h"
#include "platform/paths.h"
#include "platform/posix/PosixFiles.h"
#include "platform/posix/PosixUserInformation.h"
#include "platform/posix/SystemClock.h"
#include "platform/sql.h"
#include "platform/text_blocks.h"
#include "platform/uid.h"
#include "suite/catalogue/CodeTable.h"
#include "suite/catalogue/Department.h"
#include "suite/catalogue/EditorPlace.h"
#include "suite/catalogue/FolderImport.h"
#include "suite/catalogue/InstallationCheck.h"
#include "suite/catalogue/OdbcEntry.h"
#include "suite/catalogue/Schema.h"
#include "suite/catalogue/Settings.h"
#include "suite/catalogue/SetupCommand.h"
#include "suite/catalogue/TextRules.h"
#include "suite/catalogue/TextTable.h"
#include "suite/catalogue/UnsentFiles.h"
#include "suite/catalogue/Upgrade.h"
#include "suite/paper/ReportVersions.h"
#include "suite/paper/WithoutDisplay.h"
#include "suite/porvane/forwarding/ArchiveSetting.h"
#include "suite/porvane/forwarding/OutgoingQueue.h"

#include <CLI/CLI.hpp>

#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <functional>
#include <iostream>
#include <limits>
#include <map>
#include <memory>
#include <regex>

namespace tavrel {
namespace {

constexpr int UsageStatus = 2;

/// A validator that answers CLI11 with the words of `fault`, or with nothing when all is well.
CLI::Validator Rule(const std::string& name, std::function<std::string(const std::string&)> fault) {
    return {[fault = std::move(fault)](const std::string& text) { return fault(text); }, name};
}

CLI::Validator CatalogueText(std::size_t longest) {
    return Rule("TEXT", [longest](const std::string& text) {
        const std::string fault = TextFault(text, longest);
        return fault.empty() ? fault : "\"" + text + "\" " + fault;
    });
}

const std::map<std::string, ReportForm> ReportForms = {{"classic", ReportForm::Classic},
                                                       {"interchange", ReportForm::Interchange}};

/// What a report of that form cannot hold is a wrong argument.
void RequireFit(const std::string& text, ReportForm form) {
    if (!FitsReports(text, form))
        throw CLI::ValidationError("\"" + text + "\" has characters that classic reports (ISO_IR 100) lack");
}

CLI::Validator AeTitle() {
    return Rule("AE", [](const std::string& text) {
        const bool ascii = std::ranges::all_of(text, [](unsigned char c) { return c < 0x80; });
        const std::string fault = ascii ? TextFault(text, longest::AeTitle) : "has characters other than ASCII";
        return fault.empty() ? std::string() : "AE title \"" + text + "\" " + fault;
    });
}

CLI::Validator BaseUid() {
    return Rule("UID", BaseUidFault);
}

CLI::Validator WorkstationName() {
    return Rule("NAME", [](const std::string& text) {
        const std::string fault = Department::NameFault(text);
        return fault.empty() ? fault : "a workstation's name " + fault;
    });
}

CLI::Validator UserName() {
    return Rule("NAME", [](const std::string& text) {
        if (text.find('\'') != std::string::npos)
            return std::string("a user's name must hold no apostrophe: reports could not be opened");
        const std::string fault = TextFault(text, longest::TextColumn);
        return fault.empty() ? fault : "\"" + text + "\" " + fault;
    });
}

/// A bar on a terminal, nothing elsewhere.
void ShowProgress(std::size_t done, std::size_t all) {
    constexpr std::size_t width = 40;
    if (!isatty(STDERR_FILENO))
        return;
    const std::size_t filled = done * width / all;
    std::cerr << "\r[" << std::string(filled, '#') << std::string(width - filled, '.') << "] " << done << " of " << all
              << (done == all ? "\n" : "") << std::flush;
}

/// "en_US,de_DE", "locale" or "off".
CLI::Validator Languages() {
    return Rule("LANGUAGES", [](const std::string& text) {
        static const std::regex languages(
            "(locale|[a-z]{2,3}([_-][A-Za-z0-9]+)*)(, *(locale|[a-z]{2,3}([_-][A-Za-z0-9]+)*))*");
        return text.size() <= longest::TextColumn && (text == "off" || std::regex_match(text, languages))
                   ? std::string()
                   : "\"" + text + R"(" names no languages, as in "en_US,it")";
    });
}

/// An option without its value, as of a script whose variable is empty, would take the next option for it.
void RefuseOptionsAsValues(CLI::App& app) {
    const auto words = [](const std::string& text) {
        return std::string(text.starts_with("--") ? "its value is missing" : "");
    };
    for (CLI::Option* option : app.get_options())
        if (!option->get_positional() && option->get_items_expected_max() > 0)
            option->check(Rule("", words));
    for (CLI::App* command : app.get_subcommands({}))
        RefuseOptionsAsValues(*command);
}

class Tool {
public:
    Tool() {
        app_.require_subcommand(1);
        app_.set_version_flag("--version", "orbenta-catalogue " TAVREL_VERSION);
        app_.add_option("--dsn", dataSource_, "ODBC data source of the catalogue")
            ->type_name("NAME")
            ->capture_default_str();
        app_.fallthrough();
        AddSetup();
        AddOdbc();
        AddInit();
        AddUpgrade();
        AddSite();
        AddUser();
        AddPort();
        AddArchive();
        AddCodes();
        AddTexts();
        AddWriting();
        AddImport();
        AddReport();
        AddDepartment();
        AddCheck();
        RefuseOptionsAsValues(app_);
    }

    int Run(int argc, char** argv) {
        try {
            app_.parse(argc, argv);
            return action_();
        } catch (const CLI::ParseError& error) {
            return app_.exit(error) == 0 ? EXIT_SUCCESS : UsageStatus;
        } catch (const Error& error) {
            std::cerr << "orbenta-catalogue: " << error.description << "\n";
        } catch (const std::exception& error) {
            std::cerr << "orbenta-catalogue: " << error.what() << "\n";
        }
        return EXIT_FAILURE;
    }

private:
    CLI::App* Command(CLI::App& parent, const std::string& name, const std::string& words, std::function<int()> run) {
        CLI::App* command = parent.add_subcommand(name, words);
        command->callback([this, run = std::move(run)] { action_ = run; });
        return command;
    }

    Connection& OpenedCatalogue() {
        if (!connection_->IsOpen())
            connection_->Open("DSN=" + dataSource_);
        return *connection_;
    }

    /// For what changes something there, or may.
    Connection& Catalogue() {
        Connection& catalogue = OpenedCatalogue();
        if (const auto version = ReadCatalogueVersion(catalogue); version && !version->LetsWrite())
            throw Error(Fault::OfTheSuite, "Catalogue",
                        version->Words() + ", too old to write there: install the programs of the catalogue's version");
        return catalogue;
    }

    void AddSetup() {
        setup_.AddOptions(*Command(
            app_, "setup",
            "Make this account a workstation, or what is missing of it; at a terminal it asks for what is not given",
            [this] {
                const auto import = [this](const std::string& folder) {
                    folder_ = folder;
                    return Import();
                };
                return setup_.Run(dataSource_, {import, [this] { return Check(); }});
            }));
    }

    void AddOdbc() {
        static const std::map<std::string, Engine> engines = {
            {"sqlite", Engine::Sqlite}, {"postgresql", Engine::PostgreSql}, {"mariadb", Engine::MariaDb}};
        CLI::App* command =
            Command(app_, "odbc", "Write the ODBC entry that leads to the catalogue", [this] { return WriteEntry(); });
        command->add_option("--engine", entry_.engine, "sqlite, postgresql or mariadb")
            ->required()
            ->transform(CLI::CheckedTransformer(engines).description(""))
            ->type_name("ENGINE");
        command->add_option("--database", entry_.database, "sqlite: the file; else the database's name")
            ->required()
            ->type_name("DATABASE");
        command
            ->add_option("--server", entry_.server,
                         "Host of the database (not for sqlite); of PostgreSQL several, with commas between")
            ->type_name("HOST")
            ->default_val("127.0.0.1");
        command->add_option("--port", entry_.port, "Port of the database; 5432 or 3306 unless given")
            ->check(CLI::Range(1, 65535).description(""))
            ->type_name("N");
        command->add_option("--user", entry_.user, "Database role (not for sqlite)")->type_name("NAME");
        command->add_option("--password-file", passwordFile_, "File whose first line is the role's password")
            ->check(CLI::ExistingFile.description(""))
            ->type_name("FILE");
        command->add_option("--file", odbcFile_, "ODBC file to write; $ODBCINI or ~/.odbc.ini unless given")
            ->type_name("FILE");
    }

    int WriteEntry() {
        if (entry_.engine == Engine::Sqlite)
            entry_.database = std::filesystem::absolute(entry_.database).lexically_normal().string();
        else if (entry_.user.empty())
            throw CLI::RequiredError("--user");
        if (entry_.engine == Engine::MariaDb && entry_.server.find(',') != std::string::npos)
            throw CLI::ValidationError("The driver of MariaDB takes one host: that of the proxy before its nodes");
        if (entry_.port == 0)
            entry_.port = entry_.engine == Engine::PostgreSql ? 5432 : 3306;
        if (!passwordFile_.empty()) {
            const std::string text = PosixFiles().ReadText(passwordFile_);
            entry_.password = text.substr(0, text.find_first_of("\r\n"));
        }
        entry_.name = dataSource_;
        const std::filesystem::path file = odbcFile_.empty() ? UserOdbcFile() : std::filesystem::path(odbcFile_);
        WriteOdbcEntry(file, entry_);
        std::cout << "Wrote [" << entry_.name << "] into " << file.string() << "\n";
        return EXIT_SUCCESS;
    }

    void AddInit() {
        Command(app_, "init", "Make the tables of a new catalogue", [this] {
            Connection& catalogue = Catalogue();
            MakeCatalogue(catalogue, DetectEngine(catalogue));
            if (Department department(catalogue); department.Exists())
                department.Renew();
            std::cout << "The catalogue " << dataSource_ << " has all its tables\n";
            return EXIT_SUCCESS;
        });
    }

    void AddUpgrade() {
        CLI::App* command = Command(app_, "upgrade",
                                    "Bring a catalogue of earlier programs up to the version of these; every row stays",
                                    [this] { return UpgradeCatalogue(); });
        command->add_flag("--dry-run", dryRun_, "Say every statement and change nothing");
    }

    int UpgradeCatalogue() {
        Connection& catalogue = Catalogue();
        const Engine engine = DetectEngine(catalogue);
        CatalogueUpgrade upgrade(catalogue, engine);
        if (upgrade.Steps().empty()) {
            std::cout << "The catalogue " << dataSource_ << " has version " << SchemaVersion << " already\n";
            return EXIT_SUCCESS;
        }
        std::cout << "The catalogue " << dataSource_ << " has version " << upgrade.From() << " of " << SchemaVersion
                  << "\n";
        if (dryRun_) {
            for (const auto& step : upgrade.Steps()) {
                std::cout << "-- version " << step.version << "\n";
                for (const std::string& statement : step.statements)
                    std::cout << statement << ";\n";
            }
            std::cout << "-- nothing was changed\n";
            return EXIT_SUCCESS;
        }
        upgrade.Run();
        std::cout << "It has version " << SchemaVersion << " now; start the storage services again, "
                  << "each of which uses what is new from then on\n";
        return EXIT_SUCCESS;
    }

    void AddSite() {
        CLI::App* command = Command(app_, "site", "Set what identifies the site; without options show it",
                                    [this] { return SetSite(); });
        command
            ->add_option("--base-uid", baseUid_,
                         "UID root of the site's reports, at most " + std::to_string(longest::BaseUid) + " characters")
            ->check(BaseUid().description(""))
            ->type_name("UID");
        command->add_option("--organization", organization_, "The institution's name")
            ->check(CatalogueText(longest::LongString).description(""))
            ->type_name("NAME");
        command
            ->add_option("--reports", reports_,
                         "Form in which reports are written: classic, as ever, or interchange, which any archive and "
                         "any alphabet accept")
            ->check(CLI::IsMember(ReportForms).description(""))
            ->type_name("FORM");
        command->add_option("--node", node_, "AE title of this node in the audit trail")
            ->check(AeTitle().description(""))
            ->type_name("AE");
    }

    int SetSite() {
        Connection& catalogue = Catalogue();
        OneRowTable site(catalogue, "SiteData");
        OneRowTable server(catalogue, "DicomServer");
        std::vector<std::pair<std::string, std::string>> values;
        if (!baseUid_.empty())
            values.emplace_back("BaseUID", baseUid_);
        if (!organization_.empty())
            values.emplace_back("Organization", organization_);
        if (!reports_.empty())
            values.emplace_back("ReportForm", reports_);
        if (baseUid_.size() > longest::BaseUid - Department::LongestNumber && Department(catalogue).Exists())
            throw CLI::ValidationError("Below a department's base UID each workstation has one of its own, so it must "
                                       "have at most " +
                                       std::to_string(longest::BaseUid - Department::LongestNumber) + " characters");
        if (!values.empty() && site.Rows() != 1 && (baseUid_.empty() || organization_.empty()))
            throw CLI::ValidationError("The site has no data yet: give both --base-uid and --organization");
        if (!organization_.empty() || !reports_.empty())
            RequireFit(organization_.empty() ? site.Value("Organization").value_or("") : organization_,
                       reports_.empty() ? SiteReportForm(catalogue) : ReportForms.at(reports_));
        if (!values.empty())
            SetSiteData(catalogue, values);
        if (!node_.empty())
            server.Set({{"AETitle", node_}});
        std::cout << "Base UID: " << site.Value("BaseUID").value_or("none")
                  << "\nOrganization: " << site.Value("Organization").value_or("none")
                  << "\nReports: " << site.Value("ReportForm").value_or("classic")
                  << "\nNode: " << server.Value("AETitle").value_or("none") << "\n";
        return EXIT_SUCCESS;
    }

    void AddUser() {
        CLI::App* command =
            Command(app_, "user", "Set a physician's signature or remove a user; without a name list the users",
                    [this] { return SetUserRow(); });
        auto* name = command->add_option("name", user_.name, "Account name")
                         ->check(UserName().description(""))
                         ->type_name("NAME");
        auto* signature = command->add_option("--signature", user_.signature, "The name that reports are signed with")
                              ->check(CatalogueText(longest::LongString).description(""))
                              ->type_name("NAME")
                              ->needs(name);
        command->add_flag("--remove", removing_, "Remove the user")->needs(name)->excludes(signature);
    }

    int SetUserRow() {
        Connection& catalogue = Catalogue();
        if (removing_ && !RemoveUser(catalogue, user_.name))
            throw Error(Fault::OfTheSuite, "Catalogue", "There is no user " + user_.name);
        if (!user_.signature.empty()) {
            RequireFit(user_.signature, SiteReportForm(catalogue));
            SetUser(catalogue, user_);
        }
        for (const User& user : ReadUsers(catalogue))
            if (user_.name.empty() || user.name == user_.name)
                std::cout << user.name << ": " << user.signature << "\n";
        return EXIT_SUCCESS;
    }

    void AddPort() {
        CLI::App* command = Command(app_, "port", "Set where the storage service is called; without options show it",
                                    [this] { return SetPort(); });
        command->add_option("--port", port_, "TCP port on this machine")
            ->check(CLI::Range(1, 65535).description(""))
            ->type_name("N");
        command->add_option("--ae-title", aeTitle_, "AE title of the storage service")
            ->check(AeTitle().description(""))
            ->type_name("AE");
    }

    int SetPort() {
        OneRowTable port(Catalogue(), "Port");
        if (port.Rows() != 1 && (port_ == 0) != aeTitle_.empty())
            throw CLI::ValidationError("The service is not set yet: give both --port and --ae-title");
        std::vector<std::pair<std::string, std::string>> values;
        if (port_ != 0)
            values.emplace_back("Port", std::to_string(port_));
        if (!aeTitle_.empty())
            values.emplace_back("AETitle", aeTitle_);
        if (!values.empty())
            port.Set(values);
        std::cout << "Port: " << port.Value("Port").value_or("none")
                  << "\nAE title: " << port.Value("AETitle").value_or("none") << "\n";
        return EXIT_SUCCESS;
    }

    void AddArchive() {
        CLI::App* command = Command(app_, "archive",
                                    "Set the archive that the storage services of the department send to; without "
                                    "options show it and what waits for it",
                                    [this] { return SetArchive(); });
        auto* address = command->add_option("--address", archiveAddress_, "Where it is: AET@HOST:PORT")
                            ->check(Rule("ADDRESS",
                                         [](const std::string& text) {
                                             ArchiveSetting setting;
                                             return ReadArchiveAddress(text, setting);
                                         })
                                        .description(""))
                            ->type_name("ADDRESS");
        command->add_option("--calling", archive_.callingAe, "AE title of the services there, unless given their own")
            ->check(AeTitle().description(""))
            ->type_name("AE")
            ->needs(address);
        command->add_flag("--images", archive_.images, "Send images too, not reports and presentation states alone")
            ->needs(address);
        command->add_flag("--tls", archive_.tls, "Send by TLS alone; each service has a certificate")->needs(address);
        command->add_flag("--none", withoutArchive_, "From now on there is no archive; what waits goes on waiting")
            ->excludes(address);
        command->add_flag("--queue-all", queueingAll_, "Queue what was stored before there was an archive");
        command->add_flag("--retry", retrying_, "Let what the archive refused be tried again");
    }

    int SetArchive() {
        Connection& catalogue = Catalogue();
        if (!OutgoingQueue::IsThere(catalogue))
            throw Error(
                Fault::OfTheSuite, "Catalogue",
                "The catalogue has no tables for what goes to an archive; \"orbenta-catalogue upgrade\" makes them");
        if (!archiveAddress_.empty()) {
            ReadArchiveAddress(archiveAddress_, archive_);
            WriteArchive(catalogue, archive_);
        } else if (withoutArchive_) {
            WriteArchive(catalogue, std::nullopt);
        }
        const auto setting = ReadArchive(catalogue);
        OutgoingQueue queue(catalogue, DetectEngine(catalogue), {});
        if (queueingAll_)
            std::cout << "Queued: " << queue.QueueAll(setting && setting->images) << "\n";
        if (retrying_)
            std::cout << "To be tried again: " << queue.RetryRefused() << "\n";
        std::cout << "Archive: " << (setting ? setting->Address() : "none") << "\n";
        if (setting)
            std::cout << "Called there: " << (setting->callingAe.empty() ? "as each service" : setting->callingAe)
                      << "\nImages: " << (setting->images ? "yes" : "no") << "\nTLS: " << (setting->tls ? "yes" : "no")
                      << "\n";
        for (const auto& [state, objects] : queue.States())
            std::cout << "Objects " << state << ": " << objects.count << "\n";
        return EXIT_SUCCESS;
    }

    void AddCodes() {
        CLI::App* codes = app_.add_subcommand("codes", "Work on the code tables");
        codes->require_subcommand(1);
        std::vector<std::string> kinds(CodeKinds.size());
        std::ranges::transform(CodeKinds, kinds.begin(), [](const CodeKind& kind) { return std::string(kind.name); });
        CLI::App* command = Command(*codes, "import",
                                    "Import codes from a CSV file (UTF-8; columns CodeScheme, CodeValue, CodeMeaning "
                                    "named in the first row), all of them or, when one row is wrong, none",
                                    [this] { return ImportCodeFile(); });
        command->add_option("file", codeFile_, "The CSV file")
            ->required()
            ->check(CLI::ExistingFile.description(""))
            ->type_name("FILE.csv");
        command->add_option("--table", codeKind_, "titles, bodyparts, findings or diagnoses")
            ->required()
            ->check(CLI::IsMember(kinds).description(""))
            ->type_name("TABLE");
        command->add_flag("--replace", replacing_, "Remove the table's present codes first");
    }

    /// The status of an import that has faults; 0 when it has none.
    static int TellFaults(const std::string& file, const std::vector<std::string>& faults) {
        constexpr std::size_t mostShown = 20;
        for (std::size_t i = 0; i < std::min(mostShown, faults.size()); ++i)
            std::cerr << file << ", " << faults[i] << "\n";
        if (faults.size() > mostShown)
            std::cerr << "and " << faults.size() - mostShown << " more\n";
        if (!faults.empty())
            std::cerr << "orbenta-catalogue: nothing was imported\n";
        return faults.empty() ? EXIT_SUCCESS : EXIT_FAILURE;
    }

    int ImportCodeFile() {
        const std::string csv = PosixFiles().ReadText(codeFile_);
        const std::string table(std::ranges::find(CodeKinds, codeKind_, &CodeKind::name)->table);
        const CodeImport result = ImportCodes(Catalogue(), table, csv, replacing_);
        if (const int failed = TellFaults(codeFile_, result.faults))
            return failed;
        std::cout << "Added " << result.added << " codes to " << table << "; " << result.known
                  << " were there already\n";
        return EXIT_SUCCESS;
    }

    void AddTexts() {
        CLI::App* texts = app_.add_subcommand("texts", "Work on the text blocks that the editor offers");
        texts->require_subcommand(1);
        CLI::App* import =
            Command(*texts, "import",
                    "Import text blocks from a CSV file (UTF-8; columns Kind, Name, Body named in the first row), all "
                    "of them or, when one row is wrong, none. Kind \"template\": the reading that a heading begins "
                    "with; \"short\": what a short form stands for. \"___\" in a body is a blank to fill in",
                    [this] { return ImportTextFile(); });
        import->add_option("file", textFile_, "The CSV file")
            ->required()
            ->check(CLI::ExistingFile.description(""))
            ->type_name("FILE.csv");
        import->add_flag("--replace", replacing_, "Remove the present texts first");
        Command(*texts, "list", "List the text blocks", [this] {
            std::cout << ListTexts(ReadTexts(Catalogue()));
            return EXIT_SUCCESS;
        });
        Command(*texts, "export", "Write the text blocks as CSV, as import takes them", [this] {
            std::cout << ExportTexts(ReadTexts(Catalogue()));
            return EXIT_SUCCESS;
        });
        CLI::App* remove = Command(*texts, "remove", "Remove a text block", [this] { return RemoveTextBlock(); });
        remove->add_option("kind", textKind_, "template or short")
            ->required()
            ->check(CLI::IsMember({text_block::Template, text_block::ShortForm}).description(""))
            ->type_name("KIND");
        remove->add_option("name", textName_, "The heading, or the short form")->required()->type_name("NAME");
    }

    int ImportTextFile() {
        Connection& catalogue = Catalogue();
        const TextImport result = ImportTexts(catalogue, PosixFiles().ReadText(textFile_), replacing_);
        if (const int failed = TellFaults(textFile_, result.faults))
            return failed;
        std::cout << "Added " << result.added << " texts, changed " << result.changed << "; " << result.known
                  << " were there already\n";
        const ReportForm form = SiteReportForm(catalogue);
        for (const TextBlockRow& text : ReadTexts(catalogue))
            if (!FitsReports(text.body, form))
                std::cerr << "The " << text.kind << " \"" << text.name
                          << "\" has characters that classic reports (ISO_IR 100) lack; the editor underlines them\n";
        return EXIT_SUCCESS;
    }

    int RemoveTextBlock() {
        if (!RemoveText(Catalogue(), textKind_, textName_))
            throw Error(Fault::OfTheSuite, "Catalogue", "There is no " + textKind_ + " \"" + textName_ + "\"");
        std::cout << "Removed the " << textKind_ << " \"" << textName_ << "\"\n";
        return EXIT_SUCCESS;
    }

    void AddWriting() {
        CLI::App* command = Command(app_, "writing",
                                    "Set how the editor helps in writing, for the site or a physician; without options "
                                    "show it",
                                    [this] { return SetHelpInWriting(); });
        auto* user = command->add_option("--user", writing_.userName, "For this account alone")
                         ->check(UserName().description(""))
                         ->type_name("NAME");
        auto* spelling = command
                             ->add_option("--spelling", writing_.spelling,
                                          "Dictionaries that words are judged by: en_US, several with commas between, "
                                          "locale for the desktop's language, or off")
                             ->check(Languages().description(""))
                             ->type_name("LANGUAGES");
        auto* dictation = command
                              ->add_option("--dictation", writing_.dictation,
                                           "Command that \"Vocal\" starts, which writes what was spoken on its "
                                           "standard output; or off")
                              ->check(CatalogueText(longest::LongColumn).description(""))
                              ->type_name("COMMAND");
        command->add_flag("--remove", removing_, "From now on the site's settings count for the account")
            ->needs(user)
            ->excludes(spelling)
            ->excludes(dictation);
    }

    int SetHelpInWriting() {
        Connection& catalogue = Catalogue();
        if (removing_)
            RemoveWriting(catalogue, writing_.userName);
        else if (!writing_.spelling.empty() || !writing_.dictation.empty())
            ChangeWriting(catalogue, writing_);
        std::cout << DescribeWriting(ReadWriting(catalogue));
        return EXIT_SUCCESS;
    }

    void AddImport() {
        CLI::App* command = Command(app_, "import", "Send the DICOM files of a folder to the storage service",
                                    [this] { return Import(); });
        command->add_option("folder", folder_, "The folder; those within it are searched too")
            ->required()
            ->check(CLI::ExistingDirectory.description(""))
            ->type_name("FOLDER");
    }

    int Import() {
        OneRowTable port(Catalogue(), "Port");
        const ServiceAddress service{std::atoi(port.Value("Port").value_or("0").c_str()),
                                     port.Value("AETitle").value_or("")};
        if (service.port == 0 || service.aeTitle.empty())
            throw Error(Fault::OfTheSuite, "Catalogue",
                        "The storage service is not set; \"orbenta-catalogue port\" sets it");
        const ImportSummary summary = ImportFolder(folder_, service, ShowProgress);
        for (const auto& [file, reason] : summary.failures)
            std::cerr << file << ": " << reason << "\n";
        std::cout << "Stored " << summary.stored << " objects; " << summary.failures.size() << " failed; "
                  << summary.notDicom << " files are not DICOM objects\n";
        return summary.failures.empty() ? EXIT_SUCCESS : EXIT_FAILURE;
    }

    void AddReport() {
        CLI::App* report = app_.add_subcommand("report", "Work on reports that are stored");
        report->require_subcommand(1);
        CLI::App* command =
            Command(*report, "print",
                    "Print a version of a report, or of another structured report, whole, or save it as "
                    "a PDF for archives (PDF/A-1b)",
                    [this] { return PrintReport(); });
        command->add_option("file", reportFile_, "The version's file")
            ->check(CLI::ExistingFile.description(""))
            ->type_name("FILE.dcm");
        command->add_option("--series", reportSeries_, "Not a file but the report of this Series Instance UID")
            ->check(
                Rule("UID",
                     [](const std::string& text) { return IsUid(text) ? std::string() : "\"" + text + "\" is no UID"; })
                    .description(""))
            ->type_name("UID");
        command->add_option("--version", reportVersion_, "Which version of the series, from 1; the newest unless given")
            ->check(CLI::Range(1, std::numeric_limits<int>::max()).description(""))
            ->type_name("N");
        command->add_option("--output", reportPdf_, "The PDF to write")->type_name("FILE.pdf");
        command->add_option("--printer", reportPrinter_, "Not a PDF but paper of this printer")->type_name("NAME");
    }

    /// The files of the report's series that the catalogue names.
    std::vector<std::string> FilesOfReport() {
        const auto rows = Catalogue().OpenResultSet(
            "SELECT Study.StudyPath, Series.SeriesDir, Image.ImageFile FROM Image, Series, Study"
            " WHERE Image.SeriesInstanceUID = Series.SeriesInstanceUID"
            " AND Series.StudyInstanceUID = Study.StudyInstanceUID AND Series.SeriesInstanceUID = " +
            Quoted(reportSeries_) + " ORDER BY Image.ImageFile");
        std::vector<std::string> files;
        for (; !rows->AtEnd(); rows->MoveNext())
            files.push_back(
                NativePath(rows->Text("StudyPath") + "\\" + rows->Text("SeriesDir") + "\\" + rows->Text("ImageFile")));
        if (files.empty())
            throw Error(Fault::OfTheSuite, "Catalogue", "The catalogue names no file of a series " + reportSeries_);
        return files;
    }

    int PrintReport() {
        if (reportFile_.empty() == reportSeries_.empty())
            throw CLI::ValidationError("Give either a file or --series");
        if (reportPdf_.empty() == reportPrinter_.empty())
            throw CLI::ValidationError("Give either --output or --printer");
        if (reportVersion_ != 0 && reportSeries_.empty())
            throw CLI::ValidationError("--version is one of a --series");
        const ReportVersions versions(reader_,
                                      reportFile_.empty() ? FilesOfReport() : FilesOfItsSeries(reader_, reportFile_));
        int number = reportVersion_ == 0 ? versions.Count() : reportVersion_;
        if (!reportFile_.empty())
            number = versions.NumberOf(reportFile_);
        const PrintLayout page = versions.Page(number);
        const DateTime today = SystemClock().Now();
        const int count = reportPdf_.empty() ? PrintWithoutDisplay(page, today, reportPrinter_)
                                             : SavePdfWithoutDisplay(page, today, reportPdf_);
        std::cout << (reportPdf_.empty() ? "Printed " : "Saved ") << page.document.Title() << ": " << count
                  << (count == 1 ? " page" : " pages") << "\n";
        return EXIT_SUCCESS;
    }

    void AddDepartment() {
        CLI::App* department =
            app_.add_subcommand("department", "Many workstations with one catalogue, as the owner of its tables");
        department->require_subcommand(1);
        const auto name = [this](CLI::App* command, const char* option, const char* words) {
            return command->add_option(option, workstation_.name, words)
                ->check(WorkstationName().description(""))
                ->type_name("NAME");
        };
        CLI::App* init = Command(*department, "init", "Make the catalogue a department's, with all its tables",
                                 [this] { return MakeDepartment(); });
        name(init, "--former",
             "The workstation that the catalogue has served until now, which keeps its port and node");

        CLI::App* join =
            Command(*department, "join", "Make a workstation's account, rights and rows, or what of them is missing",
                    [this] { return Join(); });
        name(join, "--name", "The workstation's name, and its account's on the server")->required();
        join->add_option("--port", workstation_.port, "TCP port of its storage service on its machine")
            ->check(CLI::Range(1, 65535).description(""))
            ->type_name("N");
        join->add_option("--ae-title", workstation_.aeTitle, "AE title of its storage service")
            ->check(AeTitle().description(""))
            ->type_name("AE");
        join->add_option("--node", workstation_.node,
                         "Its AE title in the audit trail; its name in capitals unless given")
            ->check(AeTitle().description(""))
            ->type_name("AE");
        join->add_option("--machine", workstation_.machine,
                         "Its machine, where several workstations are accounts of one; its name unless given")
            ->check(CatalogueText(longest::TextColumn).description(""))
            ->type_name("NAME");
        join->add_flag("--new-password", newPassword_, "Give a workstation that is known another password");
        join->add_option("--file", odbcFile_, "ODBC file to write its entry DicomFDB into; shown unless given")
            ->type_name("FILE");

        name(Command(*department, "leave", "Take a workstation's account, rights and rows away",
                     [this] { return Leave(); }),
             "--name", "The workstation")
            ->required();
        Command(*department, "list", "List the workstations", [this] { return ListWorkstations(); });
    }

    int MakeDepartment() {
        Department(Catalogue()).Make(workstation_.name);
        std::cout << "The catalogue " << dataSource_ << " is a department's\n";
        if (!workstation_.name.empty())
            std::cout << "\"orbenta-catalogue department join --name " << workstation_.name << "\" gives "
                      << workstation_.name << " its account\n";
        return EXIT_SUCCESS;
    }

    int Join() {
        // Before anything is made, as the entry is made of the owner's.
        const OdbcSettings owners = ReadOdbcEntry(UserOdbcFile(), dataSource_);
        Connection& catalogue = Catalogue();
        const auto password = Department(catalogue).Join(workstation_, newPassword_);
        if (!password) {
            std::cout << workstation_.name
                      << " is a workstation already, and now whole; --new-password gives it another "
                      << "password and entry\n";
            return EXIT_SUCCESS;
        }
        const OdbcSettings entry = ForAccount(owners, DetectEngine(catalogue), workstation_.name, *password);
        GiveEntry(entry);
        return EXIT_SUCCESS;
    }

    /// Nobody else knows its password.
    void GiveEntry(const OdbcSettings& entry) try {
        if (!odbcFile_.empty()) {
            WriteOdbcEntry(odbcFile_, "DicomFDB", entry);
            std::cout << workstation_.name << " is a workstation; its entry is in " << odbcFile_ << "\n";
            return;
        }
        std::cout << OdbcSection("DicomFDB", entry) << std::flush; // the entry alone, which may go into a file
        if (!std::cout)
            throw Error(Fault::OfTheSuite, "Catalogue", "it could not be shown");
        std::cerr << workstation_.name << " is a workstation; these lines belong into its account's ODBC file\n";
    } catch (const Error& error) {
        throw Error(error.number, error.source,
                    workstation_.name + " is a workstation, but its entry is lost (" + error.description +
                        "); the same command with --new-password makes another one");
    }

    int Leave() {
        Department(Catalogue()).Leave(workstation_.name);
        std::cout << workstation_.name << " is no workstation any more\n";
        return EXIT_SUCCESS;
    }

    int ListWorkstations() {
        for (const auto& each : Department(Catalogue()).Workstations())
            std::cout << each.name << ": node " << each.node << ", storage service " << each.aeTitle << " on port "
                      << each.port << " of " << each.machine << "\n";
        return EXIT_SUCCESS;
    }

    void AddCheck() {
        CLI::App* command = Command(app_, "check", "Look at the whole installation and say what is missing",
                                    [this] { return Check(); });
        command->add_option("--unsent", unsent_, "Folder of the versions that could not be sent")
            ->type_name("FOLDER")
            ->capture_default_str();
        command
            ->add_option("--studies", studies_,
                         "Folder of studies to look through besides those of known studies, where none is known")
            ->check(CLI::ExistingDirectory.description(""))
            ->type_name("FOLDER");
        command->add_flag("--mend", mending_, "Mend what the rows and the files themselves suffice for");
    }

    int Check() {
        const std::map<CheckResult::Kind, const char*> words = {{CheckResult::Kind::Well, "well     "},
                                                                {CheckResult::Kind::Warning, "warning  "},
                                                                {CheckResult::Kind::Mended, "mended   "},
                                                                {CheckResult::Kind::Missing, "MISSING  "}};
        if (dataSource_ == Setup::DataSource)
            Setup(database_, ServiceStart::Here(), {}, {}).RequireNoneLost();
        bool missing = false;
        const bool serviceMayCome = !ServiceStart(ServiceStart::Here()).Way().empty();
        const ReportingAccount account = {PosixUserInformation().UserName(), std::filesystem::absolute(unsent_),
                                          BesideTheEditor("Tavrel.log"), std::chrono::seconds(serviceMayCome ? 3 : 0)};
        for (const CheckResult& result :
             CheckInstallation(OpenedCatalogue(), reader_, account,
                               studies_.empty() ? studies_ : std::filesystem::absolute(studies_).string(), mending_)) {
            std::cout << words.at(result.kind) << result.words << "\n";
            missing = missing || result.kind == CheckResult::Kind::Missing;
        }
        return missing ? EXIT_FAILURE : EXIT_SUCCESS;
    }

    CLI::App app_{"Administers the catalogue of a workstation: its ODBC entry, tables, site data, users,\n"
                  "storage service, code tables and studies.\n"
                  "Exit status: 0 done, 1 failed, 2 wrong arguments.",
                  "orbenta-catalogue"};
    // Making an index of a large table takes its time.
    OdbcDatabase database_{{.most = std::chrono::hours(24)}};
    DcmtkLibrary reader_;
    std::unique_ptr<Connection> connection_ = database_.NewConnection();
    std::function<int()> action_;

    std::string dataSource_ = "DicomFDB";
    SetupCommand setup_;
    OdbcEntry entry_;
    std::string passwordFile_;
    std::string odbcFile_;
    std::string baseUid_;
    std::string organization_;
    std::string reports_;
    std::string node_;
    User user_;
    bool removing_ = false;
    int port_ = 0;
    std::string aeTitle_;
    std::string archiveAddress_;
    ArchiveSetting archive_;
    bool withoutArchive_ = false;
    bool queueingAll_ = false;
    bool retrying_ = false;
    std::string codeFile_;
    std::string codeKind_;
    bool replacing_ = false;
    std::string textFile_;
    std::string textKind_;
    std::string textName_;
    WritingRow writing_;
    Department::Workstation workstation_;
    bool newPassword_ = false;
    bool mending_ = false;
    bool dryRun_ = false;
    std::string reportFile_;
    std::string reportSeries_;
    int reportVersion_ = 0;
    std::string reportPdf_;
    std::string reportPrinter_;
    std::string folder_;
    std::string unsent_ = DefaultUnsentFolder().string();
    std::string studies_;
};

} // namespace
} // namespace tavrel

int main(int argc, char** argv) {
    umask(S_IRWXG | S_IRWXO); // patients' data are their owner's alone
    return tavrel::Tool().Run(argc, argv);
}
