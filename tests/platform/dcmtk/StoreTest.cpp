#include "SampleReport.h"
#include "platform/dcmtk/DcmtkStore.h"
#include "platform/dcmtk/Implementation.h"
#include "tests/support/DocumentTable.h"
#include "tests/support/StorageNode.h"

#include <dcmtk/config/osconfig.h>

#include <dcmtk/dcmdata/dcdict.h>
#include <gtest/gtest.h>

#include <array>
#include <atomic>
#include <chrono>
#include <thread>

#include <arpa/inet.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

namespace tavrel::test {
namespace {

using Behaviour = StorageNode::Behaviour;
using std::chrono::steady_clock;

/// A port whose queue of callers is full: who calls it gets no answer at all.
class DeafPort {
public:
    DeafPort() {
        auto* generic = reinterpret_cast<sockaddr*>(&address_);
        address_.sin_family = AF_INET;
        address_.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        socklen_t length = sizeof address_;
        for (int& caller : sockets_)
            caller = ::socket(AF_INET, SOCK_STREAM | SOCK_NONBLOCK | SOCK_CLOEXEC, 0);
        const bool listens = ::bind(sockets_[0], generic, length) == 0 && ::listen(sockets_[0], 0) == 0 &&
                             ::getsockname(sockets_[0], generic, &length) == 0;
        EXPECT_TRUE(listens);
        for (std::size_t caller = 1; caller < sockets_.size(); ++caller)
            static_cast<void>(::connect(sockets_[caller], generic, length)); // in progress
    }
    DeafPort(const DeafPort&) = delete;
    DeafPort& operator=(const DeafPort&) = delete;
    ~DeafPort() {
        for (const int caller : sockets_)
            ::close(caller);
    }

    std::string Port() const { return std::to_string(ntohs(address_.sin_port)); }

private:
    sockaddr_in address_{};
    std::array<int, 6> sockets_{}; ///< the listener and its callers
};

/// Accepts an association (DICOM PS3.8, 9.3) and answers the version with a command of nested sequences.
class NestingService {
public:
    NestingService() : listener_(::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0)) {
        sockaddr_in address{};
        auto* generic = reinterpret_cast<sockaddr*>(&address);
        socklen_t length = sizeof address;
        address.sin_family = AF_INET;
        address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        EXPECT_TRUE(::bind(listener_, generic, length) == 0 && ::listen(listener_, 1) == 0 &&
                    ::getsockname(listener_, generic, &length) == 0);
        port_ = ntohs(address.sin_port);
        thread_ = std::jthread([this] { Serve(); });
    }
    NestingService(const NestingService&) = delete;
    NestingService& operator=(const NestingService&) = delete;
    ~NestingService() {
        ::shutdown(listener_, SHUT_RDWR);
        thread_ = {};
        ::close(listener_);
    }

    std::string Port() const { return std::to_string(port_); }

private:
    static std::string Big(std::size_t number, int size) {
        std::string bytes;
        while (size-- > 0)
            bytes += static_cast<char>(number >> (8 * size) & 0xFFU);
        return bytes;
    }
    static std::string Item(std::size_t type, const std::string& content) {
        return Big(type, 1) + Big(0, 1) + Big(content.size(), 2) + content;
    }
    static std::string Pdu(std::size_t type, const std::string& body) {
        return Big(type, 1) + Big(0, 1) + Big(body.size(), 4) + body;
    }
    static std::string Accept() {
        const std::string context = Big(1, 1) + Big(0, 3) + Item(0x40, "1.2.840.10008.1.2.1");
        return Pdu(2, Big(1, 2) + Big(0, 2) + std::string(64, ' ') + Item(0x10, "1.2.840.10008.3.1.1.1") +
                          Item(0x21, context) + Item(0x50, Item(0x51, Big(16384, 4)) + Item(0x52, "2.999.1")));
    }
    static std::string NestedAnswer() {
        constexpr int depth = 20'000;
        std::string answer;
        for (int level = 0; level < depth; ++level)
            answer += std::string("\x08\x00\x40\x11\xFF\xFF\xFF\xFF\xFE\xFF\x00\xE0\xFF\xFF\xFF\xFF", 16);
        std::string units;
        constexpr std::size_t fragment = 16000;
        for (std::size_t at = 0; at < answer.size(); at += fragment) {
            const std::string piece = answer.substr(at, fragment);
            const bool last = at + fragment >= answer.size();
            units += Pdu(4, Big(piece.size() + 2, 4) + Big(1, 1) + Big(last ? 3 : 1, 1) + piece);
        }
        return units;
    }
    void Serve() const {
        const int connection = ::accept(listener_, nullptr, nullptr);
        std::array<char, 65536> bytes;
        const auto say = [connection](const std::string& words) {
            ::send(connection, words.data(), words.size(), MSG_NOSIGNAL);
        };
        ::recv(connection, bytes.data(), bytes.size(), 0);
        say(Accept());
        ::recv(connection, bytes.data(), bytes.size(), 0);
        say(NestedAnswer());
        while (::recv(connection, bytes.data(), bytes.size(), 0) > 0)
            ;
        ::close(connection);
    }

    int listener_;
    std::uint16_t port_ = 0;
    std::jthread thread_; ///< last: it is joined first
};

class Storing : public testing::Test {
protected:
    void Store(const StorageNode& node) { Store(node.Port()); }
    void Store(const std::string& port) { report->StoreToNode("Localhost", port, "AE_INTERNAL", "PORVANE", true); }

    /// The words of a failure that leaves open whether the service has the version.
    std::string Failure(const std::string& port) {
        return Raised(DicomFault::NotStored, [&] { Store(port); });
    }
    std::string Failure(const StorageNode& node) { return Failure(node.Port()); }

    /// The words of a failure that is raised before the service is asked.
    std::string RefusedAtOnce() {
        StorageNode node;
        auto failure = Raised(DicomFault::NotSendable, [&] { Store(node); });
        EXPECT_TRUE(node.Objects().empty());
        EXPECT_TRUE(library.background.runs.empty());
        return failure;
    }

    static std::string Raised(DicomFault fault, const std::function<void()>& call) {
        const Error error = ErrorOf(call);
        EXPECT_EQ(error.number, static_cast<int>(fault)) << error.description;
        return error.description;
    }

    TestLibrary library;
    DataSetHandle report = MakeReport(library.dicom);
};

TEST_F(Storing, AVersionArrivesWhole) {
    StorageNode node;
    report->SetValue(attribute::SeriesDescription, 0, "Übersicht");
    Store(node);
    const auto objects = node.Objects();
    ASSERT_EQ(objects.size(), 1U);
    const auto arrived = library.Load(objects[0].file.string());
    EXPECT_EQ(arrived->GetElementString(0, attribute::SeriesDescription), "Übersicht");
    EXPECT_EQ(arrived->Item(0)->GetSequenceItemCount(attribute::ContentSequence), 2);
    EXPECT_EQ(objects[0].callingAe, "AE_INTERNAL");
    EXPECT_EQ(objects[0].calledAe, "PORVANE");
}

TEST_F(Storing, TheServiceIsToldThatNothingFollows) {
    StorageNode node;
    Store(node);
    EXPECT_EQ(node.Farewells(), 1);
}

TEST_F(Storing, TheServiceLearnsWhichProgramCalls) {
    StorageNode node;
    Store(node);
    EXPECT_EQ(node.Objects().at(0).implementation, std::string(ImplementationClassUid) + " TAVREL_" PROJECT_VERSION);
}

TEST_F(Storing, TheContextsAreThoseOfTheConformanceStatement) {
    std::vector<std::string> documented;
    for (const auto& row : TableUnder("##### 4.2.1.3 Association initiation: a version is saved", CONFORMANCE_DOCUMENT))
        documented.push_back(row[1] + " " + row[3]);
    StorageNode node;
    Store(node);
    EXPECT_EQ(node.Objects().at(0).proposals, documented);
}

TEST_F(Storing, TheLimitsAreThoseOfTheConformanceStatement) {
    const auto rows = TableUnder("##### 4.2.1.2 Association policies", CONFORMANCE_DOCUMENT);
    const auto documented = [&](const std::string& policy) {
        return std::ranges::find(rows, policy, [](const DocumentRow& row) { return row[0]; })->at(1);
    };
    StorageNode node;
    Store(node);
    EXPECT_EQ(documented("PDU that it asks the service not to exceed"), "16,384 bytes");
    EXPECT_EQ(node.Objects().at(0).longestPdu, 16384U);
    EXPECT_EQ(documented("Connection"), std::to_string(StoreTimeouts{}.connect.count()) + " s at most");
    EXPECT_EQ(documented("Each answer"), std::to_string(StoreTimeouts{}.answer.count()) + " s at most");
}

TEST_F(Storing, TheBytesAreInTheDeclaredCharacterSet) {
    StorageNode node;
    report->SetValue(attribute::SeriesDescription, 0, "Übersicht");
    Store(node);
    EXPECT_NE(ReadBytes(node.Objects()[0].file)
                  .find("\xDC"
                        "bersicht"),
              std::string::npos);
}

TEST_F(Storing, TheServiceIsAskedInTheBackgroundAndItsEventsAreAwaited) {
    StorageNode node;
    Store(node);
    EXPECT_EQ(library.background.runs, std::vector<std::string>{"Storing the version ..."});
    EXPECT_EQ(library.events.awaited, 1);
}

TEST_F(Storing, TheServicesWorkIsDoneWhenTheCallReturns) {
    StorageNode node;
    std::atomic<bool> done = false;
    node.BeforeAnswering([&](const StorageNode::Received&) {
        std::this_thread::sleep_for(std::chrono::milliseconds{20});
        done = true;
    });
    Store(node);
    EXPECT_TRUE(done);
}

TEST_F(Storing, WhatItNeedsCanBeReadBeforeAndOnce) {
    StorageNode node;
    library.dicom.GetReadyToStore();
    library.dicom.GetReadyToStore();
    Store(node);
    Store(node);
    ASSERT_EQ(node.Objects().size(), 2U);
    EXPECT_EQ(ReadBytes(node.Objects()[0].file), ReadBytes(node.Objects()[1].file));
}

TEST_F(Storing, ADictionaryThatIsMissingIsToldAndTheServiceNotAsked) {
    StorageNode node;
    dcmDataDict.wrlock().reloadDictionaries(OFFalse, OFFalse);
    dcmDataDict.wrunlock();
    const auto failure = Failure(node);
    dcmDataDict.wrlock().reloadDictionaries(OFFalse, OFTrue);
    dcmDataDict.wrunlock();
    EXPECT_NE(failure.find("the dictionary of DICOM's elements is missing or damaged (/usr/share/libdcmtk"),
              std::string::npos)
        << failure;
    EXPECT_EQ(failure.find("the service"), std::string::npos) << failure;
    Store(node);
    EXPECT_EQ(node.Objects().size(), 1U);
}

TEST_F(Storing, AWarningCountsAsStored) {
    StorageNode node{Behaviour::AnswerWarning};
    Store(node);
    EXPECT_EQ(node.Objects().size(), 1U);
}

TEST_F(Storing, AServiceThatFailsSaysWhy) {
    StorageNode node{Behaviour::AnswerFailure};
    const auto failure = Failure(node);
    EXPECT_NE(failure.find("it is out of resources, status A700 (\"the disk is full\")"), std::string::npos) << failure;
    EXPECT_EQ(library.events.awaited, 0);
}

struct Answer {
    int status;
    std::string_view words;
};

class FailureStatus : public Storing, public testing::WithParamInterface<Answer> {};
INSTANTIATE_TEST_SUITE_P(, FailureStatus,
                         testing::Values(Answer{0xA701, "it is out of resources, status A701"},
                                         Answer{0xA900, "the document does not match its kind, status A900"},
                                         Answer{0xC123, "it cannot understand the document, status C123"},
                                         Answer{0x0110, "it failed to process the document, status 0110"},
                                         Answer{0x0111, "it has this document already, status 0111"},
                                         Answer{0x0117, "the document's UID is not valid, status 0117"},
                                         Answer{0x0122, "it does not take this kind of document, status 0122"},
                                         Answer{0x0124, "this workstation may not store there, status 0124"},
                                         Answer{0xFE00, "the storing was cancelled, status FE00"},
                                         Answer{0x0106, "it failed, status 0106"}),
                         [](const auto& answer) { return std::to_string(answer.param.status); });

TEST_P(FailureStatus, IsToldInWords) {
    StorageNode node;
    node.FailWith(GetParam().status);
    const auto failure = Failure(node);
    EXPECT_NE(failure.find("the service answered that " + std::string(GetParam().words)), std::string::npos) << failure;
}

TEST_F(Storing, ARefusedAssociationIsNamed) {
    StorageNode node{Behaviour::RefuseAssociation};
    const auto failure = Failure(node);
    EXPECT_NE(failure.find("refused the connection"), std::string::npos) << failure;
}

TEST_F(Storing, AnAbsentServiceIsNamed) {
    std::string port;
    {
        const StorageNode node;
        port = node.Port();
    }
    const auto failure = Failure(port);
    EXPECT_NE(failure.find("PORVANE at Localhost, port " + port), std::string::npos) << failure;
}

TEST_F(Storing, AServiceThatDiesIsAFailure) {
    StorageNode node{Behaviour::DieInTheMiddle};
    EXPECT_NE(Failure(node), "");
}

TEST_F(Storing, AnAnswerOfNestedSequencesIsAFailure) {
    const NestingService service;
    EXPECT_NE(Failure(service.Port()).find("the service did not answer"), std::string::npos);
}

TEST_F(Storing, ASilentServiceIsWaitedForOnlySoLong) {
    for (const auto behaviour : {Behaviour::HangAtAssociation, Behaviour::HangAtAnswer}) {
        StorageNode node{behaviour};
        const auto start = steady_clock::now();
        Failure(node);
        EXPECT_LT(steady_clock::now() - start, std::chrono::milliseconds{1900});
    }
}

TEST_F(Storing, AServiceThatTakesNoConnectionIsWaitedForOnlySoLong) {
    const DeafPort deaf;
    const auto start = steady_clock::now();
    Failure(deaf.Port());
    EXPECT_LT(steady_clock::now() - start, std::chrono::milliseconds{1900});
}

TEST_F(Storing, AVersionWithoutStudyIsRefusedAtOnce) {
    report->SetValue(attribute::StudyInstanceUid, 0, Value{});
    EXPECT_EQ(RefusedAtOnce(), "The version cannot be sent: it has no Study Instance UID (0020,000D).");
}

TEST_F(Storing, AVersionWithoutSeriesIsRefusedAtOnce) {
    report->SetValue(attribute::SeriesInstanceUid, 0, "");
    EXPECT_EQ(RefusedAtOnce(), "The version cannot be sent: it has no Series Instance UID (0020,000E).");
}

TEST_F(Storing, AUidOver64CharactersIsRefusedAtOnce) {
    report->SetValue(attribute::SopInstanceUid, 0, "1." + std::string(63, '2'));
    EXPECT_NE(RefusedAtOnce().find("longer than 64 characters"), std::string::npos);
}

TEST_F(Storing, ADataSetOfAProgramThatOnlyReadsIsRefused) {
    DcmtkLibrary reader;
    report = MakeReport(reader);
    EXPECT_EQ(RefusedAtOnce(), "A data set of a program that only reads cannot be sent.");
}

TEST_F(Storing, ASequenceItemIsRefused) {
    report->SaveToFile(library.File("report.dcm"));
    const auto loaded = library.Load(library.File("report.dcm"));
    report = loaded->Item(0)->GetSequenceItem(attribute::ContentSequence, 0);
    EXPECT_EQ(RefusedAtOnce(), "A data set of a program that only reads cannot be sent.");
}

TEST_F(Storing, ACharacterOutsideTheSetIsRefusedAtOnce) {
    report->SetValue(attribute::SeriesDescription, 0, "αβ");
    EXPECT_EQ(RefusedAtOnce(), "The character \"α\" (U+03B1) at position 1 of Series Description (0008,103E) cannot "
                               "be written in the character set ISO_IR 100.");
}

TEST_F(Storing, AnAeTitleOver16CharactersIsRefusedAtOnce) {
    StorageNode node;
    const auto failure =
        FailureOf([&] { report->StoreToNode("Localhost", node.Port(), "AE_INTERNAL", "SEVENTEEN_LETTERS", true); });
    EXPECT_EQ(failure, "The AE title \"SEVENTEEN_LETTERS\" must have 1 to 16 characters.");
    EXPECT_TRUE(node.Objects().empty());
}

TEST_F(Storing, APortThatIsNoneIsRefusedAtOnce) {
    for (const char* port : {"", "dicom", "0", "65536", "104x"})
        EXPECT_NE(FailureOf([&] { Store(std::string{port}); }).find("is no port"), std::string::npos) << port;
}

TEST_F(Storing, SeveralSendersAtOnceLoseNothing) {
    StorageNode node;
    const auto send = [&](int first) {
        TestLibrary own;
        for (int version = first; version < first + 20; ++version)
            MakeReport(own.dicom, version)->StoreToNode("Localhost", node.Port(), "AE_INTERNAL", "PORVANE", true);
    };
    std::thread other{send, 100};
    send(1);
    other.join();
    EXPECT_EQ(node.Objects().size(), 40U);
}

} // namespace
} // namespace tavrel::test
