#include "platform/dcmtk/StructuralScan.h"

#include "platform/dcmtk/Elements.h"
#include "platform/dcmtk/Toolkit.h"
#include "platform/text.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <string_view>

#include <unistd.h>

namespace tavrel {
namespace {

constexpr std::size_t DeepestNesting = 64;
constexpr std::size_t MostElements = 500'000;
constexpr std::uint32_t UndefinedLength = 0xFFFFFFFF;
constexpr std::uint64_t PreambleSize = 132;

constexpr std::array<std::string_view, 2> DeflatedSyntaxes{"1.2.840.10008.1.2.1.99", "1.2.840.10008.1.2.4.95"};

/// What most files are in, which no toolkit is asked for: explicit VR little endian, as all that compress the pixels
/// are (PS3.5, A.4).
constexpr std::string_view ExplicitSyntax = "1.2.840.10008.1.2.1";
constexpr std::string_view CompressedSyntaxes = "1.2.840.10008.1.2.4.";

/// What stands at the VR's place in the element header `at`.
std::array<char, 2> VrAt(const std::uint8_t* at) {
    return {static_cast<char>(at[4]), static_cast<char>(at[5])};
}

bool IsVr(std::array<char, 2> vr) {
    return IsUpper(vr[0]) && IsUpper(vr[1]);
}

struct Header {
    std::uint16_t group = 0;
    std::uint16_t element = 0;
    std::array<char, 2> vr{}; ///< zero in implicit VR and for items
    std::uint32_t length = 0;
    std::uint64_t valueBegin = 0;

    std::string_view Vr() const { return {vr.data(), vr[0] == 0 ? 0U : 2U}; }
    bool IsItemTag() const { return group == 0xFFFE; }
};

/// A data set, sequence, item or row of pixel fragments that is open at the place of the scan.
struct Frame {
    enum class Kind { DataSet, Sequence, Fragments };
    Kind kind;
    bool openEnd; ///< ends at a delimiter
    std::uint64_t limit;
    Encoding encoding;
};

class Scan {
public:
    Scan(ByteWindow& bytes, std::uint16_t lastGroup, bool withPlaces)
        : bytes_(bytes), lastGroup_(lastGroup), withPlaces_(withPlaces) {}

    DicomLayout Run() {
        FindDataSet();
        WalkDataSet();
        return layout_;
    }

private:
    std::uint16_t Number16(const std::uint8_t* at, bool bigEndian) const {
        return static_cast<std::uint16_t>(bigEndian ? at[0] << 8 | at[1] : at[1] << 8 | at[0]);
    }
    std::uint32_t Number32(const std::uint8_t* at, bool bigEndian) const {
        const std::uint32_t first = Number16(at, bigEndian);
        const std::uint32_t second = Number16(at + 2, bigEndian);
        return bigEndian ? first << 16 | second : second << 16 | first;
    }

    /// The element header at `offset`, all of it before `limit`.
    Header ReadHeader(std::uint64_t offset, std::uint64_t limit, Encoding encoding) {
        if (limit - offset < 8)
            throw StructureFault("it ends in the middle of an element");
        const auto* at = bytes_.At(offset, 8);
        Header header;
        header.group = Number16(at, encoding.bigEndian);
        header.element = Number16(at + 2, encoding.bigEndian);
        header.valueBegin = offset + 8;
        if (!encoding.explicitVr || header.IsItemTag()) {
            header.length = Number32(at + 4, encoding.bigEndian);
            return header;
        }
        header.vr = VrAt(at);
        if (!IsVr(header.vr))
            throw StructureFault("an element has no valid type");
        if (ShortLengthVrs.Holds(header.Vr())) {
            header.length = Number16(at + 6, encoding.bigEndian);
            return header;
        }
        if (limit - offset < 12)
            throw StructureFault("it ends in the middle of an element");
        header.length = Number32(bytes_.At(offset + 8, 4), encoding.bigEndian);
        header.valueBegin = offset + 12;
        return header;
    }

    void FindDataSet() {
        const auto size = bytes_.Size();
        if (size == 0)
            throw StructureFault("it is empty");
        if (size >= PreambleSize && std::memcmp(bytes_.At(128, 4), "DICM", 4) == 0)
            layout_.metaBegin = PreambleSize;
        layout_.dataBegin = layout_.metaBegin;
        ReadMeta();
        if (layout_.dataBegin == size)
            throw StructureFault("it holds no data set");
        if (layout_.transferSyntax.empty())
            GuessEncoding();
        else
            UseDeclaredEncoding();
    }

    void ReadMeta() {
        const auto size = bytes_.Size();
        constexpr Encoding metaEncoding{};
        while (size - layout_.dataBegin >= 8 && Number16(bytes_.At(layout_.dataBegin, 2), false) == 2) {
            const Header header = ReadHeader(layout_.dataBegin, size, metaEncoding);
            if (header.length > size - header.valueBegin)
                throw StructureFault("its header reaches beyond its end");
            if (header.Vr() == "SQ")
                throw StructureFault("its header holds a sequence");
            if (header.element == 0x0010 && header.length <= 64) {
                const auto* text = bytes_.At(header.valueBegin, header.length);
                layout_.transferSyntax.assign(reinterpret_cast<const char*>(text), header.length);
                layout_.transferSyntax.erase(std::find_if(layout_.transferSyntax.begin(), layout_.transferSyntax.end(),
                                                          [](char c) { return c == '\0' || c == ' '; }),
                                             layout_.transferSyntax.end());
            }
            layout_.dataBegin = header.valueBegin + header.length;
            Keep(header);
            Count();
        }
    }

    void UseDeclaredEncoding() {
        if (std::ranges::find(DeflatedSyntaxes, layout_.transferSyntax) != DeflatedSyntaxes.end())
            throw StructureFault("it is compressed as a whole (deflated), which is not supported");
        if (layout_.transferSyntax == ExplicitSyntax || layout_.transferSyntax.starts_with(CompressedSyntaxes))
            return;
        const auto encoding = TheToolkit().EncodingOf(layout_.transferSyntax);
        if (!encoding)
            throw StructureFault("its transfer syntax " + layout_.transferSyntax + " is not known");
        layout_.explicitVr = encoding->explicitVr;
        layout_.bigEndian = encoding->bigEndian;
    }

    /// A file without meta information: its first element tells the encoding.
    void GuessEncoding() {
        if (bytes_.Size() - layout_.dataBegin < 8)
            throw StructureFault("it is too short");
        const auto* at = bytes_.At(layout_.dataBegin, 8);
        layout_.bigEndian = at[0] == 0 && at[1] != 0;
        layout_.explicitVr = IsVr(VrAt(at));
        const auto group = Number16(at, layout_.bigEndian);
        if (group > 0x0020)
            throw StructureFault("it does not begin like one");
    }

    void WalkDataSet() {
        const auto size = bytes_.Size();
        frames_.push_back({Frame::Kind::DataSet, false, size, {layout_.explicitVr, layout_.bigEndian}});
        at_ = layout_.dataBegin;
        while (!frames_.empty()) {
            const Frame& frame = frames_.back();
            if (at_ == frame.limit) {
                if (frame.openEnd)
                    throw StructureFault("it ends in the middle of a sequence");
                frames_.pop_back();
            } else if (!Step(frame)) {
                break;
            }
        }
        layout_.dataEnd = at_;
        layout_.elements = count_;
        if (layout_.earlyEnd == 0)
            layout_.earlyEnd = at_;
    }

    /// Passes one element or delimiter; false at the end of what is asked for.
    bool Step(const Frame& frame) {
        Count();
        const Header header = ReadHeader(at_, frame.limit, frame.encoding);
        if (header.IsItemTag()) {
            PassItemTag(frame, header);
            return true;
        }
        if (frame.kind != Frame::Kind::DataSet)
            throw StructureFault("a sequence holds something that is no item");
        if (header.group == 0)
            throw StructureFault("it holds elements that no file may hold");
        if (frames_.size() == 1) {
            if (layout_.earlyEnd == 0 && header.group > 0x0008)
                layout_.earlyEnd = at_;
            if (header.group > lastGroup_)
                return false;
            Keep(header);
        }
        PassElement(frame, header);
        return true;
    }

    void Keep(const Header& header) {
        if (withPlaces_)
            layout_.places.push_back({header.group, header.element, header.vr, header.valueBegin, header.length});
    }

    void PassItemTag(const Frame& frame, const Header& header) {
        constexpr std::uint16_t item = 0xE000;
        constexpr std::uint16_t itemEnd = 0xE00D;
        constexpr std::uint16_t sequenceEnd = 0xE0DD;
        const bool inDataSet = frame.kind == Frame::Kind::DataSet;
        if (header.element == item && frame.kind == Frame::Kind::Sequence) {
            Open(Frame::Kind::DataSet, header, frame.limit, frame.encoding);
        } else if (header.element == item && frame.kind == Frame::Kind::Fragments) {
            Skip(header, frame.limit);
        } else if ((header.element == itemEnd && inDataSet && frame.openEnd) ||
                   (header.element == sequenceEnd && !inDataSet && frame.openEnd)) {
            frames_.pop_back();
            at_ = header.valueBegin;
        } else {
            throw StructureFault("its sequences and items are not nested properly");
        }
    }

    void PassElement(const Frame& frame, const Header& header) {
        const bool pixels = header.group == 0x7FE0 && header.element == 0x0010;
        const auto vr = header.Vr();
        if (header.length == UndefinedLength) {
            if (vr == "OB" || vr == "OW" || (pixels && vr.empty()))
                Open(Frame::Kind::Fragments, header, frame.limit, frame.encoding);
            else if (vr == "UN") // PS3.5, 6.2.2, note: its items are implicit VR little endian
                Open(Frame::Kind::Sequence, header, frame.limit, {false, false});
            else if (vr == "SQ" || vr.empty())
                Open(Frame::Kind::Sequence, header, frame.limit, frame.encoding);
            else
                throw StructureFault("an element has no length");
        } else if (vr == "SQ" || (vr.empty() && MayBeSequence(frame, header))) {
            Open(Frame::Kind::Sequence, header, frame.limit, frame.encoding);
        } else {
            Skip(header, frame.limit);
        }
    }

    /// Implicit VR: what the dictionary calls a sequence; a private element that begins like one.
    bool MayBeSequence(const Frame& frame, const Header& header) {
        if (header.group % 2 == 0)
            return TheToolkit().Vr({header.group, header.element}) == "SQ";
        if (header.length < 8 || header.length > frame.limit - header.valueBegin)
            return false;
        const auto* at = bytes_.At(header.valueBegin, 4);
        return Number16(at, frame.encoding.bigEndian) == 0xFFFE && Number16(at + 2, frame.encoding.bigEndian) == 0xE000;
    }

    void Open(Frame::Kind kind, const Header& header, std::uint64_t limit, Encoding encoding) {
        // Sequences and their items take turns.
        if (frames_.size() > 2 * DeepestNesting)
            throw StructureFault("its sequences are nested more than 64 deep");
        const bool openEnd = header.length == UndefinedLength;
        if (!openEnd)
            limit = End(header, limit);
        frames_.push_back({kind, openEnd, limit, encoding});
        at_ = header.valueBegin;
    }

    void Skip(const Header& header, std::uint64_t limit) { at_ = End(header, limit); }

    static std::uint64_t End(const Header& header, std::uint64_t limit) {
        if (header.length > limit - header.valueBegin)
            throw StructureFault("an element reaches beyond its end; the file may be cut off");
        return header.valueBegin + header.length;
    }

    void Count() {
        if (++count_ > MostElements)
            throw StructureFault("it holds more than half a million elements");
    }

    ByteWindow& bytes_;
    std::uint16_t lastGroup_;
    bool withPlaces_;
    DicomLayout layout_;
    std::vector<Frame> frames_;
    std::uint64_t at_ = 0;
    std::size_t count_ = 0;
};

} // namespace

void ByteWindow::Move(std::uint64_t offset, std::size_t count) {
    buffer_.resize(static_cast<std::size_t>(std::min<std::uint64_t>(size_, pieceSize_)));
    std::size_t filled = 0;
    while (filled < buffer_.size()) {
        const auto got =
            ::pread(file_, buffer_.data() + filled, buffer_.size() - filled, static_cast<off_t>(offset + filled));
        if (got <= 0)
            break;
        filled += static_cast<std::size_t>(got);
    }
    if (filled < count)
        throw StructureFault("it became shorter while it was read");
    window_ = buffer_.data();
    windowBegin_ = offset;
    windowEnd_ = offset + filled;
}

DicomLayout ScanDicom(ByteWindow& bytes, std::uint16_t lastGroup, bool withPlaces) {
    return Scan{bytes, lastGroup, withPlaces}.Run();
}

} // namespace tavrel
