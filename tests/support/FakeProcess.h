#pragma once

#include "platform/process.h"

namespace tavrel::test {

class FakeProcess : public Process {
public:
    bool startedByAutomation = false;
    std::string applicationFolder; ///< no separator at its end
    int ended = 0;                 ///< how often the process was ended

    bool StartedByAutomation() const override { return startedByAutomation; }
    std::string ApplicationFolder() const override { return applicationFolder; }
    void End() override { ++ended; }
};

class FakeUserInformationFactory : public UserInformationFactory {
public:
    std::string userName = "mrossi"; ///< who works at the workstation
    int made = 0;

    std::unique_ptr<UserInformation> NewUserInformation() override {
        ++made;
        return std::make_unique<FakeUserInformation>(*this);
    }

private:
    class FakeUserInformation : public UserInformation {
    public:
        explicit FakeUserInformation(const FakeUserInformationFactory& factory) : factory_(factory) {}
        std::string UserName() const override { return factory_.userName; }

    private:
        const FakeUserInformationFactory& factory_;
    };
};

} // namespace tavrel::test
