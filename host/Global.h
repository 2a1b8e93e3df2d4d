#pragma once

#include "host/OpenedReport.h"
#include "platform/clock.h"
#include "platform/database.h"
#include "platform/dicom.h"
#include "platform/files.h"
#include "platform/letters.h"
#include "platform/process.h"
#include "platform/windows.h"

#include <functional>
#include <memory>
#include <string>
#include <utility>

namespace tavrel {

/// Everything outside the program that the rooms of the core reach.
struct Ports {
    DicomLibrary& dicom;
    Database& database;
    Windows& windows;
    Files& files;
    Process& process;
    std::function<std::unique_ptr<UserInformation>()> newUserInformation;
    Clock& clock;
    Letters& letters;
};

/// The state that lives for the whole process; every automation object shares it.
struct Global {
    explicit Global(Ports outside) : ports(std::move(outside)) {}

    Ports ports;

    std::unique_ptr<Connection> catalogue; ///< the one shared connection, none before start-up
    std::string baseUid;                   ///< the site's UID root
    std::string organization;              ///< the institution's name, written into reports
    std::unique_ptr<UserInformation> userInformation;
    std::string currentUserName; ///< empty until a first document has been loaded
    std::string userSignature;   ///< the current user's, as it stands in reports

    OpenedReport report; ///< the current one
};

/// The shared connection. An error when start-up has not made it, or a failed opening closed it.
Connection& Catalogue(const Global& global);

/// The report on screen. An error when a failed opening dropped it.
DcmSRDocument& CurrentDocument(const Global& global);

} // namespace tavrel
