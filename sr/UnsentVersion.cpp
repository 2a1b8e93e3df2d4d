#include "sr/UnsentVersion.h"

#include "host/ErrorReport.h"
#include "host/Text.h"
#include "platform/attributes.h"
#include "platform/paths.h"

#include <algorithm>

namespace tavrel {
namespace {

/// Answers the file.
std::string Keep(const Ports& ports, const DicomDataSet& version) {
    std::string name = TextOf(version.GetValue(attribute::SopInstanceUid));
    std::ranges::replace_if(
        name, [](char character) { return character == '/' || character == '\\'; }, '_'); // it may be a foreign file's
    const std::string file = ports.files.CreateNew(ports.process.StateFolder() + "\\unsent", name, ".dcm");
    try {
        version.SaveToFile(file);
    } catch (...) {
        ports.files.Remove(file);
        throw;
    }
    return NativePath(file);
}

} // namespace

void StoreOrKeep(const Ports& ports, DicomDataSet& version, std::string_view port, std::string_view aeTitle) {
    const auto keep = [&](Error failure) {
        if (failure.number == static_cast<int>(DicomFault::NotSendable))
            throw failure;
        failure.description += ' ';
        Trap([&] { failure.description += "It is kept in the file " + Keep(ports, version) + "."; },
             [&](const Error& second) {
                 failure.description += "It could not be kept as a file either: " + second.description;
             });
        throw failure;
    };
    Trap([&] { version.StoreToNode("Localhost", port, "AE_INTERNAL", aeTitle, true); }, keep);
}

} // namespace tavrel
