#pragma once

#include "platform/files.h"

namespace tavrel {

/// The system's files. Every failure names the path and the system's reason; its number is errno.
class PosixFiles final : public Files {
public:
    bool Exists(std::string_view path) const override;
    std::vector<std::string> List(std::string_view folder, std::string_view extension) const override;
    std::string CreateNew(std::string_view folder, std::string_view name, std::string_view extension) override;
    void Remove(std::string_view path) override;
    std::string ReadText(std::string_view path) const override;
    void WriteText(std::string_view path, std::string_view text) override;
    void AppendText(std::string_view path, std::string_view text) override;
};

} // namespace tavrel
