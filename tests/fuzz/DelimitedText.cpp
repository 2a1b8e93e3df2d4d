// A byte for each of five fields says as what it is read in every line; what was read is written, and read again.

#include "editor/DelimitedText.h"
#include "platform/error.h"
#include "tests/fuzz/Entry.h"

#include <optional>

using namespace tavrel;

namespace {

constexpr std::size_t Fields = 5;
constexpr int Kinds = 6;

void CopyField(DelimitedReader& reader, DelimitedWriter& writer, int kind) {
    const auto copy = [&](auto value) {
        reader.Field(value);
        writer.Field(value);
    };
    switch (kind) {
    case 0:
        return copy(std::string());
    case 1:
        return copy(false);
    case 2:
        return copy(std::int16_t{});
    case 3:
        return copy(std::int32_t{});
    case 4:
        return copy(0.0F);
    default:
        reader.NullField();
        writer.NullField();
    }
}

/// None when the text cannot be read in this way.
std::optional<std::string> Copied(std::string_view kinds, std::string_view text) {
    DelimitedReader reader(text, "input");
    DelimitedWriter writer;
    try {
        while (!reader.AtEnd()) {
            for (const char kind : kinds)
                CopyField(reader, writer, static_cast<unsigned char>(kind) % Kinds);
            reader.EndLine();
            writer.EndLine();
        }
    } catch (const Error&) {
        return {};
    }
    return writer.Text();
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size) {
    const std::string_view input = test::AsText(bytes, size);
    if (size <= Fields)
        return 0;
    const std::string_view kinds = input.substr(0, Fields);
    if (const auto copy = Copied(kinds, input.substr(Fields)))
        test::Require(Copied(kinds, *copy) == copy);
    return 0;
}
