#include "platform/qt/FormBinder.h"
#include "platform/qt/Layouts.h"
#include "tests/editor/ReportingStation.h"

#include <QWidget>
#include <gmock/gmock.h>

namespace tavrel::test {
namespace {

class Forms : public testing::Test {
protected:
    static std::vector<std::string> Missing(const Form& form) {
        QWidget window;
        DesignedLayouts().at(form.Name())(window);
        return MissingNames(form, window);
    }

    ReportingStation station_;
};

TEST_F(Forms, TheEditorHasAWidgetForEachControl) {
    EXPECT_THAT(Missing(station_.editor), testing::IsEmpty());
}

TEST_F(Forms, TheChooserHasAWidgetForEachControl) {
    EXPECT_THAT(Missing(station_.chooser), testing::IsEmpty());
}

TEST_F(Forms, TheCodeTablesManagerHasAWidgetForEachControl) {
    EXPECT_THAT(Missing(station_.codeTables), testing::IsEmpty());
}

} // namespace
} // namespace tavrel::test
