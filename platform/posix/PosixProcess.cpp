#include "platform/posix/PosixProcess.h"

#include "platform/error.h"
#include "platform/paths.h"
#include "platform/posix/StateFolder.h"

#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <iostream>
#include <string_view>
#include <system_error>

namespace tavrel {

PosixProcess::PosixProcess(int argumentCount, const char* const* arguments)
    : startedByAutomation_(std::any_of(arguments, arguments + argumentCount,
                                       [](std::string_view argument) { return argument == "--automation"; })) {}

std::string PosixProcess::ApplicationFolder() const {
    std::error_code failure;
    const auto executable = std::filesystem::read_symlink("/proc/self/exe", failure);
    if (failure)
        throw Error(failure.value(), "Process", "Cannot tell the program's own folder: " + failure.message());
    auto folder = InsidePath(executable.parent_path().string());
    if (folder.ends_with('\\'))
        folder.pop_back();
    return folder;
}

std::string PosixProcess::StateFolder() const {
    return InsidePath(tavrel::StateFolder());
}

std::string PosixProcess::Language() const {
    for (const char* variable : {"LC_ALL", "LC_MESSAGES", "LANG"})
        if (const char* value = std::getenv(variable); value && *value) {
            const std::string_view locale(value);
            const auto language = locale.substr(0, locale.find_first_of("_.@"));
            return language == "C" || language == "POSIX" ? std::string() : std::string(language);
        }
    return {};
}

void PosixProcess::LogToDesktop(std::string_view line) {
    std::cerr << "tavrel: " + std::string(line) + "\n" << std::flush;
}

void PosixProcess::End() {
    Leave(EXIT_SUCCESS);
}

void PosixProcess::Fail() {
    Leave(EXIT_FAILURE);
}

void PosixProcess::Leave(int status) {
    for (const auto& hook : endHooks_)
        hook();
    _exit(status);
}

} // namespace tavrel
