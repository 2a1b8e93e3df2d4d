// A declared character set, a line feed, and a text in it.

#include "platform/dcmtk/CharacterSet.h"
#include "tests/fuzz/Entry.h"

using namespace tavrel;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size) {
    const std::string_view input = test::AsText(bytes, size);
    const std::size_t end = std::min(input.find('\n'), input.size());
    const CharacterSet characters(input.substr(0, end));
    for (const auto kind : {TextKind::Plain, TextKind::Values, TextKind::PersonName}) {
        const std::string text = characters.Decode(input.substr(end), kind);
        std::string encoded;
        if (characters.IsWritable() && characters.Encode(text, kind, encoded).empty())
            test::Require(characters.Decode(encoded, kind).size() <= text.size());
    }
    return 0;
}
