#include "platform/qt/QtWindows.h"
#include "tests/editor/ReportingStation.h"

#include <QWidget>
#include <gmock/gmock.h>

namespace tavrel::test {
namespace {

class Forms : public testing::Test {
protected:
    ReportingStation station_;
};

TEST_F(Forms, TheEditorHasAWidgetForEachControl) {
    EXPECT_THAT(MissingNames(station_.editor), testing::IsEmpty());
}

TEST_F(Forms, TheChooserHasAWidgetForEachControl) {
    EXPECT_THAT(MissingNames(station_.chooser), testing::IsEmpty());
}

TEST_F(Forms, TheCodeTablesManagerHasAWidgetForEachControl) {
    EXPECT_THAT(MissingNames(station_.codeTables), testing::IsEmpty());
}

} // namespace
} // namespace tavrel::test
