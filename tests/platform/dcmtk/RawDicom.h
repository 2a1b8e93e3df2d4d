#pragma once

#include "platform/attributes.h"
#include "platform/dcmtk/Elements.h"

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace tavrel::test {

/// An encoding of data elements (PS3.5, 7.1 and 7.3).
struct Encoding {
    bool explicitVr;
    bool bigEndian;
    std::string_view transferSyntax;
};

inline constexpr Encoding ExplicitLittle{true, false, "1.2.840.10008.1.2.1"};
inline constexpr Encoding ImplicitLittle{false, false, "1.2.840.10008.1.2"};
inline constexpr Encoding ExplicitBig{true, true, "1.2.840.10008.1.2.2"};

/// Bytes of a DICOM file put together by hand, sound or not.
class RawDicom {
public:
    explicit RawDicom(Encoding encoding = ExplicitLittle) : encoding_(encoding) {}

    RawDicom& Text(const Attribute& attribute, std::string value) {
        if (value.size() % 2 == 1)
            value += attribute.vr == "UI" ? '\0' : ' ';
        Header(attribute, static_cast<std::uint32_t>(value.size()));
        return Raw(value);
    }

    RawDicom& Items(Tag tag, const std::vector<RawDicom>& items) {
        RawDicom inside{encoding_};
        for (const auto& item : items) {
            inside.ItemTag(0xE000, static_cast<std::uint32_t>(item.bytes_.size()));
            inside.Raw(item.bytes_);
        }
        Header({tag, "SQ"}, static_cast<std::uint32_t>(inside.bytes_.size()));
        return Raw(inside.bytes_);
    }

    /// A sequence and an item without end.
    RawDicom& OpenSequence(Tag tag) {
        Header({tag, "SQ"}, 0xFFFFFFFF);
        ItemTag(0xE000, 0xFFFFFFFF);
        return *this;
    }

    RawDicom& Pixels(std::string_view bytes) {
        Header(attribute::PixelData, static_cast<std::uint32_t>(bytes.size()));
        return Raw(bytes);
    }

    RawDicom& Raw(std::string_view bytes) {
        bytes_ += bytes;
        return *this;
    }

    const std::string& Bytes() const { return bytes_; }

    /// With preamble and meta information.
    std::string File(std::string_view transferSyntax = {}) const {
        RawDicom meta{ExplicitLittle};
        meta.Text(attribute::TransferSyntaxUid,
                  std::string{transferSyntax.empty() ? encoding_.transferSyntax : transferSyntax});
        return std::string(128, '\0') + "DICM" + meta.bytes_ + bytes_;
    }

private:
    void Number(std::uint32_t number, int size) {
        for (int at = 0; at < size; ++at) {
            const int shift = 8 * (encoding_.bigEndian ? size - 1 - at : at);
            bytes_ += static_cast<char>(number >> shift & 0xFFU);
        }
    }

    void ItemTag(std::uint16_t element, std::uint32_t length) {
        Number(0xFFFE, 2);
        Number(element, 2);
        Number(length, 4);
    }

    void Header(const Attribute& attribute, std::uint32_t length) {
        Number(attribute.group, 2);
        Number(attribute.element, 2);
        if (!encoding_.explicitVr)
            return Number(length, 4);
        bytes_ += attribute.vr;
        if (ShortLengthVrs.Holds(attribute.vr))
            return Number(length, 2);
        Number(0, 2);
        Number(length, 4);
    }

    Encoding encoding_;
    std::string bytes_;
};

} // namespace tavrel::test
