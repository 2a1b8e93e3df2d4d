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
        Label, ///< `text` is the caption; in it "%i" is the layout's title, "%d" today's date, "%p" the page, "%P" the
               ///< number of pages
        Field, ///< `text` names the column whose value is printed
        Text,  ///< `text` itself, whatever it holds
        Image, ///< `text` is the path of a picture in a page header or footer, shown in proportion
    };
    enum class Align { Left, Right };

    std::string name{};
    Kind kind = Kind::Label;
    std::string text{};
    double left = 0, top = 0, width = 0, height = 0;
    double fontSize = 10; ///< points
    bool bold = false;
    bool faint = false; ///< printed in grey, as a caption beside its value
    Align align = Align::Left;
    /// Grows with its text, over pages if need be, and pushes down what stands below it.
    bool canGrow = false;
    bool standsAlone = false; ///< the page may end behind it: it is no caption, and no signature belongs to it
    bool visible = true;
    bool personName = false; ///< the value of a field or text is a person's name, which is printed as people write it
};

/// A band of the page. One whose controls have grown beyond its height is as high as they are.
struct PrintSection {
    enum class Kind { ReportHeader, PageHeader, Detail, PageFooter, ReportFooter };

    std::string name;
    Kind kind = Kind::Detail;
    double height = 0;  ///< millimetres; an empty section has none
    bool ruled = false; ///< a fine line sets it off from the detail
    std::vector<PrintControl> controls;
};

/// What a printed document is of, for its title and the name of its file.
struct PrintedDocument {
    std::string patient{}; ///< as people write the name
    std::string study{};   ///< in words
    DateTime date{};       ///< of the study
    std::string note{};    ///< what else tells it from others of the same study

    /// "Doe, Peter - CT abdomen - 2026-11-22", without what is not known.
    std::string Title() const;
    /// The title as every file system takes it and no person misreads it, with ".pdf": its longest parts are cut.
    std::string FileName() const;
};

/// A banded page layout on A4: page header and footer stand on every page, the detail once for each
/// row, breaking over pages where it must.
struct PrintLayout {
    std::string name;
    std::string caption; ///< of the preview's window
    std::string title;   ///< what "%i" stands for
    PrintedDocument document{};
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
