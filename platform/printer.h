#pragma once

#include "platform/database.h"
#include "platform/datetime.h"

#include <string>
#include <string_view>
#include <vector>

namespace tavrel {

/// One thing on a printed page. Lengths are millimetres from the left and top of its section.
struct PrintControl {
    enum class Kind {
        Label, ///< `text` is the caption; "%i" in it is the layout's title, "%d" today's date
        Field, ///< `text` names the column whose value is printed
        Text,  ///< `text` itself, whatever it holds
        Image, ///< `text` is the path of a picture in a page header or footer, shown in proportion
    };
    enum class Align { Left, Right };

    std::string name;
    Kind kind = Kind::Label;
    std::string text;
    double left = 0, top = 0, width = 0, height = 0;
    double fontSize = 10; ///< points
    bool bold = false;
    bool faint = false; ///< printed in grey, as a caption beside its value
    Align align = Align::Left;
    /// Grows with its text, over pages if need be, and pushes down what stands below it.
    bool canGrow = false;
    bool visible = true;
};

/// A band of the page.
struct PrintSection {
    enum class Kind { ReportHeader, PageHeader, Detail, PageFooter, ReportFooter };

    std::string name;
    Kind kind = Kind::Detail;
    double height = 0;  ///< millimetres; an empty section has none
    bool ruled = false; ///< a fine line sets it off from the detail
    std::vector<PrintControl> controls;
};

/// A banded page layout on A4: page header and footer stand on every page, the detail once for each
/// row, breaking over pages where it must.
struct PrintLayout {
    std::string name;
    std::string caption; ///< of the preview's window
    std::string title;   ///< what "%i" stands for
    std::string fontFamily;
    bool topMost = false; ///< the preview stays above the other windows
    double marginLeft = 20, marginTop = 15, marginRight = 20, marginBottom = 15; ///< millimetres
    std::vector<PrintSection> sections;

    /// The control of that name; an error when there is none.
    PrintControl& Control(std::string_view controlName);
};

class ReportPrinter {
public:
    virtual ~ReportPrinter() = default;
    /// Shows the layout filled from `rows` in a preview window, from which the person prints
    /// or saves a PDF, and returns when it is closed. A picture that cannot be read is an error.
    virtual void ShowModal(const PrintLayout& layout, ResultSet& rows, const DateTime& today) = 0;
};

} // namespace tavrel
