#include "tests/fuzz/Conversation.h"

#include "platform/dcmtk/DcmtkLibrary.h"
#include "platform/error.h"
#include "platform/text.h"
#include "suite/porvane/Association.h"
#include "suite/porvane/UnsentVersions.h"
#include "tests/fuzz/Entry.h"
#include "tests/support/TemporaryFolder.h"

#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <string>
#include <utility>

namespace {

/// Of the conversation that goes on.
std::string& Answers() {
    static std::string answers;
    return answers;
}

} // namespace

/// The linker leads the service's sending here (--wrap=send): an answer waits for nobody to take it.
// NOLINTNEXTLINE(bugprone-reserved-identifier): the linker's name
extern "C" ssize_t __wrap_send(int /*socket*/, const void* bytes, size_t size, int /*flags*/) {
    Answers().append(static_cast<const char*>(bytes), size);
    return static_cast<ssize_t>(size);
}

namespace tavrel::test {
namespace {

using upper_layer::PduType;

/// What a catalogue on SQLite answers that has no rows, but for its version.
class Rows : public ResultSet {
public:
    explicit Rows(bool version) : version_(version) {}

    bool AtEnd() const override { return !version_; }
    bool AtBeginning() const override { return !version_; }
    void MoveNext() override { version_ = false; }
    bool HasField(std::string_view /*name*/) const override { return true; }
    int FieldIndex(std::string_view /*name*/) const override { return 0; }
    std::optional<std::string_view> Field(int /*index*/) const override { return "3.40"; }
    std::string Text(std::string_view /*name*/) const override { return "3.40"; }
    void AddNew() override {}
    void SetField(std::string_view /*name*/, std::string_view /*value*/) override {}
    void Update() override {}
    void Close() override {}

private:
    bool version_;
};

/// Fails for an image's row, the last of an object's, so that nothing is kept.
class RowOfAnObject : public Command {
public:
    void Text(std::string_view statement) override { statement_ = statement; }
    void Append(Parameter parameter) override {
        Require(std::ranges::none_of(parameter.value, [](unsigned char c) { return c < ' ' || c == '\''; }));
        for (std::string_view rest = parameter.value; !rest.empty(); rest.remove_prefix(CharacterLength(rest)))
            Require(CharacterLength(rest) > 0);
    }
    void Delete(int /*index*/) override {}
    void Execute() override {
        if (statement_.starts_with("INSERT INTO Image"))
            throw Error(Fault::OfTheSuite, "Catalogue", "it takes no image");
    }

private:
    std::string statement_;
};

/// Each literal of it ends where it should: no other follows but behind a comparison.
void RequireOneStatement(std::string_view statement) {
    Require(statement.find('\0') == std::string_view::npos);
    for (auto begin = statement.find('\''); begin != std::string_view::npos; begin = statement.find('\'')) {
        const auto end = statement.find('\'', begin + 1);
        Require(begin > 0 && statement[begin - 1] == '=' && end != std::string_view::npos);
        statement.remove_prefix(end + 1);
    }
}

class KnowingNothing : public Connection {
public:
    void Open(std::string_view /*text*/, std::string_view /*user*/, std::string_view /*password*/) override {
        open_ = true;
    }
    bool IsOpen() const override { return open_; }
    void Close() override { open_ = false; }
    void BeginTransaction() override {}
    void Commit() override {}
    std::unique_ptr<ResultSet> OpenResultSet(std::string_view statement, Cursor /*cursor*/) override {
        RequireOneStatement(statement);
        return std::make_unique<Rows>(statement.find("sqlite_version") != std::string_view::npos);
    }
    std::unique_ptr<Command> NewCommand() override { return std::make_unique<RowOfAnObject>(); }

private:
    bool open_ = false;
};

class Catalogue : public Database {
public:
    std::unique_ptr<Connection> NewConnection() override { return std::make_unique<KnowingNothing>(); }
};

/// All of the storage service that stands behind an association.
class Service {
public:
    Service() { tree_.Open(); }

    void Serve(int socket, const std::string& request) {
        const PeerAccount own{PeerAccount::Whose::Own, geteuid()};
        Association::Serve(socket, request, {"PORVANE", tree_, unsent_, room_, nullptr}, places_, own, {});
    }

private:
    TemporaryFolder folder_;
    Catalogue database_;
    DcmtkLibrary library_;
    ObjectCatalogue catalogue_{database_, "none"};
    StudyTree tree_{folder_.Path(), catalogue_, library_};
    UnsentVersions unsent_{folder_.Path() / "unsent", library_, tree_, [](const StudyTree::Stored&) {}};
    IncomingRoom room_{IncomingRoom::Megabyte, [] {
                           return IncomingRoom::Disk{1024 * IncomingRoom::Megabyte, 1024 * IncomingRoom::Megabyte};
                       }};
    Places places_;
};

/// Takes a unit from the front.
std::pair<PduType, std::string_view> TakeUnit(std::string_view& bytes) {
    Require(bytes.size() >= upper_layer::PduHeaderSize);
    const auto header = upper_layer::ReadPduHeader(bytes);
    bytes.remove_prefix(upper_layer::PduHeaderSize);
    Require(header.length <= bytes.size());
    const auto body = bytes.substr(0, header.length);
    bytes.remove_prefix(header.length);
    return {header.type, body};
}

/// An association is accepted or refused; then come whole answers, and nothing behind an end.
void RequireAnswers(std::string_view units) {
    constexpr std::size_t fragmentHeader = 6;
    constexpr std::uint8_t last = 2;
    const PduType first = TakeUnit(units).first;
    Require(first == PduType::AssociateAccept || units.empty());
    std::string command;
    while (!units.empty()) {
        const auto [type, body] = TakeUnit(units);
        if (type != PduType::Data) {
            Require((type == PduType::ReleaseAnswer || type == PduType::Abort) && units.empty());
            continue;
        }
        Require(body.size() > fragmentHeader);
        command += body.substr(fragmentHeader);
        if ((static_cast<std::uint8_t>(body[fragmentHeader - 1]) & last) != 0)
            DimseCommand::Read(std::exchange(command, {}));
    }
    Require(command.empty());
}

} // namespace

void Converse(std::string_view sent) {
    static Service service;
    if (sent.size() < upper_layer::PduHeaderSize)
        return;
    const auto header = upper_layer::ReadPduHeader(sent);
    sent.remove_prefix(upper_layer::PduHeaderSize);
    // Who sends anything else, or less, is not heard at all.
    if (header.type != PduType::AssociateRequest || header.length > upper_layer::MostRequestBytes ||
        header.length > sent.size())
        return;

    std::array<int, 2> ends{};
    Require(socketpair(AF_UNIX, SOCK_STREAM | SOCK_NONBLOCK | SOCK_CLOEXEC, 0, ends.data()) == 0);
    const auto rest = sent.substr(header.length);
    Require(write(ends[0], rest.data(), rest.size()) == static_cast<ssize_t>(rest.size()));
    shutdown(ends[0], SHUT_WR);
    Answers().clear();
    service.Serve(ends[1], std::string(sent.substr(0, header.length)));
    close(ends[0]);
    RequireAnswers(Answers());
}

} // namespace tavrel::test
