#pragma once

#include "tests/support/ReadBytes.h"
#include "tests/support/TemporaryFolder.h"

#include <sys/wait.h>

#include <cstdlib>
#include <string>

namespace tavrel {

/// The exit status of a process that was waited for, or 128 and the signal that ended it.
inline int ExitStatus(int waited) {
    return WIFEXITED(waited) ? WEXITSTATUS(waited) : 128 + WTERMSIG(waited);
}

struct Outcome {
    int status = 0;
    std::string out;
    std::string err;
};

/// Runs a command of the shell to its end. One that is not there has status 127.
inline Outcome RunShell(const std::string& command) {
    const TemporaryFolder outputs;
    const auto out = outputs.Path() / "out";
    const auto err = outputs.Path() / "err";
    const int waited = std::system(("(" + command + ") >" + out.string() + " 2>" + err.string()).c_str());
    return {ExitStatus(waited), ReadBytes(out), ReadBytes(err)};
}

} // namespace tavrel
