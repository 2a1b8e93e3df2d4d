#include "platform/qt/PrintPages.h"

#include "platform/error.h"
#include "platform/paths.h"
#include "platform/person_name.h"
#include "platform/qt/QtText.h"

#include <QFileInfo>
#include <QFontMetricsF>
#include <QGlyphRun>
#include <QImageReader>
#include <QLibrary>
#include <QPagedPaintDevice>
#include <QPaintEngine>
#include <QPainter>
#include <QPrinter>
#include <QPrinterInfo>
#include <QRawFont>
#include <QTextLayout>

#include <algorithm>
#include <functional>

namespace tavrel {
namespace {

constexpr double PageWidth = 210, PageHeight = 297; // A4
constexpr double MillimetresPerPoint = 25.4 / 72;
// Text is measured on a grid this much finer than a millimetre, so that preview, paper and PDF break
// their lines alike whatever their resolution.
constexpr double UnitsPerMillimetre = 100;
constexpr double Leading = 1.2;                    // of a line, so that a long reading is easy to follow
constexpr double BodyGap = 4;                      // millimetres between the detail and the bands around it
constexpr qint64 MostPixels = 25e6;                // of a picture: more than a page at 300 dots per inch
constexpr double PixelsPerMillimetre = 600 / 25.4; // more detail of a picture is not seen on paper
constexpr QColor Faint(95, 95, 95), Rule(120, 120, 120);

QString DateOf(const DateTime& date) {
    return QStringLiteral("%1/%2/%3")
        .arg(date.day, 2, 10, QChar('0'))
        .arg(date.month, 2, 10, QChar('0'))
        .arg(date.year, 4, 10, QChar('0'));
}

/// A paragraph of text laid out in lines of `width` units.
class Paragraph : public QTextLayout {
public:
    Paragraph(const QString& text, const QFont& font, double width, QTextOption option) : QTextLayout(text, font) {
        option.setTabStopDistance(QFontMetricsF(font).horizontalAdvance(QStringLiteral("xxxxxxxx")));
        setTextOption(option);
        beginLayout();
        for (auto line = createLine(); line.isValid(); line = createLine())
            line.setLineWidth(width);
        endLayout();
    }
};

/// A line of a paragraph, which runs in the paragraph's direction whatever it begins with itself.
struct WrappedLine {
    QString text;
    Qt::LayoutDirection direction;
};

/// The lines of `text`; a paragraph wider than `width` units is broken between words, a word wider
/// than that within itself.
std::vector<WrappedLine> Wrap(const QString& text, const QFont& font, double width) {
    QTextOption option;
    option.setWrapMode(QTextOption::WrapAtWordBoundaryOrAnywhere);
    std::vector<WrappedLine> lines;
    for (const QString& part : text.split('\n')) {
        const auto direction = part.isRightToLeft() ? Qt::RightToLeft : Qt::LeftToRight;
        const Paragraph paragraph(part, font, width, option);
        for (int i = 0; i < paragraph.lineCount(); ++i)
            lines.push_back({part.mid(paragraph.lineAt(i).textStart(), paragraph.lineAt(i).textLength()), direction});
    }
    return lines;
}

bool HoldsRightToLeft(const QString& text) {
    return std::ranges::any_of(text.toUcs4(), [](char32_t character) {
        const auto direction = QChar::direction(character);
        return direction == QChar::DirR || direction == QChar::DirAL;
    });
}

void Draw(QPainter& painter, const QPointF& place, const QTextLayout& paragraph) {
    // The preview records words and lays each piece of a line out anew, which moves the commas and brackets between
    // letters that run to the left; it keeps glyphs where they stand. A PDF is to hold the words.
    if (painter.paintEngine()->type() != QPaintEngine::Picture || !HoldsRightToLeft(paragraph.text()))
        return paragraph.draw(&painter, place);
    for (const QGlyphRun& run : paragraph.glyphRuns())
        painter.drawGlyphRun(place, run);
}

QImage ReadPicture(const std::string& file, QSizeF place) {
    const QString path = ToQt(NativePath(file));
    QImageReader reader(path);
    const auto fail = [&](const QString& why) {
        throw Error(Fault::PictureUnusable, "PrintReport",
                    "The picture " + file + " cannot be printed: " + why.toStdString());
    };
    if (!QFileInfo(path).isFile())
        fail(QStringLiteral("it is no file"));
    const QSize size = reader.size();
    if (qint64{size.width()} * size.height() > MostPixels)
        fail(QStringLiteral("it has %1 x %2 pixels, at most %3 million can be printed")
                 .arg(size.width())
                 .arg(size.height())
                 .arg(MostPixels / 1'000'000));
    QImage picture;
    if (!reader.read(&picture))
        fail(reader.errorString());
    const QSize finest = (place * PixelsPerMillimetre).toSize();
    return picture.width() > finest.width() || picture.height() > finest.height()
               ? picture.scaled(finest, Qt::KeepAspectRatio, Qt::SmoothTransformation)
               : picture;
}

/// Why the print system has refused what this thread asked of it last; empty when it has not. The toolkit overlooks
/// that, and the system's library, which it has loaded, remembers it.
std::string LastRefusal() {
    constexpr int firstFailure = 0x400; // of IPP's statuses
    QLibrary library(QStringLiteral("cups"), 2);
    const auto status = reinterpret_cast<int (*)()>(library.resolve("cupsLastError"));
    const auto words = reinterpret_cast<const char* (*)()>(library.resolve("cupsLastErrorString"));
    return status && words && (status() < 0 || status() >= firstFailure) ? words() : "";
}

/// The paper that a printer has in it unless somebody says otherwise.
QPageSize PaperOf(const QPrinter& printer) {
    const QPageSize usual = QPrinterInfo(printer).defaultPageSize();
    return usual.isValid() ? usual : QPageSize(QPageSize::A4);
}

} // namespace

PrintPages::PrintPages(PrintLayout layout, ResultSet& rows, const DateTime& today)
    : PrintPages(std::move(layout), today, [&](const PrintSection& detail) {
          for (; !rows.AtEnd(); rows.MoveNext()) {
              Row row;
              for (const PrintControl& control : detail.controls)
                  if (control.kind == PrintControl::Kind::Field)
                      row[&control] = ToQt(rows.Field(control.text).value_or(""));
              BreakIntoPages(LinesOf(detail, row));
          }
      }) {}

PrintPages::PrintPages(PrintLayout layout, const DateTime& today)
    : PrintPages(std::move(layout), today,
                 [this](const PrintSection& detail) { BreakIntoPages(LinesOf(detail, {})); }) {}

PrintPages::PrintPages(PrintLayout layout, const DateTime& today, const std::function<void(const PrintSection&)>& fill)
    : layout_(std::move(layout)), today_(DateOf(today).toStdString()),
      bands_(HeightOf(PrintSection::Kind::PageHeader) + HeightOf(PrintSection::Kind::PageFooter)) {
    ReadPictures();
    if (const PrintSection* detail = Section(PrintSection::Kind::Detail))
        fill(*detail);
    if (pages_.empty())
        pages_.emplace_back();
    // Each value follows its caption, for whoever copies the text or has it read aloud.
    for (Lines& page : pages_)
        std::ranges::stable_sort(page, std::less(), &Line::control);
}

void PrintPages::ReadPictures() {
    for (const PrintSection& section : layout_.sections)
        for (const PrintControl& control : section.controls)
            if (control.kind == PrintControl::Kind::Image && control.visible)
                pictures_[&control] = ReadPicture(control.text, {control.width, control.height});
}

QString PrintPages::TextOf(const PrintControl& control, const Row& row, int page) const {
    if (control.kind == PrintControl::Kind::Label)
        return ToQt(control.text)
            .replace("%i", ToQt(layout_.title))
            .replace("%d", ToQt(today_))
            .replace("%p", QString::number(page))
            .replace("%P", QString::number(Count()));
    const QString text = control.kind == PrintControl::Kind::Field ? row.at(&control) : ToQt(control.text);
    return control.personName ? ToQt(WrittenName(FromQt(text))) : text;
}

QFont PrintPages::FontOf(const PrintControl& control) const {
    QFont font(ToQt(layout_.fontFamily));
    font.setStyleHint(QFont::SansSerif);
    font.setPixelSize(qRound(control.fontSize * MillimetresPerPoint * UnitsPerMillimetre));
    font.setBold(control.bold);
    font.setHintingPreference(QFont::PreferNoHinting);
    return font;
}

PrintPages::Lines PrintPages::LinesOf(const PrintSection& section, const Row& row, int page) const {
    struct Placed {
        double bottom;  // as laid out
        double lowered; // how much further down it ends
    };
    std::vector<const PrintControl*> controls;
    for (const PrintControl& control : section.controls)
        if (control.visible && control.kind != PrintControl::Kind::Image)
            controls.push_back(&control);
    std::ranges::stable_sort(controls, {}, &PrintControl::top);

    Lines lines;
    std::vector<Placed> placed;
    for (const PrintControl* control : controls) {
        double lowered = 0;
        for (const Placed& other : placed)
            if (other.bottom <= control->top)
                lowered = std::max(lowered, other.lowered);

        const QFont font = FontOf(*control);
        const double height = QFontMetricsF(font).lineSpacing() * Leading / UnitsPerMillimetre;
        const QString text = TextOf(*control, row, page);
        const auto wrapped = control->canGrow ? Wrap(text, font, control->width * UnitsPerMillimetre)
                                              : std::vector<WrappedLine>{{text, Qt::LayoutDirectionAuto}};
        const auto count = wrapped.size();
        for (std::size_t i = 0; i < count; ++i)
            lines.push_back({.control = control,
                             .text = wrapped[i].text,
                             .direction = wrapped[i].direction,
                             .align = count > 1 && wrapped[i].direction == Qt::RightToLeft ? PrintControl::Align::Right
                                                                                           : control->align,
                             .top = control->top + lowered + static_cast<double>(i) * height,
                             .height = height,
                             .keepsWithNext = control->standsAlone ? i + 1 < count && (i == 0 || i + 2 == count)
                                                                   : i == 0 || i + 2 >= count});
        const double grown = static_cast<double>(count) * height - control->height;
        placed.push_back({control->top + control->height, lowered + std::max(0.0, grown)});
    }
    std::ranges::stable_sort(lines, {}, &Line::top);
    return lines;
}

void PrintPages::BreakIntoPages(const Lines& lines) {
    double pageTop = 0;
    pages_.emplace_back();
    for (auto line = lines.begin(); line != lines.end(); ++line) {
        auto last = line; // of those that shall stand on one page with it
        while (last->keepsWithNext && last + 1 != lines.end())
            ++last;
        if (last->top + last->height - line->top > BodyHeight())
            last = line;
        if (last->top + last->height - pageTop > BodyHeight()) {
            pageTop = line->top;
            pages_.emplace_back();
        }
        pages_.back().push_back(*line);
        pages_.back().back().top -= pageTop;
    }
}

const PrintSection* PrintPages::Section(PrintSection::Kind kind) const {
    const auto found = std::ranges::find(layout_.sections, kind, &PrintSection::kind);
    return found == layout_.sections.end() ? nullptr : &*found;
}

double PrintPages::HeightOf(PrintSection::Kind kind) const {
    const PrintSection* section = Section(kind);
    if (!section)
        return 0;
    double height = section->height;
    for (const PrintControl& control : section->controls)
        if (control.canGrow) {
            for (const Line& line : LinesOf(*section, {}))
                height = std::max(height, line.top + line.height);
            break;
        }
    return height;
}

double PrintPages::BodyHeight() const {
    return PageHeight - layout_.marginTop - layout_.marginBottom - bands_ - 2 * BodyGap;
}

QString PrintPages::Undrawable() const {
    const auto hasFont = [](char32_t character, const QFont& font) {
        const auto runs =
            Paragraph(QString::fromUcs4(&character, 1), font, PageWidth * UnitsPerMillimetre, {}).glyphRuns();
        return std::ranges::any_of(runs, [&](const QGlyphRun& run) { // boxes are of no file
            return run.rawFont().supportsCharacter(character) && !run.rawFont().fontTable("cmap").isEmpty();
        });
    };
    std::map<char32_t, bool> drawable;
    const auto look = [&](const Lines& lines) {
        for (const Line& line : lines)
            for (const char32_t character : line.text.toUcs4()) {
                const auto category = QChar::category(character);
                if (!QChar::isSpace(character) && category != QChar::Other_Format && category != QChar::Other_Control &&
                    !drawable.contains(character))
                    drawable[character] = hasFont(character, FontOf(*line.control));
            }
    };
    std::ranges::for_each(pages_, look);
    for (const PrintSection& section : layout_.sections)
        if (section.kind != PrintSection::Kind::Detail)
            look(LinesOf(section, {}));
    QString missing;
    for (const auto& [character, drawn] : drawable)
        if (!drawn)
            missing += QString::fromUcs4(&character, 1);
    return missing;
}

void PrintPages::SetSheet(QPagedPaintDevice& device) {
    device.setPageSize(QPageSize(QPageSize::A4));
    device.setPageMargins({});
}

void PrintPages::SetUp(QPrinter& printer, const PrintLayout& layout) {
    printer.setFullPage(true);
    printer.setDocName(ToQt(layout.caption));
    SetSheet(printer);
    printer.setPageSize(PaperOf(printer));
}

void PrintPages::Print(QPrinter& printer) const {
    const auto papers = QPrinterInfo(printer).supportedPageSizes();
    const auto chosen = printer.pageLayout().pageSize();
    if (!papers.isEmpty() &&
        std::ranges::none_of(papers, [&](const auto& each) { return each.isEquivalentTo(chosen); }))
        printer.setPageSize(PaperOf(printer));
    Paint(printer);
    if (printer.outputFormat() != QPrinter::NativeFormat)
        return; // the dialog has a file, too
    const std::string name = FromQt(printer.printerName());
    if (const std::string why = LastRefusal(); !why.empty())
        throw Error(Fault::NotPrinted, "PrintReport",
                    "The report was not printed: the printer " + name + " does not take it (" + why + ")");
    if (QPrinterInfo::printerInfo(printer.printerName()).state() == QPrinter::Error)
        throw Error(Fault::NotPrinted, "PrintReport",
                    "The printer " + name +
                        " is stopped: the report waits in its queue, and is printed when it goes on.");
}

void PrintPages::Paint(QPagedPaintDevice& device) const {
    const auto require = [](bool done) {
        if (!done)
            throw Error(Fault::NotPrinted, "PrintReport",
                        "The page cannot be printed: the printer or the file does not take it");
    };
    const QPageRanges ranges = device.pageRanges();
    std::vector<const Lines*> asked;
    for (const Lines& page : pages_)
        if (const auto number = static_cast<int>(&page - pages_.data()) + 1;
            ranges.isEmpty() || ranges.contains(number))
            asked.push_back(&page);
    if (const auto* printer = dynamic_cast<const QPrinter*>(&device);
        printer && printer->pageOrder() == QPrinter::LastPageFirst)
        std::ranges::reverse(asked);

    QPainter painter;
    require(painter.begin(&device));
    for (const Lines* page : asked) {
        require(page == asked.front() || device.newPage());
        painter.save();
        PaintPage(painter, *page, static_cast<int>(page - pages_.data()) + 1);
        painter.restore();
    }
    require(painter.end());
}

void PrintPages::PaintPage(QPainter& painter, const Lines& body, int page) const {
    const QSizeF sheet(painter.device()->width() * 25.4 / painter.device()->logicalDpiX(),
                       painter.device()->height() * 25.4 / painter.device()->logicalDpiY());
    const double fit = std::min({1.0, sheet.width() / PageWidth, sheet.height() / PageHeight});
    const double unit = fit * painter.device()->logicalDpiX() / 25.4 / UnitsPerMillimetre;
    painter.scale(unit, unit);
    painter.translate(layout_.marginLeft * UnitsPerMillimetre, layout_.marginTop * UnitsPerMillimetre);
    painter.setRenderHints(QPainter::Antialiasing | QPainter::SmoothPixmapTransform | QPainter::LosslessImageRendering);

    const double bodyTop = HeightOf(PrintSection::Kind::PageHeader) + BodyGap;
    DrawBand(painter, PrintSection::Kind::PageHeader, 0, page);
    DrawLines(painter, body, bodyTop);
    DrawBand(painter, PrintSection::Kind::PageFooter, bodyTop + BodyHeight() + BodyGap, page);
}

void PrintPages::DrawBand(QPainter& painter, PrintSection::Kind kind, double top, int page) const {
    const PrintSection* section = Section(kind);
    if (!section)
        return;
    for (const PrintControl& control : section->controls)
        if (const auto picture = pictures_.find(&control); picture != pictures_.end()) {
            const QSizeF frame(control.width, control.height);
            const QSizeF size = QSizeF(picture->second.size()).scaled(frame, Qt::KeepAspectRatio);
            const QPointF place(control.left, top + control.top);
            painter.drawImage({place * UnitsPerMillimetre, size * UnitsPerMillimetre}, picture->second);
        }
    DrawLines(painter, LinesOf(*section, {}, page), top);
    if (section->ruled) {
        const double y = (kind == PrintSection::Kind::PageHeader ? top + HeightOf(kind) : top) * UnitsPerMillimetre;
        painter.setPen(QPen(Rule, 0.25 * UnitsPerMillimetre));
        painter.drawLine(QPointF(0, y),
                         QPointF((PageWidth - layout_.marginLeft - layout_.marginRight) * UnitsPerMillimetre, y));
    }
}

void PrintPages::DrawLines(QPainter& painter, const Lines& lines, double top) const {
    for (const Line& line : lines) {
        const PrintControl& control = *line.control;
        QTextOption option(line.align == PrintControl::Align::Right ? Qt::AlignRight : Qt::AlignLeft);
        option.setWrapMode(QTextOption::NoWrap);
        option.setTextDirection(line.direction);
        const Paragraph paragraph(line.text, FontOf(control), control.width * UnitsPerMillimetre, option);
        painter.setPen(control.faint ? Faint : QColor(Qt::black));
        Draw(painter, QPointF(control.left, top + line.top) * UnitsPerMillimetre, paragraph);
    }
}

} // namespace tavrel
