#pragma once

#include "platform/clock.h"
#include "platform/database.h"
#include "platform/dicom.h"
#include "platform/files.h"
#include "platform/process.h"
#include "platform/windows.h"

#include <memory>
#include <string>
#include <vector>

namespace tavrel {

class DcmSRDocument;
struct ImagePresentationContext;

/// The pending image references, in the order added. The list is one object for all who hold it; it
/// exists from the first time that it is emptied.
using ImageList = std::vector<ImagePresentationContext>;

/// Everything outside the program that the rooms of the core reach.
struct Ports {
    DicomLibrary& dicom;
    Database& database;
    Windows& windows;
    Files& files;
    Process& process;
    UserInformationFactory& userInformation;
    Clock& clock;
};

/// The state that lives for the whole process; every automation object shares it.
struct Global {
    explicit Global(const Ports& outside) : ports(outside) {}

    Ports ports;

    std::unique_ptr<Connection> catalogue; ///< the one shared connection, none before start-up
    std::string baseUid;                   ///< the site's UID root
    std::string organization;              ///< the institution's name, written into reports
    std::unique_ptr<UserInformation> userInformation;
    std::string currentUserName; ///< empty until a first document has been loaded
    std::string userSignature;   ///< the current user's, as it stands in reports

    std::string currentStudyUid;
    std::string currentSeriesUid;
    std::shared_ptr<DataSetList> currentImageSeries; ///< none when a report series was opened by itself
    std::shared_ptr<DcmSRDocument> currentDocument;  ///< none after a failed opening
    std::shared_ptr<ImageList> pendingImages;
    std::string currentSRFilePath; ///< the SR file last loaded, chosen or stored; "\" separates
};

/// The shared connection. An error when start-up has not made it, or a failed opening closed it.
Connection& Catalogue(const Global& global);

/// The report on screen. An error when a failed opening dropped it.
DcmSRDocument& CurrentDocument(const Global& global);

} // namespace tavrel
