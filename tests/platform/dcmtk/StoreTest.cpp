#include "SampleReport.h"
#include "tests/support/StorageNode.h"

#include <gtest/gtest.h>

#include <array>
#include <atomic>
#include <chrono>
#include <thread>

#include <arpa/inet.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <sys/stat.h>
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
            ::connect(sockets_[caller], generic, length);
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

class Storing : public testing::Test {
protected:
    void Store(const StorageNode& node) { Store(node.Port()); }
    void Store(const std::string& port) { report->StoreToNode("Localhost", port, "AE_INTERNAL", "PORVANE", true); }

    std::string Failure(const StorageNode& node) {
        return FailureOf([&] { Store(node); });
    }

    std::vector<std::filesystem::path> Unsent() const {
        std::vector<std::filesystem::path> files;
        if (std::filesystem::exists(library.folder.path / "unsent"))
            for (const auto& entry : std::filesystem::directory_iterator{library.folder.path / "unsent"})
                files.push_back(entry.path());
        return files;
    }

    /// The failure names one kept file, which holds the report.
    void ExpectKept(const std::string& failure) {
        ASSERT_EQ(Unsent().size(), 1U) << failure;
        const std::string file = Unsent().front().string();
        EXPECT_NE(failure.find(file), std::string::npos) << failure;
        EXPECT_EQ(library.Load(file)->GetElementString(0, attribute::SopInstanceUid),
                  Text(*report, attribute::SopInstanceUid));
    }

    /// A failure that is raised before the service is asked: nothing is kept.
    std::string RefusedAtOnce() {
        StorageNode node;
        const auto failure = Failure(node);
        EXPECT_TRUE(node.Objects().empty());
        EXPECT_TRUE(Unsent().empty());
        EXPECT_TRUE(library.background.runs.empty());
        return failure;
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
    EXPECT_TRUE(Unsent().empty());
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

TEST_F(Storing, AWarningCountsAsStored) {
    StorageNode node{Behaviour::AnswerWarning};
    Store(node);
    EXPECT_EQ(node.Objects().size(), 1U);
    EXPECT_TRUE(Unsent().empty());
}

TEST_F(Storing, AServiceOutOfResourcesIsNamedAndTheVersionKept) {
    StorageNode node{Behaviour::AnswerOutOfResources};
    const auto failure = Failure(node);
    EXPECT_NE(failure.find("OutOfResources"), std::string::npos) << failure;
    ExpectKept(failure);
    EXPECT_EQ(library.events.awaited, 0);
}

TEST_F(Storing, ARefusedAssociationIsNamedAndTheVersionKept) {
    StorageNode node{Behaviour::RefuseAssociation};
    const auto failure = Failure(node);
    EXPECT_NE(failure.find("refused the connection"), std::string::npos) << failure;
    ExpectKept(failure);
}

TEST_F(Storing, AnAbsentServiceIsNamedAndTheVersionKept) {
    std::string port;
    {
        const StorageNode node;
        port = node.Port();
    }
    const auto failure = FailureOf([&] { Store(port); });
    EXPECT_NE(failure.find("PORVANE at Localhost, port " + port), std::string::npos) << failure;
    ExpectKept(failure);
}

TEST_F(Storing, AServiceThatDiesLosesNoVersion) {
    StorageNode node{Behaviour::DieInTheMiddle};
    ExpectKept(Failure(node));
}

TEST_F(Storing, ASilentServiceIsWaitedForOnlySoLong) {
    for (const auto behaviour : {Behaviour::HangAtAssociation, Behaviour::HangAtAnswer}) {
        std::filesystem::remove_all(library.folder.path / "unsent");
        StorageNode node{behaviour};
        const auto start = steady_clock::now();
        const auto failure = Failure(node);
        EXPECT_LT(steady_clock::now() - start, std::chrono::milliseconds{1900});
        ExpectKept(failure);
    }
}

TEST_F(Storing, AServiceThatTakesNoConnectionIsWaitedForOnlySoLong) {
    const DeafPort deaf;
    const auto start = steady_clock::now();
    const auto failure = FailureOf([&] { Store(deaf.Port()); });
    EXPECT_LT(steady_clock::now() - start, std::chrono::milliseconds{1900});
    ExpectKept(failure);
}

TEST_F(Storing, KeptVersionsAreTheOwnersAlone) {
    StorageNode node{Behaviour::RefuseAssociation};
    Failure(node);
    struct stat state {};
    ASSERT_EQ(::stat(Unsent().at(0).c_str(), &state), 0);
    EXPECT_EQ(state.st_mode & 0777U, 0600U);
    ASSERT_EQ(::stat((library.folder.path / "unsent").c_str(), &state), 0);
    EXPECT_EQ(state.st_mode & 0777U, 0700U);
}

TEST_F(Storing, EachKeptVersionHasAFileOfItsOwn) {
    StorageNode node{Behaviour::RefuseAssociation};
    const auto first = Failure(node);
    const auto second = Failure(node);
    EXPECT_EQ(Unsent().size(), 2U);
    EXPECT_NE(first, second);
}

TEST_F(Storing, AVersionThatCannotBeKeptEitherSaysBoth) {
    WriteBytes(library.folder.path / "unsent", "in the way");
    StorageNode node{Behaviour::RefuseAssociation};
    EXPECT_NE(Failure(node).find("It could not be kept as a file either"), std::string::npos);
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
    EXPECT_TRUE(Unsent().empty());
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
