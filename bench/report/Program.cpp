#include "bench/report/Program.h"

#include <algorithm>
#include <cstdio>
#include <stdexcept>

namespace tavrel {

int RunProgram(int argc, char** argv, const std::string& usage, const std::function<void(Arguments)>& work) {
    const std::vector<std::string> arguments(argv + 1, argv + argc);
    if (std::cmp_not_equal(arguments.size(), std::ranges::count(usage, ' '))) {
        std::fprintf(stderr, "usage: %s\n", usage.c_str());
        return 2;
    }
    try {
        work(arguments);
        return 0;
    } catch (const std::exception& failure) {
        std::fprintf(stderr, "%s: %s\n", argv[0], failure.what());
    }
    return 1;
}

ReportForm FormNamed(const std::string& name) {
    if (name != "classic" && name != "interchange")
        throw std::invalid_argument("no form of a report: " + name);
    return name == "classic" ? ReportForm::Classic : ReportForm::Interchange;
}

void RequireSilence(const test::FakeWindows& windows) {
    if (!windows.messages.empty())
        throw std::runtime_error("shown: " + windows.messages.front().text);
}

std::vector<std::filesystem::path> FilesOf(const std::filesystem::path& folder) {
    std::vector<std::filesystem::path> files;
    for (const auto& entry : std::filesystem::directory_iterator(folder))
        if (entry.path().extension() == ".dcm")
            files.push_back(entry.path());
    std::ranges::sort(files);
    return files;
}

} // namespace tavrel
