#pragma once

#include <filesystem>
#include <span>

namespace tavrel {

/// A file that an object is received into. Its first name goes away with this object.
class IncomingFile {
public:
    enum class Start {
        Begun, ///< the file exists and is appended to
        Made,  ///< there is no such file yet
    };
    /// Takes over the file at `path`.
    explicit IncomingFile(std::filesystem::path path, Start start = Start::Begun);
    ~IncomingFile();
    IncomingFile(const IncomingFile&) = delete;
    IncomingFile& operator=(const IncomingFile&) = delete;

    const std::filesystem::path& Path() const { return path_; }

    /// Appends. A failure is kept for `Finish`, so that the sender's data can be read to their end.
    void Write(std::span<const char> bytes);
    /// Brings everything to the disk. Throws a StoreRefusal when anything could not be written.
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
