#pragma once

#include "platform/printer.h"

#include <QFont>
#include <QImage>
#include <QString>

#include <map>
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

    int Count() const { return static_cast<int>(pages_.size()); }
    const PrintLayout& Layout() const { return layout_; }

    /// Draws every page on `device`, whose page is A4 without margins of its own.
    void Paint(QPagedPaintDevice& device) const;
    void PaintPage(QPainter& painter, int page) const;

private:
    using Row = std::map<QString, QString>; ///< by column, in capitals

    /// A line of text, at `top` of the flow it belongs to.
    struct Line {
        double left, top, width, height;
        /// What must stand on the same page below `top`; a caption keeps its value's first line.
        double kept;
        QString text;
        const PrintControl* control;
    };

    void ReadPicture();
    QString TextOf(const PrintControl& control, const Row& row) const;
    std::vector<Line> LinesOf(const PrintSection& section, const Row& row) const;
    void BreakIntoPages(const std::vector<Line>& lines);
    const PrintSection* Section(PrintSection::Kind kind) const;
    double HeightOf(PrintSection::Kind kind) const;
    double BodyHeight() const;
    void DrawSection(QPainter& painter, const PrintSection& section, double top) const;
    void DrawLine(QPainter& painter, const Line& line, double top) const;
    QFont FontOf(const PrintControl& control) const;

    PrintLayout layout_;
    QString today_;
    QImage picture_;
    std::vector<std::vector<Line>> pages_; ///< of the detail; tops are those of the page's body
};

} // namespace tavrel
