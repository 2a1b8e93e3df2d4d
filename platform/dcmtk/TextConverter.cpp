#include "platform/dcmtk/TextConverter.h"

#include "platform/text.h"

#include <algorithm>
#include <map>
#include <stdexcept>
#include <utility>

#include <iconv.h>
#include <unicode/bytestream.h>
#include <unicode/normalizer2.h>
#include <unicode/uchar.h>

namespace tavrel {
namespace {

class Converter {
public:
    Converter(const char* from, const char* to) : handle_(iconv_open(to, from)) {
        // NOLINTNEXTLINE(performance-no-int-to-ptr): the answer that POSIX names for a failure
        if (handle_ == reinterpret_cast<iconv_t>(-1))
            throw std::runtime_error(std::string{"The system cannot convert text from "} + from + " to " + to);
    }
    Converter(const Converter&) = delete;
    Converter& operator=(const Converter&) = delete;
    ~Converter() { iconv_close(handle_); }

    /// Appends what can be converted to `result` and answers how many bytes that were.
    std::size_t Run(std::string_view bytes, std::string& result) {
        iconv(handle_, nullptr, nullptr, nullptr, nullptr);
        auto* in = const_cast<char*>(bytes.data());
        std::size_t inLeft = bytes.size();
        const std::size_t before = result.size();
        // Four bytes hold any character of the encodings used here.
        result.resize(before + bytes.size() * 4);
        char* out = result.data() + before;
        std::size_t outLeft = bytes.size() * 4;
        iconv(handle_, &in, &inLeft, &out, &outLeft);
        result.resize(result.size() - outLeft);
        return bytes.size() - inLeft;
    }

private:
    iconv_t handle_;
};

Converter& ConverterFor(const char* from, const char* to) {
    thread_local std::map<std::pair<std::string, std::string>, Converter> converters;
    return converters.try_emplace({from, to}, from, to).first->second;
}

} // namespace

std::optional<std::string> ConvertText(std::string_view bytes, const char* from, const char* to) {
    std::string result;
    if (ConverterFor(from, to).Run(bytes, result) != bytes.size())
        return std::nullopt;
    return result;
}

std::string ConvertTextToUtf8(std::string_view bytes, const char* from) {
    Converter& converter = ConverterFor(from, "UTF-8");
    std::string result;
    for (;;) {
        bytes.remove_prefix(converter.Run(bytes, result));
        if (bytes.empty())
            return result;
        result += "\uFFFD";
        bytes.remove_prefix(1);
    }
}

ComposedText::ComposedText(std::string_view utf8) : text_(utf8) {
    UErrorCode failure = U_ZERO_ERROR;
    const auto* normalizer = icu::Normalizer2::getNFCInstance(failure);
    const icu::StringPiece piece{utf8.data(), static_cast<std::int32_t>(utf8.size())};
    if (U_FAILURE(failure) || normalizer->isNormalizedUTF8(piece, failure))
        return;
    std::string result;
    icu::StringByteSink<std::string> sink{&result};
    normalizer->normalizeUTF8(0, piece, sink, &changes_, failure);
    if (U_SUCCESS(failure))
        text_ = std::move(result);
    else
        changes_.reset();
}

std::vector<std::size_t> ComposedText::SourceOffsets(std::vector<std::size_t> offsets) const {
    if (!changes_.hasChanges())
        return offsets;
    UErrorCode failure = U_ZERO_ERROR;
    auto changes = changes_.getFineIterator();
    for (std::size_t& offset : offsets) {
        changes.findDestinationIndex(static_cast<std::int32_t>(offset), failure);
        const auto within = changes.hasChange() ? 0 : offset - static_cast<std::size_t>(changes.destinationIndex());
        offset = static_cast<std::size_t>(changes.sourceIndex()) + within;
    }
    return offsets;
}

bool IsMark(char32_t character) {
    return (U_GET_GC_MASK(static_cast<UChar32>(character)) & U_GC_M_MASK) != 0;
}

char32_t TakeCharacter(std::string_view& utf8) {
    const std::size_t length = CharacterLength(utf8);
    const std::string_view bytes = utf8.substr(0, std::max<std::size_t>(length, 1));
    utf8.remove_prefix(bytes.size());
    if (length == 0)
        return U'\uFFFD';
    const auto lead = static_cast<unsigned char>(bytes.front());
    char32_t character = length == 1 ? lead : lead & (0x7FU >> length);
    for (const char byte : bytes.substr(1))
        character = character << 6 | (static_cast<unsigned char>(byte) & 0x3FU);
    return character;
}

} // namespace tavrel
