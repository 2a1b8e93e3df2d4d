#pragma once

#include "platform/process.h"

#include <functional>
#include <vector>

namespace tavrel {

class PosixProcess final : public Process {
public:
    /// The arguments of `main`. The reserved argument "--automation", which the bus's service file
    /// gives, tells an automation start from a person's.
    PosixProcess(int argumentCount, const char* const* arguments);

    bool StartedByAutomation() const override { return startedByAutomation_; }
    std::string ApplicationFolder() const override;
    std::string StateFolder() const override;
    /// That of the messages (POSIX, environment variables of internationalization).
    std::string Language() const override;
    /// On standard error, which the desktop's journal takes.
    void LogToDesktop(std::string_view line) override;
    /// Both run the end hooks in the order of their registration and leave, with status 0 and 1; no
    /// destructor runs.
    void End() override;
    void Fail() override;

    /// Registers something to be done at the end. It must be bounded and raise nothing.
    void AtEnd(std::function<void()> hook) { endHooks_.push_back(std::move(hook)); }

private:
    void Leave(int status);

    bool startedByAutomation_;
    std::vector<std::function<void()>> endHooks_;
};

} // namespace tavrel
