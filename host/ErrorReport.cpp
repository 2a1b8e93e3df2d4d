#include "host/ErrorReport.h"

namespace tavrel {

Error CurrentError() {
    try {
        throw;
    } catch (const Error& error) {
        return error;
    } catch (const std::exception& failure) {
        return {Fault::NoError, "Tavrel", failure.what()};
    } catch (...) {
        return {Fault::NoError, "Tavrel", "A failure without a description"};
    }
}

void ShowError(Windows& windows, std::string_view prefix, const Error& error) {
    windows.Ask({.text = std::string(prefix) + error.description, .title = {}});
}

void ShowNumberedError(Windows& windows, std::string_view label, const Error& error) {
    windows.Ask({.text = std::string(label) + std::to_string(error.number) + "-" + error.description, .title = {}});
}

void ShowApplicationError(Global& global, std::string_view applicationName, std::string_view functionName,
                          const Error& error) {
    global.report = std::make_shared<OpenedReport>();
    // A connection that cannot even be closed must not hide the failure that is being told.
    Trap(
        [&] {
            if (global.catalogue)
                global.catalogue->Close();
        },
        [](const Error&) {});
    const std::string sign = error.number < 0 ? "" : " ";
    global.ports.windows.Ask({.text = "APPLICATION: " + std::string(applicationName) +
                                      " --- Function: " + std::string(functionName) + " --- Error: (" + sign +
                                      std::to_string(error.number) + "--" + error.description + ")",
                              .title = "APPLICATION ERROR"});
}

} // namespace tavrel
