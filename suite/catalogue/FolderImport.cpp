#include "suite/catalogue/FolderImport.h"

#include "platform/error.h"

#include <dcmtk/config/osconfig.h>

#include <dcmtk/dcmdata/dcdeftag.h>
#include <dcmtk/dcmdata/dcfilefo.h>
#include <dcmtk/dcmdata/dcuid.h>
#include <dcmtk/dcmdata/dcxfer.h>
#include <dcmtk/dcmnet/diutil.h>
#include <dcmtk/dcmnet/dstorscu.h>

#include <algorithm>
#include <array>
#include <cstdlib>
#include <fstream>
#include <map>
#include <string_view>

namespace tavrel {
namespace {

namespace fs = std::filesystem;

constexpr const char* ImportAe = "ORBENTA_IMPORT";
constexpr const char* Unsent = "was not sent";
constexpr std::chrono::seconds AnswerTime{60};
constexpr Sint32 ConnectSeconds = 5;

/// DICOM PS3.10, 7.1: 128 bytes, then "DICM".
bool HasDicomPrefix(const fs::path& file) {
    std::array<char, 132> start{};
    std::ifstream(file, std::ios::binary).read(start.data(), start.size());
    return std::string_view(start.data() + 128, 4) == "DICM";
}

/// A directory of a medium, in a file of its own kind.
bool IsDirectory(const fs::path& file) {
    DcmFileFormat format;
    OFString kind;
    return format.loadFile(file.c_str(), EXS_Unknown, EGL_noChange, DCM_MaxReadLength, ERM_metaOnly).good() &&
           format.getMetaInfo()->findAndGetOFString(DCM_MediaStorageSOPClassUID, kind).good() &&
           kind == UID_MediaStorageDirectoryStorage;
}

void Aim(DcmSCU& client, const ServiceAddress& service, std::chrono::seconds patience) {
    const auto seconds = static_cast<Uint32>(patience.count());
    setenv("TCP_NODELAY", "1", 0); // the toolkit's switch: objects need not wait for each other's packets
    dcmConnectionTimeout.set(ConnectSeconds);
    client.setPeerHostName("127.0.0.1");
    client.setPeerPort(static_cast<Uint16>(service.port));
    client.setPeerAETitle(service.aeTitle);
    client.setAETitle(ImportAe);
    client.setACSETimeout(seconds);
    client.setDIMSEBlockingMode(DIMSE_NONBLOCKING);
    client.setDIMSETimeout(seconds);
}

class Importer : public DcmStorageSCU {
public:
    Importer(const ServiceAddress& service, const ImportProgress& progress) : progress_(progress) {
        Aim(*this, service, AnswerTime);
        setDecompressionMode(DM_never);
        setHaltOnUnsuccessfulStoreMode(OFFalse);
        setHaltOnInvalidFileMode(OFFalse);
        setReadFromDICOMDIRMode(OFFalse);
    }

    void Add(const fs::path& file) {
        // Values are not judged: the UIDs of reports have zero-padded components.
        const OFCondition added = addDicomFile(file.c_str(), ERM_fileOnly, OFFalse);
        if (added.good())
            reasons_[file.string()] = Unsent;
        else if (IsDirectory(file))
            AddNonDicom();
        else
            AddFailure(file, added.text());
    }

    void AddNonDicom() { ++summary_.notDicom; }
    void AddFailure(const fs::path& file, const std::string& reason) {
        summary_.failures.push_back({file.string(), reason});
    }

    /// An association can carry only so many kinds of objects; the rest go in the next ones.
    ImportSummary Send() {
        OFCondition state = EC_Normal;
        while (state.good() && getNumberOfSOPInstancesToBeSent() > 0)
            state = SendOneAssociation();
        for (const auto& [file, reason] : reasons_)
            AddFailure(file, reason == Unsent && state.bad() ? reason + ": " + state.text() : reason);
        std::ranges::sort(summary_.failures, {}, &ImportSummary::Failure::file);
        return summary_;
    }

private:
    OFCondition SendOneAssociation() {
        OFCondition state = addPresentationContexts();
        if (state.good())
            state = initNetwork();
        if (state.good())
            state = negotiateAssociation();
        if (state.good())
            state = sendSOPInstances();
        if (isConnected())
            state.good() ? releaseAssociation() : abortAssociation();
        return state;
    }

    std::string Reason(const TransferEntry& entry) {
        if (entry.RequestSent)
            return std::string("was refused: ") + DU_cstoreStatusString(entry.ResponseStatusCode) +
                   "; the storage service's log says why"; // its own words do not come through the toolkit's client
        if (findPresentationContextID(entry.SOPClassUID, entry.TransferSyntaxUID) == 0)
            return "the service does not take " + std::string(dcmFindNameOfUID(entry.SOPClassUID.c_str(), "its kind")) +
                   " in " + DcmXfer(entry.TransferSyntaxUID.c_str()).getXferName();
        if (!fs::exists(entry.Filename.getCharPointer()))
            return "is not there any more";
        return "cannot be read as a whole DICOM object";
    }

    void notifySOPInstanceSent(const TransferEntry& entry) override {
        const std::string file = entry.Filename.getCharPointer();
        const bool stored = entry.RequestSent && (entry.ResponseStatusCode == STATUS_Success ||
                                                  (entry.ResponseStatusCode & 0xF000U) == 0xB000U);
        if (stored) {
            reasons_.erase(file);
            ++summary_.stored;
        } else {
            reasons_[file] = Reason(entry);
        }
        progress_(++done_, getNumberOfSOPInstances());
    }

    const ImportProgress& progress_;
    ImportSummary summary_;
    std::map<std::string, std::string> reasons_; ///< of the files that are not stored yet
    std::size_t done_ = 0;
};

} // namespace

ImportSummary ImportFolder(const fs::path& folder, const ServiceAddress& service, const ImportProgress& progress) {
    Importer importer(service, progress);
    std::vector<fs::path> files;
    try {
        for (const auto& entry : fs::recursive_directory_iterator(folder))
            if (entry.is_regular_file())
                files.push_back(entry.path());
    } catch (const fs::filesystem_error& failure) {
        throw Error(Fault::OfTheSuite, "Catalogue", failure.path1().string() + ": " + failure.code().message());
    }
    std::ranges::sort(files);
    for (const fs::path& file : files) {
        if (!std::ifstream(file))
            importer.AddFailure(file, "cannot be read");
        else if (HasDicomPrefix(file))
            importer.Add(file);
        else
            importer.AddNonDicom();
    }
    return importer.Send();
}

std::string ServiceFault(const ServiceAddress& service, std::chrono::seconds patience) {
    DcmSCU client;
    Aim(client, service, patience);
    OFList<OFString> syntaxes;
    syntaxes.emplace_back(UID_LittleEndianImplicitTransferSyntax);
    client.addPresentationContext(UID_VerificationSOPClass, syntaxes);
    OFCondition state = client.initNetwork();
    if (state.good())
        state = client.negotiateAssociation();
    if (state.good())
        state = client.sendECHORequest(0);
    if (client.isConnected())
        client.releaseAssociation();
    return state.good() ? std::string() : state.text();
}

} // namespace tavrel
