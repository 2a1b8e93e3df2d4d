#pragma once

#include "host/ReportForm.h"
#include "tests/support/FakeWindows.h"

#include <filesystem>
#include <functional>
#include <span>
#include <string>
#include <vector>

namespace tavrel {

using Arguments = std::span<const std::string>;

/// The `main` of a benchmark: runs `work` on the arguments when they are as many as `usage` has words
/// after the program's name. Says on the standard error what went wrong.
int RunProgram(int argc, char** argv, const std::string& usage, const std::function<void(Arguments)>& work);

/// "classic" or "interchange"; an error for another name.
ReportForm FormNamed(const std::string& name);

/// A benchmark of something that failed measures nothing: an error when a message box was shown.
void RequireSilence(const test::FakeWindows& windows);

/// The DICOM files of a folder, in the order of their names.
std::vector<std::filesystem::path> FilesOf(const std::filesystem::path& folder);

} // namespace tavrel
