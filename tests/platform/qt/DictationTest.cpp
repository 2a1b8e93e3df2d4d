#include "platform/qt/QtDictation.h"
#include "tests/support/TemporaryFolder.h"

#include <QFile>
#include <QTest>
#include <gtest/gtest.h>

#include <csignal>
#include <fstream>
#include <optional>

namespace tavrel::test {
namespace {

namespace fs = std::filesystem;

class Dictations : public testing::Test {
protected:
    /// A command of its own: these lines of a shell.
    std::string Script(const std::string& lines) {
        const auto file = folder.Path() / "say it";
        std::ofstream(file) << "#!/bin/sh\n" << lines << "\n";
        fs::permissions(file, fs::perms::owner_all);
        return "\"" + file.string() + "\"";
    }
    void Start(const std::string& command) {
        dictation.Start(command, [this](const Dictation::Outcome& outcome) { told = outcome; });
    }
    Dictation::Outcome Outcome() {
        EXPECT_TRUE(QTest::qWaitFor([this] { return told.has_value(); }, 10'000));
        return told.value_or(Dictation::Outcome{});
    }

    /// Starts a script of these lines, which writes the number of what it starts into the file "id", and answers it.
    int Started(const std::string& lines) {
        const auto file = folder.Path() / "id";
        Start(Script("sleep 100 & echo $! >" + file.string() + "; " + lines));
        EXPECT_TRUE(QTest::qWaitFor([&] { return fs::exists(file) && fs::file_size(file) > 1; }, 10'000));
        int id = 0;
        std::ifstream(file) >> id;
        return id;
    }
    static bool Ends(int id) {
        return QTest::qWaitFor([&] { return kill(id, 0) != 0 || !QFile::exists(QString("/proc/%1/exe").arg(id)); },
                               5000);
    }

    TemporaryFolder folder;
    QtDictation dictation;
    std::optional<Dictation::Outcome> told;
};

TEST_F(Dictations, HandInWhatTheCommandWrites) {
    Start(Script("echo 'Größe ≥ 5 mm.'; echo 'Next line.'; echo noise >&2"));
    EXPECT_EQ(Outcome().text, "Größe ≥ 5 mm.\r\nNext line.");
    EXPECT_EQ(Outcome().failure, "");
}

TEST_F(Dictations, AreGivenTheirArgumentsAsTheyAreByNoShell) {
    Start(Script("printf '%s|' \"$@\"") + " one \"two three\" $HOME ;id");
    EXPECT_EQ(Outcome().text, "one|two three|$HOME|;id|");
}

TEST_F(Dictations, EndWhenAllIsSaid) {
    Start(Script("trap 'echo heard; exit 0' INT; echo ready >" + (folder.Path() / "ready").string() +
                 "; while :; do sleep 0.05; done"));
    ASSERT_TRUE(QTest::qWaitFor([&] { return fs::exists(folder.Path() / "ready"); }, 10'000));
    dictation.Finish();
    EXPECT_EQ(Outcome().text, "heard");
}

TEST_F(Dictations, EndWhenAllIsSaidToAProgramInTheBackground) {
    const auto former = std::signal(SIGINT, SIG_IGN);
    Start("sleep 100");
    std::signal(SIGINT, former);
    dictation.Finish();
    EXPECT_EQ(Outcome().failure, "it was ended by the signal 2");
}

TEST_F(Dictations, LeaveNothingBehindThatTheyHaveStarted) {
    const int id = Started("trap '' INT TERM; wait");
    dictation.Stop();
    EXPECT_TRUE(Ends(id));
    QTest::qWait(50);
    EXPECT_FALSE(told);
}

TEST_F(Dictations, LeaveNoRecorderBehindWhenTheyEndByThemselves) {
    const int id = Started("echo text");
    EXPECT_EQ(Outcome().text, "text");
    EXPECT_TRUE(Ends(id));
}

TEST_F(Dictations, TellWhyThereIsNoText) {
    Start("/no/such/program");
    EXPECT_TRUE(Outcome().failure.starts_with("it cannot be started: "));
    told.reset();
    Start("");
    EXPECT_TRUE(Outcome().failure.starts_with("it cannot be started: "));
    told.reset();
    Start(Script("echo text; echo 'no microphone' >&2; exit 3"));
    EXPECT_EQ(Outcome().failure, "it ended with the status 3: no microphone");
    told.reset();
    Start(Script("kill -9 $$"));
    EXPECT_EQ(Outcome().failure, "it was ended by the signal 9");
    told.reset();
    Start(Script("printf 'a\\377b'"));
    EXPECT_EQ(Outcome().failure, "what it wrote is no text in UTF-8");
    told.reset();
    Start(Script("yes"));
    EXPECT_EQ(Outcome().failure, "it writes more than anyone can have spoken");
}

TEST_F(Dictations, MayBeFollowedByAnotherAtOnce) {
    int second = 0;
    dictation.Start(Script("echo one"), [&](const Dictation::Outcome&) {
        dictation.Start(Script("echo two"), [&](const Dictation::Outcome& outcome) { second = outcome.text == "two"; });
    });
    EXPECT_TRUE(QTest::qWaitFor([&] { return second == 1; }, 10'000));
}

} // namespace
} // namespace tavrel::test
