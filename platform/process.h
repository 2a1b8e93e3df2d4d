#pragma once

#include <string>
#include <string_view>

namespace tavrel {

class Process {
public:
    virtual ~Process() = default;

    /// Whether an automation request started the process; otherwise a person did.
    virtual bool StartedByAutomation() const = 0;
    /// The folder of the executable, without a separator at its end.
    virtual std::string ApplicationFolder() const = 0;
    /// The folder of this user for what must outlast the process (XDG base directories, "state"),
    /// without a separator at its end. It need not exist.
    virtual std::string StateFolder() const = 0;
    /// The language in which the desktop speaks to this user (RFC 5646, without a country: "it"); empty when it names
    /// none.
    virtual std::string Language() const = 0;
    /// Writes a line to the log that the desktop keeps of its programs, for whoever looks after the workstation.
    virtual void LogToDesktop(std::string_view line) = 0;
    /// Ends the process at once: clients see it go, nothing is asked or saved. Callers return right
    /// after it all the same, so that a test can watch it.
    virtual void End() = 0;
    /// As `End`, with a status that says that the process could not do what it was started for.
    virtual void Fail() = 0;
};

/// Knows who works at the workstation.
class UserInformation {
public:
    virtual ~UserInformation() = default;
    virtual std::string UserName() const = 0;
};

} // namespace tavrel
