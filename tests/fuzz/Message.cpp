// A message of a sender whose association was accepted: the number of its context, the command, the data set. All
// lengths around them are right, so that what changes is the message itself.

#include "platform/dcmtk/Elements.h"
#include "tests/fuzz/Conversation.h"
#include "tests/fuzz/Entry.h"

#include <algorithm>
#include <array>

namespace {

using tavrel::test::AsText;

std::string Big(std::size_t number, int size) {
    std::string bytes;
    while (size-- > 0)
        bytes += static_cast<char>(number >> (8 * size) & 0xFFU);
    return bytes;
}

std::string Item(std::uint8_t type, const std::string& content) {
    return Big(type, 1) + Big(0, 1) + Big(content.size(), 2) + content;
}

std::string Unit(std::uint8_t type, const std::string& body) {
    return Big(type, 1) + Big(0, 1) + Big(body.size(), 4) + body;
}

/// Reports and images, each in three encodings: the contexts 1 to 11.
std::string Request() {
    std::string items = Item(0x10, "1.2.840.10008.3.1.1.1");
    std::size_t context = 1;
    for (const char* kind : {"1.2.840.10008.5.1.4.1.1.88.11", "1.2.840.10008.5.1.4.1.1.2"})
        for (const char* syntax : {"1.2.840.10008.1.2", "1.2.840.10008.1.2.1", "1.2.840.10008.1.2.2"}) {
            items += Item(0x20, Big(context, 1) + Big(0, 3) + Item(0x30, kind) + Item(0x40, syntax));
            context += 2;
        }
    return Unit(1, Big(1, 2) + Big(0, 2) + "PORVANE         MODALITY        " + std::string(32, '\0') + items);
}

std::string Fragments(char context, std::string_view bytes, bool ofCommand) {
    constexpr std::size_t longest = 1024;
    std::string units;
    for (bool more = true; more;) {
        const auto piece = bytes.substr(0, longest);
        bytes.remove_prefix(piece.size());
        more = !bytes.empty();
        units += Unit(4, Big(piece.size() + 2, 4) + context + Big((ofCommand ? 1U : 0U) | (more ? 0U : 2U), 1) +
                             std::string(piece));
    }
    return units;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size) {
    constexpr std::size_t lengthElement = 12; // the first of a command tells its length
    static const std::string request = Request();
    std::string_view input = AsText(bytes, size);
    if (input.size() < 1 + lengthElement)
        return 0;
    const char context = input.front();
    input.remove_prefix(1);
    const std::size_t told = tavrel::LittleEndian(input.substr(lengthElement - 4, 4)) + lengthElement;
    const auto command = input.substr(0, std::min(told, input.size()));
    const auto dataSet = input.substr(command.size());
    tavrel::test::Converse(request + Fragments(context, command, true) + Fragments(context, dataSet, false) +
                           Unit(5, Big(0, 4)));
    return 0;
}
