#include "tests/suite/TestObject.h"

#include "tests/suite/SuiteRoom.h"

#include <dcmtk/dcmdata/dcdeftag.h>
#include <dcmtk/dcmdata/dcuid.h>
#include <dcmtk/dcmdata/dcxfer.h>
#include <dcmtk/dcmnet/scu.h>
#include <dcmtk/oflog/oflog.h>

#include <stdexcept>

namespace tavrel {

std::filesystem::path RealImage(const std::string& name) {
    return std::filesystem::path(REAL_IMAGES) / name;
}

TestObject::TestObject(const std::filesystem::path& from) {
    OFLog::configure(OFLogger::OFF_LOG_LEVEL);
    if (file_.loadFile(from.c_str()).bad() || file_.loadAllDataIntoMemory().bad())
        throw std::runtime_error("cannot read " + from.string());
    Remove(DCM_DataSetTrailingPadding); // a file's alone; senders leave it out
}

TestObject& TestObject::Set(const DcmTagKey& tag, const std::string& value) {
    file_.getDataset()->putAndInsertString(tag, value.c_str());
    return *this;
}

TestObject& TestObject::Remove(const DcmTagKey& tag) {
    file_.getDataset()->findAndDeleteElement(tag);
    return *this;
}

TestObject& TestObject::Naming(const std::string& sopClass, const std::string& sopInstance) {
    DcmItem* item = nullptr;
    file_.getDataset()->findOrCreateSequenceItem(DCM_ReferencedSOPSequence, item, -2);
    item->putAndInsertString(DCM_ReferencedSOPClassUID, sopClass.c_str());
    item->putAndInsertString(DCM_ReferencedSOPInstanceUID, sopInstance.c_str());
    return *this;
}

TestObject& TestObject::After(const std::vector<std::string>& predecessors) {
    Remove(DCM_PredecessorDocumentsSequence);
    long index = 0;
    for (const std::string& uid : predecessors) {
        DcmItem *study = nullptr, *series = nullptr, *document = nullptr;
        file_.getDataset()->findOrCreateSequenceItem(DCM_PredecessorDocumentsSequence, study, 0);
        study->findOrCreateSequenceItem(DCM_ReferencedSeriesSequence, series, 0);
        series->findOrCreateSequenceItem(DCM_ReferencedSOPSequence, document, index++);
        document->putAndInsertString(DCM_ReferencedSOPInstanceUID, uid.c_str());
    }
    return *this;
}

TestObject& TestObject::Numbered(int number) {
    return Set(DCM_SOPInstanceUID, "2.999.7." + std::to_string(number)).Set(DCM_InstanceNumber, std::to_string(number));
}

std::string TestObject::Get(const DcmTagKey& tag) {
    OFString value;
    file_.getDataset()->findAndGetOFStringArray(tag, value);
    return value;
}

std::filesystem::path TestObject::SaveTo(const std::filesystem::path& file) {
    if (file_.saveFile(file.c_str(), file_.getDataset()->getOriginalXfer(), EET_ExplicitLength).bad())
        throw std::runtime_error("cannot write " + file.string());
    return file;
}

int TestObject::Send(const SuiteRoom& room, const std::string& callingAe, const std::string& calledAe) {
    return Send(room.Port(), callingAe, calledAe);
}

int TestObject::Send(int port, const std::string& callingAe, const std::string& calledAe) {
    constexpr Uint32 seconds = 20;
    const DcmXfer syntax(file_.getDataset()->getOriginalXfer());
    DcmSCU sender;
    sender.setAETitle(callingAe);
    sender.setPeerHostName("127.0.0.1");
    sender.setPeerPort(static_cast<Uint16>(port));
    sender.setPeerAETitle(calledAe);
    sender.setDIMSEBlockingMode(DIMSE_NONBLOCKING);
    sender.setDIMSETimeout(seconds);
    sender.setACSETimeout(seconds);
    OFList<OFString> syntaxes;
    syntaxes.emplace_back(syntax.getXferID());
    sender.addPresentationContext(Get(DCM_SOPClassUID), syntaxes);
    Uint16 status = 0;
    const bool answered = sender.initNetwork().good() && sender.negotiateAssociation().good() &&
                          sender.sendSTORERequest(0, "", file_.getDataset(), status).good();
    if (sender.isConnected())
        sender.releaseAssociation();
    return answered ? status : -1;
}

} // namespace tavrel
