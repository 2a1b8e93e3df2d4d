// A byte for each field says as what it is read.

#include "editor/DelimitedText.h"
#include "platform/error.h"
#include "tests/fuzz/Entry.h"

using namespace tavrel;

namespace {

constexpr int Kinds = 7;

/// Reads a field and, but for the end of a line and a field passed over, writes it again.
void ReadField(DelimitedReader& reader, DelimitedWriter& writer, int kind) {
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
    case 5:
        return reader.NullField();
    default:
        return reader.EndLine();
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size) {
    constexpr std::size_t fields = 20;
    if (size < fields)
        return 0;
    DelimitedReader reader(test::AsText(bytes + fields, size - fields), "input");
    DelimitedWriter writer;
    try {
        for (std::size_t field = 0; !reader.AtEnd(); ++field)
            ReadField(reader, writer, bytes[field % fields] % Kinds);
    } catch (const Error&) {
        return 0;
    }
    return 0;
}
