#include "suite/lumaret/TrialRun.h"

#include <cerrno>
#include <csignal>
#include <cstdlib>

#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

namespace tavrel {
namespace {

constexpr unsigned LongestSeconds = 10;

[[noreturn]] void Try(const std::function<void()>& work) {
    constexpr rlimit none{};
    ::setrlimit(RLIMIT_CORE, &none);
    for (const int fatal : {SIGALRM, SIGABRT, SIGBUS, SIGFPE, SIGILL, SIGSEGV})
        std::signal(fatal, SIG_DFL); // nobody shall report the end of a copy
    ::alarm(LongestSeconds);
    try {
        work();
    } catch (...) { // NOLINT(bugprone-empty-catch): a failure is an end too, and will be met again outside
    }
    ::_exit(EXIT_SUCCESS); // what this process has registered for its exit is the other's
}

} // namespace

bool ComesToItsEnd(const std::function<void()>& work) {
    const pid_t copy = ::fork();
    if (copy == 0)
        Try(work);
    int status = 0;
    while (copy > 0 && ::waitpid(copy, &status, 0) < 0)
        if (errno != EINTR)
            return false;
    return copy > 0 && WIFEXITED(status) && WEXITSTATUS(status) == EXIT_SUCCESS;
}

} // namespace tavrel
