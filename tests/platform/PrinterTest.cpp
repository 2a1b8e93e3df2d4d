#include "platform/printer.h"
#include "tests/support/Failure.h"

#include <gtest/gtest.h>

namespace tavrel {
namespace {

TEST(PrintLayouts, SayThatTheyHaveNoControlOfAName) {
    PrintLayout layout;
    layout.name = "Refert";

    const Error error = ErrorOf([&] { layout.Control("TextBox9"); });

    EXPECT_EQ(error.number, 424);
    EXPECT_EQ(error.description, "Refert has no control TextBox9");
}

} // namespace
} // namespace tavrel
