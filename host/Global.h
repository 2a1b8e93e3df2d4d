#pragma once

#include "host/OpenedReport.h"
#include "host/ReportForm.h"
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
#include <string_view>
#include <utility>

namespace tavrel {

class Dictation;
class Dictionaries;

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
    Dictionaries* dictionaries = nullptr; ///< none: no word is judged
    Dictation* dictation = nullptr;       ///< none: nothing can be dictated
};

/// Text that every connection to the catalogue is opened with.
inline constexpr std::string_view CatalogueConnectionText = "DSN=DicomFDB";

/// The state that lives for the whole process; every automation object shares it.
struct Global {
    explicit Global(Ports outside) : ports(std::move(outside)) {}

    Ports ports;

    std::unique_ptr<Connection> catalogue; ///< the one shared connection, none before start-up
    std::string baseUid;                   ///< the site's UID root
    std::string organization;              ///< the institution's name, written into reports
    ReportForm reportForm = ReportForm::Classic;
    std::unique_ptr<UserInformation> userInformation;
    std::string currentUserName; ///< empty until a first document has been loaded
    std::string userSignature;   ///< the current user's, as it stands in reports

    /// The current one. An opening puts a new one in its place, so that whoever showed the former still has it
    /// whole.
    std::shared_ptr<OpenedReport> report = std::make_shared<OpenedReport>();
};

/// The shared connection, opened again when a failed opening has closed it. An error when start-up has not
/// made it, or the catalogue cannot be opened.
Connection& Catalogue(const Global& global);

/// The document of the current report. An error when it has none.
DcmSRDocument& CurrentDocument(const Global& global);

/// Makes a new report of a study the current one. What a study keeps from one of its reports to the next goes
/// along: the image series, the pending images, the path of the last SR file; nothing of another study does. The
/// series is the former one until the opening sets its own.
OpenedReport& StartReport(Global& global, std::string_view studyUid, std::shared_ptr<DcmSRDocument> document);

} // namespace tavrel
