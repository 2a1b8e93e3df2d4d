#include "suite/porvane/UpperLayer.h"

#include "platform/dcmtk/Implementation.h"
#include "platform/limits.h"
#include "platform/text.h"

#include <dcmtk/config/osconfig.h>

#include <dcmtk/dcmdata/dcuid.h>

#include <algorithm>

namespace tavrel::upper_layer {
namespace {

constexpr std::size_t MostContexts = 128; ///< their numbers are the odd ones of a byte
constexpr std::size_t MostSyntaxes = 4096;

enum class ItemType : std::uint8_t {
    ApplicationContext = 0x10,
    ProposedContext = 0x20,
    AnsweredContext = 0x21,
    AbstractSyntax = 0x30,
    TransferSyntax = 0x40,
    UserInformation = 0x50,
    LongestPdu = 0x51,
    ImplementationClass = 0x52,
    RoleSelection = 0x54,
    ImplementationVersion = 0x55,
};

/// Takes bytes from the front of a block.
class Reader {
public:
    explicit Reader(std::string_view bytes) : bytes_(bytes) {}

    bool AtEnd() const { return bytes_.empty(); }
    std::string_view Take(std::size_t count) {
        if (count > bytes_.size())
            throw ProtocolFault("an association request whose parts reach beyond its end");
        const auto taken = bytes_.substr(0, count);
        bytes_.remove_prefix(count);
        return taken;
    }
    std::uint32_t TakeNumber(std::size_t size) { return BigEndian(Take(size)); }

private:
    std::string_view bytes_;
};

struct Item {
    ItemType type;
    std::string_view content;
};

Item TakeItem(Reader& reader) {
    const auto type = static_cast<ItemType>(reader.TakeNumber(1));
    reader.Take(1);
    return {type, reader.Take(reader.TakeNumber(2))};
}

/// UIDs and titles come padded in more ways than the standard's own.
std::string_view Unpadded(std::string_view text) {
    return Trimmed(text, std::string_view(" \0", 2));
}

ProposedContext ReadContext(std::string_view content, std::size_t& syntaxes) {
    Reader reader(content);
    ProposedContext context;
    context.id = static_cast<std::uint8_t>(reader.TakeNumber(1));
    reader.Take(3);
    while (!reader.AtEnd()) {
        const Item item = TakeItem(reader);
        if (++syntaxes > MostSyntaxes)
            throw ProtocolFault("an association request with too many syntaxes");
        if (item.type == ItemType::AbstractSyntax)
            context.abstractSyntax = Unpadded(item.content);
        else if (item.type == ItemType::TransferSyntax)
            context.transferSyntaxes.push_back(Unpadded(item.content));
    }
    return context;
}

Role ReadRole(std::string_view content) {
    Reader reader(content);
    Role role;
    role.sopClass = Unpadded(reader.Take(reader.TakeNumber(2)));
    role.user = reader.TakeNumber(1) != 0;
    role.provider = reader.TakeNumber(1) != 0;
    return role;
}

void ReadUserInformation(std::string_view userInformation, AssociateRequest& request) {
    for (Reader reader(userInformation); !reader.AtEnd();) {
        const Item item = TakeItem(reader);
        if (item.type == ItemType::LongestPdu)
            request.longestPdu = Reader(item.content).TakeNumber(4);
        else if (item.type == ItemType::RoleSelection && request.roles.size() < MostContexts)
            request.roles.push_back(ReadRole(item.content));
    }
}

std::string Bytes(std::uint32_t number, int size) {
    std::string bytes;
    while (size-- > 0)
        bytes += static_cast<char>(number >> (8 * size) & 0xFFU);
    return bytes;
}

template <typename Type> std::string Begin(Type type) {
    return {static_cast<char>(type), '\0'};
}

std::string MakeItem(ItemType type, std::string_view content) {
    return Begin(type) + Bytes(static_cast<std::uint32_t>(content.size()), 2).append(content);
}

std::string Pdu(PduType type, std::string_view body) {
    return Begin(type) + Bytes(static_cast<std::uint32_t>(body.size()), 4).append(body);
}

std::string Title(std::string_view title) {
    std::string padded(title.substr(0, longest::AeTitle));
    padded.resize(longest::AeTitle, ' ');
    return padded;
}

} // namespace

std::uint32_t BigEndian(std::string_view bytes) {
    std::uint32_t number = 0;
    for (const char byte : bytes)
        number = number << 8U | static_cast<unsigned char>(byte);
    return number;
}

PduHeader ReadPduHeader(std::string_view bytes) {
    return {static_cast<PduType>(bytes.front()), BigEndian(bytes.substr(2, 4))};
}

AssociateRequest ReadAssociateRequest(std::string_view body) {
    constexpr std::size_t reserved = 32;
    Reader reader(body);
    AssociateRequest request;
    request.protocolVersion = static_cast<std::uint16_t>(reader.TakeNumber(2));
    reader.Take(2);
    request.calledAe = Unpadded(reader.Take(longest::AeTitle));
    request.callingAe = Unpadded(reader.Take(longest::AeTitle));
    reader.Take(reserved);
    std::size_t syntaxes = 0;
    while (!reader.AtEnd()) {
        const Item item = TakeItem(reader);
        if (item.type == ItemType::ApplicationContext)
            request.applicationContext = Unpadded(item.content);
        else if (item.type == ItemType::ProposedContext)
            request.contexts.push_back(ReadContext(item.content, syntaxes));
        else if (item.type == ItemType::UserInformation)
            ReadUserInformation(item.content, request);
        if (request.contexts.size() > MostContexts)
            throw ProtocolFault("an association request with too many contexts");
    }
    return request;
}

std::string_view CallingTitle(std::string_view body) {
    constexpr std::size_t place = 20;
    return body.size() < place ? std::string_view() : Unpadded(body.substr(place, longest::AeTitle));
}

std::string AssociateAccept(std::string_view calledAe, std::string_view callingAe,
                            const std::vector<AnsweredContext>& contexts, const std::vector<Role>& roles) {
    constexpr std::size_t reserved = 32;
    std::string body = Bytes(FirstVersion, 2) + Bytes(0, 2) + Title(calledAe) + Title(callingAe);
    body.append(reserved, '\0');
    body += MakeItem(ItemType::ApplicationContext, UID_StandardApplicationContext);
    for (const AnsweredContext& context : contexts)
        body += MakeItem(ItemType::AnsweredContext,
                         Bytes(context.id, 1) + Bytes(0, 1) + Bytes(static_cast<std::uint8_t>(context.result), 1) +
                             Bytes(0, 1) + MakeItem(ItemType::TransferSyntax, context.transferSyntax));
    std::string user = MakeItem(ItemType::LongestPdu, Bytes(LongestPdu, 4)) +
                       MakeItem(ItemType::ImplementationClass, ImplementationClassUid);
    for (const Role& role : roles)
        user += MakeItem(ItemType::RoleSelection,
                         Bytes(static_cast<std::uint32_t>(role.sopClass.size()), 2)
                             .append(role.sopClass)
                             .append({static_cast<char>(role.user), static_cast<char>(role.provider)}));
    user += MakeItem(ItemType::ImplementationVersion, ImplementationVersionName());
    body += MakeItem(ItemType::UserInformation, user);
    return Pdu(PduType::AssociateAccept, body);
}

std::string AssociateReject(const Rejection& rejection) {
    return Pdu(PduType::AssociateReject,
               Bytes(0, 1) + Bytes(rejection.result, 1) + Bytes(rejection.source, 1) + Bytes(rejection.reason, 1));
}

std::string ReleaseAnswer() {
    return Pdu(PduType::ReleaseAnswer, Bytes(0, 4));
}

std::string Abort(ProtocolFault::Reason reason) {
    constexpr std::uint8_t provider = 2;
    return Pdu(PduType::Abort, Bytes(0, 2) + Bytes(provider, 1) + Bytes(static_cast<std::uint8_t>(reason), 1));
}

std::string CommandData(std::uint8_t context, std::string_view command, std::uint32_t longestPdu) {
    constexpr std::size_t fragmentHeader = 6; // length, context, control
    constexpr std::size_t leastFragment = 64; // a sender that takes no more than this takes nothing
    constexpr std::uint8_t ofCommand = 1;
    constexpr std::uint8_t last = 2;
    std::size_t longest = longestPdu == 0 ? LongestPdu : std::min(longestPdu, LongestPdu);
    longest = std::max(longest, fragmentHeader + leastFragment) - fragmentHeader;
    std::string units;
    for (bool more = true; more;) {
        const auto fragment = command.substr(0, longest);
        command.remove_prefix(fragment.size());
        more = !command.empty();
        units += Pdu(PduType::Data, Bytes(static_cast<std::uint32_t>(fragment.size() + 2), 4) + Bytes(context, 1) +
                                        Bytes(more ? ofCommand : ofCommand | last, 1).append(fragment));
    }
    return units;
}

} // namespace tavrel::upper_layer
