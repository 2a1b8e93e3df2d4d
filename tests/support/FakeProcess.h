#pragma once

#include "platform/process.h"

#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace tavrel::test {

class FakeProcess : public Process {
public:
    bool startedByAutomation = false;
    std::string applicationFolder; ///< no separator at its end, as in the next
    std::string stateFolder;
    std::string language;
    std::vector<std::string> log; ///< the lines for the desktop
    int ended = 0;                ///< how often the process was ended
    int failed = 0;               ///< how often with the status of a failure

    bool StartedByAutomation() const override { return startedByAutomation; }
    std::string ApplicationFolder() const override { return applicationFolder; }
    std::string StateFolder() const override { return stateFolder; }
    std::string Language() const override { return language; }
    void LogToDesktop(std::string_view line) override { log.emplace_back(line); }
    void End() override { ++ended; }
    void Fail() override {
        ++ended;
        ++failed;
    }
};

/// Who works at the workstation; every start-up takes a fresh object.
class FakeUsers {
public:
    std::string userName = "mrossi";
    int made = 0;

    std::unique_ptr<UserInformation> operator()() {
        ++made;
        return std::make_unique<Information>(*this);
    }

private:
    class Information : public UserInformation {
    public:
        explicit Information(const FakeUsers& users) : users_(users) {}
        std::string UserName() const override { return users_.userName; }

    private:
        const FakeUsers& users_;
    };
};

} // namespace tavrel::test
