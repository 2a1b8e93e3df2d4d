#include "suite/porvane/forwarding/ArchiveAnswers.h"
#include "suite/porvane/forwarding/ArchiveLink.h"
#include "suite/porvane/forwarding/Commitment.h"
#include "tests/suite/SuiteRoom.h"
#include "tests/suite/TestObject.h"
#include "tests/suite/porvane/ArchivePeer.h"
#include "tests/suite/porvane/RawSender.h"
#include "tests/support/DocumentTable.h"

#include <dcmtk/dcmdata/dcdeftag.h>
#include <dcmtk/dcmdata/dcuid.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <csignal>
#include <optional>
#include <set>

namespace tavrel {
namespace {

using std::chrono::seconds;
using std::chrono::steady_clock;
using test::TableUnder;
using testing::Contains;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;
using Commitment = ArchivePeer::Commitment;

constexpr std::uint16_t NoRoom = 0xA700;
constexpr std::uint16_t NotUnderstood = 0xC000;

/// A storage service with an archive behind it.
class ArchiveBehind : public testing::Test {
protected:
    void Start(const ArchivePeer& archive, std::vector<std::string> options = {}) {
        options.insert(options.begin(), {"--archive", archive.Address()});
        service = room.StartService(options);
    }
    static std::string Uid(int report, int version) {
        return "2.999.8." + std::to_string(report) + "." + std::to_string(version);
    }
    TestObject Version(int report, int version) {
        TestObject object;
        object.Set(DCM_SOPClassUID, UID_BasicTextSRStorage)
            .Set(DCM_Modality, "SR")
            .Set(DCM_SeriesInstanceUID, "2.999.8." + std::to_string(report))
            .Set(DCM_SOPInstanceUID, Uid(report, version));
        return object;
    }
    void Save(int report, int version) { ASSERT_EQ(Version(report, version).Send(room), Stored); }
    std::string State(const std::string& uid) {
        const auto states = room.Column("SELECT State FROM Outgoing WHERE SOPInstanceUID='" + uid + "'");
        return states.empty() ? "not queued" : states.back();
    }
    std::string LastWords(const std::string& uid) {
        return room.Value("SELECT LastWords FROM Outgoing WHERE SOPInstanceUID='" + uid + "'");
    }
    bool Comes(const std::string& uid, const std::string& state) {
        return Eventually([&] { return State(uid) == state; });
    }
    /// What was put off comes due.
    void LaterOn() { room.Run("UPDATE Outgoing SET NextTime=0"); }
    /// At once, instead of within two seconds.
    bool IsRefusedInTheEnd(const std::string& uid) {
        return Eventually([&] {
            LaterOn();
            return State(uid) == "refused";
        });
    }

    SuiteRoom room;
    std::unique_ptr<Child> service;
};

TEST_F(ArchiveBehind, AVersionIsArchivedOnceTheArchiveHasCommittedItself) {
    const ArchivePeer archive;
    Start(archive);
    Save(1, 1);
    EXPECT_TRUE(Comes(Uid(1, 1), "committed"));
    EXPECT_THAT(archive.Came(), ElementsAre(Uid(1, 1)));
}

TEST_F(ArchiveBehind, NothingIsQueuedWithoutAnArchive) {
    service = room.StartService();
    Save(1, 1);
    EXPECT_EQ(room.Count("Outgoing"), "0");
}

TEST_F(ArchiveBehind, TheArchiveOfTheDepartmentNeedsNoOption) {
    const ArchivePeer archive;
    ASSERT_EQ(room.Tool("archive --address " + archive.Address()).status, 0);
    service = room.StartService();
    Save(1, 1);
    EXPECT_TRUE(Comes(Uid(1, 1), "committed"));
}

TEST_F(ArchiveBehind, ACatalogueWithoutTheTablesSaysWhatMakesThem) {
    room.Run("DROP TABLE Outgoing");
    const ArchivePeer archive;
    Start(archive);
    EXPECT_EQ(service->Wait(), 1);
    EXPECT_THAT(room.ServiceLog(), HasSubstr("\"orbenta-catalogue upgrade\" makes them"));
}

TEST_F(ArchiveBehind, ACatalogueOfBeforeStoresAsEver) {
    for (const char* table : {"Archive", "Outgoing", "OutgoingClaim", "CatalogueVersion"})
        room.Run(std::string("DROP TABLE ") + table);
    service = room.StartService();
    Save(1, 1);
    EXPECT_THAT(room.Tool("check").out, Not(HasSubstr("Outgoing")));
}

TEST_F(ArchiveBehind, ImagesAreSentWhereTheyAreAskedForAlone) {
    const ArchivePeer archive;
    Start(archive);
    TestObject().Set(DCM_SOPInstanceUID, "2.999.1").Send(room);
    EXPECT_EQ(State("2.999.1"), "not queued");
    service.reset();
    Start(archive, {"--archive-images"});
    TestObject().Set(DCM_SOPInstanceUID, "2.999.2").Send(room);
    TestObject(RealImage("JPEG2000.dcm")).Set(DCM_SOPInstanceUID, "2.999.3").Send(room);
    EXPECT_TRUE(Comes("2.999.2", "committed"));
    EXPECT_TRUE(Comes("2.999.3", "committed"));
}

TEST_F(ArchiveBehind, WhatWasStoredBeforeGoesAlongOnceItIsQueued) {
    service = room.StartService();
    Save(1, 1);
    service.reset();
    const ArchivePeer archive;
    room.Tool("archive --address " + archive.Address() + " --queue-all");
    service = room.StartService();
    EXPECT_TRUE(Comes(Uid(1, 1), "committed"));
}

TEST_F(ArchiveBehind, AVersionThatIsRefusedHoldsUpItsOwnReportAlone) {
    ArchivePeer archive;
    archive.Refuse(Uid(1, 1), NotUnderstood, 100);
    Start(archive);
    Save(1, 1);
    Save(1, 2);
    Save(2, 1);
    EXPECT_TRUE(IsRefusedInTheEnd(Uid(1, 1)));
    EXPECT_TRUE(Comes(Uid(2, 1), "committed"));
    EXPECT_THAT(archive.Came(), ElementsAre(Uid(2, 1)));
    EXPECT_EQ(LastWords(Uid(1, 1)), "it answered C000H \"the archive's own words\"");
}

TEST_F(ArchiveBehind, WhatWasRefusedGoesOnWhenAPersonSaysSo) {
    ArchivePeer archive;
    archive.Refuse(Uid(1, 1), NotUnderstood, 5);
    Start(archive);
    Save(1, 1);
    Save(1, 2);
    ASSERT_TRUE(IsRefusedInTheEnd(Uid(1, 1)));
    room.Tool("archive --retry");
    EXPECT_TRUE(Comes(Uid(1, 2), "committed"));
    EXPECT_THAT(archive.Came(), ElementsAre(Uid(1, 1), Uid(1, 2)));
}

TEST_F(ArchiveBehind, AnArchiveOutOfResourcesIsAskedAgain) {
    ArchivePeer archive;
    archive.Refuse(Uid(1, 1), NoRoom, 1);
    Start(archive);
    Save(1, 1);
    Save(1, 2);
    EXPECT_TRUE(Comes(Uid(1, 2), "committed"));
    EXPECT_THAT(archive.Came(), ElementsAre(Uid(1, 1), Uid(1, 2)));
}

TEST_F(ArchiveBehind, WhatTheArchiveDoesNotHaveAfterAllIsSentAgain) {
    ArchivePeer archive;
    archive.Lose(Uid(1, 1));
    Start(archive);
    Save(1, 1);
    EXPECT_TRUE(Comes(Uid(1, 1), "committed"));
    EXPECT_THAT(archive.Came(), ElementsAre(Uid(1, 1), Uid(1, 1)));
}

TEST_F(ArchiveBehind, WhatIsNeverCommittedIsSentOnceAndAskedForAgain) {
    ArchivePeer archive({.commitment = Commitment::Never});
    Start(archive, {"--archive-answers", "127.0.0.1:" + std::to_string(room.Port() + 1)});
    Save(1, 1);
    EXPECT_TRUE(Eventually([&] { return archive.Questions() == 1; }));
    EXPECT_EQ(State(Uid(1, 1)), "sent");
    LaterOn();
    EXPECT_TRUE(Eventually([&] { return archive.Questions() == 2; }));
    EXPECT_THAT(archive.Came(), ElementsAre(Uid(1, 1)));
}

TEST_F(ArchiveBehind, AnArchiveWithoutStorageCommitmentIsNamedByTheCheck) {
    ArchivePeer archive({.commitment = Commitment::NotOffered});
    Start(archive);
    Save(1, 1);
    EXPECT_TRUE(Comes(Uid(1, 1), "sent"));
    EXPECT_TRUE(Eventually([&] { return LastWords(Uid(1, 1)) == "it offers no storage commitment"; }));
    EXPECT_THAT(room.Tool("check").out,
                HasSubstr("1 object is sent to the archive and not committed by it, the oldest for "));
}

TEST_F(ArchiveBehind, AnArchiveThatComesLateGetsAllInOrder) {
    auto archive = std::make_unique<ArchivePeer>(ArchivePeer::Manners{.silent = true});
    Start(*archive);
    Save(1, 1);
    Save(1, 2);
    EXPECT_EQ(State(Uid(1, 1)), "waiting");
    service.reset();
    archive = std::make_unique<ArchivePeer>();
    Start(*archive);
    EXPECT_TRUE(Comes(Uid(1, 2), "committed"));
    EXPECT_THAT(archive->Came(), ElementsAre(Uid(1, 1), Uid(1, 2)));
}

TEST_F(ArchiveBehind, StoringGoesOnAndTheServiceEndsWhileTheArchiveHangs) {
    const ArchivePeer archive({.silent = true});
    Start(archive);
    for (int version = 1; version <= 5; ++version)
        Save(1, version);
    const auto begun = steady_clock::now();
    service->Signal(SIGTERM);
    EXPECT_EQ(service->Wait(), 0);
    EXPECT_LT(steady_clock::now() - begun, seconds(5));
}

TEST_F(ArchiveBehind, AVersionWaitsForThePresentationStatesThatItNames) {
    ArchivePeer archive;
    archive.Refuse("2.999.9.1", NoRoom, 1);
    Start(archive);
    TestObject()
        .Set(DCM_SOPClassUID, UID_GrayscaleSoftcopyPresentationStateStorage)
        .Set(DCM_Modality, "PR")
        .Set(DCM_SeriesInstanceUID, "2.999.9")
        .Set(DCM_SOPInstanceUID, "2.999.9.1")
        .Send(room);
    TestObject version = Version(1, 1);
    version.Naming(UID_GrayscaleSoftcopyPresentationStateStorage, "2.999.9.1");
    ASSERT_EQ(version.Send(room), Stored);
    EXPECT_TRUE(Comes(Uid(1, 1), "committed"));
    EXPECT_THAT(archive.Came(), ElementsAre("2.999.9.1", Uid(1, 1)));
}

TEST_F(ArchiveBehind, AVersionWaitsForTheOneBeforeItThatANeighbourIsEntering) {
    service = room.StartService();
    for (int version = 1; version <= 3; ++version)
        Save(1, version);
    service.reset();
    const std::string second = " WHERE SOPInstanceUID='" + Uid(1, 2) + "'";
    room.Run("UPDATE Image SET SeriesInstanceUID='2.999.0'" + second); // nobody sees the row yet
    const ArchivePeer archive;
    room.Tool("archive --address " + archive.Address() + " --queue-all");
    service = room.StartService();
    EXPECT_TRUE(Comes(Uid(1, 1), "committed"));
    EXPECT_THAT(archive.Came(), ElementsAre(Uid(1, 1)));
    room.Run("DELETE FROM Outgoing" + second);
    room.Run("UPDATE Image SET SeriesInstanceUID='2.999.8.1'" + second);
    EXPECT_TRUE(Comes(Uid(1, 3), "committed"));
    EXPECT_THAT(archive.Came(), ElementsAre(Uid(1, 1), Uid(1, 2), Uid(1, 3)));
}

TEST_F(ArchiveBehind, ASecondObjectOfAUidIsNotSentAndHoldsUpNothing) {
    const ArchivePeer archive;
    Start(archive);
    Save(1, 1);
    EXPECT_EQ(Version(1, 1).Set(DCM_PatientComments, "another one").Send(room), Stored);
    Save(1, 2);
    EXPECT_TRUE(Comes(Uid(1, 2), "committed"));
    EXPECT_THAT(archive.Came(), ElementsAre(Uid(1, 1), Uid(1, 2)));
    EXPECT_EQ(State(Uid(1, 1)), "refused") << "the second one";
}

TEST_F(ArchiveBehind, AFileThatIsGoneIsRefusedInTheEnd) {
    ArchivePeer archive;
    archive.Refuse(Uid(1, 1), NoRoom, 1);
    Start(archive);
    Save(1, 1);
    for (const auto& file : room.StoredFiles())
        std::filesystem::remove(file);
    EXPECT_TRUE(IsRefusedInTheEnd(Uid(1, 1)));
    EXPECT_EQ(LastWords(Uid(1, 1)), "its file cannot be read");
}

TEST_F(ArchiveBehind, TheArchivesWordsAreNotInTheLog) {
    ArchivePeer archive;
    archive.Refuse(Uid(1, 1), NotUnderstood, 100);
    Start(archive);
    Save(1, 1);
    ASSERT_TRUE(IsRefusedInTheEnd(Uid(1, 1)));
    EXPECT_THAT(room.ServiceLog(), HasSubstr("object " + Uid(1, 1) + " is not sent to the archive any more"));
    EXPECT_THAT(room.ServiceLog(), Not(HasSubstr("the archive's own words")));
}

TEST_F(ArchiveBehind, ConformanceTheContextsArePutAsThePageSays) {
    const ArchivePeer archive;
    Start(archive);
    Save(1, 1);
    ASSERT_TRUE(Comes(Uid(1, 1), "committed"));
    std::set<std::string> listed;
    for (const auto& row : TableUnder("##### 4.2.2.7.1.1 Presentation contexts", CONFORMANCE_DOCUMENT))
        listed.insert((row[1].empty() ? UID_BasicTextSRStorage : row[1]) + " " +
                      (row[3].empty() ? UID_LittleEndianExplicitTransferSyntax : row[3]));
    EXPECT_EQ(archive.Proposals(), listed);
}

TEST(ForwarderLimits, ConformanceTheyAreThoseOfThePage) {
    const auto limit = [](std::string_view heading, std::string_view name) {
        for (const auto& row : TableUnder(heading, CONFORMANCE_DOCUMENT))
            if (row[0] == name) {
                std::string number = row[1];
                std::erase(number, ',');
                return std::stoul(number);
            }
        return 0UL;
    };
    constexpr std::string_view initiation = "##### 4.2.2.7.1 Association initiation";
    constexpr std::string_view answers = "##### 4.2.2.7.3.1 Limits";
    EXPECT_EQ(limit(initiation, "Contexts for objects"), 2 * ArchiveLink::MostOffers);
    EXPECT_EQ(limit(initiation, "Objects of a question"), commitment::MostObjects);
    EXPECT_EQ(limit(answers, "Associations at once"), ArchiveAnswers::MostAtOnce);
    EXPECT_EQ(limit(answers, "Association"), ArchiveAnswers::MostTime.count());
    EXPECT_EQ(limit(answers, "Data set"), ArchiveAnswers::MostBytes);
}

/// The archive answers in associations of its own.
class ArchiveAnswering : public ArchiveBehind {
protected:
    ArchivePeer::Manners InItsOwn() const { return {.commitment = Commitment::InItsOwn, .answersPort = AnswersPort()}; }
    int AnswersPort() const { return room.Port() + 1; }
    std::vector<std::string> Hearing() const {
        return {"--archive-answers", "127.0.0.1:" + std::to_string(AnswersPort())};
    }
    /// Asks for an association at the port for answers.
    RawSender::Unit Call(const std::string& callingAe) {
        sender.emplace(AnswersPort());
        return sender->Associate(callingAe, UID_StorageCommitmentPushModelSOPClass);
    }

    std::optional<RawSender> sender;
};

TEST_F(ArchiveAnswering, InAnAssociationOfItsOwnIsHeard) {
    const ArchivePeer archive(InItsOwn());
    Start(archive, Hearing());
    Save(1, 1);
    EXPECT_TRUE(Comes(Uid(1, 1), "committed"));
}

TEST_F(ArchiveAnswering, ByAnotherTitleIsNotHeard) {
    auto manners = InItsOwn();
    manners.title = "STRANGER";
    const ArchivePeer archive(manners);
    Start(archive, Hearing());
    Save(1, 1);
    EXPECT_TRUE(
        Eventually([&] { return room.ServiceLog().find("heard no answer of \"STRANGER\"") != std::string::npos; }));
    EXPECT_EQ(State(Uid(1, 1)), "sent");
}

TEST_F(ArchiveAnswering, StoresNothingAtThatPort) {
    const ArchivePeer archive(InItsOwn());
    Start(archive, Hearing());
    ASSERT_EQ(Call("ARCHIVE"), RawSender::Accept);
    sender->Send(RawSender::DataPdu(RawSender::StoreCommand(RawSender::CtImage, "2.999.1"), true, true));
    EXPECT_EQ(sender->Receive(), RawSender::AbortUnit);
}

TEST_F(ArchiveAnswering, AnAnswerWithoutAnEndIsCutShort) {
    const ArchivePeer archive(InItsOwn());
    Start(archive, Hearing());
    ASSERT_EQ(Call("ARCHIVE"), RawSender::Accept);
    sender->Send(RawSender::DataPdu(RawSender::Element(0x0100, std::string("\0\1", 2)) +
                                        RawSender::Element(0x0800, std::string("\0\0", 2)),
                                    true, true));
    const std::string piece(60000, '\0');
    for (int sent = 0; sent < 20 && sender->Send(RawSender::DataPdu(piece, false, false)); ++sent)
        ;
    EXPECT_EQ(sender->Receive(), RawSender::AbortUnit);
}

TEST_F(ArchiveAnswering, CallersWhoSayNothingKeepNobodyOut) {
    const ArchivePeer archive(InItsOwn());
    Start(archive, Hearing());
    std::vector<RawSender> silent;
    constexpr std::size_t callers = 8;
    silent.reserve(callers);
    while (silent.size() < callers)
        silent.emplace_back(AnswersPort());
    Save(1, 1);
    EXPECT_TRUE(Eventually([&] { return archive.Questions() == 1; }));
    silent.clear();
    EXPECT_TRUE(Comes(Uid(1, 1), "committed"));
}

/// Certificates of an authority, which the archive and the service trust, and of a stranger.
class ArchiveByTls : public ArchiveAnswering {
protected:
    static void SetUpTestSuite() {
        Certificates = std::make_unique<TemporaryFolder>();
        Make("authority", "");
        Make("stranger", "");
        Make("archive", "authority");
        Make("service", "authority");
        Make("intruder", "stranger");
    }
    static void TearDownTestSuite() { Certificates.reset(); }
    static void Make(const std::string& name, const std::string& authority) {
        std::string command = "openssl req -x509 -newkey rsa:2048 -nodes -days 2 -subj /CN=" + name + " -keyout " +
                              Path(name + ".key") + " -out " + Path(name + ".pem");
        if (!authority.empty())
            command += " -CA " + Path(authority + ".pem") + " -CAkey " + Path(authority + ".key") +
                       " -addext basicConstraints=CA:FALSE";
        ASSERT_EQ(RunShell(command + " 2>&1").status, 0);
    }
    static std::string Path(const std::string& file) { return (Certificates->Path() / file).string(); }
    static ArchiveTls::Files FilesOf(const std::string& name, const std::string& trusts) {
        return {Path(name + ".pem"), Path(name + ".key"), Path(trusts + ".pem")};
    }
    std::vector<std::string> ByTls(const std::string& name = "service") const {
        auto options = Hearing();
        options.insert(options.end(), {"--archive-tls", "--archive-certificate", Path(name + ".pem"), "--archive-key",
                                       Path(name + ".key"), "--archive-trust", Path("authority.pem")});
        return options;
    }

    static std::unique_ptr<TemporaryFolder> Certificates;
};
std::unique_ptr<TemporaryFolder> ArchiveByTls::Certificates;

TEST_F(ArchiveByTls, BothEndsShowTheirCertificates) {
    const ArchiveTls tls(FilesOf("archive", "authority"));
    auto manners = InItsOwn();
    manners.tls = &tls;
    const ArchivePeer archive(manners);
    Start(archive, ByTls());
    Save(1, 1);
    EXPECT_TRUE(Comes(Uid(1, 1), "committed"));
}

TEST_F(ArchiveByTls, AnArchiveThatNobodyVouchesForGetsNothing) {
    const ArchiveTls tls(FilesOf("intruder", "authority"));
    const ArchivePeer archive({.tls = &tls});
    Start(archive, ByTls());
    Save(1, 1);
    EXPECT_TRUE(Eventually([&] { return LastWords(Uid(1, 1)).find("certificate") != std::string::npos; }));
    EXPECT_THAT(archive.Came(), IsEmpty());
}

TEST_F(ArchiveByTls, AnArchiveInTheClearGetsNothing) {
    const ArchivePeer archive;
    Start(archive, ByTls());
    Save(1, 1);
    EXPECT_TRUE(Eventually([&] { return !LastWords(Uid(1, 1)).empty(); }));
    EXPECT_THAT(archive.Came(), IsEmpty());
}

TEST_F(ArchiveByTls, AnAnswerInTheClearIsNotHeard) {
    const ArchiveTls tls(FilesOf("archive", "authority"));
    const ArchivePeer archive({.commitment = Commitment::Never, .tls = &tls});
    Start(archive, ByTls());
    EXPECT_EQ(Call("ARCHIVE"), RawSender::Nothing);
    EXPECT_TRUE(Eventually(
        [&] { return room.ServiceLog().find("which shows no certificate that is trusted") != std::string::npos; }));
}

TEST_F(ArchiveByTls, AServiceWithoutItsKeyStoresAllTheSame) {
    ArchivePeer archive;
    auto options = ByTls();
    *(std::ranges::find(options, "--archive-key") + 1) = Path("intruder.key");
    Start(archive, options);
    Save(1, 1);
    EXPECT_THAT(room.ServiceLog(), HasSubstr("sends nothing to the archive: The key"));
    EXPECT_EQ(State(Uid(1, 1)), "waiting");
}

} // namespace
} // namespace tavrel
