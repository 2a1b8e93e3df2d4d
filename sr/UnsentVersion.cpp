#include "sr/UnsentVersion.h"

#include "host/Catalogue.h"
#include "host/ErrorReport.h"
#include "host/Text.h"
#include "platform/attributes.h"
#include "platform/paths.h"
#include "sr/PresentationState.h"

#include <algorithm>

namespace tavrel {
namespace {

std::string UnsentFolder(const Ports& ports) {
    return ports.process.StateFolder() + "\\unsent";
}

/// Answers the file.
std::string Keep(const Ports& ports, const DicomDataSet& version) {
    std::string name = TextOf(version, attribute::SopInstanceUid);
    std::ranges::replace_if(
        name, [](char character) { return character == '/' || character == '\\'; }, '_'); // it may be a foreign file's
    const std::string file = ports.files.CreateNew(UnsentFolder(ports), name, ".dcm");
    try {
        version.SaveToFile(file);
    } catch (...) {
        ports.files.Remove(file);
        throw;
    }
    return NativePath(file);
}

} // namespace

Delivery KeepUnsent(const Ports& ports, const DicomDataSet& version, std::string why) {
    Delivery delivery{Delivery::Fate::NotStored, std::move(why)};
    Trap(
        [&] {
            delivery.why += " It is kept in the file " + Keep(ports, version) + ".";
            delivery.fate = Delivery::Fate::Kept;
        },
        [&](const Error& second) { delivery.why += " It could not be kept as a file either: " + second.description; });
    return delivery;
}

Delivery StoreOrKeep(const Ports& ports, DicomDataSet& version, std::string_view port, std::string_view aeTitle) {
    Delivery delivery{Delivery::Fate::Stored, {}};
    // The service tells of reports alone.
    const bool told = TextOf(version, attribute::SopClassUid) != GrayscalePresentationState;
    Trap([&] { version.StoreToNode("Localhost", port, "AE_INTERNAL", aeTitle, told); },
         [&](const Error& failure) {
             if (failure.number == static_cast<int>(DicomFault::NotSendable))
                 delivery = {Delivery::Fate::NotStored, failure.description};
             else if (failure.number == static_cast<int>(DicomFault::NotItsTurn))
                 delivery = {Delivery::Fate::Overtaken, failure.description};
             else
                 delivery = KeepUnsent(ports, version, failure.description);
         });
    return delivery;
}

Delivery StoreOrKeep(const Global& global, DicomDataSet& version) {
    const Ports& ports = global.ports;
    Delivery delivery;
    Trap(
        [&] {
            const auto service = Catalogue(global).OpenResultSet("SELECT * FROM Port");
            if (service->AtEnd()) {
                delivery = KeepUnsent(ports, version, "The catalogue names no storage service.");
                if (delivery.fate == Delivery::Fate::Kept)
                    delivery.why.clear(); // nobody is told of a workstation that has none
                return;
            }
            const std::string port = service->Text("Port");
            const std::string aeTitle = service->Text("AETitle");
            service->Close();
            delivery = StoreOrKeep(ports, version, port, aeTitle);
        },
        [&](const Error& unknown) {
            delivery = KeepUnsent(ports, version, "The storage service could not be asked for: " + unknown.description);
        });
    return delivery;
}

int WaitingVersions(const Ports& ports, std::string_view seriesUid, const std::set<std::string>& stored) {
    const std::string folder = UnsentFolder(ports);
    int count = 0;
    // What cannot be read is being written, or taken in, at this moment, and so is the folder.
    const auto ignore = [](const Error&) {};
    const auto look = [&](const std::string& name) {
        const auto waiting = ports.dicom.NewDataSetList();
        waiting->LoadFile(folder + "\\" + name);
        if (TextOf(waiting->GetElementValue(0, attribute::SeriesInstanceUid)) == seriesUid &&
            !stored.contains(TextOf(waiting->GetElementValue(0, attribute::SopInstanceUid))))
            ++count;
    };
    Trap(
        [&] {
            if (ports.files.Exists(folder))
                for (const std::string& name : ports.files.List(folder, ".dcm"))
                    Trap([&] { look(name); }, ignore);
        },
        ignore);
    return count;
}

} // namespace tavrel
