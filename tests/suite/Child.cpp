#include "tests/suite/Child.h"

#include <fcntl.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <stdexcept>

namespace tavrel {

Child::Child(const std::vector<std::string>& command, const std::string& outputFile) : pid_(fork()) {
    if (pid_ < 0)
        throw std::runtime_error("fork");
    if (pid_ > 0)
        return;
    prctl(PR_SET_PDEATHSIG, SIGKILL); // it does not outlive a test that crashes
    const int output = open(outputFile.c_str(), O_WRONLY | O_CREAT | O_APPEND, S_IRUSR | S_IWUSR);
    dup2(output, STDOUT_FILENO);
    dup2(output, STDERR_FILENO);
    std::vector<char*> arguments;
    arguments.reserve(command.size() + 1);
    for (const std::string& argument : command)
        arguments.push_back(const_cast<char*>(argument.c_str()));
    arguments.push_back(nullptr);
    execvp(arguments.front(), arguments.data());
    _exit(127);
}

Child::~Child() {
    if (!IsRunning())
        return;
    Signal(SIGKILL);
    waitpid(pid_, nullptr, 0);
}

bool Child::IsRunning() {
    int waited = 0;
    if (running_ && waitpid(pid_, &waited, WNOHANG) == pid_) {
        running_ = false;
        status_ = ExitStatus(waited);
    }
    return running_;
}

void Child::Signal(int signal) const {
    if (running_)
        kill(pid_, signal);
}

int Child::Wait() {
    Eventually([this] { return !IsRunning(); });
    return status_;
}

} // namespace tavrel
