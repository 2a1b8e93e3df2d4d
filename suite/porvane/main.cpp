#include "platform/dbus/DbusServiceEmitter.h"
#include "platform/dcmtk/DcmtkLibrary.h"
#include "platform/error.h"
#include "platform/odbc/OdbcDatabase.h"
#include "platform/posix/AccessBelow.h"
#include "suite/porvane/ServiceLog.h"
#include "suite/porvane/StorageService.h"
#include "suite/porvane/StoredEvent.h"
#include "suite/porvane/StudyTree.h"
#include "suite/porvane/UnsentDelivery.h"
#include "suite/porvane/forwarding/ArchiveAnswers.h"
#include "suite/porvane/forwarding/Forwarding.h"

#include <CLI/CLI.hpp>
#include <QCoreApplication>
#include <malloc.h>
#include <sys/signalfd.h>
#include <sys/stat.h>
#include <sys/statvfs.h>
#include <unistd.h>

#include <chrono>
#include <condition_variable>
#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <memory>
#include <mutex>
#include <stdexcept>
#include <thread>

namespace {

constexpr int UsageStatus = 2;
constexpr std::uint64_t MostMegabytes = 1024UL * 1024;

std::string DefaultStudiesFolder() {
    const char* data = std::getenv("XDG_DATA_HOME");
    const char* home = std::getenv("HOME");
    if (data && *data)
        return std::string(data) + "/orbenta/studies";
    return std::string(home ? home : ".") + "/.local/share/orbenta/studies";
}

/// Before any thread is made, so that none takes the signals.
int StopSignals() {
    sigset_t asked;
    sigemptyset(&asked);
    sigaddset(&asked, SIGTERM);
    sigaddset(&asked, SIGINT);
    pthread_sigmask(SIG_BLOCK, &asked, nullptr);
    std::signal(SIGPIPE, SIG_IGN);
    return signalfd(-1, &asked, SFD_CLOEXEC);
}

std::unique_ptr<tavrel::DbusServiceEmitter> Events(bool withSession) try {
    return std::make_unique<tavrel::DbusServiceEmitter>();
} catch (const tavrel::Error& error) {
    if (withSession)
        throw;
    tavrel::LogLine("works without events: " + error.description);
    return nullptr;
}

/// Ends the process, as a signal does, when the bus is gone: the next session has another one, and a service that
/// stayed would keep the port from the one that tells it of stored reports.
std::jthread EndWithSession(const tavrel::DbusServiceEmitter& events) {
    return std::jthread([&events](const std::stop_token& stop) {
        constexpr std::chrono::milliseconds pause{500};
        std::mutex mutex;
        std::condition_variable_any asked;
        std::unique_lock lock(mutex);
        while (events.Connected())
            if (asked.wait_for(lock, stop, pause, [&] { return stop.stop_requested(); }))
                return;
        tavrel::LogLine("the session is over");
        kill(getpid(), SIGTERM);
    });
}

tavrel::ObjectCatalogue::Service ReadService(tavrel::ObjectCatalogue& catalogue) try {
    if (const auto service = catalogue.ReadService())
        return *service;
    throw std::runtime_error("Table Port of the catalogue names no port and AE title; "
                             "\"orbenta-catalogue port\" sets them");
} catch (const tavrel::Error& error) {
    throw std::runtime_error("Table Port of the catalogue cannot be read (" + error.description +
                             "); \"orbenta-catalogue init\" makes the tables");
}

void SayVersion(const std::optional<tavrel::CatalogueVersion>& version) {
    if (!version || version->IsOlder())
        tavrel::LogLine(
            "the catalogue is of an older version and serves as it did; \"orbenta-catalogue upgrade\" brings "
            "what came later");
    else if (version->IsNewer())
        tavrel::LogLine(version->Words() + " and goes on; install the porvane of the catalogue's version when you can");
}

struct Options {
    std::string studies = DefaultStudiesFolder();
    std::string unsent = tavrel::DefaultUnsentFolder().string();
    std::string dataSource = "DicomFDB";
    std::uint64_t largestObject = 2048; ///< megabytes
    bool withSession = false;
    tavrel::Forwarding::Options archive;
};

tavrel::IncomingRoom::Disk DiskOf(const std::string& folder) {
    struct statvfs state {};
    if (statvfs(folder.c_str(), &state) != 0)
        return {}; // then the writing fails as well, and says why
    return {state.f_blocks * state.f_frsize, state.f_bavail * state.f_frsize};
}

/// The library would keep what it freed in as many places as there are threads. Even of two places each has room for
/// the largest objects after a while; senders are not slowed by one.
void KeepMemorySmall() {
    constexpr int places = 1;
    constexpr int largeBlock = 256 * 1024;
    mallopt(M_ARENA_MAX, places);
    mallopt(M_MMAP_THRESHOLD, largeBlock);
    mallopt(M_TRIM_THRESHOLD, largeBlock);
}

void AddArchiveOptions(CLI::App& app, tavrel::Forwarding::Options& archive) {
    const auto rule = [](auto fault) { return CLI::Validator(fault, ""); };
    app.add_option("--archive", archive.address,
                   "Archive that what is stored is sent to: AET@HOST:PORT; unless given that of\n"
                   "\"orbenta-catalogue archive\", which is the department's")
        ->check(rule([](const std::string& text) {
            tavrel::ArchiveSetting setting;
            return tavrel::ReadArchiveAddress(text, setting);
        }))
        ->type_name("ADDRESS");
    app.add_flag("--archive-images", archive.images, "Send images too, not reports and presentation states alone");
    app.add_option("--archive-calling", archive.callingAe,
                   "AE title that the service calls itself there, unless given its own")
        ->check(rule([](const std::string& text) { return tavrel::AeTitleFault(text); }))
        ->type_name("AE");
    app.add_option("--archive-answers", archive.answers,
                   "Address and port of this machine at which the archive tells what it keeps (storage\n"
                   "commitment); without it the archive must tell in the association that asks")
        ->check(rule([](const std::string& text) {
            return tavrel::ArchiveAnswers::ReadPlace(text) ? std::string()
                                                           : "\"" + text + "\" is not of the form ADDRESS:PORT";
        }))
        ->type_name("ADDRESS:PORT");
    const auto file = [&](const char* name, std::string& path, const char* words) {
        return app.add_option(name, path, words)->check(CLI::ExistingFile.description(""))->type_name("FILE");
    };
    file("--archive-certificate", archive.files.certificate, "This service's certificate (PEM)");
    file("--archive-key", archive.files.key, "The key of that certificate (PEM, without a password)");
    file("--archive-trust", archive.files.trust, "Certificates that vouch for the archive's (PEM)");
    app.add_flag("--archive-tls", archive.tls, "Speak with the archive by TLS alone, with these three files");
}

void Serve(const Options& options, int stopSignals) {
    tavrel::OdbcDatabase database;
    tavrel::ObjectCatalogue catalogue(database, options.dataSource);
    tavrel::DcmtkLibrary reader;
    tavrel::StudyTree tree(options.studies, catalogue, reader);
    catalogue.Open(); // before anything is settled in it
    tree.Open();
    const auto service = ReadService(catalogue);
    SayVersion(catalogue.Version());
    tavrel::Forwarding forwarding(database, options.dataSource, service.aeTitle, options.archive);
    if (forwarding.Archive())
        catalogue.QueueForArchive(forwarding.Archive()->images);
    const auto events = Events(options.withSession);
    const auto unsentFolder = std::filesystem::absolute(options.unsent).lexically_normal();
    tavrel::UnsentVersions unsent(unsentFolder, reader, tree, [&](const tavrel::StudyTree::Stored& stored) {
        tavrel::TellStored(events.get(), service.aeTitle, stored);
        tavrel::LogLine("stored version " + stored.header.sopInstanceUid + ", which had waited to be sent");
    });
    tavrel::UnsentDelivery delivery(unsent, unsentFolder);
    tavrel::IncomingRoom room(options.largestObject * tavrel::IncomingRoom::Megabyte,
                              [&] { return DiskOf(options.studies); });
    tavrel::StorageService storage(service.port, {service.aeTitle, tree, unsent, room, events.get()});
    delivery.TakeInAtStart(stopSignals);
    delivery.GoOn();
    forwarding.GoOn();
    tavrel::LogLine("stores in \"" + options.studies + "\", called " + service.aeTitle + " on port " +
                    std::to_string(service.port) + " of 127.0.0.1");
    const std::jthread ending = options.withSession ? EndWithSession(*events) : std::jthread();
    storage.Run(stopSignals);
    tavrel::LogLine("ended");
}

} // namespace

int main(int argc, char** argv) {
    CLI::App app("The DICOM storage service of the workstation: stores the images and reports that are sent\n"
                 "to it and enters them in the catalogue. It listens on 127.0.0.1 alone, on the port and\n"
                 "under the AE title of the catalogue's table Port, and ends on SIGTERM or Ctrl+C.\n"
                 "Exit status: 0 ended as asked, 1 failed, 2 wrong arguments.",
                 "porvane");
    Options options;
    const CLI::Validator named([](const std::string& text) { return text.empty() ? "it is empty" : std::string(); },
                               "");
    app.add_option("--studies", options.studies, "Folder that new studies are stored in")
        ->check(CLI::Validator([](const std::string& text) { return tavrel::StudyTree::PathFault(text); }, ""))
        ->type_name("FOLDER")
        ->capture_default_str();
    app.add_option("--unsent", options.unsent,
                   "Folder of the versions that the report editor could not send; they are stored\n"
                   "from there by themselves")
        ->check(named)
        ->type_name("FOLDER")
        ->capture_default_str();
    app.add_option("--dsn", options.dataSource, "ODBC data source of the catalogue")
        ->check(named)
        ->type_name("NAME")
        ->capture_default_str();
    app.add_option("--largest-object", options.largestObject, "Longest object that is taken, in megabytes")
        ->check(CLI::Range(std::uint64_t{1}, MostMegabytes))
        ->type_name("MB")
        ->capture_default_str();
    app.add_flag("--with-session", options.withSession,
                 "Start only where there is a session bus, and end when it is gone; for a session that starts\n"
                 "the service by itself");
    AddArchiveOptions(app, options.archive);
    app.set_version_flag("--version", "porvane " TAVREL_VERSION);
    try {
        app.parse(argc, argv);
        const auto& files = options.archive.files;
        if (options.archive.tls && (files.certificate.empty() || files.key.empty() || files.trust.empty()))
            throw CLI::RequiredError("--archive-certificate, --archive-key and --archive-trust");
    } catch (const CLI::ParseError& error) {
        return app.exit(error) == 0 ? EXIT_SUCCESS : UsageStatus;
    }
    setenv("LC_ALL", "C.UTF-8", 1); // what it logs and answers is not in the session's language
    umask(~tavrel::AccessBelow(options.studies) & (S_IRWXU | S_IRWXG | S_IRWXO)); // for what it stores
    KeepMemorySmall();
    const int stopSignals = StopSignals();
    const QCoreApplication application(argc, argv); // the session bus needs one
    try {
        Serve(options, stopSignals);
        return EXIT_SUCCESS;
    } catch (const std::exception& error) {
        tavrel::LogLine(error.what());
        return EXIT_FAILURE;
    }
}
