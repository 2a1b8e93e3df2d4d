#include "platform/attributes.h"
#include "sr/content/Items.h"
#include "sr/forms/VersionForm.h"
#include "tests/editor/ReportingStation.h"
#include "tests/editor/WatchedFiles.h"
#include "tests/support/OpenQueries.h"

#include <gmock/gmock.h>

#include <utility>

namespace tavrel::test {
namespace {

using testing::ElementsAre;
using testing::EndsWith;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;
using testing::SizeIs;

std::string ReadingOf(const DicomDataSet& version) {
    return TextOf(version.GetSequenceItem(attribute::ContentSequence, 1)->GetValue(attribute::TextValue));
}

std::string UidOf(const SentVersion& version) {
    return TextOf(version.dataSet->GetValue(attribute::SopInstanceUid));
}

Texts PredecessorsOf(const SentVersion& version) {
    Texts uids;
    ForEachItem(*version.dataSet, attribute::PredecessorDocumentsSequence, [&](const DicomDataSet& study) {
        ForEachItem(study, attribute::ReferencedSeriesSequence, [&](const DicomDataSet& series) {
            ForEachItem(series, attribute::ReferencedSopSequence, [&](const DicomDataSet& each) {
                uids.push_back(TextOf(each, attribute::ReferencedSopInstanceUid));
            });
        });
    });
    return uids;
}

Texts SaversOf(const SentVersion& version) {
    Texts names;
    for (const auto& saver : SaversOf(*version.dataSet))
        names.push_back(saver.ObserverName);
    return names;
}

/// Dr. Mario Rossi has the report of one version open, and so has Dr. Anna Bianchi at another workstation, with an
/// account of her own.
class TwoDesks : public ReportingStation {
public:
    explicit TwoDesks(const ReportSeed& seed = {}) {
        OpenReport(seed);
        store.answer = [this](const SentVersion& version) { Store(version); };
        AtAnnas([this](frmReport&) { anna.automation.LoadSRSeries("1.2.3.2.1"); });
        anna.global.userSignature = "Dr. Anna Bianchi";
        --clock.now.minute;
    }

    AnotherProcess anna{*this};

    /// What happens there takes a minute.
    void AtAnnas(const std::function<void(frmReport&)>& work) {
        const auto own = std::exchange(process.stateFolder, Path("anna"));
        const bool nested = std::exchange(atAnnas_, true);
        work(anna.editor);
        atAnnas_ = nested;
        process.stateFolder = own;
        ++clock.now.minute;
    }
    void AnnaSaves(const std::string& reading = "Anna's") {
        AtAnnas([&](frmReport& hers) {
            hers.txtReportAnnotation.Typed(reading);
            hers.cmdSave.Press();
        });
    }
    void AnnaApproves() {
        AtAnnas([&](frmReport& hers) {
            windows.answers.push_front(Answer::Yes);
            hers.cmdApprove.Press();
        });
    }
    void Save(const std::string& reading) {
        editor.txtReportAnnotation.Typed(reading);
        editor.cmdSave.Press();
    }
    /// Files a version as the storage service does, and tells the program that has sent it.
    void Store(const SentVersion& version) {
        const std::string path = File(version, "report1");
        if (!atAnnas_)
            serviceEvents.RaiseStore("1.2.3.2.1", path, "AE_INTERNAL", UidOf(version));
    }
    /// The service meets a version of Anna's that came first, and refuses the next one for it.
    void RefuseOnceFor(const std::function<void()>& whatCameFirst, const std::string& words = "Another came first.") {
        store.answer = [this, whatCameFirst, words](const SentVersion&) {
            const auto act = whatCameFirst; // these go away with the former answer
            const Error refusal(static_cast<int>(DicomFault::NotItsTurn), "DICOM", words);
            auto& desks = *this;
            desks.store.sent.pop_back();
            desks.store.answer = [&desks](const SentVersion& version) { desks.Store(version); };
            act();
            throw refusal;
        };
    }
    /// A version that no program of the two has sent.
    void LayVersion(const std::string& name, const std::function<void(DataSetList&)>& change) {
        const auto version = dicom->NewDataSetList();
        version->LoadFile(Path("study\\report1\\img_000001.dcm"));
        version->SetElementString(0, attribute::SopInstanceUid, "1.2.999.7");
        change(*version);
        version->Item(0)->SaveToFile(Path("study\\report1\\" + name));
    }
    std::string Reading() const { return editor.txtReportAnnotation.Text(); }
    std::string Band() const { return editor.lblState.Text(); }
    std::string Draft() const { return editor.lblDraft.Visible() ? editor.lblDraft.Text() : ""; }
    std::size_t Kept() const {
        return files->Exists(Path("state\\unsent")) ? files->List(Path("state\\unsent"), ".dcm").size() : 0;
    }

private:
    bool atAnnas_ = false;
};

TEST(ASave, AfterAnothersAsksBeforeAnythingIsWritten) {
    TwoDesks desks;
    desks.AnnaSaves();
    desks.windows.answers = {Answer::Cancel};
    desks.Save("Mine");
    EXPECT_THAT(desks.windows.Texts(), ElementsAre("Dr. Anna Bianchi saved a version of this report at 15/11/2026 "
                                                   "08:05:09.\r\nIt is not what your screen shows.\r\n\r\n"
                                                   "\"Look at it first\" shows it. What you have typed is kept as a "
                                                   "draft, which \"Put back\" offers; images that were "
                                                   "added since the last save have to be added again.\r\n"
                                                   "\"Save on top\" makes what your screen shows the newest version. "
                                                   "Every version stays in the list, and yours names them all.\r\n"
                                                   "\"Cancel\" leaves everything as it is."));
    EXPECT_THAT(desks.store.sent, SizeIs(1));
    EXPECT_EQ(desks.Reading(), "Mine");
    EXPECT_EQ(desks.Band(), "Dr. Anna Bianchi saved a version at 15/11/2026 08:05:09; \"Last Version\" shows it; "
                            "unsaved changes");
}

TEST(ASave, AfterAnothersOffersToLookFirst) {
    TwoDesks desks;
    desks.AnnaSaves();
    desks.Save("Mine");
    const auto& asked = desks.windows.messages.back();
    EXPECT_EQ(asked.buttons, Buttons::YesNoCancel);
    EXPECT_EQ(asked.yes, "Look at it first");
    EXPECT_EQ(asked.no, "Save on top");
    EXPECT_EQ(asked.defaultAnswer, Answer::Yes);
}

TEST(ASave, OnTopOfAnothersNamesBothAndTheirPhysicians) {
    TwoDesks desks;
    desks.AnnaSaves();
    desks.windows.answers = {Answer::No};
    desks.Save("Mine");
    ASSERT_THAT(desks.store.sent, SizeIs(2));
    const SentVersion& mine = desks.store.sent[1];
    EXPECT_THAT(PredecessorsOf(mine), SizeIs(2));
    EXPECT_EQ(PredecessorsOf(mine).back(), UidOf(desks.store.sent[0]));
    EXPECT_THAT(SaversOf(mine), ElementsAre("Dr. Mario Rossi", "Dr. Anna Bianchi", "Dr. Mario Rossi"));
    EXPECT_EQ(ReadingOf(*mine.dataSet), "Mine");
}

TEST(ASave, OnTopOfAnothersLeavesEveryVersionInTheList) {
    TwoDesks desks;
    desks.AnnaSaves();
    desks.windows.answers = {Answer::No};
    desks.Save("Mine");
    EXPECT_EQ(desks.editor.lstHistory.Items(),
              (Texts{"14/11/2026 08:00:00", "15/11/2026 08:05:09", "15/11/2026 08:06:09"}));
    EXPECT_EQ(desks.Reading(), "Mine");
    EXPECT_EQ(desks.Band(), "Saved at 15/11/2026 08:06:09");
    desks.editor.lstHistory.ListIndex(1);
    EXPECT_EQ(desks.Reading(), "Anna's");
}

TEST(ASave, OnTopOfSeveralNamesThemAll) {
    TwoDesks desks;
    desks.AnnaSaves("One");
    desks.AnnaSaves("Two");
    desks.windows.answers = {Answer::No};
    desks.Save("Mine");
    EXPECT_THAT(PredecessorsOf(desks.store.sent.back()), SizeIs(3));
    EXPECT_THAT(desks.windows.Texts().front(), HasSubstr("08:05:09.\r\nDr. Anna Bianchi saved a version of this "
                                                         "report at 15/11/2026 08:06:09.\r\n"));
}

TEST(ASave, LookingFirstShowsTheOthersAndOffersWhatWasTyped) {
    TwoDesks desks;
    desks.AnnaSaves();
    desks.windows.answers = {Answer::Yes};
    desks.Save("Mine");
    EXPECT_THAT(desks.store.sent, SizeIs(1));
    EXPECT_EQ(desks.Reading(), "Anna's");
    EXPECT_EQ(desks.Band(), "Saved at 15/11/2026 08:05:09");
    EXPECT_THAT(desks.Draft(), EndsWith("; a newer version was saved meanwhile"));
    desks.editor.cmdPutBack.Press();
    EXPECT_EQ(desks.Reading(), "Mine");
}

TEST(ASave, OfWhatWasPutBackAsksNoMore) {
    TwoDesks desks;
    desks.AnnaSaves();
    desks.windows.answers = {Answer::Yes};
    desks.Save("Mine");
    desks.editor.cmdPutBack.Press();
    desks.editor.cmdSave.Press();
    EXPECT_THAT(desks.windows.messages, SizeIs(1));
    EXPECT_THAT(PredecessorsOf(desks.store.sent.back()), SizeIs(2));
}

TEST(ASave, ThatWasCancelledAsksAgain) {
    TwoDesks desks;
    desks.AnnaSaves();
    desks.windows.answers = {Answer::Cancel, Answer::No};
    desks.Save("Mine");
    desks.editor.cmdSave.Press();
    EXPECT_THAT(desks.windows.messages, SizeIs(2));
    EXPECT_THAT(desks.store.sent, SizeIs(2));
}

TEST(ASave, TwiceInARowAsksNothing) {
    TwoDesks desks;
    desks.Save("One");
    ++desks.clock.now.minute;
    desks.Save("Two");
    EXPECT_THAT(desks.windows.messages, IsEmpty());
    EXPECT_THAT(desks.store.sent, SizeIs(2));
}

TEST(ASave, TwiceInARowReadsNoFileAgain) {
    TwoDesks desks;
    desks.Save("One");
    std::filesystem::remove(desks.NativePath("study/report1/img_000501.dcm"));
    desks.WriteFile("study/report1/img_000501.dcm", "not to be read");
    ++desks.clock.now.minute;
    desks.Save("Two");
    EXPECT_THAT(desks.windows.messages, IsEmpty());
}

TEST(ASave, OfAVersionWhoseEventDidNotComeIsKnownAllTheSame) {
    TwoDesks desks;
    desks.AnnaSaves("One"); // her program hears no events
    desks.AnnaSaves("Two");
    EXPECT_THAT(desks.windows.messages, IsEmpty());
    EXPECT_THAT(desks.store.sent, SizeIs(2));
}

TEST(ASave, InTheSameSecondAsAnothersIsToldOfItThoughTheirUidsAreTheSame) {
    TwoDesks desks;
    const auto now = desks.clock.now;
    desks.store.answer = [](const SentVersion&) { throw Error(105, "DICOM", "Away."); };
    desks.Save("Mine");
    desks.store.answer = [&](const SentVersion& version) { desks.Store(version); };
    desks.clock.now = now;
    desks.AnnaSaves();
    ASSERT_EQ(UidOf(desks.store.sent[0]), UidOf(desks.store.sent[1]));
    desks.windows.messages.clear();
    desks.Save("Mine again");
    EXPECT_THAT(desks.windows.Texts().front(), HasSubstr("Dr. Anna Bianchi saved"));
}

TEST(ASave, WhileTheQuestionStandsIsAskedAboutToo) {
    TwoDesks desks;
    desks.AnnaSaves("One");
    desks.windows.onMessage = [&](const MessageBox&) {
        auto& each = desks; // the handler goes away with what it holds
        each.windows.onMessage = {};
        each.AnnaSaves("Two");
        each.reportWatch.Tell();
    };
    desks.windows.answers = {Answer::No, Answer::Cancel};
    desks.Save("Mine");
    EXPECT_THAT(desks.windows.messages, SizeIs(2));
    EXPECT_THAT(desks.store.sent, SizeIs(2));
}

TEST(ASave, OfANewReportIsAskedAboutOnceAnotherHasSavedIt) {
    ReportingStation station;
    station.OpenImages();
    const auto series = station.Document().SeriesUid();
    std::filesystem::create_directories(station.NativePath("study/report1"));
    station.AddSeries(series, "1.2.3", "SR", "report1", 100);
    station.store.answer = [&](const SentVersion& version) { station.File(version, "report1"); };
    station.editor.cmdSave.Press();
    ++station.clock.now.minute;
    AnotherProcess anna(station);
    anna.automation.LoadSRSeries(series);
    anna.global.userSignature = "Dr. Anna Bianchi";
    anna.editor.cmdSave.Press();
    ++station.clock.now.minute;
    station.editor.cmdSave.Press();
    EXPECT_THAT(station.windows.Texts(), ElementsAre(HasSubstr("Dr. Anna Bianchi saved")));
    EXPECT_THAT(station.store.sent, SizeIs(2));
}

TEST(ASave, WhoseFolderCannotBeReadIsJudgedByTheServiceAlone) {
    TwoDesks desks;
    std::filesystem::rename(desks.NativePath("study/report1"), desks.NativePath("study/elsewhere"));
    desks.Save("Mine");
    EXPECT_THAT(desks.store.sent, SizeIs(1));
    EXPECT_THAT(desks.windows.messages, IsEmpty());
}

TEST(ASave, AfterAVersionThatCannotBeReadIsRefused) {
    TwoDesks desks;
    desks.WriteFile("study/report1/img_000009.dcm", "damaged");
    desks.Save("Mine");
    EXPECT_THAT(desks.windows.Texts(),
                ElementsAre(HasSubstr("No version can be written after one that cannot be read.")));
    EXPECT_THAT(desks.store.sent, IsEmpty());
    EXPECT_THAT(desks.Band(), HasSubstr("Read-only: "));
    EXPECT_THAT(desks.Draft(), HasSubstr("not saved"));
}

TEST(ASave, IsNeverWrittenAfterAnotherPatientsVersion) {
    TwoDesks desks;
    desks.LayVersion("img_000009.dcm", [](DataSetList& version) {
        version.SetElementString(0, attribute::PatientName, "NERI^LUCA");
        version.SetElementString(0, attribute::PatientId, "P9");
    });
    desks.Save("Mine");
    EXPECT_THAT(desks.windows.Texts(), ElementsAre(HasSubstr("but NERI, LUCA: no version can be written after it")));
    EXPECT_EQ(desks.windows.messages[0].buttons, Buttons::Ok);
    EXPECT_THAT(desks.store.sent, IsEmpty());
    EXPECT_EQ(desks.editor.txtPtName.Text(), "NERI^LUCA");
    EXPECT_THAT(desks.Draft(), IsEmpty());
}

TEST(ASave, IsNeverWrittenAfterContentsThatAreNotShown) {
    TwoDesks desks;
    desks.LayVersion("img_000009.dcm", [&](DataSetList& version) {
        version.SetElementString(0, attribute::SopClassUid, "1.2.840.10008.5.1.4.1.1.88.22");
    });
    desks.Save("Mine");
    EXPECT_THAT(desks.windows.Texts(), ElementsAre(HasSubstr("It holds contents that are not shown here")));
    EXPECT_THAT(desks.store.sent, IsEmpty());
}

TEST(ASave, OfAReportThatAnotherApprovedIsToldSoAndStaysADraft) {
    TwoDesks desks;
    desks.AnnaApproves();
    desks.windows.messages.clear();
    desks.Save("Mine");
    EXPECT_THAT(desks.windows.Texts(),
                ElementsAre("Dr. Anna Bianchi approved this report at 15/11/2026 08:05:09.\r\nAn approved report takes "
                            "no further version.\r\n\r\nNothing was saved. The screen shows the last version now; what "
                            "you have typed is kept as a draft, images that were added since the last save are not."));
    EXPECT_THAT(desks.store.sent, SizeIs(1));
    EXPECT_EQ(desks.Band(), "Approved by Dr. Anna Bianchi on 15/11/2026 08:05:09");
    EXPECT_FALSE(desks.editor.cmdSave.Enabled());
    EXPECT_THAT(desks.Draft(), EndsWith("; the report is approved meanwhile"));
}

TEST(ASave, ThatTheServiceRefusesForAnothersAsks) {
    TwoDesks desks;
    desks.RefuseOnceFor([&] { desks.AnnaSaves(); });
    desks.windows.answers = {Answer::No};
    desks.Save("Mine");
    EXPECT_THAT(desks.windows.Texts(), ElementsAre(HasSubstr("Dr. Anna Bianchi saved")));
    ASSERT_THAT(desks.store.sent, SizeIs(2));
    EXPECT_EQ(ReadingOf(*desks.store.sent[1].dataSet), "Mine");
    EXPECT_THAT(PredecessorsOf(desks.store.sent[1]), SizeIs(2));
    EXPECT_EQ(desks.Kept(), 0U);
    EXPECT_THAT(desks.editor.lstHistory.Items(), SizeIs(3));
}

TEST(ASave, ThatTheServiceRefusesForAnothersAndIsCancelledLeavesNoVersion) {
    TwoDesks desks;
    desks.RefuseOnceFor([&] { desks.AnnaSaves(); });
    desks.windows.answers = {Answer::Cancel};
    desks.Save("Mine");
    EXPECT_THAT(desks.store.sent, SizeIs(1));
    EXPECT_EQ(desks.Document().NumVersions(), 1);
    EXPECT_EQ(desks.Kept(), 0U);
    EXPECT_EQ(desks.Reading(), "Mine");
    EXPECT_THAT(desks.Band(), EndsWith("; unsaved changes"));
}

TEST(ASave, ThatTheServiceRefusesTwiceAsksTwice) {
    TwoDesks desks;
    desks.RefuseOnceFor([&] {
        desks.AnnaSaves("One");
        desks.RefuseOnceFor([&] { desks.AnnaSaves("Two"); });
    });
    desks.windows.answers = {Answer::No, Answer::No};
    desks.Save("Mine");
    EXPECT_THAT(desks.windows.messages, SizeIs(2));
    EXPECT_THAT(PredecessorsOf(desks.store.sent.back()), SizeIs(3));
}

TEST(ASave, ThatTheServiceRefusesForOneOfTheSameUidAndNameAsks) {
    TwoDesks desks;
    desks.anna.global.userSignature = "Dr. Mario Rossi";
    const auto now = desks.clock.now;
    desks.RefuseOnceFor([&] {
        desks.clock.now = now;
        desks.AnnaSaves();
    });
    desks.windows.answers = {Answer::No};
    desks.Save("Mine");
    EXPECT_THAT(desks.windows.Texts(), ElementsAre(HasSubstr("Dr. Mario Rossi saved")));
    EXPECT_THAT(PredecessorsOf(desks.store.sent.back()), SizeIs(2));
    EXPECT_EQ(desks.Kept(), 0U);
}

TEST(ASave, ThatTheServiceRefusesForAnApprovalStaysADraft) {
    TwoDesks desks;
    desks.RefuseOnceFor([&] { desks.AnnaApproves(); });
    desks.Save("Mine");
    EXPECT_THAT(desks.windows.Texts().back(), HasSubstr("An approved report takes no further version."));
    EXPECT_EQ(desks.Kept(), 0U);
    EXPECT_THAT(desks.Band(), HasSubstr("Approved by Dr. Anna Bianchi"));
    EXPECT_THAT(desks.Draft(), HasSubstr("approved meanwhile"));
}

TEST(ASave, ThatIsRefusedForAFileWhichTheFoldersListLacksYetAsks) {
    TwoDesks desks;
    WatchedFiles files;
    AnotherProcess mario(desks, files);
    mario.automation.LoadSRSeries("1.2.3.2.1");
    files.unlisted = "img_000501.dcm";
    desks.RefuseOnceFor([&] { desks.AnnaSaves(); }, "Refused (\"another version was stored first: img_000501.dcm\").");
    desks.windows.answers = {Answer::Cancel};
    mario.editor.txtReportAnnotation.Typed("Mine");
    mario.editor.cmdSave.Press();
    EXPECT_THAT(desks.windows.Texts(), ElementsAre(HasSubstr("Dr. Anna Bianchi saved")));
    EXPECT_EQ(desks.Kept(), 0U);
}

TEST(ASave, ThatIsRefusedForAVersionWhichNobodyFindsIsKept) {
    TwoDesks desks;
    desks.RefuseOnceFor([] {});
    desks.Save("Mine");
    EXPECT_EQ(desks.Kept(), 1U);
    EXPECT_THAT(desks.windows.Texts(), ElementsAre(HasSubstr("Another came first. It is kept in the file ")));
    EXPECT_EQ(desks.Reading(), "Mine");
}

TEST(ASave, AfterAVersionThatWasKeptMeanwhileNamesItAndTheOthers) {
    TwoDesks desks;
    desks.store.answer = [](const SentVersion&) { throw Error(105, "DICOM", "Away."); };
    desks.Save("Kept");
    ++desks.clock.now.minute;
    desks.store.answer = [&](const SentVersion& version) { desks.Store(version); };
    desks.AnnaSaves();
    desks.windows.messages.clear();
    desks.windows.answers = {Answer::No};
    desks.Save("Mine");
    EXPECT_THAT(desks.windows.Texts(), ElementsAre(HasSubstr("Dr. Anna Bianchi saved")));
    EXPECT_THAT(PredecessorsOf(desks.store.sent.back()), SizeIs(3));
    desks.editor.lstHistory.ListIndex(1);
    EXPECT_EQ(desks.Reading(), "Kept");
}

TEST(AKeptVersion, ThatWasStoredLaterIsNotToldAsAnothers) {
    TwoDesks desks;
    desks.store.answer = [](const SentVersion&) { throw Error(105, "DICOM", "Away."); };
    desks.Save("Kept");
    desks.File(desks.store.sent[0], "report1");
    desks.reportWatch.Tell("img_000501.dcm");
    EXPECT_THAT(desks.Band(), Not(HasSubstr("saved a version")));
    desks.windows.messages.clear();
    desks.store.answer = [&](const SentVersion& version) { desks.Store(version); };
    ++desks.clock.now.minute;
    desks.Save("Mine");
    EXPECT_THAT(desks.windows.messages, IsEmpty());
}

TEST(AnApproval, AfterAnothersSaveAsksBeforeItsOwnQuestion) {
    TwoDesks desks;
    desks.AnnaSaves();
    desks.windows.answers = {Answer::Cancel};
    desks.editor.cmdApprove.Press();
    EXPECT_THAT(desks.windows.Texts(), ElementsAre(HasSubstr("\"Approve on top\" makes")));
    EXPECT_THAT(desks.store.sent, SizeIs(1));
    EXPECT_EQ(desks.Document().status(), DcmSRDocument::Pending);
    EXPECT_TRUE(desks.editor.cmdApprove.Enabled());
}

TEST(AnApproval, OnTopOfAnothersNamesBoth) {
    TwoDesks desks;
    desks.AnnaSaves();
    desks.windows.answers = {Answer::No, Answer::Yes};
    desks.editor.cmdApprove.Press();
    ASSERT_THAT(desks.store.sent, SizeIs(3));
    EXPECT_THAT(PredecessorsOf(desks.store.sent[2]), SizeIs(3));
    EXPECT_EQ(TextOf(desks.store.sent[2].dataSet->GetValue(attribute::VerificationFlag)), "VERIFIED");
    EXPECT_FALSE(desks.editor.cmdSave.Enabled());
}

TEST(AnApproval, OnTopOfAnothersNamesWhoWroteTheText) {
    TwoDesks desks;
    desks.editor.txtReportAnnotation.Typed("Mine");
    desks.AnnaSaves();
    desks.windows.answers = {Answer::No, Answer::Yes};
    desks.editor.cmdApprove.Press();
    EXPECT_THAT(SaversOf(desks.store.sent.back()),
                ElementsAre("Dr. Mario Rossi", "Dr. Anna Bianchi", "Dr. Mario Rossi", "Dr. Mario Rossi"));
    EXPECT_EQ(desks.editor.txtReferringPhysician.Text(), "Dr. Mario Rossi");
}

TEST(AnApproval, OnTopOfAnothersThatIsNotMadeLeavesTheTextSaved) {
    TwoDesks desks;
    desks.editor.txtReportAnnotation.Typed("Mine");
    desks.AnnaSaves();
    desks.windows.answers = {Answer::No, Answer::No};
    desks.editor.cmdApprove.Press();
    EXPECT_EQ(desks.Document().status(), DcmSRDocument::Pending);
    EXPECT_EQ(desks.Reading(), "Mine");
    EXPECT_EQ(desks.Band(), "Saved at " + desks.Document().Version(3));
}

TEST(AnApproval, AfterAnothersThatIsLookedAtApprovesNothing) {
    TwoDesks desks;
    desks.AnnaSaves();
    desks.windows.answers = {Answer::Yes};
    desks.editor.cmdApprove.Press();
    EXPECT_THAT(desks.windows.messages, SizeIs(1));
    EXPECT_EQ(desks.Reading(), "Anna's");
    EXPECT_EQ(desks.Document().status(), DcmSRDocument::Pending);
    EXPECT_EQ(desks.editor.txtApprovingPhysician.Text(), "Not yet approved");
}

/// Another save comes while "Approve" asks.
class AnApprovalInterrupted : public TwoDesks {
public:
    explicit AnApprovalInterrupted(std::deque<Answer> given, const std::function<void(TwoDesks&)>& interrupt) {
        windows.onMessage = [this, interrupt](const MessageBox& message) {
            if (message.title != "Approving document ... ")
                return;
            const auto act = interrupt; // this goes away with the handler
            auto& desks = *this;
            desks.windows.onMessage = {};
            act(desks);
        };
        windows.answers = std::move(given);
        editor.cmdApprove.Press();
    }
};

TEST(AnApproval, ThatAnotherSaveMeetsDuringItsQuestionAsksAgain) {
    AnApprovalInterrupted desks({Answer::Yes, Answer::No}, [](TwoDesks& each) { each.AnnaSaves(); });
    ASSERT_THAT(desks.store.sent, SizeIs(3)); // Anna's, the text, its approval
    EXPECT_THAT(PredecessorsOf(desks.store.sent[2]), SizeIs(3));
    EXPECT_EQ(desks.Document().status(), DcmSRDocument::Approved);
    EXPECT_EQ(desks.editor.txtReferringPhysician.Text(), "Dr. Mario Rossi");
}

TEST(AnApproval, ThatAnotherSaveMeetsAndThatLooksFirstApprovesNothing) {
    AnApprovalInterrupted desks({Answer::Yes, Answer::Yes}, [](TwoDesks& each) { each.AnnaSaves(); });
    EXPECT_THAT(desks.store.sent, SizeIs(1));
    EXPECT_EQ(desks.Reading(), "Anna's");
    EXPECT_EQ(desks.Document().status(), DcmSRDocument::Pending);
    EXPECT_EQ(desks.editor.txtApprovingPhysician.Text(), "Not yet approved");
    EXPECT_TRUE(desks.editor.cmdSave.Enabled());
}

TEST(AnApproval, ThatAnotherSaveMeetsAndThatIsCancelledApprovesNothing) {
    AnApprovalInterrupted desks({Answer::Yes, Answer::Cancel}, [](TwoDesks& each) { each.AnnaSaves(); });
    EXPECT_THAT(desks.store.sent, SizeIs(1));
    EXPECT_EQ(desks.Document().status(), DcmSRDocument::Pending);
    EXPECT_EQ(desks.editor.txtApprovingPhysician.Text(), "Not yet approved");
    EXPECT_TRUE(desks.editor.cmdSave.Enabled());
    EXPECT_THAT(desks.Band(), HasSubstr("Dr. Anna Bianchi saved a version"));
}

TEST(AnApproval, ThatMeetsAnothersApprovalLeavesThatOne) {
    AnApprovalInterrupted desks({Answer::Yes}, [](TwoDesks& each) { each.AnnaApproves(); });
    EXPECT_THAT(desks.store.sent, SizeIs(1));
    EXPECT_EQ(desks.Document().status(), DcmSRDocument::Approved);
    EXPECT_EQ(desks.editor.txtApprovingPhysician.Text(), "Dr. Anna Bianchi");
    EXPECT_FALSE(desks.editor.cmdSave.Enabled());
    EXPECT_THAT(desks.Band(), HasSubstr("Approved by Dr. Anna Bianchi"));
}

TEST(AnApproval, ThatTheServiceRefusesForASaveIsNoApproval) {
    TwoDesks desks;
    desks.RefuseOnceFor([&] { desks.AnnaSaves(); });
    desks.windows.answers = {Answer::Yes, Answer::Cancel};
    desks.editor.cmdApprove.Press();
    EXPECT_EQ(desks.Document().status(), DcmSRDocument::Pending);
    EXPECT_EQ(desks.Document().NumVersions(), 1);
    EXPECT_EQ(desks.Rows("History", {"Description"}).back().front(), "View Refert");
}

TEST(TheCatalogue, IsNotWatchedForAReportOfWhichNothingIsSaved) {
    ReportingStation station;
    station.OpenImages();
    EXPECT_EQ(station.reportWatch.seriesUid, "");
    station.StoreInto("report1");
    station.editor.cmdSave.Press();
    EXPECT_EQ(station.reportWatch.seriesUid, station.Document().SeriesUid());
    station.editor.cmdNew.Press();
    EXPECT_EQ(station.reportWatch.seriesUid, "");
}

TEST(TheCatalogue, IsWatchedForAFirstVersionThatTheServiceMayHave) {
    ReportingStation station;
    station.OpenImages();
    station.WriteFile("state\\unsent", "in the folder's way");
    station.store.answer = [](const SentVersion&) {
        throw Error(static_cast<int>(DicomFault::NotStored), "DICOM", "No answer came.");
    };
    station.editor.cmdSave.Press();
    EXPECT_THAT(station.editor.lstHistory.Items(), IsEmpty());
    EXPECT_EQ(station.reportWatch.seriesUid, station.Document().SeriesUid());
}

TEST(TheBand, TellsWithinSecondsThatAnotherSaved) {
    TwoDesks desks;
    desks.AnnaSaves();
    desks.reportWatch.Tell();
    EXPECT_EQ(desks.Band(), "Dr. Anna Bianchi saved a version at 15/11/2026 08:05:09; \"Last Version\" shows it");
    EXPECT_EQ(desks.editor.lblState.Emphasis(), Label::Tone::Attention);
}

TEST(TheBand, TellsOfTheLastOfSeveral) {
    TwoDesks desks;
    desks.AnnaSaves();
    desks.AnnaSaves("Two");
    desks.reportWatch.Tell();
    EXPECT_THAT(desks.Band(), HasSubstr("08:06:09 (the last of 2); "));
}

TEST(TheBand, AloneChangesWhenAnotherSaved) {
    TwoDesks desks;
    desks.editor.txtReportAnnotation.Typed("Typing");
    desks.AnnaSaves();
    desks.reportWatch.Tell();
    desks.reportWatch.Tell();
    EXPECT_EQ(desks.Reading(), "Typing");
    EXPECT_THAT(desks.editor.lstHistory.Items(), SizeIs(1));
    EXPECT_TRUE(desks.editor.cmdSave.Enabled());
    EXPECT_THAT(desks.Band(), EndsWith("; unsaved changes"));
    EXPECT_THAT(desks.windows.messages, IsEmpty());
}

TEST(TheBand, TellsOfAVersionThatTheFolderDoesNotListYet) {
    TwoDesks desks;
    desks.LayVersion("other.txt", [](DataSetList&) {}); // of a kind that is not listed
    desks.reportWatch.Tell("other.txt");
    EXPECT_THAT(desks.Band(), HasSubstr("saved a version at 14/11/2026 08:00:00"));
}

TEST(TheBand, NeverTellsOfTheEditorsOwnSaves) {
    TwoDesks desks;
    desks.Save("Mine");
    desks.reportWatch.Tell("img_000501.dcm");
    EXPECT_EQ(desks.Band(), "Saved at 15/11/2026 08:05:09");
    desks.AtAnnas([&](frmReport&) { desks.anna.watch.Tell(); });
    EXPECT_THAT(desks.anna.editor.lblState.Text(), HasSubstr("Dr. Mario Rossi saved a version"));
}

TEST(TheBand, NeverTellsOfOwnSavesThatItIsToldOfDuringTheSave) {
    TwoDesks desks;
    desks.store.answer = [&](const SentVersion& version) {
        desks.File(version, "report1");
        desks.reportWatch.Tell("img_000501.dcm");
    };
    desks.Save("Mine");
    EXPECT_EQ(desks.Band(), "Saved at 15/11/2026 08:05:09");
}

TEST(TheBand, TellsAfterASaveWhatItWasToldDuringIt) {
    TwoDesks desks;
    desks.store.answer = [&](const SentVersion& version) {
        desks.Store(version);
        desks.LayVersion("img_000900.dcm", [](DataSetList&) {});
        desks.reportWatch.Tell("img_000900.dcm");
    };
    desks.Save("Mine");
    EXPECT_THAT(desks.Band(), HasSubstr("Dr. Mario Rossi saved a version at 14/11/2026 08:00:00"));
}

TEST(TheBand, TellsNothingOfAReportThatIsNoLongerShown) {
    TwoDesks desks;
    desks.AddReport({.seriesUid = "1.2.3.2.2", .seriesDir = "report2"});
    const FakeReportWatch former = desks.reportWatch;
    desks.automation.LoadSRSeries("1.2.3.2.2");
    desks.AnnaSaves();
    former.Tell();
    EXPECT_EQ(desks.reportWatch.seriesUid, "1.2.3.2.2");
    EXPECT_EQ(desks.Band(), "Saved at 14/11/2026 08:00:00");
}

TEST(TheBand, TellsWhatTheArchiveKeeps) {
    TwoDesks desks;
    desks.reportWatch.Tell(WatchedReport{.versions = 1, .archived = 0});
    EXPECT_EQ(desks.Band(), "Saved at 14/11/2026 08:00:00; not yet in the archive");
    desks.reportWatch.Tell(WatchedReport{.versions = 1, .archived = 1});
    EXPECT_EQ(desks.Band(), "Saved at 14/11/2026 08:00:00; in the archive");
    desks.Save("Mine");
    desks.reportWatch.Tell(WatchedReport{.versions = 2, .archived = 1});
    EXPECT_EQ(desks.Band(), "Saved at 15/11/2026 08:05:09; 1 of 2 versions are in the archive");
}

TEST(TheBand, SaysNothingOfTheArchiveUntilItIsToldOfTheLastVersion) {
    TwoDesks desks;
    desks.reportWatch.Tell(WatchedReport{.versions = 1, .archived = 1});
    desks.Save("Mine");
    EXPECT_EQ(desks.Band(), "Saved at 15/11/2026 08:05:09");
    desks.reportWatch.Tell(WatchedReport{.versions = 1, .archived = 1}); // asked before the save
    EXPECT_EQ(desks.Band(), "Saved at 15/11/2026 08:05:09");
}

TEST(TheBand, SaysNothingOfTheArchiveOfAnotherReport) {
    TwoDesks desks;
    desks.AddReport({.seriesUid = "1.2.3.2.2", .seriesDir = "report2"});
    desks.reportWatch.Tell(WatchedReport{.versions = 1, .archived = 1});
    desks.automation.LoadSRSeries("1.2.3.2.2");
    EXPECT_EQ(desks.Band(), "Saved at 14/11/2026 08:00:00");
}

TEST(TheBand, SaysNothingOfTheArchiveWhileAChangeIsNotSaved) {
    TwoDesks desks;
    desks.reportWatch.Tell(WatchedReport{.versions = 1, .archived = 1});
    desks.editor.txtReportAnnotation.Typed("Typing");
    EXPECT_EQ(desks.Band(), "Unsaved changes");
}

TEST(TheBand, TellsThatAnotherApprovedAndTheReportIsLocked) {
    TwoDesks desks;
    desks.editor.txtReportAnnotation.Typed("Typing");
    desks.AnnaApproves();
    desks.reportWatch.Tell();
    EXPECT_EQ(desks.Band(), "Dr. Anna Bianchi approved this report at 15/11/2026 08:05:09; \"Last Version\" shows it; "
                            "what is typed is kept as a draft");
    EXPECT_FALSE(desks.editor.cmdSave.Enabled());
    EXPECT_FALSE(desks.editor.cmdApprove.Enabled());
    EXPECT_FALSE(desks.editor.frmReading.Enabled());
    EXPECT_EQ(desks.Reading(), "Typing");
}

TEST(TheBand, IsWatchedNoMoreOnceTheEditorLeaves) {
    TwoDesks desks;
    desks.editor.Leave();
    EXPECT_EQ(desks.reportWatch.seriesUid, "");
}

TEST(ADraftOfALockedReport, CannotBePutBack) {
    TwoDesks desks;
    desks.editor.txtReportAnnotation.Typed("Typed before");
    desks.editor.cmdLastVersion.Press();
    ASSERT_TRUE(desks.editor.cmdPutBack.Enabled());
    desks.AnnaApproves();
    desks.reportWatch.Tell();
    EXPECT_FALSE(desks.editor.cmdPutBack.Enabled());
    EXPECT_THAT(desks.Draft(), EndsWith("; the report is approved meanwhile"));
    desks.editor.cmdPutBack_Click();
    EXPECT_EQ(desks.Reading(), "Normal heart and lungs.");
}

TEST(LastVersion, ShowsWhatAnotherSavedAndKeepsWhatIsTyped) {
    TwoDesks desks;
    desks.editor.txtReportAnnotation.Typed("Typing");
    desks.AnnaSaves();
    desks.reportWatch.Tell();
    desks.editor.cmdLastVersion.Press();
    EXPECT_EQ(desks.Reading(), "Anna's");
    EXPECT_EQ(desks.Band(), "Saved at 15/11/2026 08:05:09");
    EXPECT_THAT(desks.editor.lstHistory.Items(), SizeIs(2));
    desks.editor.cmdPutBack.Press();
    EXPECT_EQ(desks.Reading(), "Typing");
}

TEST(LastVersion, ShowsWhatAnotherSavedThoughNobodyHasToldOfIt) {
    TwoDesks desks;
    desks.AnnaSaves();
    desks.editor.cmdLastVersion.Press();
    EXPECT_EQ(desks.Reading(), "Anna's");
}

TEST(LastVersion, ShowsWhatAnotherApproved) {
    TwoDesks desks;
    desks.AnnaApproves();
    desks.reportWatch.Tell();
    desks.editor.cmdLastVersion.Press();
    EXPECT_EQ(desks.Band(), "Approved by Dr. Anna Bianchi on 15/11/2026 08:05:09");
    EXPECT_TRUE(desks.editor.cmdPrint.Enabled());
}

TEST(TheListOfVersions, TakesInWhatAnotherSavedAndShowsTheOneThatWasChosen) {
    TwoDesks desks({.versions = 2});
    desks.AnnaSaves();
    desks.reportWatch.Tell();
    desks.editor.lstHistory.ListIndex(0);
    EXPECT_THAT(desks.editor.lstHistory.Items(), SizeIs(3));
    EXPECT_EQ(desks.editor.lstHistory.ListIndex(), 0);
    EXPECT_EQ(desks.Band(), "Older version, read-only");
    desks.editor.lstHistory.ListIndex(2);
    EXPECT_EQ(desks.Reading(), "Anna's");
}

} // namespace
} // namespace tavrel::test
