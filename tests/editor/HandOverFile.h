#pragma once

#include "platform/files.h"

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace tavrel::test {

/// A file system of one file, the hand-over file, in memory.
class HandOverFile : public Files {
public:
    std::optional<std::string> contents;    ///< none when there is no file
    mutable std::vector<std::string> asked; ///< the paths whose existence was asked for
    std::vector<std::string> written;       ///< the paths that were written

    bool Exists(std::string_view path) const override {
        asked.emplace_back(path);
        return contents.has_value();
    }
    std::vector<std::string> List(std::string_view, std::string_view) const override { return {}; }
    std::string CreateNew(std::string_view, std::string_view, std::string_view) override { return {}; }
    void Remove(std::string_view) override {}
    std::string ReadText(std::string_view) const override { return contents.value(); }
    void WriteText(std::string_view path, std::string_view text) override {
        written.emplace_back(path);
        contents = text;
    }
    void AppendText(std::string_view, std::string_view) override {}
};

} // namespace tavrel::test
