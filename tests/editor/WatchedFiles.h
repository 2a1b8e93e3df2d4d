#pragma once

#include "platform/error.h"
#include "platform/posix/PosixFiles.h"

#include <functional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace tavrel::test {

/// The account's file system, in which a test makes one thing fail or looks at a write.
class WatchedFiles : public Files {
public:
    bool writable = true;
    std::function<void()> whileWriting;
    std::string unlisted; ///< the name of a file that is there and not in the list yet, as on a shared folder

    bool Exists(std::string_view path) const override { return files_.Exists(path); }
    std::vector<std::string> List(std::string_view folder, std::string_view extension) const override {
        auto names = files_.List(folder, extension);
        std::erase(names, unlisted);
        return names;
    }
    std::string CreateNew(std::string_view folder, std::string_view name, std::string_view extension) override {
        if (!writable)
            throw Error(13, "Files", "Cannot make the file \"" + std::string(name) + "\": Permission denied");
        return files_.CreateNew(folder, name, extension);
    }
    void Remove(std::string_view path) override { files_.Remove(path); }
    std::string ReadText(std::string_view path) const override { return files_.ReadText(path); }
    void WriteText(std::string_view path, std::string_view text) override {
        if (!writable)
            throw Error(28, "Files", "Cannot write the file: No space left on device");
        if (whileWriting)
            std::exchange(whileWriting, {})();
        files_.WriteText(path, text);
    }
    void AppendText(std::string_view path, std::string_view text) override { files_.AppendText(path, text); }

private:
    PosixFiles files_;
};

} // namespace tavrel::test
