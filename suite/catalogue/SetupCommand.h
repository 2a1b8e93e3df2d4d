#pragma once

#include "suite/catalogue/Setup.h"

#include <functional>
#include <string>
#include <vector>

namespace CLI { // NOLINT(readability-identifier-naming): the library calls itself so
class App;
}

namespace tavrel {

/// `orbenta-catalogue setup`: asks a person at a terminal what is not given as an option, and says each step.
class SetupCommand {
public:
    /// The tool's commands that setup ends with; each says what it finds and answers the status to exit with.
    struct Commands {
        std::function<int(const std::string& folder)> import;
        std::function<int()> check;
    };

    void AddOptions(CLI::App& command);
    int Run(const std::string& dataSource, const Commands& commands);

private:
    void RequireOwnAccount() const;
    void SayWhatIsKept(const std::vector<SetupQuestion>& questions) const;
    SetupValues Answers(Setup& setup);
    std::string Ask(const SetupQuestion& question) const;
    void AskForStudies();
    void PutLogo() const;
    static void SayWhatNext(Setup& setup, int status);

    SetupValues given_;
    std::string codes_;
    std::string import_;
    std::string logo_;
    bool usingDefaults_ = false;
    bool lookingOnly_ = false;
    bool asRoot_ = false;
};

} // namespace tavrel
