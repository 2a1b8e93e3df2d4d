#pragma once

#include <filesystem>
#include <string_view>

namespace tavrel {

/// A file that an object is received into. Its first name goes away with this object.
class IncomingFile {
public:
    enum class Start {
        Made,  ///< there is no such file yet
        Begun, ///< the file exists and is appended to
    };
    /// Takes over the file at `path`. A failure is told by the first `Write`.
    explicit IncomingFile(std::filesystem::path path, Start start = Start::Made);
    ~IncomingFile();
    IncomingFile(const IncomingFile&) = delete;
    IncomingFile& operator=(const IncomingFile&) = delete;

    const std::filesystem::path& Path() const { return path_; }

    /// Appends. Throws a StoreRefusal.
    void Write(std::string_view bytes);
    /// Brings everything to the disk. Throws a StoreRefusal.
    void Finish();
    /// Gives the file the name `target`, or answers false when something has it already. Throws a
    /// StoreRefusal on any other failure.
    bool FileAs(const std::filesystem::path& target);

private:
    std::filesystem::path path_;
    int descriptor_;
    int failure_ = 0;
};

/// Makes the names in `folder` durable. Throws a StoreRefusal.
void KeepNames(const std::filesystem::path& folder);

} // namespace tavrel
