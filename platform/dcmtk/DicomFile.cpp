#include "platform/dcmtk/DicomFile.h"

#include "platform/dcmtk/DicomFailure.h"
#include "platform/paths.h"

#include <cerrno>
#include <cstring>
#include <utility>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace tavrel {
namespace {

/// More than this is not kept in memory for a file that may never be asked.
constexpr std::uint64_t MostEarlyBytes = 16UL * 1024;

/// No report and no header of an image is longer.
constexpr std::uint64_t MostBytes = 256UL * 1024 * 1024;

/// A report is read in one piece mostly; an image's header is a fraction of its file.
constexpr std::size_t WholePiece = 256UL * 1024;
constexpr std::size_t HeaderPiece = 16UL * 1024;

Error Unreadable(const std::string& path, const std::string& reason) {
    return DicomFailure(DicomFault::FileUnreadable, "The file " + path + " cannot be read: " + reason + ".");
}

/// A text that the toolkit would hand out as it stands: it takes blanks away within some, and ends others at a zero.
bool IsPlain(const TextElement& element) {
    const auto text = element.Text();
    return text.find('\0') == std::string_view::npos && !text.starts_with(' ') &&
           text.find(" \\") == std::string_view::npos && text.find("\\ ") == std::string_view::npos &&
           (element.Vr() != "UI" || text.find(' ') == std::string_view::npos);
}

} // namespace

/// The file while it is looked at.
class DicomFile::OpenFile {
public:
    explicit OpenFile(const std::string& path) : path_(path) {
        // A FIFO would wait for a writer; the check for a regular file comes after the opening.
        handle_ = ::open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK | O_NOCTTY);
        if (handle_ < 0)
            throw Unreadable(path, std::strerror(errno));
        struct stat state {};
        const bool known = ::fstat(handle_, &state) == 0;
        if (!known || !S_ISREG(state.st_mode)) {
            ::close(handle_);
            throw Unreadable(path, known && S_ISDIR(state.st_mode) ? "it is a folder" : "it is no ordinary file");
        }
        identity_ = {state.st_dev, state.st_ino, static_cast<std::uint64_t>(state.st_size), state.st_mtim.tv_sec,
                     state.st_mtim.tv_nsec};
    }
    OpenFile(const OpenFile&) = delete;
    OpenFile& operator=(const OpenFile&) = delete;
    ~OpenFile() { ::close(handle_); }

    const Identity& FileIdentity() const { return identity_; }

    DicomLayout Scan(std::uint16_t lastGroup, bool withPlaces = false) const {
        try {
            const auto piece = lastGroup == EveryGroup ? WholePiece : HeaderPiece;
            ByteWindow window{handle_, identity_.size, piece};
            return ScanDicom(window, lastGroup, withPlaces);
        } catch (const StructureFault& fault) {
            throw NoDicom(path_, fault.what());
        } catch (const std::runtime_error& failure) { // the toolkit cannot be loaded
            throw Unreadable(path_, failure.what());
        }
    }

    std::string Read(std::uint64_t begin, std::uint64_t end) const {
        std::string bytes(static_cast<std::size_t>(end - begin), '\0');
        std::size_t filled = 0;
        while (filled < bytes.size()) {
            const auto got =
                ::pread(handle_, bytes.data() + filled, bytes.size() - filled, static_cast<off_t>(begin + filled));
            if (got < 0)
                throw Unreadable(path_, std::strerror(errno));
            if (got == 0)
                throw NoDicom(path_, "it became shorter while it was read");
            filled += static_cast<std::size_t>(got);
        }
        return bytes;
    }

    FileBytes Read(const DicomLayout& layout, std::uint64_t end) const {
        return {{},
                Read(layout.metaBegin, end),
                static_cast<std::size_t>(layout.dataBegin - layout.metaBegin),
                layout.transferSyntax,
                layout.explicitVr,
                layout.bigEndian};
    }

private:
    const std::string& path_;
    int handle_ = -1;
    Identity identity_;
};

DicomFile::DicomFile(std::string_view path, bool checked) : path_(NativePath(std::string{path})), checked_(checked) {}

DicomFile DicomFile::Unopened(std::string_view path) {
    return {path, false};
}

DicomFile DicomFile::Checked(std::string_view path) {
    DicomFile result{path, true};
    const OpenFile file{result.path_};
    result.identity_ = file.FileIdentity();
    if (const DicomLayout layout = file.Scan(EveryGroup); layout.earlyEnd - layout.metaBegin <= MostEarlyBytes)
        result.early_ = file.Read(layout, layout.earlyEnd);
    return result;
}

std::uint16_t DicomFile::LastEarlyGroup() const {
    return checked_ ? 0x0008 : 0x0020;
}

FileBytes DicomFile::TakeEarlyPart() {
    if (early_.bytes.empty())
        return Read(checked_ ? EveryGroup : LastEarlyGroup());
    early_.path = path_;
    return std::exchange(early_, {});
}

std::optional<EarlyTexts> DicomFile::ReadEarlyTexts() const {
    if (checked_)
        return std::nullopt;
    const OpenFile file{path_};
    const DicomLayout layout = file.Scan(LastEarlyGroup(), true);
    if (!layout.explicitVr || layout.bigEndian || layout.dataEnd - layout.metaBegin > MostBytes)
        return std::nullopt;
    const std::string bytes = file.Read(layout.metaBegin, layout.dataEnd);
    EarlyTexts early;
    Tag last{0, 0};
    for (const auto& place : layout.places) {
        const Tag tag{place.group, place.element};
        if (tag <= last) // each once, in their order
            return std::nullopt;
        last = tag;
        if (tag.element == 0) // a group's length
            continue;
        TextElement text{place.vr, {}};
        if (!IsTextVr(text.Vr())) {
            early.others.push_back(tag);
            continue;
        }
        text.stored = bytes.substr(static_cast<std::size_t>(place.begin - layout.metaBegin), place.length);
        if (!IsPlain(text))
            return std::nullopt;
        early.texts.emplace_back(tag, std::move(text));
    }
    return early;
}

FileBytes DicomFile::Read() const {
    return Read(checked_ ? EveryGroup : LastHeaderGroup);
}

DicomLayout DicomFile::ScanImage() const {
    return OpenFile{path_}.Scan(PixelGroup);
}

FileBytes DicomFile::Read(std::uint16_t lastGroup) const {
    const OpenFile file{path_};
    if (checked_ && file.FileIdentity() != identity_)
        throw DicomFailure(DicomFault::FileChanged,
                           "The file " + path_ +
                               " was changed or replaced since it was opened. Open the report again.");
    const DicomLayout layout = file.Scan(lastGroup);
    if (layout.dataEnd - layout.metaBegin > MostBytes)
        throw NoDicom(path_, "it has more than 256 MB");
    auto bytes = file.Read(layout, layout.dataEnd);
    bytes.path = path_;
    return bytes;
}

} // namespace tavrel
