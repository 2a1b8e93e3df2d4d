// Saves a report: given a form, `classic` or `interchange`, opens the report in FOLDER anew for each save and times
// Send, which writes the next version and sends it; `dcmtk` times a plain DcmSCU that sends a version which it holds in
// memory, in an association for each save; `ready` sends the version's bytes as Send does, made before: what a save
// costs the service and the way to it, whoever saves.

#include "bench/report/Measurement.h"
#include "bench/report/Program.h"

#include "host/Startup.h"
#include "platform/dcmtk/DataSetEncoder.h"
#include "platform/dcmtk/DcmtkDataSet.h"
#include "platform/dcmtk/DcmtkLibrary.h"
#include "platform/dcmtk/DcmtkStore.h"
#include "platform/paths.h"
#include "sr/DcmSRDocument.h"
#include "tests/support/Workstation.h"

#include <dcmtk/config/osconfig.h>

#include <dcmtk/dcmdata/dcfilefo.h>
#include <dcmtk/dcmdata/dcuid.h>
#include <dcmtk/dcmnet/scu.h>
#include <dcmtk/oflog/oflog.h>

#include <stdexcept>

namespace tavrel {
namespace {

constexpr const char* ServiceTitle = "STORESCP";
constexpr int UntimedSaves = 1; ///< the first one loads dictionaries

void SaveWithTavrel(ReportForm form, const std::filesystem::path& folder, const std::string& port, int saves) {
    test::Workstation station;
    station.SetPort(port, ServiceTitle);
    DcmtkLibrary dicom(station.background, station.serviceEvents); // the workstation's own reaches no service
    Global global(station.PortsWith(dicom));
    Init(global);
    global.reportForm = form;
    global.userSignature = "Dr. Mario Rossi";
    for (int save = 0; save < saves + UntimedSaves; ++save) {
        DcmSRDocument document(global);
        document.LoadSeries(InsidePath(folder));
        document.Reading("Normal heart and lungs.");

        const Measurement measurement;
        document.Send();
        if (save >= UntimedSaves)
            measurement.Print("tavrel");
        RequireSilence(station.windows);
    }
}

void SaveReadyMade(const std::filesystem::path& file, const std::string& port, int saves) {
    DcmtkDataSet version(nullptr, DicomFile::Checked(InsidePath(file)));
    const EncodedDataSet encoded = EncodeDataSet(version);
    for (int save = 0; save < saves + UntimedSaves; ++save) {
        const Measurement measurement;
        StoreDataSet(encoded, {"127.0.0.1", port, "AE_INTERNAL", ServiceTitle}, {}, TheStore());
        if (save >= UntimedSaves)
            measurement.Print("ready");
    }
}

void Require(const OFCondition& outcome) {
    if (outcome.bad())
        throw std::runtime_error(outcome.text());
}

void SaveOnce(DcmDataset& version, const std::string& port) {
    OFList<OFString> syntaxes;
    syntaxes.emplace_back(UID_LittleEndianExplicitTransferSyntax);
    syntaxes.emplace_back(UID_LittleEndianImplicitTransferSyntax);
    DcmSCU sender;
    sender.setAETitle("AE_INTERNAL");
    sender.setPeerAETitle(ServiceTitle);
    sender.setPeerHostName("127.0.0.1");
    sender.setPeerPort(static_cast<Uint16>(std::stoi(port)));
    Require(sender.addPresentationContext(UID_BasicTextSRStorage, syntaxes));
    Require(sender.initNetwork());
    Require(sender.negotiateAssociation());
    Uint16 status = 1;
    Require(sender.sendSTORERequest(0, "", &version, status));
    if (status != 0)
        throw std::runtime_error("the service answered status " + std::to_string(status));
    Require(sender.releaseAssociation());
}

void SaveWithDcmtk(const std::filesystem::path& file, const std::string& port, int saves) {
    OFLog::configure(OFLogger::WARN_LOG_LEVEL);
    DcmFileFormat version;
    Require(version.loadFile(file.c_str()));
    for (int save = 0; save < saves + UntimedSaves; ++save) {
        const Measurement measurement;
        SaveOnce(*version.getDataset(), port);
        if (save >= UntimedSaves)
            measurement.Print("dcmtk");
    }
}

} // namespace
} // namespace tavrel

int main(int argc, char** argv) {
    return tavrel::RunProgram(
        argc, argv, "bench_send FORM|dcmtk|ready FOLDER|FILE PORT SAVES", [](tavrel::Arguments arguments) {
            const auto path = std::filesystem::absolute(arguments[1]);
            const int saves = std::stoi(arguments[3]);
            if (arguments[0] == "dcmtk")
                tavrel::SaveWithDcmtk(path, arguments[2], saves);
            else if (arguments[0] == "ready")
                tavrel::SaveReadyMade(path, arguments[2], saves);
            else
                tavrel::SaveWithTavrel(tavrel::FormNamed(arguments[0]), path, arguments[2], saves);
        });
}
