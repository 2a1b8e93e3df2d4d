#include "host/ErrorReport.h"
#include "host/Startup.h"
#include "sr/DcmSRDocument.h"
#include "tests/support/Workstation.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <stdexcept>

namespace tavrel::test {
namespace {

using testing::ElementsAre;

const Error TypeMismatch(13, "Tavrel", "Type mismatch");

TEST(ErrorReports, PutTheShortPrefixDirectlyBeforeTheDescription) {
    FakeWindows windows;

    ShowError(windows, "AddImageToSR ", TypeMismatch);

    ASSERT_THAT(windows.Texts(), ElementsAre("AddImageToSR Type mismatch"));
    EXPECT_EQ(windows.messages[0].title, "");
    EXPECT_EQ(windows.messages[0].buttons, Buttons::Ok);
    EXPECT_EQ(windows.messages[0].icon, Icon::None);
}

TEST(ErrorReports, OfHandlersJoinLabelNumberAndDescription) {
    FakeWindows windows;

    ShowNumberedError(windows, "Save report - ", TypeMismatch);
    ShowNumberedError(windows, "Approve Report ", Error(-7, "Tavrel", "Refused"));

    EXPECT_THAT(windows.Texts(), ElementsAre("Save report - 13-Type mismatch", "Approve Report -7-Refused"));
}

class LongErrorReport : public testing::Test {
protected:
    Workstation station;
    Global& global = station.global;
};

TEST_F(LongErrorReport, NamesApplicationFunctionNumberAndDescription) {
    ShowApplicationError(global, "Quendor", "Esegui", TypeMismatch);

    ASSERT_THAT(station.windows.Texts(),
                ElementsAre("APPLICATION: Quendor --- Function: Esegui --- Error: ( 13--Type mismatch)"));
    EXPECT_EQ(station.windows.messages[0].title, "APPLICATION ERROR");
    EXPECT_EQ(station.windows.messages[0].buttons, Buttons::Ok);
}

TEST_F(LongErrorReport, HasABlankBeforeZeroAndASignBeforeANegativeNumber) {
    ShowApplicationError(global, "A", "F", Error(0, "", "none"));
    ShowApplicationError(global, "A", "F", Error(-2147217900, "", "syntax"));

    EXPECT_THAT(station.windows.Texts(),
                ElementsAre("APPLICATION: A --- Function: F --- Error: ( 0--none)",
                            "APPLICATION: A --- Function: F --- Error: (-2147217900--syntax)"));
}

TEST_F(LongErrorReport, DropsTheDocumentAndClosesTheCatalogueFirst) {
    global.report->document = std::make_shared<DcmSRDocument>(global);
    bool gone = false;
    station.windows.onMessage = [&](const MessageBox&) {
        gone = !global.report->document && !global.catalogue->IsOpen();
    };

    ShowApplicationError(global, "Quendor", "Esegui", TypeMismatch);

    EXPECT_TRUE(gone);
}

TEST_F(LongErrorReport, ClosesTheCatalogueWhichOpensAgainForWhoeverNeedsIt) {
    ShowApplicationError(global, "Quendor", "Esegui", TypeMismatch);
    EXPECT_FALSE(global.catalogue->IsOpen());

    EXPECT_NO_THROW(Catalogue(global).OpenResultSet("SELECT * FROM Port"));
}

TEST_F(LongErrorReport, IsShownBeforeAnyStartUpToo) {
    global.catalogue.reset();

    ShowApplicationError(global, "Quendor", "Esegui", TypeMismatch);

    EXPECT_EQ(station.windows.messages.size(), 1U);
}

TEST_F(LongErrorReport, TellsTheFirstFailureWhenTheCatalogueCannotBeClosed) {
    struct Unclosable : ForwardingConnection {
        using ForwardingConnection::ForwardingConnection;
        void Close() override { throw Error(1, "ODBC", "Communication link failure"); }
    };
    global.catalogue = std::make_unique<Unclosable>(std::move(global.catalogue));

    ShowApplicationError(global, "Quendor", "Esegui", TypeMismatch);

    EXPECT_THAT(station.windows.Texts(), ElementsAre(testing::HasSubstr("Type mismatch")));
}

TEST(Traps, LetWhatSucceedsPass) {
    FakeWindows windows;

    EXPECT_TRUE(TrapShort(windows, "Quendor.Init: ", [] {}));

    EXPECT_TRUE(windows.messages.empty());
}

TEST(Traps, ShowAnErrorAndAnswerFalse) {
    FakeWindows windows;

    EXPECT_FALSE(TrapShort(windows, "ListInit ", [] { throw TypeMismatch; }));
    EXPECT_FALSE(TrapNumbered(windows, "Format Report : ", [] { throw TypeMismatch; }));

    EXPECT_THAT(windows.Texts(), ElementsAre("ListInit Type mismatch", "Format Report : 13-Type mismatch"));
}

TEST(Traps, NeverLoseAFailureOfAnotherType) {
    FakeWindows windows;

    TrapNumbered(windows, "", [] { throw std::runtime_error("out of range"); });
    TrapNumbered(windows, "", [] { throw 42; });

    EXPECT_THAT(windows.Texts(), ElementsAre("5-out of range", "5-A failure without a description"));
}

TEST(State, WithoutCatalogueOrDocumentAnswersWithWords) {
    Workstation station(Workstation::NotStarted);

    TrapNumbered(station.windows, "", [&] { Catalogue(station.global); });
    TrapNumbered(station.windows, "", [&] { CurrentDocument(station.global); });

    EXPECT_THAT(station.windows.Texts(), ElementsAre("91-The catalogue has not been opened", "91-No report is open"));
}

} // namespace
} // namespace tavrel::test
