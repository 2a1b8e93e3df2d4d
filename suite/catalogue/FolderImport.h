#pragma once

#include <chrono>
#include <filesystem>
#include <functional>
#include <string>
#include <vector>

namespace tavrel {

/// The storage service as table `Port` names it; it listens on this machine.
struct ServiceAddress {
    int port = 0;
    std::string aeTitle;
};

struct ImportSummary {
    std::size_t stored = 0;
    std::size_t notDicom = 0;
    struct Failure {
        std::string file;
        std::string reason;
    };
    std::vector<Failure> failures;
};

/// Called after each object with how many are done and how many there are.
using ImportProgress = std::function<void(std::size_t done, std::size_t all)>;

/// Sends every DICOM file in `folder` and the folders within it to the service, unchanged. What
/// cannot be sent is a failure in the summary. Throws Error when the folder cannot be read.
ImportSummary ImportFolder(const std::filesystem::path& folder, const ServiceAddress& service,
                           const ImportProgress& progress);

/// Whether the service answers a verification (C-ECHO) in that time; else why not.
std::string ServiceFault(const ServiceAddress& service, std::chrono::seconds patience = std::chrono::minutes(1));

} // namespace tavrel
