#include "suite/porvane/forwarding/Forwarding.h"

#include "suite/porvane/ServiceLog.h"
#include "suite/porvane/forwarding/ArchiveAnswers.h"
#include "suite/porvane/forwarding/Forwarder.h"
#include "suite/porvane/forwarding/OutgoingQueue.h"

#include <stdexcept>

namespace tavrel {
namespace {

/// That of the options before that of the department.
std::optional<ArchiveSetting> SettingOf(Connection& catalogue, const Forwarding::Options& options) {
    std::optional<ArchiveSetting> setting = ReadArchive(catalogue);
    if (!options.address.empty()) {
        if (!OutgoingQueue::IsThere(catalogue))
            throw std::runtime_error("The catalogue has no tables for what goes to an archive; "
                                     "\"orbenta-catalogue upgrade\" makes them");
        ArchiveSetting said;
        if (const std::string fault = ReadArchiveAddress(options.address, said); !fault.empty())
            throw std::runtime_error("The archive " + fault);
        if (setting && setting->Address() == said.Address())
            said = *setting;
        setting = said;
    }
    if (!setting)
        return setting;
    if (!options.callingAe.empty())
        setting->callingAe = options.callingAe;
    setting->images = setting->images || options.images;
    setting->tls = setting->tls || options.tls;
    return setting;
}

} // namespace

Forwarding::Forwarding(Database& database, const std::string& dataSource, const std::string& serviceAe,
                       const Options& options) {
    {
        const auto catalogue = database.NewConnection();
        catalogue->Open("DSN=" + dataSource);
        archive_ = SettingOf(*catalogue, options);
    }
    if (!archive_)
        return;
    if (archive_->callingAe.empty())
        archive_->callingAe = serviceAe;
    try {
        if (archive_->tls)
            tls_ = std::make_unique<ArchiveTls>(options.files);
        if (!options.answers.empty())
            answers_ = std::make_unique<ArchiveAnswers>(ArchiveAnswers::ReadPlace(options.answers).value(), *archive_,
                                                        tls_.get(), database, dataSource);
        forwarder_ = std::make_unique<Forwarder>(database, dataSource, *archive_, tls_.get(), answers_ != nullptr);
    } catch (const std::exception& failure) {
        LogLine(std::string("stores, and sends nothing to the archive: ") + failure.what()); // others may
    }
}

Forwarding::~Forwarding() = default;

void Forwarding::GoOn() {
    if (!forwarder_)
        return;
    if (answers_)
        answers_->GoOn();
    forwarder_->GoOn();
    LogLine("sends " + std::string(archive_->images ? "all that it stores" : "reports") + " to the archive " +
            archive_->Address() + (archive_->tls ? " by TLS" : "") + ", called " + archive_->callingAe + " there");
}

} // namespace tavrel
