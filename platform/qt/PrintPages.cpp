#include "platform/qt/PrintPages.h"

#include "platform/error.h"

#include <QFontMetricsF>
#include <QImageReader>
#include <QPagedPaintDevice>
#include <QPainter>
#include <QTextLayout>

#include <algorithm>

namespace tavrel {
namespace {

constexpr double PageWidth = 210, PageHeight = 297; // A4
constexpr double MillimetresPerPoint = 25.4 / 72;
// Text is measured on a grid this much finer than a millimetre, so that preview, paper and PDF break
// their lines alike whatever their resolution.
constexpr double UnitsPerMillimetre = 100;
constexpr double Leading = 1.2; // of a line, so that a long reading is easy to follow
constexpr double BodyGap = 4;   // millimetres between the detail and the bands around it
constexpr QSize LargestPicture(20000, 20000);

QString Text(std::string_view text) {
    return QString::fromUtf8(text.data(), static_cast<qsizetype>(text.size()));
}

QString DateOf(const DateTime& date) {
    return QStringLiteral("%1/%2/%3")
        .arg(date.day, 2, 10, QChar('0'))
        .arg(date.month, 2, 10, QChar('0'))
        .arg(date.year);
}

/// Each paragraph of `text` broken into the lines that fit `width` units; a word that is wider than
/// that is broken too.
QStringList Wrap(const QString& text, const QFont& font, double width) {
    QStringList lines;
    QTextOption option;
    option.setWrapMode(QTextOption::WrapAtWordBoundaryOrAnywhere);
    for (QString paragraph : text.split('\n')) {
        paragraph.remove('\r').replace('\t', QStringLiteral("    "));
        if (paragraph.isEmpty()) {
            lines += paragraph;
            continue;
        }
        QTextLayout layout(paragraph, font);
        layout.setTextOption(option);
        layout.beginLayout();
        for (QTextLine line = layout.createLine(); line.isValid(); line = layout.createLine()) {
            line.setLineWidth(width);
            lines += paragraph.mid(line.textStart(), line.textLength());
        }
        layout.endLayout();
    }
    return lines;
}

} // namespace

PrintPages::PrintPages(PrintLayout layout, ResultSet& rows, const DateTime& today)
    : layout_(std::move(layout)), today_(DateOf(today)) {
    ReadPicture();
    const PrintSection* detail = Section(PrintSection::Kind::Detail);
    for (; detail && !rows.AtEnd(); rows.MoveNext()) {
        Row row;
        for (const PrintControl& control : detail->controls)
            if (control.kind == PrintControl::Kind::Field)
                row[Text(control.text).toUpper()] = Text(rows.Field(control.text).value_or(""));
        BreakIntoPages(LinesOf(*detail, row));
    }
    if (pages_.empty())
        pages_.emplace_back();
}

void PrintPages::ReadPicture() {
    for (const PrintSection& section : layout_.sections)
        for (const PrintControl& control : section.controls) {
            if (control.kind != PrintControl::Kind::Image || !control.visible)
                continue;
            QString path = Text(control.text);
            QImageReader reader(path.replace('\\', '/'));
            const QSize size = reader.size();
            const auto fail = [&](const QString& why) {
                throw Error(481, "PrintReport",
                            "The picture " + control.text + " cannot be printed: " + why.toStdString());
            };
            if (size.width() > LargestPicture.width() || size.height() > LargestPicture.height())
                fail(QStringLiteral("%1 x %2 pixels are too many").arg(size.width()).arg(size.height()));
            if (!reader.read(&picture_))
                fail(reader.errorString());
        }
}

QFont PrintPages::FontOf(const PrintControl& control) const {
    QFont font(Text(layout_.fontFamily));
    font.setStyleHint(QFont::SansSerif);
    font.setPixelSize(std::max(1, qRound(control.fontSize * MillimetresPerPoint * UnitsPerMillimetre)));
    font.setBold(control.bold);
    font.setHintingPreference(QFont::PreferNoHinting);
    return font;
}

QString PrintPages::TextOf(const PrintControl& control, const Row& row) const {
    if (control.kind == PrintControl::Kind::Field) {
        const auto found = row.find(Text(control.text).toUpper());
        return found == row.end() ? QString() : found->second;
    }
    return Text(control.text).replace("%i", Text(layout_.title)).replace("%d", today_);
}

std::vector<PrintPages::Line> PrintPages::LinesOf(const PrintSection& section, const Row& row) const {
    struct Placed {
        const PrintControl* control;
        double shift, growth;
    };
    std::vector<const PrintControl*> controls;
    for (const PrintControl& control : section.controls)
        if (control.visible && control.kind != PrintControl::Kind::Image)
            controls.push_back(&control);
    std::stable_sort(controls.begin(), controls.end(), [](auto* a, auto* b) { return a->top < b->top; });

    std::vector<Line> lines;
    std::vector<Placed> placed;
    for (const PrintControl* control : controls) {
        double shift = 0;
        for (const Placed& above : placed)
            if (above.control->top + above.control->height <= control->top)
                shift = std::max(shift, above.shift + above.growth);

        const QFont font = FontOf(*control);
        const double lineHeight = QFontMetricsF(font).lineSpacing() * Leading / UnitsPerMillimetre;
        const QString text = TextOf(*control, row);
        const QStringList wrapped =
            control->canGrow ? Wrap(text, font, control->width * UnitsPerMillimetre) : QStringList(text);
        double top = control->top + shift;
        const double kept = control->canGrow ? lineHeight : control->height + lineHeight;
        for (const QString& line : wrapped) {
            lines.push_back({control->left, top, control->width, lineHeight, kept, line, control});
            top += lineHeight;
        }
        const double grown = static_cast<double>(wrapped.size()) * lineHeight - control->height;
        placed.push_back({control, shift, std::max(0.0, grown)});
    }
    std::stable_sort(lines.begin(), lines.end(), [](const Line& a, const Line& b) { return a.top < b.top; });
    return lines;
}

void PrintPages::BreakIntoPages(const std::vector<Line>& lines) {
    double pageTop = 0;
    pages_.emplace_back();
    for (Line line : lines) {
        if (line.top + line.kept > pageTop + BodyHeight()) {
            pageTop = line.top;
            pages_.emplace_back();
        }
        line.top -= pageTop;
        pages_.back().push_back(std::move(line));
    }
}

const PrintSection* PrintPages::Section(PrintSection::Kind kind) const {
    const auto found = std::find_if(layout_.sections.begin(), layout_.sections.end(),
                                    [&](const PrintSection& section) { return section.kind == kind; });
    return found == layout_.sections.end() ? nullptr : &*found;
}

double PrintPages::HeightOf(PrintSection::Kind kind) const {
    const PrintSection* section = Section(kind);
    return section ? section->height : 0;
}

double PrintPages::BodyHeight() const {
    return PageHeight - layout_.marginTop - layout_.marginBottom - HeightOf(PrintSection::Kind::PageHeader) -
           HeightOf(PrintSection::Kind::PageFooter) - 2 * BodyGap;
}

void PrintPages::Paint(QPagedPaintDevice& device) const {
    QPainter painter;
    if (!painter.begin(&device))
        throw Error(482, "PrintReport", "The page cannot be drawn: the printer or the file does not take it");
    for (int page = 0; page < Count(); ++page) {
        if (page > 0 && !device.newPage())
            throw Error(482, "PrintReport", "The printer or the file takes no further page");
        painter.save();
        PaintPage(painter, page);
        painter.restore();
    }
}

void PrintPages::PaintPage(QPainter& painter, int page) const {
    const double unit = painter.device()->logicalDpiX() / 25.4 / UnitsPerMillimetre;
    painter.scale(unit, unit);
    painter.translate(layout_.marginLeft * UnitsPerMillimetre, layout_.marginTop * UnitsPerMillimetre);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setRenderHint(QPainter::SmoothPixmapTransform);

    const double bodyTop = HeightOf(PrintSection::Kind::PageHeader) + BodyGap;
    if (const PrintSection* header = Section(PrintSection::Kind::PageHeader))
        DrawSection(painter, *header, 0);
    for (const Line& line : pages_.at(static_cast<std::size_t>(page)))
        DrawLine(painter, line, bodyTop);
    if (const PrintSection* footer = Section(PrintSection::Kind::PageFooter))
        DrawSection(painter, *footer, bodyTop + BodyHeight() + BodyGap);
}

void PrintPages::DrawSection(QPainter& painter, const PrintSection& section, double top) const {
    for (const PrintControl& control : section.controls) {
        if (control.kind != PrintControl::Kind::Image || !control.visible)
            continue;
        const QSizeF size =
            QSizeF(picture_.size())
                .scaled(control.width * UnitsPerMillimetre, control.height * UnitsPerMillimetre, Qt::KeepAspectRatio);
        painter.drawImage(QRectF({control.left * UnitsPerMillimetre, (top + control.top) * UnitsPerMillimetre}, size),
                          picture_);
    }
    for (const Line& line : LinesOf(section, {}))
        DrawLine(painter, line, top);
    if (section.ruled) {
        const bool header = section.kind == PrintSection::Kind::PageHeader;
        const double y = (header ? top + section.height : top) * UnitsPerMillimetre;
        painter.setPen(QPen(QColor(120, 120, 120), 0.25 * UnitsPerMillimetre));
        painter.drawLine(QPointF(0, y),
                         QPointF((PageWidth - layout_.marginLeft - layout_.marginRight) * UnitsPerMillimetre, y));
    }
}

void PrintPages::DrawLine(QPainter& painter, const Line& line, double top) const {
    const QFont font = FontOf(*line.control);
    const QFontMetricsF metrics(font);
    painter.setFont(font);
    painter.setPen(line.control->faint ? QColor(95, 95, 95) : QColor(Qt::black));
    double x = line.left * UnitsPerMillimetre;
    if (line.control->align == PrintControl::Align::Right)
        x += line.width * UnitsPerMillimetre - metrics.horizontalAdvance(line.text);
    painter.drawText(QPointF(x, (top + line.top) * UnitsPerMillimetre + metrics.ascent()), line.text);
}

} // namespace tavrel
