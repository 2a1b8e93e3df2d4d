#pragma once

#include "platform/printer.h"

#include <QFont>
#include <QImage>
#include <QString>

#include <map>
#include <string>
#include <vector>

class QPagedPaintDevice;
class QPainter;

namespace tavrel {

/// A print layout filled with rows and broken into pages. Lengths are millimetres; a page's own
/// coordinates start at the left and top margins of the sheet (A4, 210 x 297).
class PrintPages {
public:
    /// Reads `rows` to their end. A picture that cannot be read is an error.
    PrintPages(PrintLayout layout, ResultSet& rows, const DateTime& today);
    PrintPages(const PrintPages&) = delete;
    PrintPages& operator=(const PrintPages&) = delete;

    int Count() const { return static_cast<int>(pages_.size()); }
    const PrintLayout& Layout() const { return layout_; }

    /// Draws the pages that `device` asks for, which must have no margins of its own. On a sheet
    /// smaller than A4 they are smaller too.
    void Paint(QPagedPaintDevice& device) const;

private:
    /// The text of each field, by its control.
    using Row = std::map<const PrintControl*, QString>;

    /// A line of text, at `top` of the flow that it belongs to.
    struct Line {
        const PrintControl* control;
        QString text;
        Qt::LayoutDirection direction;
        PrintControl::Align align;
        double top, height;
        bool keepsWithNext; ///< does not end a page: a caption, the first and the last lines of a text
    };
    using Lines = std::vector<Line>;

    void ReadPictures();
    QString TextOf(const PrintControl& control, const Row& row) const;
    QFont FontOf(const PrintControl& control) const;
    Lines LinesOf(const PrintSection& section, const Row& row) const;
    void BreakIntoPages(const Lines& lines);

    const PrintSection* Section(PrintSection::Kind kind) const;
    double HeightOf(PrintSection::Kind kind) const;
    double BodyHeight() const;

    void PaintPage(QPainter& painter, const Lines& body) const;
    void DrawBand(QPainter& painter, PrintSection::Kind kind, double top) const;
    void DrawLines(QPainter& painter, const Lines& lines, double top) const;

    const PrintLayout layout_;
    const std::string today_;
    std::map<const PrintControl*, QImage> pictures_;
    std::vector<Lines> pages_; ///< of the detail; tops are those of the page's body
};

} // namespace tavrel
