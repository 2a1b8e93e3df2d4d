#pragma once

#include <chrono>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include <sys/types.h>

namespace tavrel {

/// The connections that this thread makes meanwhile are those of another account of the machine, where it may.
class AsAnotherAccount {
public:
    static bool IsPossible();
    template <typename Action> static auto Do(const Action& action) {
        const AsAnotherAccount meanwhile;
        return action();
    }
    AsAnotherAccount(const AsAnotherAccount&) = delete;
    AsAnotherAccount& operator=(const AsAnotherAccount&) = delete;

private:
    AsAnotherAccount();
    ~AsAnotherAccount();
};

/// A sender that puts its bytes together by hand, right or wrong (DICOM PS3.7 and PS3.8).
class RawSender {
public:
    enum Unit : std::uint8_t { Accept = 2, Reject = 3, Data = 4, ReleaseAnswer = 6, AbortUnit = 7, Nothing = 0 };

    /// Connects to a port of this machine.
    explicit RawSender(int port);
    ~RawSender();
    RawSender(RawSender&& other) noexcept;
    RawSender(const RawSender&) = delete;
    RawSender& operator=(const RawSender&) = delete;
    RawSender& operator=(RawSender&&) = delete;

    /// False once the other end is gone.
    bool Send(std::string_view bytes);
    /// The type of the next unit that comes within that time, and its body.
    Unit Receive(std::chrono::milliseconds time = std::chrono::seconds(5));
    const std::string& Body() const { return body_; }

    /// Asks for an association for that kind of objects and answers what came of it.
    Unit Associate(const std::string& callingAe = "MODALITY", std::string_view abstractSyntax = CtImage);

    struct Answer {
        int status = -1; ///< none
        std::string comment;
    };
    /// Sends the data set, in explicit little endian, and answers what is said to it.
    Answer Store(std::string_view sopClass, std::string_view sopInstance, const std::string& dataSet);

    static constexpr std::string_view CtImage = "1.2.840.10008.5.1.4.1.1.2";
    static std::string AssociateRequest(const std::string& callingAe, std::string_view abstractSyntax);
    /// As many contexts and syntaxes as may be in one, and as many bytes.
    static std::string LargestAssociateRequest(const std::string& callingAe, std::string_view abstractSyntax);
    static std::string PduOf(std::uint8_t type, const std::string& body);
    /// A unit with one fragment; the context is the one that `Associate` asked for.
    static std::string DataPdu(const std::string& bytes, bool ofCommand, bool last);
    static std::string StoreCommand(std::string_view sopClass, std::string_view sopInstance);
    /// As long as a command may be.
    static std::string LongestStoreCommand(std::string_view sopClass, std::string_view sopInstance);
    static std::string EchoCommand();
    static std::string Element(std::uint16_t element, const std::string& value);

private:
    bool ReceiveBytes(std::string& bytes, std::size_t count, std::chrono::steady_clock::time_point end) const;

    int socket_;
    std::string body_;
};

/// A data element, explicit little endian, whose length has 32 bits.
std::string LongElement(std::uint16_t group, std::uint16_t element, std::string_view vr, const std::string& value);

} // namespace tavrel
