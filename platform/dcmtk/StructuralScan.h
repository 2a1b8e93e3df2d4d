#pragma once

#include <array>
#include <cstdint>
#include <span>
#include <stdexcept>
#include <string>
#include <vector>

namespace tavrel {

/// Random access to the bytes of an open file or of a block of memory, through one window.
class ByteWindow {
public:
    /// Neither the file descriptor nor the bytes are owned. A file is read in pieces of `pieceSize`.
    ByteWindow(int file, std::uint64_t size, std::size_t pieceSize) : file_(file), size_(size), pieceSize_(pieceSize) {}
    explicit ByteWindow(std::span<const std::uint8_t> bytes)
        : size_(bytes.size()), window_(bytes.data()), windowEnd_(bytes.size()) {}

    std::uint64_t Size() const { return size_; }

    /// `count` bytes (at most 64) at `offset`, valid until the next call; the caller stays within
    /// the size. A file that ends earlier than its size said is a StructureFault.
    const std::uint8_t* At(std::uint64_t offset, std::size_t count) {
        if (offset < windowBegin_ || offset + count > windowEnd_)
            Move(offset, count);
        return window_ + (offset - windowBegin_);
    }

private:
    void Move(std::uint64_t offset, std::size_t count);

    int file_ = -1;
    std::uint64_t size_;
    std::size_t pieceSize_ = 0;
    const std::uint8_t* window_ = nullptr;
    std::uint64_t windowBegin_ = 0;
    std::uint64_t windowEnd_ = 0;
    std::vector<std::uint8_t> buffer_;
};

/// Why bytes are no DICOM file, in words that follow "because".
class StructureFault : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

/// Where an element of the file's own level lies.
struct ElementPlace {
    std::uint16_t group = 0;
    std::uint16_t element = 0;
    std::array<char, 2> vr{};
    std::uint64_t begin = 0; ///< of its value
    std::uint32_t length = 0;
};

/// Where the parts of a DICOM file (PS3.10) lie, as byte offsets.
struct DicomLayout {
    std::uint64_t metaBegin = 0; ///< file meta information, always explicit VR little endian
    std::uint64_t dataBegin = 0; ///< end of the meta information, start of the data set
    std::uint64_t earlyEnd = 0;  ///< end of the data set's groups up to 0008
    std::uint64_t dataEnd = 0;
    std::size_t elements = 0;   ///< and items, up to there
    std::string transferSyntax; ///< as declared; empty when the file has no meta information
    bool explicitVr = true;
    bool bigEndian = false;
    std::vector<ElementPlace> places; ///< when they are asked for, in their order
};

inline constexpr std::uint16_t EveryGroup = 0xFFFF;
inline constexpr std::uint16_t LastHeaderGroup = 0x7FDF; ///< the pixel data come next
inline constexpr std::uint16_t PixelGroup = 0x7FE0;

/// Walks the structure of a DICOM file without parsing a value: lengths lie within what holds them,
/// sequences nest at most 64 deep, elements number at most half a million, nothing is compressed
/// as a stream. A toolkit may then parse the bytes without fear for its stack. Ends before the data
/// set's first group after `lastGroup`; what follows stays unread. Throws StructureFault.
DicomLayout ScanDicom(ByteWindow& bytes, std::uint16_t lastGroup, bool withPlaces = false);

} // namespace tavrel
