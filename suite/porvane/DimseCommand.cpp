#include "suite/porvane/DimseCommand.h"

#include "platform/dcmtk/Elements.h"
#include "platform/limits.h"
#include "platform/text.h"

#include <algorithm>

namespace tavrel {
namespace {

enum Tag : std::uint16_t {
    AffectedSopClass = 0x0002,
    CommandField = 0x0100,
    MessageId = 0x0110,
    MessageIdRespondedTo = 0x0120,
    DataSetType = 0x0800,
    AnswerStatus = 0x0900,
    ErrorComment = 0x0902,
    AffectedSopInstance = 0x1000,
};

constexpr std::uint16_t NoDataSet = 0x0101;
constexpr std::uint16_t ResponseBit = 0x8000;

std::string Element(std::uint16_t element, std::string_view value) {
    return LittleEndian(0, 2) + LittleEndian(element, 2) +
           LittleEndian(static_cast<std::uint32_t>(value.size()), 4).append(value);
}

std::string Element(std::uint16_t element, std::uint16_t number) {
    return Element(element, LittleEndian(number, 2));
}

std::uint16_t Short(std::string_view value) {
    if (value.size() != 2)
        throw ProtocolFault("a command with a number of the wrong size");
    return static_cast<std::uint16_t>(LittleEndian(value));
}

std::string Uid(std::string_view value) {
    return std::string(Trimmed(value, std::string_view(" \0", 2)));
}

void Set(DimseCommand& command, std::uint16_t element, std::string_view value) {
    switch (element) {
    case AffectedSopClass:
        command.sopClassUid = Uid(value);
        break;
    case CommandField:
        command.field = static_cast<DimseCommand::Field>(Short(value));
        break;
    case MessageId:
        command.messageId = Short(value);
        break;
    case DataSetType:
        command.dataSetFollows = Short(value) != NoDataSet;
        break;
    case AffectedSopInstance:
        command.sopInstanceUid = Uid(value);
        break;
    default:
        break; // of no use here
    }
}

/// An error comment is one LO in the default repertoire (PS3.7, annex C).
std::string Comment(std::string text) {
    std::replace_if(
        text.begin(), text.end(), [](char c) { return c < ' ' || c > '~' || c == '\\'; }, '?');
    return text.substr(0, longest::LongString);
}

} // namespace

DimseCommand DimseCommand::Read(std::string_view bytes) {
    constexpr std::size_t header = 8;
    DimseCommand command;
    while (!bytes.empty()) {
        if (bytes.size() < header || LittleEndian(bytes.substr(0, 2)) != 0)
            throw ProtocolFault("a command with something else in it");
        const auto element = static_cast<std::uint16_t>(LittleEndian(bytes.substr(2, 2)));
        const std::size_t length = LittleEndian(bytes.substr(4, 4));
        bytes.remove_prefix(header);
        if (length > bytes.size())
            throw ProtocolFault("a command whose elements reach beyond its end");
        Set(command, element, bytes.substr(0, length));
        bytes.remove_prefix(length);
    }
    return command;
}

std::string DimseCommand::Answer(std::uint16_t status, const std::string& comment) const {
    std::string elements =
        Element(AffectedSopClass, Padded(sopClassUid, '\0')) +
        Element(CommandField, static_cast<std::uint16_t>(static_cast<unsigned>(field) | ResponseBit)) +
        Element(MessageIdRespondedTo, messageId) + Element(DataSetType, NoDataSet) + Element(AnswerStatus, status);
    if (!comment.empty())
        elements += Element(ErrorComment, Padded(Comment(comment), ' '));
    if (!sopInstanceUid.empty())
        elements += Element(AffectedSopInstance, Padded(sopInstanceUid, '\0'));
    return Element(0, LittleEndian(static_cast<std::uint32_t>(elements.size()), 4)) + elements;
}

} // namespace tavrel
