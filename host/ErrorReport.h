#pragma once

#include "host/Global.h"
#include "platform/error.h"

#include <string>
#include <string_view>
#include <utility>

namespace tavrel {

/// The failure that is being handled, whatever its type: an `Error` as it is, anything else with
/// number 5 and its own words. Call inside a catch block only.
Error CurrentError();

/// The short report: `prefix` followed directly by the description.
void ShowError(Windows& windows, std::string_view prefix, const Error& error);

/// The handlers' report: `label`, number, "-", description, joined without further blanks.
void ShowNumberedError(Windows& windows, std::string_view label, const Error& error);

/// The long report of a failed opening: drops the current document, closes the catalogue and says so.
void ShowApplicationError(Global& global, std::string_view applicationName, std::string_view functionName,
                          const Error& error);

/// Runs `body`; a failure of any type goes to `report` and ends there. True when nothing failed.
template <typename Body, typename Report> bool Trap(Body&& body, Report&& report) {
    try {
        std::forward<Body>(body)();
        return true;
    } catch (...) {
        std::forward<Report>(report)(CurrentError());
        return false;
    }
}

/// Traps with the short report.
template <typename Body> bool TrapShort(Windows& windows, std::string_view prefix, Body&& body) {
    return Trap(std::forward<Body>(body), [&](const Error& error) { ShowError(windows, prefix, error); });
}

/// Traps with the handlers' report.
template <typename Body> bool TrapNumbered(Windows& windows, std::string_view label, Body&& body) {
    return Trap(std::forward<Body>(body), [&](const Error& error) { ShowNumberedError(windows, label, error); });
}

} // namespace tavrel
