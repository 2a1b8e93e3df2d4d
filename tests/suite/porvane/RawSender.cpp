#include "tests/suite/porvane/RawSender.h"

#include <netinet/in.h>
#include <netinet/tcp.h>
#include <poll.h>
#include <sys/fsuid.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <stdexcept>
#include <utility>

namespace tavrel {
namespace {

constexpr uid_t Nobody = 65534;
constexpr std::uint8_t Context = 1;

std::string Big(std::uint32_t number, int size) {
    std::string bytes;
    while (size-- > 0)
        bytes += static_cast<char>(number >> (8 * size) & 0xFFU);
    return bytes;
}

std::string Little(std::uint32_t number, int size) {
    std::string bytes;
    for (; size-- > 0; number >>= 8U)
        bytes += static_cast<char>(number & 0xFFU);
    return bytes;
}

std::uint32_t BigNumber(std::string_view bytes) {
    std::uint32_t number = 0;
    for (const char byte : bytes)
        number = number << 8U | static_cast<unsigned char>(byte);
    return number;
}

std::string Item(std::uint8_t type, const std::string& content) {
    return Big(type, 1) + Big(0, 1) + Big(static_cast<std::uint32_t>(content.size()), 2) + content;
}

std::string Title(std::string title) {
    title.resize(16, ' ');
    return title;
}

std::string ProposedContext(std::uint32_t number, std::string_view abstractSyntax, const std::string& moreSyntaxes) {
    return Item(0x20, Big(number, 1) + Big(0, 3) + Item(0x30, std::string(abstractSyntax)) +
                          Item(0x40, "1.2.840.10008.1.2.1") + moreSyntaxes);
}

std::string RequestOf(const std::string& callingAe, const std::string& contexts, const std::string& moreOfTheUser) {
    return Big(1, 2) + Big(0, 2) + Title("PORVANE") + Title(callingAe) + std::string(32, '\0') +
           Item(0x10, "1.2.840.10008.3.1.1.1") + contexts +
           Item(0x50, Item(0x51, Big(16384, 4)) + Item(0x52, "2.999.1") + moreOfTheUser);
}

std::string Even(std::string text, char padding) {
    if (text.size() % 2 == 1)
        text += padding;
    return text;
}

std::size_t LittleEndian(std::string_view bytes) {
    return static_cast<unsigned char>(bytes[0]) + static_cast<unsigned char>(bytes[1]) * std::size_t{256};
}

/// The value of an element of the command.
std::string ValueOf(std::string_view command, std::uint16_t wanted) {
    while (command.size() >= 8) {
        const std::size_t length = LittleEndian(command.substr(4));
        if (LittleEndian(command.substr(2)) == wanted)
            return std::string(command.substr(8, length));
        command.remove_prefix(std::min(8 + length, command.size()));
    }
    return {};
}

} // namespace

AsAnotherAccount::AsAnotherAccount() {
    setfsuid(Nobody);
}

AsAnotherAccount::~AsAnotherAccount() {
    setfsuid(geteuid());
}

bool AsAnotherAccount::IsPossible() {
    return geteuid() == 0;
}

RawSender::RawSender(int port) : socket_(socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0)) {
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    address.sin_port = htons(static_cast<std::uint16_t>(port));
    if (connect(socket_, reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0)
        throw std::runtime_error("cannot connect");
    const int on = 1;
    setsockopt(socket_, IPPROTO_TCP, TCP_NODELAY, &on, sizeof on);
}

RawSender::RawSender(RawSender&& other) noexcept : socket_(std::exchange(other.socket_, -1)) {}

RawSender::~RawSender() {
    if (socket_ >= 0)
        close(socket_);
}

bool RawSender::Send(std::string_view bytes) {
    while (!bytes.empty()) {
        const auto sent = send(socket_, bytes.data(), bytes.size(), MSG_NOSIGNAL);
        if (sent <= 0)
            return false;
        bytes.remove_prefix(static_cast<std::size_t>(sent));
    }
    return true;
}

RawSender::Unit RawSender::Receive(std::chrono::milliseconds time) {
    const auto end = std::chrono::steady_clock::now() + time;
    std::string header;
    body_.clear();
    if (!ReceiveBytes(header, 6, end) || !ReceiveBytes(body_, BigNumber(header.substr(2)), end))
        return Nothing;
    return static_cast<Unit>(header.front());
}

bool RawSender::ReceiveBytes(std::string& bytes, std::size_t count, std::chrono::steady_clock::time_point end) const {
    while (bytes.size() < count) {
        const auto left = std::chrono::duration_cast<std::chrono::milliseconds>(end - std::chrono::steady_clock::now());
        pollfd waiting{socket_, POLLIN, 0};
        if (left.count() <= 0 || poll(&waiting, 1, static_cast<int>(left.count())) <= 0)
            return false;
        std::string piece(count - bytes.size(), '\0');
        const auto got = recv(socket_, piece.data(), piece.size(), 0);
        if (got <= 0)
            return false;
        bytes.append(piece, 0, static_cast<std::size_t>(got));
    }
    return true;
}

RawSender::Unit RawSender::Associate(const std::string& callingAe, std::string_view abstractSyntax) {
    return Send(AssociateRequest(callingAe, abstractSyntax)) ? Receive() : Nothing;
}

RawSender::Answer RawSender::Store(std::string_view sopClass, std::string_view sopInstance,
                                   const std::string& dataSet) {
    Send(DataPdu(StoreCommand(sopClass, sopInstance), true, true));
    constexpr std::size_t longest = 65536;
    for (std::size_t at = 0; at <= dataSet.size(); at += longest)
        Send(DataPdu(dataSet.substr(at, longest), false, at + longest > dataSet.size()));
    if (Receive(std::chrono::seconds(20)) != Data)
        return {};
    const auto command = std::string_view(body_).substr(6);
    const std::string status = ValueOf(command, 0x0900);
    return {static_cast<unsigned char>(status.at(0)) | static_cast<unsigned char>(status.at(1)) << 8U,
            ValueOf(command, 0x0902)};
}

std::string RawSender::AssociateRequest(const std::string& callingAe, std::string_view abstractSyntax) {
    return PduOf(1, RequestOf(callingAe, ProposedContext(Context, abstractSyntax, {}), {}));
}

std::string RawSender::LargestAssociateRequest(const std::string& callingAe, std::string_view abstractSyntax) {
    constexpr std::size_t mostBytes = 65536;
    constexpr int mostContexts = 128;
    std::string syntaxes, contexts;
    for (int i = 0; i < 30; ++i) // 4,096 in all
        syntaxes += Item(0x40, "1.2");
    for (std::uint32_t i = 0; i < mostContexts; ++i)
        contexts += ProposedContext(2 * i + 1, abstractSyntax, syntaxes);
    const std::size_t rest = mostBytes - RequestOf(callingAe, contexts, Item(0x55, "")).size();
    return PduOf(1, RequestOf(callingAe, contexts, Item(0x55, std::string(rest, 'x'))));
}

std::string RawSender::PduOf(std::uint8_t type, const std::string& body) {
    return Big(type, 1) + Big(0, 1) + Big(static_cast<std::uint32_t>(body.size()), 4) + body;
}

std::string RawSender::DataPdu(const std::string& bytes, bool ofCommand, bool last) {
    return PduOf(4, Big(static_cast<std::uint32_t>(bytes.size() + 2), 4) + Big(Context, 1) +
                        Big((ofCommand ? 1U : 0U) | (last ? 2U : 0U), 1) + bytes);
}

std::string RawSender::StoreCommand(std::string_view sopClass, std::string_view sopInstance) {
    const std::string elements = Element(0x0002, Even(std::string(sopClass), '\0')) + Element(0x0100, Little(1, 2)) +
                                 Element(0x0110, Little(1, 2)) + Element(0x0700, Little(0, 2)) +
                                 Element(0x0800, Little(0, 2)) + Element(0x1000, Even(std::string(sopInstance), '\0'));
    return Element(0x0000, Little(static_cast<std::uint32_t>(elements.size()), 4)) + elements;
}

std::string RawSender::LongestStoreCommand(std::string_view sopClass, std::string_view sopInstance) {
    constexpr std::size_t most = 4096;
    const std::string command = StoreCommand(sopClass, sopInstance);
    return command + Element(0x1030, std::string(most - command.size() - Element(0, "").size(), 'x'));
}

std::string RawSender::EchoCommand() {
    const std::string elements = Element(0x0002, Even("1.2.840.10008.1.1", '\0')) + Element(0x0100, Little(0x30, 2)) +
                                 Element(0x0110, Little(1, 2)) + Element(0x0800, Little(0x0101, 2));
    return Element(0x0000, Little(static_cast<std::uint32_t>(elements.size()), 4)) + elements;
}

std::string RawSender::Element(std::uint16_t element, const std::string& value) {
    return Little(0, 2) + Little(element, 2) + Little(static_cast<std::uint32_t>(value.size()), 4) + value;
}

std::string LongElement(std::uint16_t group, std::uint16_t element, std::string_view vr, const std::string& value) {
    return Little(group, 2) + Little(element, 2) + std::string(vr) + Little(0, 2) +
           Little(static_cast<std::uint32_t>(value.size()), 4) + value;
}

} // namespace tavrel
