#pragma once

#include "platform/printer.h"

#include <QFont>
#include <QImage>
#include <QString>

#include <functional>
#include <map>
#include <string>
#include <vector>

class QPagedPaintDevice;
class QPainter;
class QPrinter;

namespace tavrel {

/// A print layout filled with rows and broken into pages. Lengths are millimetres; a page's own
/// coordinates start at the left and top margins of the sheet (A4, 210 x 297).
class PrintPages {
public:
    /// Reads `rows` to their end. A picture that cannot be read is an error.
    PrintPages(PrintLayout layout, ResultSet& rows, const DateTime& today);
    /// The detail once, of a layout that has no fields.
    PrintPages(PrintLayout layout, const DateTime& today);
    PrintPages(const PrintPages&) = delete;
    PrintPages& operator=(const PrintPages&) = delete;

    int Count() const { return static_cast<int>(pages_.size()); }
    const PrintLayout& Layout() const { return layout_; }

    /// The characters that no font of this machine has: boxes stand in their places.
    QString Undrawable() const;

    /// Makes `device` print on A4 without margins: the layout has its own.
    static void SetSheet(QPagedPaintDevice& device);
    /// Makes a printer ready, on the paper that is in it: the queue gets the layout's caption, which others see, so
    /// that it names no patient.
    static void SetUp(QPrinter& printer, const PrintLayout& layout);
    /// Draws the pages that `device` asks for, which must have no margins of its own. On a sheet
    /// smaller than A4 they are smaller too.
    void Paint(QPagedPaintDevice& device) const;
    /// Paints for a printer's queue, on the printer's own paper where it has not what was chosen. That it takes
    /// nothing, or stands still, is an error.
    void Print(QPrinter& printer) const;

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

    PrintPages(PrintLayout layout, const DateTime& today, const std::function<void(const PrintSection&)>& fill);

    void ReadPictures();
    /// `page` counts from 1.
    QString TextOf(const PrintControl& control, const Row& row, int page) const;
    QFont FontOf(const PrintControl& control) const;
    Lines LinesOf(const PrintSection& section, const Row& row, int page = 1) const;
    void BreakIntoPages(const Lines& lines);

    const PrintSection* Section(PrintSection::Kind kind) const;
    double HeightOf(PrintSection::Kind kind) const;
    double BodyHeight() const;

    void PaintPage(QPainter& painter, const Lines& body, int page) const;
    void DrawBand(QPainter& painter, PrintSection::Kind kind, double top, int page) const;
    void DrawLines(QPainter& painter, const Lines& lines, double top) const;

    const PrintLayout layout_;
    const std::string today_;
    std::map<const PrintControl*, QImage> pictures_;
    std::vector<Lines> pages_; ///< of the detail; tops are those of the page's body
    const double bands_;       ///< the height of the page's header and footer
};

} // namespace tavrel
