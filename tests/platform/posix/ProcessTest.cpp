#include "platform/posix/PosixProcess.h"
#include "platform/posix/PosixUserInformation.h"
#include "tests/support/Shell.h"

#include <gtest/gtest.h>

#include <array>
#include <iostream>

namespace tavrel::test {
namespace {

TEST(Process, AStartWithoutArgumentsIsAPersons) {
    const std::array arguments{"tavrel"};
    EXPECT_FALSE(PosixProcess(1, arguments.data()).StartedByAutomation());
}

TEST(Process, TheReservedArgumentIsAnAutomationStart) {
    const std::array arguments{"tavrel", "--automation"};
    EXPECT_TRUE(PosixProcess(2, arguments.data()).StartedByAutomation());
}

TEST(Process, AnyOtherArgumentIsAPersonsStart) {
    const std::array arguments{"tavrel", "--automations", "-automation", "report"};
    EXPECT_FALSE(PosixProcess(4, arguments.data()).StartedByAutomation());
}

TEST(Process, TheApplicationFolderIsTheExecutablesWithTheProgramsSeparator) {
    const auto folder = PosixProcess(0, nullptr).ApplicationFolder();
    EXPECT_TRUE(folder.starts_with('\\')) << folder;
    EXPECT_FALSE(folder.ends_with('\\')) << folder;
    EXPECT_EQ(folder.find('/'), std::string::npos);
}

struct Desktop {
    std::string_view name;
    const char* lcAll;
    const char* lcMessages;
    const char* lang;
    std::string_view language;
    friend void PrintTo(const Desktop& desktop, std::ostream* out) { *out << desktop.name; }
};

class Languages : public testing::TestWithParam<Desktop> {};

TEST_P(Languages, AreThoseOfTheMessages) {
    setenv("LC_ALL", GetParam().lcAll, 1);
    setenv("LC_MESSAGES", GetParam().lcMessages, 1);
    setenv("LANG", GetParam().lang, 1);
    EXPECT_EQ(PosixProcess(0, nullptr).Language(), GetParam().language);
}

INSTANTIATE_TEST_SUITE_P(, Languages,
                         testing::Values(Desktop{"Lang", "", "", "it_IT.UTF-8", "it"},
                                         Desktop{"Messages", "", "de_CH@euro", "it_IT.UTF-8", "de"},
                                         Desktop{"All", "el", "de_CH", "it_IT", "el"},
                                         Desktop{"PlainC", "C.UTF-8", "", "it_IT", ""},
                                         Desktop{"Posix", "", "", "POSIX", ""}, Desktop{"Nothing", "", "", "", ""}),
                         testing::PrintToStringParamName());

TEST(ProcessDeath, TheEndRunsTheHooksInTheirOrderAndNoDestructor) {
    struct Loud {
        ~Loud() { std::cerr << "destroyed"; }
    };
    const auto end = [] {
        const Loud loud;
        PosixProcess process(0, nullptr);
        process.AtEnd([] { std::cerr << "first "; });
        process.AtEnd([] { std::cerr << "second"; });
        process.End();
    };
    EXPECT_EXIT(end(), testing::ExitedWithCode(0), "^first second$");
}

TEST(ProcessDeath, AFailureRunsTheHooksToo) {
    const auto fail = [] {
        PosixProcess process(0, nullptr);
        process.AtEnd([] { std::cerr << "hook"; });
        process.Fail();
    };
    EXPECT_EXIT(fail(), testing::ExitedWithCode(1), "^hook$");
}

TEST(UserInformation, TheUserIsTheOneWhomTheSystemNames) {
    EXPECT_EQ(PosixUserInformation().UserName() + "\n", RunShell("id -un").out);
}

} // namespace
} // namespace tavrel::test
