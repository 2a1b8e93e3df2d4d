#include "tests/platform/qt/OneOfEach.h"

#include <gmock/gmock.h>

namespace tavrel {
namespace {

struct EmptyForm : Form {
    explicit EmptyForm(std::string_view name) : Form(name) {}
    void FrameClosed() override {}
};

/// What does not pair between a form and its layout.
std::vector<std::string> Missing(const Form& form, const std::function<void(QWidget&)>& layOut) {
    QWidget window;
    layOut(window);
    return MissingNames(form, window);
}

template <typename Widget> void Put(QWidget& window, const char* name) {
    (new Widget(&window))->setObjectName(name);
}

TEST(MissingNames, AreNoneWhereEveryControlHasItsWidget) {
    EXPECT_THAT(Missing(OneOfEach(), LayOutOneOfEach), testing::IsEmpty());
}

TEST(MissingNames, NameAControlWithoutAWidget) {
    EmptyForm form("frmSmall");
    const Label label(form, "lblFind");

    EXPECT_THAT(Missing(form, [](QWidget&) {}), testing::ElementsAre("no fitting widget: lblFind"));
}

TEST(MissingNames, NameAControlWhoseWidgetIsOfAnotherKind) {
    EmptyForm form("frmSmall");
    const Button button(form, "cmdSave");

    EXPECT_THAT(Missing(form, [](QWidget& window) { Put<QLabel>(window, "cmdSave"); }),
                testing::ElementsAre("no fitting widget: cmdSave"));
}

TEST(MissingNames, NameAWidgetWithoutAControl) {
    const EmptyForm form("frmSmall");

    EXPECT_THAT(Missing(form, [](QWidget& window) { Put<QPushButton>(window, "cmdSave"); }),
                testing::ElementsAre("no control: cmdSave"));
}

TEST(MissingNames, LeaveOutWhatOnlyDecorates) {
    const EmptyForm form("frmSmall");

    EXPECT_THAT(Missing(form,
                        [](QWidget& window) {
                            Put<QLabel>(window, "captionName");
                            Put<QGroupBox>(window, "paneVersions");
                        }),
                testing::IsEmpty());
}

} // namespace
} // namespace tavrel
