#include "platform/dcmtk/Implementation.h"
#include "tests/suite/SuiteRoom.h"
#include "tests/suite/TestObject.h"
#include "tests/suite/porvane/RawSender.h"

#include <dcmtk/dcmdata/dcdeftag.h>
#include <dcmtk/dcmdata/dcuid.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <array>
#include <atomic>
#include <fstream>
#include <iostream>
#include <iterator>
#include <latch>
#include <sstream>

namespace tavrel {
namespace {

namespace fs = std::filesystem;
using std::chrono::milliseconds;
using std::chrono::seconds;
using std::chrono::steady_clock;
using testing::HasSubstr;
using testing::Not;
using testing::StartsWith;

constexpr long MegabyteInKilobytes = 1024;

/// What other programs of the machine can do to the service through its port.
class StorageGuard : public testing::Test {
protected:
    /// The most memory that the service had so far, in kilobytes.
    long Memory() const {
        std::ifstream status("/proc/" + std::to_string(service->Process()) + "/status");
        const std::string text(std::istreambuf_iterator<char>(status), {});
        const auto at = text.find("VmHWM:");
        return at == std::string::npos ? -1 : std::stol(text.substr(at + 6));
    }
    void Restart(const std::vector<std::string>& more) {
        service.reset();
        auto command = room.ServiceCommand();
        command.insert(command.end(), more.begin(), more.end());
        service = std::make_unique<Child>(command, (room.Folder() / "porvane.log").string());
        Eventually([this] { return Listens(room.Port()); });
    }
    void ExpectServing() { EXPECT_EQ(TestObject().Numbered(999).Send(room), Stored) << room.ServiceLog(); }

    /// The data set of an image with something put before it.
    std::string ImageAfter(const std::string& elements, TestObject image = TestObject()) const {
        std::ifstream file(image.SaveTo(room.Folder() / "image.dcm"), std::ios::binary);
        const std::string bytes(std::istreambuf_iterator<char>(file), {});
        const std::size_t meta = 144 + static_cast<unsigned char>(bytes.at(140)); // PS3.10, 7.1
        return elements + bytes.substr(meta);
    }
    RawSender::Answer StoreRaw(const std::string& dataSet) {
        RawSender sender(room.Port());
        EXPECT_EQ(sender.Associate(), RawSender::Accept);
        return sender.Store(RawSender::CtImage, TestObject().Get(DCM_SOPInstanceUID), dataSet);
    }

    static std::string LargestHeader(std::uint16_t group = 0x0009) {
        std::string elements;
        for (int i = 0; i < 49'000; ++i) // distinct ones: of two equal ones the parser keeps one
            elements += LongElement(group, static_cast<std::uint16_t>(0x1000 + i), "UN", std::string(28, 'x'));
        return elements;
    }
    /// The data set of one, nearly as large as a report may be with such a header.
    std::string LargestReport() const {
        // NOLINTNEXTLINE(bugprone-string-constructor): so large
        return ImageAfter("", Report().Set(DCM_TextValue, std::string(5'900'000, 'x'))) + LargestHeader(0x4001);
    }
    static TestObject Report() {
        TestObject report;
        report.Set(DCM_SOPClassUID, UID_BasicTextSRStorage)
            .Set(DCM_Modality, "SR")
            .Set(DCM_SOPInstanceUID, "2.999.4")
            .Set(DCM_SeriesInstanceUID, "2.999.5");
        return report;
    }

    SuiteRoom room;
    std::unique_ptr<Child> service = room.StartService();
};

TEST_F(StorageGuard, ACommandOfNestedSequencesEndsItsOwnConnectionAlone) {
    std::string nested = RawSender::StoreCommand(RawSender::CtImage, "2.999.3");
    for (int depth = 0; depth < 20'000; ++depth)
        nested += std::string("\x08\x00\x40\x11\xFF\xFF\xFF\xFF\xFE\xFF\x00\xE0\xFF\xFF\xFF\xFF", 16);
    RawSender sender(room.Port());
    ASSERT_EQ(sender.Associate(), RawSender::Accept);
    sender.Send(RawSender::DataPdu(nested, true, true));
    EXPECT_EQ(sender.Receive(), RawSender::AbortUnit);
    EXPECT_THAT(room.ServiceLog(), HasSubstr("aborted the association with \"MODALITY\": a command of more than"));
    ExpectServing();
}

TEST_F(StorageGuard, ANestedSequenceInAShortCommandIsRefusedToo) {
    RawSender sender(room.Port());
    ASSERT_EQ(sender.Associate(), RawSender::Accept);
    const std::string nested("\x00\x00\x00\x50\xFF\xFF\xFF\xFF\xFE\xFF\x00\xE0\xFF\xFF\xFF\xFF", 16);
    sender.Send(RawSender::DataPdu(RawSender::StoreCommand(RawSender::CtImage, "2.999.3") + nested, true, true));
    EXPECT_EQ(sender.Receive(), RawSender::AbortUnit);
    ExpectServing();
}

TEST_F(StorageGuard, ACommandWithoutEndTakesNoMemory) {
    ExpectServing();
    const long before = Memory();
    RawSender sender(room.Port());
    ASSERT_EQ(sender.Associate(), RawSender::Accept);
    const std::string piece = RawSender::DataPdu(std::string(10'000, 'x'), true, false);
    for (int i = 0; i < 50'000 && sender.Send(piece);)
        ++i;
    EXPECT_LT(Memory() - before, MegabyteInKilobytes);
    ExpectServing();
}

TEST_F(StorageGuard, AFragmentWithNothingInItEndsTheAssociation) {
    RawSender sender(room.Port());
    ASSERT_EQ(sender.Associate(), RawSender::Accept);
    sender.Send(RawSender::DataPdu("", true, false));
    EXPECT_EQ(sender.Receive(), RawSender::AbortUnit);
}

TEST_F(StorageGuard, AnAssociationRequestOfAnyLengthTakesNoMemory) {
    const long before = Memory();
    RawSender sender(room.Port());
    sender.Send(RawSender::PduOf(1, std::string(500'000'000, 'x'))); // NOLINT(bugprone-string-constructor): so long
    EXPECT_EQ(sender.Receive(), RawSender::AbortUnit);
    EXPECT_LT(Memory() - before, MegabyteInKilobytes);
    ExpectServing();
}

TEST_F(StorageGuard, AnAssociationRequestWhoseItemsLieIsAborted) {
    std::string request = RawSender::AssociateRequest("MODALITY", RawSender::CtImage);
    request[6 + 68 + 3] = '\x7F'; // the length of the first item
    RawSender sender(room.Port());
    sender.Send(request);
    EXPECT_EQ(sender.Receive(), RawSender::AbortUnit);
    ExpectServing();
}

TEST_F(StorageGuard, EveryPrefixAndEveryChangedByteOfARequestIsSurvived) {
    const std::string request = RawSender::AssociateRequest("MODALITY", RawSender::CtImage);
    const std::string command = RawSender::DataPdu(RawSender::StoreCommand(RawSender::CtImage, "2.999.3"), true, true);
    const std::string whole = request + command;
    for (std::size_t at = 0; at < whole.size(); ++at) {
        RawSender(room.Port()).Send(whole.substr(0, at));
        for (const char byte : {'\0', '\x7F', '\xFF'}) {
            std::string changed = whole;
            changed[at] = byte;
            RawSender(room.Port()).Send(changed);
        }
    }
    EXPECT_TRUE(service->IsRunning());
    ExpectServing();
}

TEST_F(StorageGuard, AKindThatIsNotTakenIsAnsweredAtOnce) {
    const auto begun = steady_clock::now();
    const auto outcome = RunShell("findscu -P -aec PORVANE -k QueryRetrieveLevel=STUDY -k PatientName 127.0.0.1 " +
                                  std::to_string(room.Port()));
    EXPECT_NE(outcome.status, 0);
    EXPECT_THAT(outcome.err + outcome.out, HasSubstr("No Acceptable Presentation Contexts"));
    EXPECT_LT(steady_clock::now() - begun, seconds(2));
}

TEST_F(StorageGuard, ARequestOnAContextThatWasNotAcceptedEndsTheAssociation) {
    RawSender sender(room.Port());
    ASSERT_EQ(sender.Associate("MODALITY", "1.2.840.10008.5.1.4.1.2.2.1"), RawSender::Accept);
    sender.Send(RawSender::DataPdu(RawSender::StoreCommand(RawSender::CtImage, "2.999.3"), true, true));
    EXPECT_EQ(sender.Receive(), RawSender::AbortUnit);
}

TEST_F(StorageGuard, AnAssociationOfAnotherApplicationIsRejected) {
    std::string request = RawSender::AssociateRequest("MODALITY", RawSender::CtImage);
    request[6 + 68 + 4] = '9'; // of the application context
    RawSender sender(room.Port());
    sender.Send(request);
    EXPECT_EQ(sender.Receive(), RawSender::Reject);
}

TEST_F(StorageGuard, AnAnswerFitsIntoTheSendersUnits) {
    std::string request = RawSender::AssociateRequest("MODALITY", "1.2.840.10008.1.1");
    request.replace(request.find(std::string("\0\0\x40\0", 4)), 4, std::string("\0\0\0\x50", 4));
    RawSender sender(room.Port());
    sender.Send(request);
    ASSERT_EQ(sender.Receive(), RawSender::Accept);
    sender.Send(RawSender::DataPdu(RawSender::EchoCommand(), true, true));
    EXPECT_EQ(sender.Receive(), RawSender::Data);
    EXPECT_LE(sender.Body().size(), 0x50U);
    EXPECT_EQ(sender.Receive(), RawSender::Data);
}

TEST_F(StorageGuard, APeerWritesNoLineOfItsOwnIntoTheLog) {
    RawSender(room.Port()).Associate("X\n\x1B[2Jporvane: a");
    std::istringstream log(room.ServiceLog());
    for (std::string line; std::getline(log, line);) {
        EXPECT_THAT(line, testing::ContainsRegex("^[0-9/]+ [0-9:]+ porvane: "));
        EXPECT_THAT(line, Not(HasSubstr("\x1B")));
    }
    EXPECT_THAT(room.ServiceLog(), HasSubstr("refused \"X\\x0A\\x1B[2Jporvane: a\""));
}

TEST_F(StorageGuard, NoPatientIsNamedInTheLog) {
    TestObject().Numbered(1).Set(DCM_PatientID, "SECRET-1").Send(room);
    TestObject().Numbered(2).Set(DCM_PatientID, "SECRET-2").Send(room);
    RunShell("sqlite3 " + (room.Folder() / "catalogue.db").string() +
             " \"CREATE TRIGGER T BEFORE INSERT ON Patient BEGIN SELECT RAISE(ABORT, 'SECRET-3 is there'); END\"");
    TestObject()
        .Set(DCM_StudyInstanceUID, "2.999.9")
        .Set(DCM_SeriesInstanceUID, "2.999.8")
        .Set(DCM_PatientID, "SECRET-3")
        .Send(room);
    EXPECT_THAT(room.ServiceLog(), HasSubstr("names another patient than its study"));
    EXPECT_THAT(room.ServiceLog(), HasSubstr("* is there"));
    EXPECT_THAT(room.ServiceLog(), Not(HasSubstr("SECRET")));
}

TEST_F(StorageGuard, AnotherNameOfANumberIsLoggedAndNotNamed) {
    const auto study = [&](const std::string& uid, const char* name) {
        TestObject()
            .Numbered(1)
            .Set(DCM_SOPInstanceUID, uid + ".2")
            .Set(DCM_StudyInstanceUID, uid)
            .Set(DCM_SeriesInstanceUID, uid + ".1")
            .Set(DCM_PatientID, "P1")
            .Set(DCM_PatientName, name)
            .Send(room);
    };
    study("2.999.20", "SECRET^ANNA");
    study("2.999.21", "Secret^Anna^^^");
    EXPECT_THAT(room.ServiceLog(), Not(HasSubstr("names its patient otherwise")));
    study("2.999.22", "SECRET^BRUNO");
    EXPECT_THAT(room.ServiceLog(), HasSubstr("study 2.999.22 names its patient otherwise than the catalogue"));
    EXPECT_THAT(room.ServiceLog(), Not(HasSubstr("SECRET")));
}

/// Many senders that make nothing of the places that they ask for.
class BadSenders {
public:
    enum class Kind { Silent, Idle, Trickling };

    BadSenders(int port, Kind kind, int count) {
        for (int i = 0; i < count; ++i) {
            RawSender& sender = senders_.emplace_back(port);
            if (kind == Kind::Silent)
                continue;
            sender.Send(RawSender::AssociateRequest("BAD", RawSender::CtImage));
            if (kind == Kind::Trickling)
                sender.Send(RawSender::DataPdu(RawSender::StoreCommand(RawSender::CtImage, "2.999.3"), true, true));
        }
        if (kind == Kind::Trickling)
            trickle_ = std::jthread([this](const std::stop_token& stop) { Trickle(stop); });
    }

private:
    void Trickle(const std::stop_token& stop) {
        while (!stop.stop_requested()) {
            for (RawSender& sender : senders_)
                sender.Send(RawSender::DataPdu("x", false, false));
            std::this_thread::sleep_for(seconds(1));
        }
    }

    std::vector<RawSender> senders_;
    std::jthread trickle_; ///< last: it is joined first
};

class StorageBesideBadSenders : public StorageGuard {
protected:
    /// The median time of a save of the editor.
    double SaveMilliseconds() {
        constexpr int saves = 21;
        std::vector<double> times;
        for (int i = 0; i < saves; ++i) {
            TestObject version = Report();
            version.Set(DCM_SOPInstanceUID, "2.999.4." + std::to_string(++versions)).After(stored);
            stored.push_back(version.Get(DCM_SOPInstanceUID));
            const auto begun = steady_clock::now();
            EXPECT_EQ(version.Send(room, "AE_INTERNAL"), Stored) << room.ServiceLog();
            times.push_back(std::chrono::duration<double, std::milli>(steady_clock::now() - begun).count());
        }
        std::ranges::nth_element(times, times.begin() + saves / 2);
        return times[saves / 2];
    }

    int versions = 0;
    std::vector<std::string> stored;
};

TEST_F(StorageBesideBadSenders, TheEditorIsServedAsEver) {
    constexpr int count = 200;
    const double usual = SaveMilliseconds();
    const BadSenders silent(room.Port(), BadSenders::Kind::Silent, count);
    const BadSenders idle(room.Port(), BadSenders::Kind::Idle, count);
    const BadSenders trickling(room.Port(), BadSenders::Kind::Trickling, count);
    const double beside = SaveMilliseconds();
    std::cout << "a save: " << usual << " ms, beside " << 3 * count << " bad senders: " << beside << " ms\n";
    EXPECT_LT(beside, 2 * usual + 20);
}

TEST_F(StorageBesideBadSenders, IdleAssociationsGiveWayToAModality) {
    const BadSenders idle(room.Port(), BadSenders::Kind::Idle, 40);
    const auto begun = steady_clock::now();
    EXPECT_EQ(TestObject().Send(room), Stored);
    EXPECT_LT(steady_clock::now() - begun, seconds(10));
}

TEST_F(StorageBesideBadSenders, TricklingObjectsGiveWayToAModality) {
    const BadSenders trickling(room.Port(), BadSenders::Kind::Trickling, 40);
    const auto begun = steady_clock::now();
    EXPECT_EQ(TestObject().Send(room), Stored);
    EXPECT_LT(steady_clock::now() - begun, seconds(10));
    EXPECT_THAT(room.ServiceLog(), HasSubstr("progress"));
}

TEST_F(StorageBesideBadSenders, ConnectionsThatAskForNothingGiveWay) {
    const BadSenders silent(room.Port(), BadSenders::Kind::Silent, 300);
    const auto begun = steady_clock::now();
    EXPECT_EQ(TestObject().Send(room), Stored);
    EXPECT_TRUE(Eventually([this] { return room.ServiceLog().find("connections go") != std::string::npos; }));
    EXPECT_LT(steady_clock::now() - begun, seconds(5)); // sooner than they would go by themselves
}

TEST_F(StorageBesideBadSenders, TheServiceEndsSoonThoughAnObjectTrickles) {
    const BadSenders trickling(room.Port(), BadSenders::Kind::Trickling, 4);
    Eventually([this] { return room.Received().size() == 4; });
    const auto begun = steady_clock::now();
    service->Signal(SIGTERM);
    EXPECT_EQ(service->Wait(), 0);
    EXPECT_LT(steady_clock::now() - begun, seconds(5));
}

TEST_F(StorageGuard, AnImageWithAnEndlessFirstGroupTakesNoMemory) {
    ExpectServing();
    const long before = Memory();
    // NOLINTNEXTLINE(bugprone-string-constructor): so long
    const std::string endless = LongElement(0x0008, 0x0001, "OB", std::string(200'000'000, 'x'));
    const auto answer = StoreRaw(endless + ImageAfter(""));
    EXPECT_EQ(answer.status, CannotUnderstand);
    EXPECT_EQ(answer.comment, "its header is too large ");
    EXPECT_LT(Memory() - before, 64 * MegabyteInKilobytes);
    ExpectServing();
}

TEST_F(StorageGuard, AnImageWithTheLargestHeaderTakesLittleMemory) {
    ExpectServing();
    const long before = Memory();
    EXPECT_EQ(StoreRaw(LargestHeader() + ImageAfter("")).status, Stored) << room.ServiceLog();
    EXPECT_LT(Memory() - before, 32 * MegabyteInKilobytes);
}

TEST_F(StorageGuard, TenSendersOfTheLargestHeadersAtOnceTakeNoMoreThanOne) {
    constexpr int count = 10;
    ExpectServing();
    const long before = Memory();
    const std::string image = LargestHeader() + ImageAfter("");
    std::latch allButTheEndSent(count);
    const auto store = [&] {
        RawSender sender(room.Port());
        EXPECT_EQ(sender.Associate(), RawSender::Accept);
        sender.Send(RawSender::DataPdu(RawSender::StoreCommand(RawSender::CtImage, "2.999.3"), true, true));
        sender.Send(RawSender::DataPdu(image, false, false));
        allButTheEndSent.arrive_and_wait();
        sender.Send(RawSender::DataPdu("", false, true));
        EXPECT_EQ(sender.Receive(seconds(20)), RawSender::Data) << room.ServiceLog();
    };
    std::vector<std::jthread> senders(count);
    std::ranges::generate(senders, [&] { return std::jthread(store); });
    senders.clear();
    EXPECT_LT(Memory() - before, 64 * MegabyteInKilobytes);
}

/// Senders that ask for and send as much as they may, again and again.
class WorstSenders {
public:
    struct Sending {
        std::string title;
        std::string_view sopClass;
        std::string dataSet;
    };
    WorstSenders(int port, int count, const Sending& sending) {
        for (int i = 0; i < count; ++i)
            senders_.emplace_back([this, port, sending](const std::stop_token& stop) {
                while (!stop.stop_requested())
                    Send(port, sending);
            });
    }
    ~WorstSenders() {
        for (std::jthread& sender : senders_)
            sender.request_stop(); // all of them, before the first is waited for
    }
    WorstSenders(const WorstSenders&) = delete;
    WorstSenders& operator=(const WorstSenders&) = delete;
    int Answered() const { return answered_; }

private:
    void Send(int port, const Sending& sending) {
        RawSender sender(port);
        sender.Send(RawSender::LargestAssociateRequest(sending.title, sending.sopClass));
        if (sender.Receive() != RawSender::Accept)
            return;
        sender.Send(RawSender::DataPdu(RawSender::LongestStoreCommand(sending.sopClass, "2.999.3"), true, true));
        sender.Send(RawSender::DataPdu(sending.dataSet, false, true));
        answered_ += sender.Receive(seconds(30)) == RawSender::Data ? 1 : 0;
    }

    std::atomic<int> answered_ = 0;
    std::vector<std::jthread> senders_; ///< last: they are joined first
};

TEST_F(StorageGuard, EveryPlaceTakenByTheWorstSendersTakesLittleMemory) {
    ExpectServing();
    const long before = Memory();
    {
        const WorstSenders modalities(room.Port(), 34,
                                      {"MODALITY", RawSender::CtImage, LargestHeader() + ImageAfter("")});
        const WorstSenders editors(room.Port(), 5, {"AE_INTERNAL", UID_BasicTextSRStorage, LargestReport()});
        std::vector<RawSender> waiting;
        for (int i = 0; i < 300; ++i) // more than may wait
            waiting.emplace_back(room.Port()).Send(RawSender::LargestAssociateRequest("WAITING", RawSender::CtImage));
        EXPECT_TRUE(Eventually([&] { return modalities.Answered() > 0 && editors.Answered() > 1; }));
    }
    std::cout << "at most " << (Memory() - before) / MegabyteInKilobytes << " MB more than at the start\n";
    EXPECT_LT(Memory() - before, 64 * MegabyteInKilobytes);
    EXPECT_TRUE(Eventually([&] { return TestObject().Numbered(999).Send(room) == Stored; }));
}

TEST_F(StorageGuard, AReportLargerThanAnyReportIsRefused) {
    // NOLINTNEXTLINE(bugprone-string-constructor): so large
    EXPECT_EQ(Report().Set(DCM_TextValue, std::string(10'000'000, 'x')).Send(room, "AE_INTERNAL"), CannotUnderstand);
}

TEST_F(StorageGuard, ALargeObjectTakesNoMemory) {
    const long before = Memory();
    // NOLINTNEXTLINE(bugprone-string-constructor): so large
    const std::string large(300'000'000, 'x');
    EXPECT_EQ(TestObject().Set(DCM_TextValue, large).Send(room), Stored);
    EXPECT_LT(Memory() - before, 16 * MegabyteInKilobytes);
}

TEST_F(StorageGuard, AnObjectHasALimitThatTheSiteSets) {
    Restart({"--largest-object", "1"});
    const auto answer = StoreRaw(ImageAfter(LongElement(0x0008, 0x0001, "OB", std::string(1'500'000, 'x'))));
    EXPECT_EQ(answer.status, OutOfResources);
    EXPECT_EQ(answer.comment, "an object may have 1 MB here");
    ExpectServing();
}

TEST_F(StorageGuard, ARefusedObjectThatGoesOnIsAborted) {
    Restart({"--largest-object", "1"});
    RawSender sender(room.Port());
    ASSERT_EQ(sender.Associate(), RawSender::Accept);
    sender.Send(RawSender::DataPdu(RawSender::StoreCommand(RawSender::CtImage, "2.999.3"), true, true));
    const std::string piece = RawSender::DataPdu(std::string(100'000, 'x'), false, false);
    int pieces = 0;
    while (pieces < 10'000 && sender.Send(piece))
        ++pieces;
    EXPECT_LT(pieces, 1000);
    EXPECT_TRUE(Eventually([this] { return room.Received().empty(); }));
    ExpectServing();
}

TEST_F(StorageGuard, AReportOfAnotherAccountIsRefused) {
    if (!AsAnotherAccount::IsPossible())
        GTEST_SKIP() << "needs the right to act as another account";
    EXPECT_EQ(AsAnotherAccount::Do([&] { return Report().Send(room); }), NotAuthorized);
    EXPECT_THAT(room.ServiceLog(), HasSubstr("(account 65534): reports are taken from this account alone"));
    EXPECT_EQ(room.Count("Image"), "0");
}

TEST_F(StorageGuard, TheEditorsTitleIsRefusedToAnotherAccount) {
    if (!AsAnotherAccount::IsPossible())
        GTEST_SKIP() << "needs the right to act as another account";
    auto sender = AsAnotherAccount::Do([&] { return RawSender(room.Port()); });
    EXPECT_EQ(sender.Associate("AE_INTERNAL"), RawSender::Reject);
    EXPECT_THAT(room.ServiceLog(), HasSubstr("refused \"AE_INTERNAL\", whose connection is of account 65534"));
}

TEST_F(StorageGuard, AnImageOfAnotherAccountIsStored) {
    if (!AsAnotherAccount::IsPossible())
        GTEST_SKIP() << "needs the right to act as another account";
    EXPECT_EQ(AsAnotherAccount::Do([&] { return TestObject().Send(room); }), Stored);
}

TEST_F(StorageGuard, ASeriesOfReportsTakesNothingElse) {
    ASSERT_EQ(Report().Send(room, "AE_INTERNAL"), Stored);
    EXPECT_EQ(TestObject().Set(DCM_SeriesInstanceUID, "2.999.5").Send(room), DoesNotMatch);
    EXPECT_EQ(room.Count("Image"), "1");
}

TEST_F(StorageGuard, ATruncatedImageIsRefusedAndItsSenderToldWhy) {
    const std::string whole = ImageAfter("");
    const auto answer = StoreRaw(whole.substr(0, whole.size() - 100));
    EXPECT_EQ(answer.status, CannotUnderstand);
    EXPECT_THAT(answer.comment, StartsWith("not whole: an element reaches beyond its end"));
    EXPECT_TRUE(room.StoredFiles().empty());
}

TEST_F(StorageGuard, ANameWithAnEmptyPartIsNoUid) {
    for (const char* uid : {"1..2", "1.2."})
        EXPECT_EQ(TestObject().Set(DCM_SeriesInstanceUID, uid).Send(room), CannotUnderstand) << uid;
    EXPECT_TRUE(room.StoredFiles().empty());
}

TEST_F(StorageGuard, WhatStandsBeforeADataSetSaysWhatItIs) {
    TestObject().Send(room, "MODALITY");
    const auto shown =
        RunShell("dcmdump -q +P 0002,0003 +P 0002,0010 +P 0002,0016 " + room.StoredFiles().at(0).string());
    EXPECT_THAT(shown.out, HasSubstr("[" + TestObject().Get(DCM_SOPInstanceUID) + "]"));
    EXPECT_THAT(shown.out, HasSubstr("=LittleEndianExplicit"));
    EXPECT_THAT(shown.out, HasSubstr("[MODALITY]"));
}

TEST_F(StorageGuard, WhatStandsBeforeADataSetSaysWhoWroteTheFile) {
    TestObject().Send(room, "MODALITY");
    const auto shown = RunShell("dcmdump -q +P 0002,0012 +P 0002,0013 " + room.StoredFiles().at(0).string());
    EXPECT_THAT(shown.out, HasSubstr(ImplementationClassUid));
    EXPECT_THAT(shown.out, HasSubstr(ImplementationVersionName()));
}

TEST_F(StorageGuard, ASenderLearnsWhichProgramServes) {
    RawSender sender(room.Port());
    sender.Associate();
    EXPECT_THAT(sender.Body(), HasSubstr(ImplementationClassUid));
    EXPECT_THAT(sender.Body(), HasSubstr(ImplementationVersionName()));
}

} // namespace
} // namespace tavrel
