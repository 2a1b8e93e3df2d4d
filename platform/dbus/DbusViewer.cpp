#include "platform/dbus/DbusViewer.h"

#include "platform/dbus/DbusViewerCalls.h"
#include "platform/dbus/ViewParametersMap.h"

namespace tavrel {

namespace {

QString Text(std::string_view text) {
    return QString::fromUtf8(text.data(), static_cast<qsizetype>(text.size()));
}

} // namespace

void DbusViewer::SRFilename(std::string_view filename) {
    calls_->SetProperty("SRFilename", Text(filename));
}

void DbusViewer::LUTName(std::string_view name) {
    calls_->SetProperty("LUTName", Text(name));
}

void DbusViewer::ViewPars(const ViewParametersHandle& parameters) {
    calls_->SetProperty("ViewPars", ViewParametersMap(parameters));
}

void DbusViewer::ViewRefertImages() {
    calls_->CallMethod("ViewRefertImages");
}

void DbusViewer::ClearRefertList() {
    calls_->CallMethod("ClearRefertList");
}

} // namespace tavrel
